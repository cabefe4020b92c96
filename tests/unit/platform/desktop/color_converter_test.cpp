#include "platform/desktop/color_converter.h"

#include <gtest/gtest.h>

namespace qrv::desktop {
namespace {

constexpr std::array<Channel, 3> kSixteenBits = {{{11, 31}, {5, 63}, {0, 31}}};
constexpr std::array<Channel, 3> kEightEach = {{{16, 255}, {8, 255}, {0, 255}}};
constexpr std::array<Channel, 3> kRedLast = {{{0, 255}, {8, 255}, {16, 255}}};

// No X server on this machine sends bytes in the other order, or three a pixel.
TEST(ColorConverter, ReadsPixelsOfEverySizeInTheServersByteOrder) {
  struct {
    PixelFormat format;
    std::vector<uint8_t> bytes;  // of two pixels, red and cyan
  } const cases[] = {{{2, 4, false, kSixteenBits}, {0x00, 0xF8, 0xFF, 0x07}},
                     {{2, 4, true, kSixteenBits}, {0xF8, 0x00, 0x07, 0xFF}},
                     {{3, 4, false, kEightEach}, {0, 0, 0xFF, 0xFF, 0xFF, 0}},
                     {{3, 4, true, kEightEach}, {0xFF, 0, 0, 0, 0xFF, 0xFF}},
                     {{4, 4, false, kEightEach}, {0, 0, 0xFF, 9, 0xFF, 0xFF, 0, 9}},
                     {{4, 4, false, kRedLast}, {0xFF, 0, 0, 9, 0, 0xFF, 0xFF, 9}},
                     {{4, 4, true, kEightEach}, {9, 0xFF, 0, 0, 9, 0, 0xFF, 0xFF}},
                     {{4, 4, true, kRedLast}, {9, 0, 0, 0xFF, 9, 0xFF, 0xFF, 0}}};
  for (const auto& [format, bytes] : cases) {
    std::array<uint32_t, 2> row = {};
    ColorConverter(format).ConvertRow(bytes.data(), row.data(), 2);
    for (uint32_t& pixel : row) pixel &= 0xFFFFFF;
    EXPECT_EQ(row, (std::array<uint32_t, 2>{0xFF0000, 0x00FFFF}))
        << format.bytesPerPixel << " bytes, big-endian " << format.bigEndian;
    EXPECT_EQ(IsFrameFormat(format), &format == &cases[4].format);
    EXPECT_EQ(ImageRowBytes(format, 3), (3 * format.bytesPerPixel + 3) / 4 * 4);
  }
  EXPECT_FALSE(IsFrameFormat({4, 4, false, kEightEach, 256})) << "with a colour map";
}

}  // namespace
}  // namespace qrv::desktop
