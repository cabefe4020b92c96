#include "platform/pixels/resample.h"

#include <algorithm>
#include <cstring>

#include "platform/pixels/prefetch.h"
#include "platform/pixels/target_clones.h"

namespace qrv::pixels {
namespace {

constexpr int64_t kWholeWeight = 256;

// Source positions in pixels, as fractions of one denominator.
class Positions {
 public:
  Positions(const SourceAxis& source, Span from, Span to)
      : start_(2 * (from.low - source.extent.low) * to.length() * source.pixelCount),
        step_(from.length() * source.pixelCount),
        to_(to),
        denominator_(2 * to.length() * source.extent.length()) {}

  // Of a target coordinate, in halves.
  int64_t Of(int64_t halves) const { return start_ + (halves - 2 * to_.low) * step_; }
  int64_t denominator() const { return denominator_; }
  bool Shrinks() const { return 2 * step_ > denominator_; }

 private:
  int64_t start_;
  int64_t step_;  // for half a target pixel
  Span to_;
  int64_t denominator_;
};

// Adds the pixels between two positions, each with its weight. The weights are differences of
// rounded sums, so that they sum up to 256.
void AddAverage(int64_t begin, int64_t end, int64_t denominator, AxisMap& map) {
  const auto first = static_cast<int32_t>(begin / denominator);
  const auto last = static_cast<int32_t>((end - 1) / denominator);
  map.taps.push_back({first, last - first + 1, map.weights.size()});
  const int64_t length = end - begin;
  int64_t previousSum = 0;
  for (int64_t pixel = first; pixel <= last; ++pixel) {
    const int64_t covered = std::min((pixel + 1) * denominator, end) - begin;
    const int64_t sum = (2 * covered * kWholeWeight + length) / (2 * length);
    map.weights.push_back(static_cast<uint16_t>(sum - previousSum));
    previousSum = sum;
  }
}

QRV_TARGET_CLONES void SetSums(uint16_t* __restrict sums, const uint8_t* __restrict row,
                               size_t count, uint16_t weight) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(row[i] * weight);
}

QRV_TARGET_CLONES void AddToSums(uint16_t* __restrict sums, const uint8_t* __restrict row,
                                 size_t count, uint16_t weight) {
  for (size_t i = 0; i < count; ++i) sums[i] = static_cast<uint16_t>(sums[i] + row[i] * weight);
}

// Averages two rows in one pass.
QRV_TARGET_CLONES void AverageTwo(uint8_t* __restrict line, const uint8_t* __restrict one,
                                  const uint8_t* __restrict other, size_t count, uint16_t weight,
                                  uint16_t otherWeight) {
  for (size_t i = 0; i < count; ++i) {
    const auto sum = static_cast<uint16_t>(one[i] * weight + other[i] * otherWeight + 128);
    line[i] = static_cast<uint8_t>(sum >> 8);
  }
}

// The same for equal weights, for which there is an instruction.
QRV_TARGET_CLONES void AverageEvenly(uint8_t* __restrict line, const uint8_t* __restrict one,
                                     const uint8_t* __restrict other, size_t count) {
  for (size_t i = 0; i < count; ++i) line[i] = static_cast<uint8_t>((one[i] + other[i] + 1) >> 1);
}

QRV_TARGET_CLONES void RoundSums(uint8_t* __restrict line, const uint16_t* __restrict sums,
                                 size_t count) {
  for (size_t i = 0; i < count; ++i) line[i] = static_cast<uint8_t>((sums[i] + 128) >> 8);
}

template <typename T>
T Load(const uint8_t* at) {
  T word;
  memcpy(&word, at, sizeof word);
  return word;
}

// Averages every two pixels.
QRV_TARGET_CLONES void HalveColumns(uint8_t* __restrict target, const uint8_t* __restrict line,
                                    size_t count) {
  constexpr uint32_t kUpperSeven = 0xFEFEFEFE;  // bits of each channel
  for (size_t i = 0; i < count; ++i) {
    const auto one = Load<uint32_t>(line + i * 8);
    const auto other = Load<uint32_t>(line + i * 8 + 4);
    const uint32_t average = (one | other) - (((one ^ other) & kUpperSeven) >> 1);
    memcpy(target + i * 4, &average, 4);
  }
}

// Masks for every second channel of a pixel, and of two. A channel's weighted sum fits 16 bits.
constexpr uint32_t kEverySecond = 0x00FF00FF;
constexpr uint64_t kEverySecondOfTwo = 0x00FF00FF00FF00FF;

// The weighted sums of every second channel of two neighbours, the first of which is the low word.
uint32_t SumOfTwo(uint64_t channels, uint64_t weights) {
  return static_cast<uint32_t>(channels * weights >> 32);
}

}  // namespace

bool AxisMap::IsUnscaled() const {
  for (size_t i = 0; i < taps.size(); ++i) {
    if (taps[i].count != 1 || taps[i].first != taps[0].first + static_cast<int32_t>(i))
      return false;
  }
  return true;
}

