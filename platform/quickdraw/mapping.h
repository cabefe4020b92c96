// Which source pixel each target pixel of a copy takes, scaled and clipped.
#ifndef PLATFORM_QUICKDRAW_MAPPING_H_
#define PLATFORM_QUICKDRAW_MAPPING_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qrv::quickdraw {

// Coordinates from `low` up to, but without, `high`; empty when inverted.
struct Span {
  int64_t low = 0;
  int64_t high = 0;

  int64_t length() const { return high - low; }
};

// One axis of what is copied from: its extent in coordinates, and the pixels along it.
struct SourceAxis {
  Span extent;
  int32_t pixelCount = 0;
};

struct AxisMap {
  bool empty() const { return sources.empty(); }
  size_t size() const { return sources.size(); }
  // Whether neighbours take neighbours: nothing is scaled.
  bool consecutive() const;
  void CountFrom(int32_t sourcePixel);

  size_t firstTarget = 0;        // the first target pixel that takes a source pixel
  std::vector<int32_t> sources;  // for it and those that follow it; ascending
};

// Maps the coordinates `from` of a source onto the coordinates `to` of a target, whose own
// extent is `target` (one pixel per unit). A target pixel takes the source pixel at its relative
// place, rounded down. What lies outside the source's or the target's extent is left out, which
// does not move the rest.
AxisMap MapAxis(const SourceAxis& source, Span from, Span to, Span target);

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_MAPPING_H_
