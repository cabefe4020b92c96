#include "cli/image_file.h"

#include <gtest/gtest.h>
#include <spng.h>

#include <random>
#include <vector>

#include "tests/unit/cli/scratch_folder.h"

namespace qrv::cli {
namespace {

using Bytes = std::vector<uint8_t>;

// Random pixels as red, green, blue, alpha.
Bytes RandomPixels(int32_t width, int32_t height, bool transparent) {
  std::mt19937 random(7);
  Bytes pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  for (size_t index = 0; index < pixels.size(); ++index) {
    pixels[index] = index % 4 == 3 && !transparent ? 255 : static_cast<uint8_t>(random());
  }
  return pixels;
}

Rows RowsOver(const Bytes& pixels, int32_t width, int32_t height, bool transparent) {
  return {width, height, transparent, [&pixels, width](int32_t y, uint8_t* rgba) {
            const size_t rowLength = static_cast<size_t>(width) * 4;
            memcpy(rgba, pixels.data() + static_cast<size_t>(y) * rowLength, rowLength);
          }};
}

struct Decoded {
  spng_ihdr header = {};
  Bytes rgba;
};

Decoded DecodePng(const std::string& file) {
  Decoded decoded;
  spng_ctx* decoder = spng_ctx_new(0);
  size_t size = 0;
  EXPECT_EQ(spng_set_png_buffer(decoder, file.data(), file.size()), 0);
  EXPECT_EQ(spng_get_ihdr(decoder, &decoded.header), 0);
  EXPECT_EQ(spng_decoded_image_size(decoder, SPNG_FMT_RGBA8, &size), 0);
  decoded.rgba.resize(size);
  EXPECT_EQ(spng_decode_image(decoder, decoded.rgba.data(), size, SPNG_FMT_RGBA8, 0), 0);
  spng_ctx_free(decoder);
  return decoded;
}

TEST(PngFile, HoldsEveryPixelAtEveryCompression) {
  const ScratchFolder folder;
  for (const bool transparent : {false, true}) {
    const Bytes pixels = RandomPixels(37, 11, transparent);
    for (const std::optional<int> level :
         {std::optional<int>(), std::optional(0), std::optional(9)}) {
      WriteImage(RowsOver(pixels, 37, 11, transparent), folder.File("a.png"), ImageFormat::kPng,
                 level);
      const Decoded decoded = DecodePng(folder.Read("a.png"));
      EXPECT_EQ(decoded.header.color_type,
                transparent ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR);
      EXPECT_EQ(decoded.header.bit_depth, 8);
      EXPECT_EQ(decoded.rgba, pixels);
    }
  }
}

// A flat picture above a noisy one, of several strips each.
Bytes FlatAndNoisyPixels(int32_t width, int32_t height) {
  Bytes pixels = RandomPixels(width, height, false);
  const auto middle = static_cast<ptrdiff_t>(pixels.size() / 2);
  std::fill(pixels.begin(), pixels.begin() + middle, uint8_t{255});
  return pixels;
}

TEST(PngFile, OfManyStripsIsOneStream) {
  constexpr int32_t kWidth = 1023;
  constexpr int32_t kHeight = 1301;
  const ScratchFolder folder;
  const Bytes pixels = FlatAndNoisyPixels(kWidth, kHeight);
  for (const std::optional<int> level :
       {std::optional<int>(), std::optional(0), std::optional(6)}) {
    WriteImage(RowsOver(pixels, kWidth, kHeight, false), folder.File("a.png"), ImageFormat::kPng,
               level);
    EXPECT_TRUE(DecodePng(folder.Read("a.png")).rgba == pixels);
  }
}

TEST(PngFile, MayBeOnePixel) {
  const ScratchFolder folder;
  const Bytes pixels = {1, 2, 3, 255};
  WriteImage(RowsOver(pixels, 1, 1, false), folder.File("a.png"), ImageFormat::kPng, {});
  EXPECT_EQ(DecodePng(folder.Read("a.png")).rgba, pixels);
}

TEST(PpmFile, HoldsTheColoursAfterItsHeader) {
  const ScratchFolder folder;
  const Bytes pixels = {'a', 'b', 'c', 255, 'd', 'e', 'f', 0};
  WriteImage(RowsOver(pixels, 1, 2, true), folder.File("a.ppm"), ImageFormat::kPpm, {});
  EXPECT_EQ(folder.Read("a.ppm"), "P6\n1 2\n255\nabcdef");
}

}  // namespace
}  // namespace qrv::cli
