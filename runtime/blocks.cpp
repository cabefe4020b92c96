#include "runtime/blocks.h"

#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#include <utility>

namespace qrv::runtime {
namespace {

constexpr size_t kLargeBlock = size_t{4} << 20;  // smaller ones come from malloc
constexpr size_t kHugePageBytes = size_t{2} << 20;

struct Mapping {
  uint8_t* memory = nullptr;
  size_t size = 0;
};

Mapping kept;

Mapping Map(size_t bytes) {
  const size_t size = (bytes + kHugePageBytes - 1) / kHugePageBytes * kHugePageBytes;
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return {};
  madvise(memory, size, MADV_HUGEPAGE);
  return {static_cast<uint8_t*>(memory), size};
}

void Keep(const Mapping& mapping) {
  const Mapping before = std::exchange(kept, mapping);
  if (before.memory != nullptr) munmap(before.memory, before.size);
}

Block NewLargeBlock(size_t bytes, bool isZero) {
  Mapping mapping = std::exchange(kept, {});
  // A much larger block would waste memory.
  const bool isReused = mapping.size >= bytes && mapping.size - bytes <= bytes / 4;
  if (isReused && isZero) memset(mapping.memory, 0, bytes);
  if (!isReused) {
    if (mapping.memory != nullptr) munmap(mapping.memory, mapping.size);
    mapping = Map(bytes);
  }
  return Block(mapping.memory, BlockDeleter{mapping.size});
}

bool IsLarge(size_t bytes) { return bytes >= kLargeBlock && bytes <= SIZE_MAX - kHugePageBytes; }

}  // namespace

void BlockDeleter::operator()(uint8_t* memory) const {
  if (mappedSize != 0) {
    Keep({memory, mappedSize});
  } else {
    free(memory);
  }
}

Block NewZeroedBlock(size_t bytes) {
  if (IsLarge(bytes)) return NewLargeBlock(bytes, true);
  return Block(static_cast<uint8_t*>(calloc(1, bytes)));
}

Block NewBlock(size_t bytes) {
  if (IsLarge(bytes)) return NewLargeBlock(bytes, false);
  return Block(static_cast<uint8_t*>(malloc(bytes)));
}

}  // namespace qrv::runtime
