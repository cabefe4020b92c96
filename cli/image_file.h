// A picture as an image file.
#ifndef CLI_IMAGE_FILE_H_
#define CLI_IMAGE_FILE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <screenshotqrv/host.h>

namespace qrv::cli {

// A picture as its rows, which is how image files are written.
struct Rows {
  int32_t width = 0;   // pixels
  int32_t height = 0;  // rows
  bool hasTransparency = false;
  // Stores row `y` as width x 4 bytes: red, green, blue, alpha (255 opaque).
  std::function<void(int32_t y, uint8_t* rgba)> read;
};

// The rows of a host picture, which must outlive them.
Rows RowsOf(const REALpictureStruct* picture);

// Drops the alpha of a row, in place: 3 bytes a pixel from its start.
void PackRgb(uint8_t* row, int32_t width);

enum class ImageFormat { kPng, kPpm };

// Writes the whole file or leaves what was there; "-" is standard output. `compression` is for PNG.
// Throws Failure.
void WriteImage(const Rows& rows, const std::string& path, ImageFormat format,
                std::optional<int> compression);

// Prints one line: the file, its size and what it shows.
void ReportImage(const std::string& path, const Rows& rows, const std::string& source);

}  // namespace qrv::cli

#endif  // CLI_IMAGE_FILE_H_
