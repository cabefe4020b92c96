// The pixels of a console or web application's picture: a true-colour image record with its rows.
#ifndef RUNTIME_CONSOLE_IMAGE_H_
#define RUNTIME_CONSOLE_IMAGE_H_

#include <cstdint>
#include <memory>

#include "host/host_types.h"

namespace qrv::runtime {

struct ConsoleImageDeleter {
  void operator()(ConsoleImage* image) const;
};

using ConsoleImagePtr = std::unique_ptr<ConsoleImage, ConsoleImageDeleter>;

// A black, opaque image, or null when there is no memory. Its rows are one zeroed block, not
// touched before somebody writes them.
ConsoleImagePtr MakeConsoleImage(int32_t width, int32_t height);

}  // namespace qrv::runtime

#endif  // RUNTIME_CONSOLE_IMAGE_H_
