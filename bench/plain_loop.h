// The reference that the un-premultiplying kernel is compared with.
#ifndef BENCH_PLAIN_LOOP_H_
#define BENCH_PLAIN_LOOP_H_

#include <cstddef>
#include <cstdint>

namespace qrv::bench {

// Premultiplied red, green, blue, alpha to colours (255, red, green, blue) and to a mask of
// 255 - alpha, by three divisions per pixel.
void UnmultiplyWithMask(const uint8_t* source, uint8_t* colour, uint8_t* mask, size_t pixels);

}  // namespace qrv::bench

#endif  // BENCH_PLAIN_LOOP_H_
