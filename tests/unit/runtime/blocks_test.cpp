#include "runtime/blocks.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace qrv::runtime {
namespace {

constexpr size_t kBytes = (size_t{7} << 20) + 5;

bool IsZero(const Block& block) {
  return std::all_of(&block[0], &block[kBytes], [](uint8_t byte) { return byte == 0; });
}

// How many of a large block's pages are in memory; -1 when some belong to nothing.
long PagesInMemory(void* memory) {
  std::vector<unsigned char> pages(kBytes / 4096);
  if (mincore(memory, pages.size() * 4096, pages.data()) != 0) return -1;
  return std::count_if(pages.begin(), pages.end(), [](auto page) { return (page & 1) != 0; });
}

TEST(Block, IsKeptForTheNextOfItsSizeUntilNobodyAsks) {
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
  EXPECT_NE(NewBlock(kBytes * 3 / 5), nullptr);  // for which that would be too large
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  EXPECT_EQ(PagesInMemory(memory), -1);
}

TEST(Block, IsHadInAForkWhateverTheThreadsOfItsParentDid) {
  NewZeroedBlock(kBytes).reset();
  for (int i = 0; i < 50; ++i) {
    NewZeroedBlock(kBytes).reset();                               // which is zeroed meanwhile
    const std::chrono::milliseconds pause(i % 10 == 0 ? 20 : 0);  // after which the threads wait
    std::this_thread::sleep_for(pause);
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);
      int taken = 0;
      for (; taken < 4 && IsZero(NewZeroedBlock(kBytes)); ++taken) {
        std::this_thread::sleep_for(pause);
      }
      _exit(taken == 4 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0) << i;
  }
}

TEST(Block, IsReadyWhenItWasPrepared) {
  PrepareBlock(kBytes);
  const Block block = NewZeroedBlock(kBytes);
  EXPECT_TRUE(IsZero(block));
  PrepareBlock(kBytes);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const Block unwritten = NewBlock(kBytes);
  EXPECT_GE(PagesInMemory(unwritten.get()), 1024);  // of the whole large pages
  PrepareBlock(kBytes * 3);
  EXPECT_TRUE(IsZero(NewZeroedBlock(kBytes)));
  EXPECT_EQ(NewBlock(SIZE_MAX / 8 * 7), nullptr);
}

}  // namespace
}  // namespace qrv::runtime
