#include "runtime/console_image.h"

#include <stdlib.h>

namespace qrv::runtime {

void ConsoleImageDeleter::operator()(ConsoleImage* image) const {
  if (image->tpixels != nullptr) {
    free(image->tpixels[0]);
    free(image->tpixels);
  }
  free(image);
}

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
