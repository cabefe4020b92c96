// Scaling. An axis that shrinks averages the source pixels that a target pixel covers, channels as
// they are stored; an axis that grows takes the source pixel that is nearest to the target pixel's
// centre. The two axes are independent.
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

// One axis of the source: its extent in units, and the number of pixels along it.
struct SourceAxis {
  Span extent;
  int32_t pixelCount = 0;
};

// The source pixels of each target pixel along one axis.
struct AxisMap {
  struct Taps {
    int32_t first;  // source pixel
    int32_t count;
    size_t weights;  // index of the first one's weight; the weights sum up to 256
  };

  bool empty() const { return taps.empty(); }
  size_t size() const { return taps.size(); }
  // Whether neighbours show neighbours.
  bool IsUnscaled() const;
  // Whether each target pixel averages two source pixels of its own.
  bool Halves() const;
  int32_t FirstSource() const { return taps.front().first; }
  int32_t EndOfSource() const { return taps.back().first + taps.back().count; }

  size_t firstTarget = 0;  // the first target pixel with a source
  std::vector<Taps> taps;  // from that target pixel on, ascending
  std::vector<uint16_t> weights;
};

// Maps the coordinates `from` of a source onto the coordinates `to` of a target, whose own extent
// is `target` (one pixel per unit), clipped to both extents. `from`, `to` and `target` are within
// 2^16, the extents within 2^24.
AxisMap MapAxis(const SourceAxis& source, Span from, Span to, Span target);

// Computes the target's rows; pixels have four bytes in both. The maps must outlive it.
class Resampler {
 public:
  // `pixels` is source pixel (columns.FirstSource(), rows.FirstSource()).
  Resampler(const AxisMap& columns, const AxisMap& rows, const uint8_t* pixels, size_t rowBytes);

  // The row at that index of the map: columns.size() pixels, valid until the next call.
  const uint8_t* Row(size_t row);

 private:
  const uint8_t* AverageRows(const AxisMap::Taps& taps);
  void AverageColumns(const uint8_t* line);

  const AxisMap& columns_;
  const AxisMap& rows_;
  bool halvesColumns_;
  const uint8_t* pixels_;
  size_t rowBytes_;
  size_t lineBytes_;             // of the source columns that the map reads
  std::vector<uint16_t> sums_;   // of the source rows of a target row
  std::vector<uint8_t> line_;    // their average
  std::vector<uint8_t> target_;  // the target row
  int32_t latest_ = -1;          // the source row that `target_` shows; -1 for several
};

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_RESAMPLE_H_
