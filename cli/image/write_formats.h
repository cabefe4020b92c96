// The formats of image files that have libraries of their own.
#ifndef CLI_IMAGE_WRITE_FORMATS_H_
#define CLI_IMAGE_WRITE_FORMATS_H_

#include "cli/image/image_file.h"
#include "cli/output/output_file.h"

namespace qrv::cli {

// Each throws Failure.

// What files say of their origin: the tool, and the local time with its offset, as RFC 3339 has it.
extern const char kSoftware[];
std::string LocalTime();

inline constexpr double kDotsPerInch = 96;  // of a display with one pixel a unit

// Writes the rows as 8-bit RGB, or RGBA when they have transparency, with their origin and, where
// there is more than one pixel a unit, the pixels per metre.
void WritePng(const Rows& rows, const Encoding& encoding, OutputFile& file);

// Writes the rows without their transparency, in full colour resolution, so that text stays sharp.
void WriteJpeg(const Rows& rows, const Encoding& encoding, OutputFile& file);

// Writes the rows without losses, or with the losses of the quality where one is wanted.
void WriteWebp(const Rows& rows, const Encoding& encoding, OutputFile& file);
constexpr int32_t kMaxWebpSide = 16383;  // pixels

}  // namespace qrv::cli

#endif  // CLI_IMAGE_WRITE_FORMATS_H_
