// A picture as an image file.
#ifndef CLI_IMAGE_IMAGE_FILE_H_
#define CLI_IMAGE_IMAGE_FILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <screenshotqrv/host.h>

#include "cli/output/output_file.h"

namespace qrv::cli {

// A picture as its rows, which is how image files are written.
struct Rows {
  int32_t width = 0;   // pixels
  int32_t height = 0;  // rows
  bool hasTransparency = false;
  // Stores row `y` as width x 4 bytes: red, green, blue, alpha (255 opaque).
  std::function<void(int32_t y, uint8_t* rgba)> read;
  double density = 1;  // pixels a unit
};

// The rows of a host picture.
using SharedPicture = std::shared_ptr<const REALpictureStruct>;
Rows RowsOf(const SharedPicture& picture);

// Drops the alpha of a row, in place: 3 bytes a pixel from its start.
void PackRgb(uint8_t* row, int32_t width);

struct Encoding;

struct ImageFormat {
  const char* name;  // of --format and of the files
  bool hasCompression;
  bool hasQuality;
  int32_t maximumSide;  // pixels
  // Throws Failure and std::bad_alloc.
  void (*write)(const Rows& rows, const Encoding& encoding, OutputFile& file);
};

// The default, which every build has.
extern const ImageFormat kPng;

// The formats of this build, as cli/CMakeLists.txt lists them.
extern const std::span<const ImageFormat* const> kImageFormats;
std::vector<std::string> ImageFormatNames();

// The format of that name; null when this build has none. Ignores the case of letters.
const ImageFormat* FindImageFormat(std::string_view name);

// How a picture is stored. Without numbers: what suits screenshots.
struct Encoding {
  const ImageFormat* format = &kPng;
  std::optional<int32_t> compression;  // 0 (fastest) to 9 (smallest file)
  std::optional<int32_t> quality;      // 1 to 100
};

// What files say of their origin: the tool, and the local time with its offset, as RFC 3339 has it.
extern const char kSoftware[];
std::string LocalTime();

inline constexpr double kDotsPerInch = 96;  // of a display with one pixel per unit

// Writes the whole file or leaves what was there; "-" is standard output. The name that the file
// has. Throws Failure.
std::string WriteImage(const Rows& rows, const Encoding& encoding, const std::string& path,
                       Existing existing);

}  // namespace qrv::cli

#endif  // CLI_IMAGE_IMAGE_FILE_H_