bool AxisMap::Halves() const {
  for (size_t i = 0; i < taps.size(); ++i) {
    if (taps[i].count != 2 || taps[i].first != taps[0].first + 2 * static_cast<int32_t>(i))
      return false;
  }
  return std::all_of(weights.begin(), weights.end(),
                     [](uint16_t weight) { return weight == kWholeWeight / 2; });
}

AxisMap MapAxis(const SourceAxis& source, Span from, Span to, Span target) {
  AxisMap map;
  if (from.length() <= 0 || to.length() <= 0 || source.extent.length() <= 0) return map;
  const int64_t low = std::max(to.low, target.low);
  const int64_t high = std::min(to.high, target.high);
  if (low < high) map.taps.reserve(static_cast<size_t>(high - low));
  const Positions positions(source, from, to);
  const int64_t end = source.pixelCount * positions.denominator();
  for (int64_t at = low; at < high; ++at) {
    const bool wasEmpty = map.empty();
    if (positions.Shrinks()) {
      const int64_t begin = std::max<int64_t>(positions.Of(2 * at), 0);
      const int64_t stop = std::min(positions.Of(2 * at + 2), end);
      if (begin < stop) AddAverage(begin, stop, positions.denominator(), map);
    } else if (const int64_t centre = positions.Of(2 * at + 1); centre >= 0 && centre < end) {
      map.taps.push_back({static_cast<int32_t>(centre / positions.denominator()), 1, 0});
    }
    if (wasEmpty && !map.empty()) map.firstTarget = static_cast<size_t>(at - target.low);
  }
  return map;
}

Resampler::Resampler(const AxisMap& columns, const AxisMap& rows, const uint8_t* pixels,
                     size_t rowBytes)
    : columns_(columns),
      rows_(rows),
      halvesColumns_(columns.Halves()),
      pixels_(pixels),
      rowBytes_(rowBytes),
      lineBytes_(static_cast<size_t>(columns.EndOfSource() - columns.FirstSource()) * 4),
      sums_(lineBytes_),
      line_(lineBytes_),
      target_(columns.size() * 4) {}

const uint8_t* Resampler::Row(size_t row) {
  const AxisMap::Taps& taps = rows_.taps[row];
  if (taps.count == 1 && taps.first == latest_) return target_.data();
  AverageColumns(AverageRows(taps));
  latest_ = taps.count == 1 ? taps.first : -1;
  return target_.data();
}

const uint8_t* Resampler::AverageRows(const AxisMap::Taps& taps) {
  const uint8_t* source =
      pixels_ + static_cast<size_t>(taps.first - rows_.FirstSource()) * rowBytes_;
  const auto step = static_cast<ptrdiff_t>(rowBytes_);
  for (int32_t i = 0; i < taps.count; ++i) PrefetchRowAhead(source + i * step, step, lineBytes_);
  if (taps.count == 1) return source;
  const uint16_t* const weights = &rows_.weights[taps.weights];
  if (taps.count == 2) {
    const uint8_t* const other = source + rowBytes_;
    if (weights[0] == weights[1]) {
      AverageEvenly(line_.data(), source, other, lineBytes_);
    } else {
      AverageTwo(line_.data(), source, other, lineBytes_, weights[0], weights[1]);
    }
    return line_.data();
  }
  SetSums(sums_.data(), source, lineBytes_, weights[0]);
  for (int32_t i = 1; i < taps.count; ++i) {
    source += rowBytes_;
    AddToSums(sums_.data(), source, lineBytes_, weights[i]);
  }
  RoundSums(line_.data(), sums_.data(), lineBytes_);
  return line_.data();
}

void Resampler::AverageColumns(const uint8_t* line) {
  uint8_t* target = target_.data();
  if (halvesColumns_) {
    HalveColumns(target, line, columns_.size());
    return;
  }
  for (const AxisMap::Taps& taps : columns_.taps) {
    const uint8_t* source = line + static_cast<size_t>(taps.first - columns_.FirstSource()) * 4;
    if (taps.count == 1) {
      memcpy(target, source, 4);
    } else {
      constexpr uint32_t kHalf = 0x00800080;
      uint32_t even = kHalf;
      uint32_t odd = kHalf;
      const uint16_t* weight = columns_.weights.data() + taps.weights;
      int32_t i = 0;
      for (; i + 1 < taps.count; i += 2) {
        const auto two = Load<uint64_t>(source + ptrdiff_t{4} * i);
        const uint64_t weights = uint64_t{weight[i]} << 32 | weight[i + 1];
        even += SumOfTwo(two & kEverySecondOfTwo, weights);
        odd += SumOfTwo(two >> 8 & kEverySecondOfTwo, weights);
      }
      if (i < taps.count) {
        const auto last = Load<uint32_t>(source + ptrdiff_t{4} * i);
        even += (last & kEverySecond) * weight[i];
        odd += (last >> 8 & kEverySecond) * weight[i];
      }
      const uint32_t word = (even >> 8 & kEverySecond) | (odd & ~kEverySecond);
      memcpy(target, &word, 4);
    }
    target += 4;
  }
}

}  // namespace qrv::pixels
