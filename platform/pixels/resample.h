// Scaling: which source pixels each target pixel shows, and the pixels that come of it. What
// shrinks is averaged over the source pixels that a target pixel covers, channels as they are
// stored; what grows takes the nearest pixel, by centres. Each axis is one or the other by itself.
#ifndef PLATFORM_PIXELS_RESAMPLE_H_
#define PLATFORM_PIXELS_RESAMPLE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qrv::pixels {

// Coordinates from `low` up to, but without, `high`; empty when inverted.
struct Span {
  int64_t low = 0;
  int64_t high = 0;

  int64_t length() const { return high - low; }
};

// One axis of what is copied from: its extent in units, and the pixels along it.
struct SourceAxis {
  Span extent;
  int32_t pixelCount = 0;
};

// What the target pixels of one axis are made of.
struct AxisMap {
  // `count` source pixels from `first` on, with the weights from that place on, 256 in all.
  struct Taps {
    int32_t first;
    int32_t count;
    size_t weights;
  };

  bool empty() const { return taps.empty(); }
  size_t size() const { return taps.size(); }
  // Whether neighbours take neighbours: nothing is scaled.
  bool IsPlain() const;
  // Whether each takes two pixels of its own, to equal shares.
  bool Halves() const;
  int32_t FirstSource() const { return taps.front().first; }
  int32_t EndOfSource() const { return taps.back().first + taps.back().count; }

  size_t firstTarget = 0;  // the first target pixel that takes any
  std::vector<Taps> taps;  // for it and those that follow it; ascending
  std::vector<uint16_t> weights;
};

// Maps the coordinates `from` of a source onto the coordinates `to` of a target, whose own extent
// is `target` (one pixel per unit). What lies outside the source's or the target's extent is left
// out, which does not move the rest. `from`, `to` and `target` are within 2^16, the extents within
// 2^24.
AxisMap MapAxis(const SourceAxis& source, Span from, Span to, Span target);

// Makes the target's rows, of four bytes a pixel as the source's. The maps must outlive it.
class Resampler {
 public:
  // `pixels` is source pixel (columns.FirstSource(), rows.FirstSource()).
  Resampler(const AxisMap& columns, const AxisMap& rows, const uint8_t* pixels, size_t rowBytes);

  // Row number `row` of those that the map has: columns.size() pixels, valid until the next one.
  const uint8_t* Row(size_t row);

 private:
  const uint8_t* AverageRows(const AxisMap::Taps& taps);
  void AverageColumns(const uint8_t* line);

  const AxisMap& columns_;
  const AxisMap& rows_;
  bool halvesColumns_;
  const uint8_t* pixels_;
  size_t rowBytes_;
  size_t lineBytes_;             // of the source columns that are taken
  std::vector<uint16_t> sums_;   // of the source rows of a target row
  std::vector<uint8_t> line_;    // their average
  std::vector<uint8_t> target_;  // the target row
  int32_t latest_ = -1;          // the source row that it shows, if it shows one alone
};

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_RESAMPLE_H_
