// Memory for pixels of pictures and bytes of strings.
//
// Every capture needs blocks of some megabytes. Fresh ones cost more than filling them, because the
// system zeroes them page by page. So the block that was freed last is kept, and reused for a
// request of about its size.
#ifndef RUNTIME_BLOCKS_H_
#define RUNTIME_BLOCKS_H_

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qrv::runtime {

struct BlockDeleter {
  size_t mappedSize = 0;  // bytes; 0 for a block from malloc

  void operator()(uint8_t* memory) const;
};

using Block = std::unique_ptr<uint8_t[], BlockDeleter>;

// A block of that many bytes, all zero or of any content; null when there is no memory.
Block NewZeroedBlock(size_t bytes);
Block NewBlock(size_t bytes);

}  // namespace qrv::runtime

#endif  // RUNTIME_BLOCKS_H_
