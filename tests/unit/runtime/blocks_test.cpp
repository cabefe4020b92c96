#include "runtime/blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace qrv::runtime {
namespace {

constexpr size_t kBytes = (size_t{7} << 20) + 5;

bool IsZero(const Block& block) {
  return std::all_of(&block[0], &block[kBytes], [](uint8_t byte) { return byte == 0; });
}

TEST(Block, IsKeptForTheNextOfItsSizeAndZeroedWhereThatIsAskedFor) {
  Block block = NewZeroedBlock(kBytes);
  ASSERT_TRUE(IsZero(block));
  uint8_t* const memory = block.get();
  memset(memory, 0xAB, kBytes);
  for (const size_t otherSize : {kBytes, kBytes - 300000}) {
    block.reset();
    block = NewBlock(otherSize);
    EXPECT_EQ(block.get(), memory) << otherSize;
  }
  block.reset();
  block = NewZeroedBlock(kBytes);
  EXPECT_EQ(block.get(), memory);
  EXPECT_TRUE(IsZero(block));
  block.reset();
  EXPECT_TRUE(IsZero(NewZeroedBlock(kBytes * 3)));
  EXPECT_EQ(NewBlock(SIZE_MAX / 8 * 7), nullptr);
}

}  // namespace
}  // namespace qrv::runtime
