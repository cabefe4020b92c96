#include "tests/integration/plugin.h"

#include <algorithm>
#include <cstdlib>
#include <random>

#include "runtime/desktop_view.h"
#include "tests/integration/refused_memory.h"
#include "tests/support/cards.h"

namespace qrv::testing {
namespace {

using runtime::Host;
using runtime::Image;
using runtime::Ledger;
namespace methods = runtime::methods;

Image Paint(const Area& part, const std::function<uint32_t(int x, int y)>& color) {
  Image image = {part.width, part.height, {}};
  image.rgba.reserve(static_cast<size_t>(part.width) * static_cast<size_t>(part.height) * 4);
  for (int y = part.top; y < part.top + part.height; ++y) {
    for (int x = part.left; x < part.left + part.width; ++x) {
      const uint32_t rgb = color(x, y);
      for (const int shift : {16, 8, 0}) image.rgba.push_back(static_cast<uint8_t>(rgb >> shift));
      image.rgba.push_back(255);
    }
  }
  return image;
}

}  // namespace

void UseSystem(const char* version) { setenv("QRV_SYSTEM_VERSION", version, 1); }

void UseDesktop(const std::string& desktop) { setenv("QRV_DESKTOP", desktop.c_str(), 1); }

void UseDesktop(const Xvfb& server) { UseDesktop("x11:" + server.display()); }

pid_t ForkTest(const std::function<void()>& body) {
  return Fork([&] {
    body();
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
}

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

template <typename Function, typename... Arguments>
auto Plugin::Call(const runtime::Method<Function>& method, Arguments&&... arguments) {
  const MethodCall call;
  return host_.Call(method, std::forward<Arguments>(arguments)...);
}

Plugin::Picture Plugin::Main() { return Take(Call(methods::kScreenshot)); }

Plugin::Picture Plugin::Display(int32_t index) {
  return Take(Call(methods::kScreenshotDisplay, index));
}

Plugin::Picture Plugin::Rect(int32_t left, int32_t top, int32_t width, int32_t height) {
  return Take(Call(methods::kScreenshotRect, left, top, width, height));
}

Plugin::Picture Plugin::Scaled(int32_t left, int32_t top, int32_t width, int32_t height,
                               int32_t destinationWidth, int32_t destinationHeight) {
  return Take(Call(methods::kScreenshotRectScaled, left, top, width, height, destinationWidth,
                   destinationHeight));
}

Plugin::Picture Plugin::FromRaw(const RawPixels& raw) {
  REALstringStruct* string = host_.NewString(raw.bytes);
  auto* picture = Call(methods::kScreenshotFromString, raw.width, raw.height, raw.rowBytes, string);
  EXPECT_EQ(Host::References(string), 1);
  host_.Release(string);
  return Take(picture);
}

RawPixels Plugin::Raw() {
  RawPixels raw = {{}, 0, -7, -7, -7};
  auto* string = Call(methods::kScreenshotString, raw.width, raw.height, raw.rowBytes);
  return Take(string, std::move(raw));
}

RawPixels Plugin::RawDisplay(int32_t index) {
  RawPixels raw = {{}, 0, -7, -7, -7};
  auto* string =
      Call(methods::kScreenshotStringDisplay, raw.width, raw.height, raw.rowBytes, index);
  return Take(string, std::move(raw));
}

Image Crop(const RgbImage& screen, const Area& part) {
  return Paint(part, [&](int x, int y) {
    if (x < 0 || y < 0 || x >= screen.width || y >= screen.height) return 0U;
    const uint8_t* rgb = screen.pixels.data() + (static_cast<ptrdiff_t>(y) * screen.width + x) * 3;
    return static_cast<uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
  });
}

Image Cards(const std::string& layout, const Area& part) {
  std::vector<desktop::Display> displays;
  std::string problem;
  EXPECT_TRUE(desktop::ParseLayout(layout, displays, problem)) << problem;
  return Paint(part, [&](int x, int y) {
    for (size_t i = 0; i < displays.size(); ++i) {
      if (const auto color = CardColor(displays, i, x, y)) return *color;
    }
    return 0U;
  });
}

Plugin::Picture Opaque(Plugin::Picture picture) {
  if (!picture) return picture;
  for (size_t i = 3; i < picture->rgba.size(); i += 4) picture->rgba[i] = 255;
  return picture;
}

std::string Difference(const Plugin::Picture& actual, const Image& expected) {
  if (!actual.has_value()) return "nil";
  if (actual->width != expected.width || actual->height != expected.height) {
    return std::to_string(actual->width) + " x " + std::to_string(actual->height);
  }
  if (actual->rgba == expected.rgba) return "";
  const auto wrong =
      std::mismatch(expected.rgba.begin(), expected.rgba.end(), actual->rgba.begin());
  const auto pixel = (wrong.first - expected.rgba.begin()) / 4;
  std::string text = "at " + std::to_string(pixel % expected.width) + ", " +
                     std::to_string(pixel / expected.width) + ":";
  for (const auto* rgba : {&actual->rgba, &expected.rgba}) {
    if (rgba == &expected.rgba) text += " instead of";
    for (ptrdiff_t i = 0; i < 4; ++i) {
      text += " " + std::to_string((*rgba)[static_cast<size_t>(pixel * 4 + i)]);
    }
  }
  return text;
}

std::string DifferenceOn(const char* system, const std::function<Plugin::Picture()>& capture,
                         const Image& expected) {
  const std::string_view name = system;
  const unsigned strategy = name == kDisplayImage ? runtime::kDisplayImage
                            : name == kOpenGL     ? runtime::kOpenGL
                                                  : runtime::kQuickDraw;
  UseSystem(system);
  runtime::TakeStrategiesUsed();
  std::string difference = Difference(Opaque(capture()), expected);
  if ((runtime::TakeStrategiesUsed() & ~strategy) != 0) difference += " by another strategy";
  return difference.empty() ? "" : std::string("on ") + system + " " + difference;
}

}  // namespace qrv::testing
