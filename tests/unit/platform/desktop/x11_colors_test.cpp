#include "platform/desktop/x11_colors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace qrv::desktop {
namespace {

constexpr std::array<Channel, 3> kSixteenBits = {{{11, 31}, {5, 63}, {0, 31}}};
constexpr std::array<Channel, 3> kEightEach = {{{16, 255}, {8, 255}, {0, 255}}};

PixelFormat Format(size_t bytesPerPixel, bool bigEndian, const std::array<Channel, 3>& channels) {
  PixelFormat format;
  format.bytesPerPixel = bytesPerPixel;
  format.rowAlignment = 4;
  format.bigEndian = bigEndian;
  format.channels = channels;
  return format;
}

std::vector<uint32_t> Convert(const PixelFormat& format, const std::vector<uint8_t>& bytes) {
  std::vector<uint32_t> row(bytes.size() / format.bytesPerPixel);
  ColorConverter(format).ConvertRow(bytes.data(), row.data(), static_cast<int32_t>(row.size()));
  return row;
}

TEST(ColorConverter, ReadsPixelsInTheServersByteOrder) {
  struct {
    PixelFormat format;
    std::vector<uint8_t> bytes;
  } const cases[] = {{Format(2, false, kSixteenBits), {0x1F, 0xF8, 0xE0, 0x07}},
                     {Format(2, true, kSixteenBits), {0xF8, 0x1F, 0x07, 0xE0}},
                     {Format(3, false, kEightEach), {0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00}},
                     {Format(3, true, kEightEach), {0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00}},
                     {Format(4, false, kEightEach), {0xFF, 0, 0xFF, 9, 0, 0xFF, 0, 9}},
                     {Format(4, true, kEightEach), {9, 0xFF, 0, 0xFF, 9, 0, 0xFF, 0}}};
  for (const auto& each : cases) {
    EXPECT_EQ(Convert(each.format, each.bytes), (std::vector<uint32_t>{0xFF00FF, 0x00FF00}))
        << each.format.bytesPerPixel << " bytes, big-endian " << each.format.bigEndian;
  }
}

TEST(ColorConverter, TakesNoOtherLayoutForAFrames) {
  PixelFormat mapped = Format(4, false, kEightEach);
  mapped.isMapped = true;
  EXPECT_TRUE(IsFrameFormat(Format(4, false, kEightEach)));
  EXPECT_FALSE(IsFrameFormat(Format(4, true, kEightEach)));
  EXPECT_FALSE(IsFrameFormat(Format(3, false, kEightEach)));
  EXPECT_FALSE(IsFrameFormat(Format(4, false, {{{0, 255}, {8, 255}, {16, 255}}})));
  EXPECT_FALSE(IsFrameFormat(mapped));
}

}  // namespace
}  // namespace qrv::desktop
