#include "cli/image/image_file.h"

#include <gmock/gmock.h>
#include <spng.h>

#include <random>

#include "cli/failure.h"
#include "tests/support/process.h"

namespace qrv::cli {
namespace {

using Bytes = std::vector<uint8_t>;

// Red, green, blue, alpha: a plain third, one in which every third pixel is another, a random one.
Bytes Pixels(int32_t width, int32_t height, bool isTransparent) {
  std::mt19937 random(7);
  const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
  Bytes pixels(count * 4, 255);
  for (size_t i = count / 3; i < count; ++i) {
    uint8_t* const pixel = &pixels[i * 4];
    if (i < count * 2 / 3 && i % 3 != 0) {
      memcpy(pixel, pixel - 4, 4);
      continue;
    }
    for (int k = 0; k < (isTransparent ? 4 : 3); ++k) pixel[k] = static_cast<uint8_t>(random());
  }
  return pixels;
}

std::string Write(const Bytes& pixels, int32_t width, int32_t height, bool isTransparent,
                  const Encoding& encoding, double density = 1) {
  const testing::ScratchFolder folder;
  const size_t rowLength = static_cast<size_t>(width) * 4;
  WriteImage({width, height, isTransparent,
              [&](int32_t y, uint8_t* rgba) {
                memcpy(rgba, pixels.data() + static_cast<size_t>(y) * rowLength, rowLength);
              },
              density},
             encoding, folder.File("a"), Existing::kReplace);
  return folder.Read("a");
}

std::shared_ptr<spng_ctx> OpenPng(const std::string& file) {
  std::shared_ptr<spng_ctx> png(spng_ctx_new(0), spng_ctx_free);
  spng_set_png_buffer(png.get(), file.data(), file.size());
  return png;
}

TEST(PngFile, HoldsEveryPixelInOneStripAndInManyAtEveryCompression) {
  for (const auto& [width, height] : {std::pair(1, 1), {37, 11}, {1023, 1301}}) {
    for (const bool isTransparent : {false, true}) {
      const Bytes pixels = Pixels(width, height, isTransparent);
      std::map<std::optional<int>, size_t> sizes;
      for (const std::optional<int> level : {std::optional<int>(), {0}, {1}, {6}, {9}}) {
        const std::string file = Write(pixels, width, height, isTransparent, {&kPng, level, {}});
        const auto png = OpenPng(file);
        sizes[level] = file.size();
        spng_ihdr header = {};
        EXPECT_EQ(spng_get_ihdr(png.get(), &header), 0);
        EXPECT_EQ(header.color_type, isTransparent ? 6 : 2);
        Bytes decoded(pixels.size());
        EXPECT_EQ(spng_decode_image(png.get(), decoded.data(), decoded.size(), SPNG_FMT_RGBA8, 0),
                  0);
        EXPECT_TRUE(decoded == pixels);
      }
      if (height < 1000) continue;
      EXPECT_GT(sizes[0], pixels.size() * 3 / 4);
      EXPECT_GT(sizes[6], sizes[9]);
    }
  }
}

// Red, green, blue, alpha, as another program reads the file.
std::string Decode(const std::string& file, const std::string& format) {
  const testing::ScratchFolder folder;
  folder.Write("a", file);
  return testing::RunProgram({"convert", format + ":" + folder.File("a"), "-depth", "8", "rgba:-"})
      .output;
}

TEST(WebpFile, HoldsEveryPixelAtEveryCompressionAndFewerBytesInAWorseQuality) {
  const ImageFormat* const webp = FindImageFormat("webp");
  if (webp == nullptr) GTEST_SKIP() << "this build writes no WebP";
  for (const bool isTransparent : {false, true}) {
    const Bytes pixels = Pixels(123, 47, isTransparent);
    const auto write = [&](std::optional<int> level, std::optional<int> quality) {
      return Write(pixels, 123, 47, isTransparent, {webp, level, quality});
    };
    EXPECT_LT(write({}, 10).size(), write({}, 90).size());
    EXPECT_LT(write(9, {}).size(), write(0, {}).size());
    for (const std::optional<int> level : {std::optional<int>(), {0}, {6}, {9}}) {
      EXPECT_TRUE(Decode(write(level, {}), "webp") == std::string(pixels.begin(), pixels.end()));
    }
  }
  EXPECT_THAT(
      [&] {
        Write(Pixels(1, 16384, false), 1, 16384, false, {webp, {}, {}});
      },
      ::testing::ThrowsMessage<Failure>(::testing::HasSubstr(
          "16383 pixels a side at most, and these are 1x16384. Choose another format")));
}

TEST(PngFile, CarriesTheTimeAndTheDensityOfADenseDisplay) {
  for (const auto& [density, pixelsPerMetre] : {std::pair(1.0, 0U), {2.0, 7559U}, {1.5, 5669U}}) {
    const std::string file = Write(Pixels(3, 2, false), 3, 2, false, {}, density);
    const auto png = OpenPng(file);
    spng_time time = {};
    EXPECT_EQ(spng_get_time(png.get(), &time), 0);
    tm parts = {time.second, time.minute, time.hour, time.day, time.month - 1, time.year - 1900,
                0,           0,           0,         0,        nullptr};
    EXPECT_NEAR(difftime(::time(nullptr), timegm(&parts)), 0, 30);
    spng_phys physical = {};
    EXPECT_EQ(spng_get_phys(png.get(), &physical) == 0, density != 1);
    EXPECT_EQ(std::pair(physical.ppu_x, physical.ppu_y), std::pair(pixelsPerMetre, pixelsPerMetre));
    uint8_t intent = 9;
    EXPECT_EQ(spng_get_srgb(png.get(), &intent), 0);
    spng_text texts[2];
    uint32_t count = 2;
    ASSERT_EQ(spng_get_text(png.get(), texts, &count), 0);
    EXPECT_EQ(std::string(texts[0].text, 8), "qrvshot ");
    tm local = {};
    EXPECT_NE(strptime(texts[1].text, "%FT%T%z", &local), nullptr);
    EXPECT_NEAR(difftime(::time(nullptr), timegm(&local) - local.tm_gmtoff), 0, 30);
    const ImageFormat* const jpg = FindImageFormat("jpg");
    if (jpg == nullptr) continue;  // it is left out of this build
    const std::string jpeg = Write(Pixels(3, 2, false), 3, 2, false, {jpg, {}, {}}, density);
    const int dots = density == 1 ? 1 : static_cast<int>(96 * density);  // or a ratio of 1:1
    EXPECT_EQ(jpeg.substr(13, 5),
              std::string({density != 1, 0, static_cast<char>(dots), 0, static_cast<char>(dots)}));
    EXPECT_NE(jpeg.find("qrvshot "), std::string::npos);
  }
}

// Single pixels keep their colours: these are halved neither across nor down.
TEST(JpegFile, IsNearEveryPixelAndNearerInBetterQuality) {
  const ImageFormat* const jpg = FindImageFormat("jpg");
  if (jpg == nullptr) GTEST_SKIP() << "this build writes no JPEG";
  constexpr size_t kWidth = 64;
  Bytes pixels;
  for (size_t i = 0; i < kWidth * kWidth; ++i) {
    const Bytes pixel =
        (i + i / kWidth) % 2 == 0 ? Bytes{200, 100, 50, 255} : Bytes{50, 100, 200, 255};
    pixels.insert(pixels.end(), pixel.begin(), pixel.end());
  }
  int previous = 256;
  for (const std::optional<int> quality : {std::optional<int>(20), {}, {100}}) {
    const std::string decoded =
        Decode(Write(pixels, kWidth, kWidth, false, {jpg, {}, quality}), "jpg");
    ASSERT_EQ(decoded.size(), pixels.size());
    int worst = 0;
    for (size_t i = 0; i < pixels.size(); ++i) {
      worst = std::max(worst, std::abs(static_cast<uint8_t>(decoded[i]) - pixels[i]));
    }
    EXPECT_LE(worst, quality == 20 ? 120 : 12);
    EXPECT_LE(worst, previous);
    previous = worst;
  }
}

TEST(PpmFile, HoldsTheColoursAfterItsHeader) {
  EXPECT_EQ(
      Write({'a', 'b', 'c', 255, 'd', 'e', 'f', 0}, 1, 2, true, {FindImageFormat("ppm"), {}, {}}),
      "P6\n1 2\n255\nabcdef");
}

}  // namespace
}  // namespace qrv::cli
