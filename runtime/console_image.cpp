#include "runtime/console_image.h"

#include <stdlib.h>
#include <sys/mman.h>

namespace qrv::runtime {

void ConsoleImageDeleter::operator()(ConsoleImage* image) const {
  if (image->tpixels != nullptr) {
    free(image->tpixels[0]);
    free(image->tpixels);
  }
  free(image);
}

namespace {

// A hint that the whole large pages within the block are worth having: a picture that is written
// once is mostly page faults otherwise.
void PreferLargePages(void* block, size_t size) {
  constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
  const auto start = reinterpret_cast<uintptr_t>(block);
  const uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
  const uintptr_t end = (start + size) / kLargePage * kLargePage;
  if (first < end) {
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
  }
}

}  // namespace

ConsoleImagePtr MakeConsoleImage(int32_t width, int32_t height) {
  const auto rowLength = static_cast<size_t>(width);
  const auto rowCount = static_cast<size_t>(height);
  ConsoleImagePtr image(static_cast<ConsoleImage*>(calloc(1, sizeof(ConsoleImage))));
  if (image == nullptr) {
    return nullptr;
  }
  image->tpixels = static_cast<int32_t**>(calloc(rowCount, sizeof(int32_t*)));
  if (image->tpixels == nullptr) {
    return nullptr;
  }
  image->tpixels[0] = static_cast<int32_t*>(calloc(rowCount, rowLength * sizeof(int32_t)));
  if (image->tpixels[0] == nullptr) {
    return nullptr;
  }
  PreferLargePages(image->tpixels[0], rowCount * rowLength * sizeof(int32_t));
  for (size_t y = 1; y < rowCount; ++y) {
    image->tpixels[y] = image->tpixels[0] + y * rowLength;
  }
  image->sx = width;
  image->sy = height;
  image->trueColor = 1;
  image->transparent = -1;
  image->thick = 1;
  return image;
}

}  // namespace qrv::runtime
