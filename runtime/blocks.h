// Memory for pixels of pictures and bytes of strings.
//
// Blocks of some megabytes come and go with every capture, and fresh ones cost more than to fill
// them: the system zeroes them page by page. So the one that was given back last is kept for the
// next that asks for about as much.
#ifndef RUNTIME_BLOCKS_H_
#define RUNTIME_BLOCKS_H_

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qrv::runtime {

struct BlockDeleter {
  size_t mappedSize = 0;  // bytes; 0: it is malloc's

  void operator()(uint8_t* memory) const;
};

using Block = std::unique_ptr<uint8_t[], BlockDeleter>;

// A block of that many bytes, all zero or of any content; null when there is no memory.
Block NewZeroedBlock(size_t bytes);
Block NewBlock(size_t bytes);

}  // namespace qrv::runtime

#endif  // RUNTIME_BLOCKS_H_
