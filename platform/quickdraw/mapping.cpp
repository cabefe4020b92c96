#include "platform/quickdraw/mapping.h"

#include <algorithm>

namespace qrv::quickdraw {

bool AxisMap::consecutive() const {
  return std::adjacent_find(sources.begin(), sources.end(), [](int32_t left, int32_t right) {
           return right != left + 1;
         }) == sources.end();
}

void AxisMap::CountFrom(int32_t sourcePixel) {
  for (int32_t& source : sources) source -= sourcePixel;
}

// Positions are counted in steps of 1/`to.length()` unit from the source's low edge, so that one
// division rounds. `from` and `to` come from 16-bit coordinates: with displays within 2^24 units of
// the origin a position takes at most 41 bits, and times a pixel count at most 64.
AxisMap MapAxis(const SourceAxis& source, Span from, Span to, Span target) {
  AxisMap map;
  if (from.length() <= 0 || to.length() <= 0 || source.extent.length() <= 0) return map;
  const int64_t low = std::max(to.low, target.low);
  const int64_t high = std::min(to.high, target.high);
  if (low < high) map.sources.reserve(static_cast<size_t>(high - low));

  const int64_t start = (from.low - source.extent.low) * to.length();
  const int64_t end = source.extent.length() * to.length();
  const auto pixelCount = static_cast<uint64_t>(source.pixelCount);
  for (int64_t at = low; at < high; ++at) {
    const int64_t position = start + (at - to.low) * from.length();
    if (position < 0 || position >= end) continue;
    if (map.empty()) map.firstTarget = static_cast<size_t>(at - target.low);
    map.sources.push_back(static_cast<int32_t>(static_cast<uint64_t>(position) * pixelCount /
                                               static_cast<uint64_t>(end)));
  }
  return map;
}

}  // namespace qrv::quickdraw
