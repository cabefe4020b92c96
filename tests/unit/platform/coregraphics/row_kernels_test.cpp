#include "platform/coregraphics/row_kernels.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace qrv::coregraphics {
namespace {

using Bytes = std::vector<uint8_t>;

struct Offsets {
  size_t red, green, blue, alpha;
};

constexpr Offsets kOffsets[] = {{0, 1, 2, 3}, {1, 2, 3, 0}, {2, 1, 0, 3}};  // by ByteOrder

Bytes RandomBytes(size_t count) {
  std::minstd_rand random(static_cast<unsigned>(count));
  Bytes bytes(count);
  for (uint8_t& each : bytes) each = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

void ConvertPlainly(uint8_t* destination, const Offsets& to, const uint8_t* source,
                    const Offsets& from, size_t count) {
  for (size_t i = 0; i < count; ++i, destination += 4, source += 4) {
    destination[to.red] = source[from.red];
    destination[to.green] = source[from.green];
    destination[to.blue] = source[from.blue];
    destination[to.alpha] = 255;
  }
}

// Every start within a vector, every count up to several vectors.
void ExpectKernelMatchesPlainLoop(ByteOrder from, ByteOrder to) {
  const RowKernel kernel = OpaqueRowKernel(from, to);
  const Bytes source = RandomBytes(400);
  for (size_t count = 0; count <= 83; ++count) {
    for (size_t start = 0; start < 8; ++start) {
      Bytes actual(400, 0xEE);
      Bytes expected = actual;
      kernel(actual.data() + start, source.data() + 7 - start, count);
      ConvertPlainly(expected.data() + start, kOffsets[static_cast<size_t>(to)],
                     source.data() + 7 - start, kOffsets[static_cast<size_t>(from)], count);
      ASSERT_EQ(actual, expected) << count << " pixels from " << start;
    }
  }
}

TEST(OpaqueRowKernel, MatchesAPlainLoopBetweenAllByteOrders) {
  for (const ByteOrder from : {ByteOrder::kRGBA, ByteOrder::kARGB, ByteOrder::kBGRA}) {
    for (const ByteOrder to : {ByteOrder::kRGBA, ByteOrder::kARGB}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(from) << " to " << static_cast<int>(to));
      ExpectKernelMatchesPlainLoop(from, to);
    }
  }
}

}  // namespace
}  // namespace qrv::coregraphics
