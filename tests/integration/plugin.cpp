#include "tests/integration/plugin.h"

#include <cstdlib>
#include <random>

namespace qrv::testing {
namespace {

using runtime::Host;
using runtime::Image;
using runtime::Ledger;

size_t Offset(const Image& image, int x, int y) {
  return (static_cast<size_t>(y) * static_cast<size_t>(image.width) + static_cast<size_t>(x)) * 4;
}

}  // namespace

void UseSystem(const char* version) { setenv("QRV_SYSTEM_VERSION", version, 1); }

void UseDesktop(const std::string& desktop) { setenv("QRV_DESKTOP", desktop.c_str(), 1); }

void UseDesktop(const Xvfb& server) { UseDesktop("x11:" + server.display()); }

unsigned Seed() {
  const char* const given = std::getenv("QRV_TEST_SEED");
  static const unsigned seed =
      given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device()();
  return seed;
}

Plugin::Plugin(runtime::HostOptions options) : host_(std::move(options)) {
  std::string error;
  EXPECT_TRUE(host_.LoadPlugin(QRV_BUILD_DIR "/ScreenshotQRV.so", error)) << error;
}

Plugin::Picture Plugin::Take(REALpictureStruct* picture) {
  if (picture == nullptr) {
    EXPECT_EQ(host_.Outstanding(), Ledger{});
    return std::nullopt;
  }
  EXPECT_EQ(Host::References(picture), 1);
  EXPECT_EQ(host_.Outstanding().pictureLocks, 0);
  EXPECT_EQ(host_.Outstanding().references, 1);
  Image image = Host::Read(picture);
  host_.Release(picture);
  EXPECT_EQ(host_.Outstanding(), Ledger{});
  return image;
}

RawPixels Plugin::Take(REALstringStruct* string, RawPixels numbers) {
  if (string != nullptr) {
    EXPECT_EQ(Host::References(string), 1);
    numbers.bytes = Host::Bytes(string);
    numbers.encoding = Host::Encoding(string);
    host_.Release(string);
  }
  EXPECT_EQ(host_.Outstanding(), Ledger{});
  return numbers;
}

Plugin::Picture Plugin::Main() {
  return Take(host_.Call<REALpictureStruct*>("ScreenshotQRV as picture"));
}

Plugin::Picture Plugin::Display(int32_t index) {
  return Take(
      host_.Call<REALpictureStruct*>("ScreenshotDisplayQRV(index as integer) as picture", index));
}

Plugin::Picture Plugin::Rect(int32_t left, int32_t top, int32_t width, int32_t height) {
  return Take(host_.Call<REALpictureStruct*>(
      "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer) as "
      "picture",
      left, top, width, height));
}

Plugin::Picture Plugin::Scaled(int32_t left, int32_t top, int32_t width, int32_t height,
                               int32_t destinationWidth, int32_t destinationHeight) {
  return Take(host_.Call<REALpictureStruct*>(
      "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer, "
      "destwidth as integer, destheight as integer) as picture",
      left, top, width, height, destinationWidth, destinationHeight));
}

Plugin::Picture Plugin::FromRaw(const RawPixels& raw) {
  REALstringStruct* string = host_.NewString(raw.bytes);
  auto* picture = host_.Call<REALpictureStruct*>(
      "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, data as "
      "string) as picture",
      raw.width, raw.height, raw.rowBytes, string);
  EXPECT_EQ(Host::References(string), 1);
  host_.Release(string);
  return Take(picture);
}

RawPixels Plugin::Raw() {
  RawPixels raw = {{}, 0, -7, -7, -7};
  auto* string = host_.Call<REALstringStruct*>(
      "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes as "
      "integer) as string",
      &raw.width, &raw.height, &raw.rowBytes);
  return Take(string, std::move(raw));
}

RawPixels Plugin::RawDisplay(int32_t index) {
  RawPixels raw = {{}, 0, -7, -7, -7};
  auto* string = host_.Call<REALstringStruct*>(
      "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref RowBytes "
      "as integer, index as integer) as string",
      &raw.width, &raw.height, &raw.rowBytes, index);
  return Take(string, std::move(raw));
}

Image Crop(const RgbImage& screen, int left, int top, int width, int height) {
  Image image = {width, height, {}};
  image.rgba.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t* pixel = image.rgba.data() + Offset(image, x, y);
      pixel[3] = 255;
      const int fromX = left + x;
      const int fromY = top + y;
      if (fromX < 0 || fromY < 0 || fromX >= screen.width || fromY >= screen.height) continue;
      const uint8_t* from =
          screen.pixels.data() + (static_cast<ptrdiff_t>(fromY) * screen.width + fromX) * 3;
      std::copy(from, from + 3, pixel);
    }
  }
  return image;
}

std::string Difference(const Plugin::Picture& actual, const Image& expected) {
  if (!actual.has_value()) return "nil";
  if (actual->width != expected.width || actual->height != expected.height) {
    return std::to_string(actual->width) + " x " + std::to_string(actual->height);
  }
  if (actual->rgba == expected.rgba) return "";
  for (int y = 0; y < expected.height; ++y) {
    for (int x = 0; x < expected.width; ++x) {
      const uint8_t* a = actual->rgba.data() + Offset(expected, x, y);
      const uint8_t* e = expected.rgba.data() + Offset(expected, x, y);
      if (std::equal(a, a + 4, e)) continue;
      std::string text = "at " + std::to_string(x) + ", " + std::to_string(y) + ":";
      for (int i = 0; i < 4; ++i) text += " " + std::to_string(a[i]);
      text += " instead of";
      for (int i = 0; i < 4; ++i) text += " " + std::to_string(e[i]);
      return text;
    }
  }
  return "sizes of the pixels differ";
}

}  // namespace qrv::testing
