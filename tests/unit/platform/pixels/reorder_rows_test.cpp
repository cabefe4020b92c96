#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "platform/pixels/rows.h"

namespace qrv::pixels {
namespace {

using Bytes = std::vector<uint8_t>;

struct Offsets {
  size_t red, green, blue, alpha;
};

constexpr Offsets kOffsets[] = {{0, 1, 2, 3}, {1, 2, 3, 0}, {2, 1, 0, 3}};  // by ByteOrder

// Every start within a vector, every count up to several vectors.
void ExpectKernelMatchesPlainLoop(ByteOrder source, ByteOrder target, bool hasAlpha) {
  const Offsets& from = kOffsets[static_cast<size_t>(source)];
  const Offsets& to = kOffsets[static_cast<size_t>(target)];
  std::minstd_rand random;
  Bytes bytes(400);
  for (uint8_t& each : bytes) each = static_cast<uint8_t>(random() >> 8);
  for (size_t count = 0; count <= 83; ++count) {
    for (size_t start = 0; start < 8; ++start) {
      Bytes actual(400, 0xEE);
      Bytes expected = actual;
      const uint8_t* pixel = bytes.data() + 7 - start;
      ReorderingKernel(source, target, hasAlpha)(pixel, actual.data() + start, count);
      for (uint8_t *at = &expected[start], *end = at + count * 4; at < end; at += 4, pixel += 4) {
        at[to.red] = pixel[from.red];
        at[to.green] = pixel[from.green];
        at[to.blue] = pixel[from.blue];
        at[to.alpha] = hasAlpha ? pixel[from.alpha] : 255;
      }
      ASSERT_EQ(actual, expected) << count << " pixels from " << start;
    }
  }
}

TEST(ReorderingKernel, MatchesAPlainLoopBetweenAllByteOrders) {
  for (const ByteOrder from : {ByteOrder::kRGBA, ByteOrder::kARGB, ByteOrder::kBGRA}) {
    for (const ByteOrder to : {ByteOrder::kRGBA, ByteOrder::kARGB}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(from) << " to " << static_cast<int>(to));
      ExpectKernelMatchesPlainLoop(from, to, false);
      if (from != ByteOrder::kBGRA) ExpectKernelMatchesPlainLoop(from, to, true);
    }
  }
}

}  // namespace
}  // namespace qrv::pixels
