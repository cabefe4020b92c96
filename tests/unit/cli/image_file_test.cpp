#include "cli/image_file.h"

#include <gtest/gtest.h>
#include <spng.h>

#include <random>

#include "tests/support/process.h"

namespace qrv::cli {
namespace {

using Bytes = std::vector<uint8_t>;

// Red, green, blue, alpha: a flat picture above a random one.
Bytes Pixels(int32_t width, int32_t height, bool isTransparent) {
  std::mt19937 random(7);
  Bytes pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 255);
  for (size_t i = pixels.size() / 2; i < pixels.size(); ++i) {
    if (i % 4 != 3 || isTransparent) pixels[i] = static_cast<uint8_t>(random());
  }
  return pixels;
}

std::string Write(const Bytes& pixels, int32_t width, int32_t height, bool isTransparent,
                  const Encoding& encoding) {
  const testing::ScratchFolder folder;
  const size_t rowLength = static_cast<size_t>(width) * 4;
  WriteImage({width, height, isTransparent,
              [&](int32_t y, uint8_t* rgba) {
                memcpy(rgba, pixels.data() + static_cast<size_t>(y) * rowLength, rowLength);
              }},
             encoding, folder.File("a"), Existing::kReplace);
  return folder.Read("a");
}

TEST(PngFile, HoldsEveryPixelInOneStripAndInManyAtEveryCompression) {
  for (const auto& [width, height] : {std::pair(1, 1), {37, 11}, {1023, 1301}}) {
    for (const bool isTransparent : {false, true}) {
      const Bytes pixels = Pixels(width, height, isTransparent);
      for (const std::optional<int> level : {std::optional<int>(), {0}, {6}, {9}}) {
        const std::string file =
            Write(pixels, width, height, isTransparent, {&kImageFormats[0], level, {}});
        const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> png(spng_ctx_new(0),
                                                                      spng_ctx_free);
        spng_set_png_buffer(png.get(), file.data(), file.size());
        spng_ihdr header = {};
        EXPECT_EQ(spng_get_ihdr(png.get(), &header), 0);
        EXPECT_EQ(header.color_type, isTransparent ? 6 : 2);
        Bytes decoded(pixels.size());
        EXPECT_EQ(spng_decode_image(png.get(), decoded.data(), decoded.size(), SPNG_FMT_RGBA8, 0),
                  0);
        EXPECT_TRUE(decoded == pixels);
      }
    }
  }
}

TEST(PpmFile, HoldsTheColoursAfterItsHeader) {
  EXPECT_EQ(Write({'a', 'b', 'c', 255, 'd', 'e', 'f', 0}, 1, 2, true, {&kImageFormats[4], {}, {}}),
            "P6\n1 2\n255\nabcdef");
}

}  // namespace
}  // namespace qrv::cli
