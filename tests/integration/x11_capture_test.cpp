// Captures of real X screens against what ImageMagick's import sees there.

#include <random>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;
using runtime::HostOptions;
using runtime::Image;

struct ScreenCase {
  const char* name;
  const char* screen;
  std::vector<std::string> arguments;
};

void PrintTo(const ScreenCase& one, std::ostream* out) { *out << one.name; }

class EveryScreen : public ::testing::TestWithParam<ScreenCase> {};

TEST_P(EveryScreen, IsCapturedPixelForPixel) {
  const Xvfb server(GetParam().screen, GetParam().arguments);
  server.FillRandom(7);
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  const Image whole = Crop(screen, 0, 0, screen.width, screen.height);
  EXPECT_EQ(Difference(plugin.Main(), whole), "");
  EXPECT_EQ(Difference(plugin.Display(0), whole), "");
  EXPECT_EQ(Difference(plugin.Rect(-5, 11, 333, 77), Crop(screen, -5, 11, 333, 77)), "");
}

INSTANTIATE_TEST_SUITE_P(
    X11, EveryScreen,
    ::testing::Values(ScreenCase{"Depth24", "800x600x24", {}},
                      ScreenCase{"Depth30", "800x600x30", {}},
                      ScreenCase{"Depth16", "800x600x16", {}},
                      ScreenCase{"Depth8", "800x600x8", {}},
                      ScreenCase{"OddWidth", "641x479x24", {}},
                      ScreenCase{"WithoutSharedMemory", "800x600x24", {"-extension", "MIT-SHM"}},
                      ScreenCase{"WithoutRandR", "800x600x24", {"-extension", "RANDR"}}),
    [](const auto& instance) { return instance.param.name; });

// Every kind of host: one process has one, so each is a test.
class EveryHost : public ::testing::TestWithParam<std::tuple<ApplicationKind, bool, double>> {};

TEST_P(EveryHost, GetsTheScreenPixelForPixel) {
  const auto& [application, alpha, version] = GetParam();
  const Xvfb server("320x200x24");
  server.FillRandom(8);
  UseDesktop(server);
  HostOptions options;
  options.application = application;
  options.picturesHaveAlpha = alpha;
  options.version = version;
  Plugin plugin(options);
  const RgbImage screen = server.ImportScreen();
  EXPECT_EQ(Difference(plugin.Main(), Crop(screen, 0, 0, 320, 200)), "");
  EXPECT_EQ(Difference(plugin.Rect(10, 20, 99, 33), Crop(screen, 10, 20, 99, 33)), "");
  UseSystem(kOpenGL);
  EXPECT_EQ(Difference(plugin.Main(), Crop(screen, 0, 0, 320, 200)), "");
  const RawPixels raw = plugin.Raw();
  EXPECT_EQ(Difference(plugin.FromRaw(raw), Crop(screen, 0, 0, 320, 200)), "");
}

INSTANTIATE_TEST_SUITE_P(
    X11, EveryHost,
    ::testing::Combine(::testing::Values(ApplicationKind::kDesktop, ApplicationKind::kConsole,
                                         ApplicationKind::kWeb),
                       ::testing::Bool(),
                       ::testing::Values(2010.0, 2011.04, 2012.0, 2013.0, 2013.03)));

class TwoMonitors : public ::testing::TestWithParam<const char*> {
 protected:
  TwoMonitors() {
    server.FillRandom(9);
    UseDesktop(server);
    UseSystem(GetParam());
  }

  Xvfb server{"2720x1024x24"};
};

TEST_P(TwoMonitors, AreTheirPartsOfTheScreen) {
  server.SetTwoMonitors();
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  EXPECT_EQ(Difference(plugin.Main(), Crop(screen, 0, 0, 1440, 900)), "");
  EXPECT_EQ(Difference(plugin.Display(0), Crop(screen, 0, 0, 1440, 900)), "");
  EXPECT_EQ(Difference(plugin.Display(1), Crop(screen, 1440, 0, 1280, 1024)), "");
  EXPECT_EQ(Difference(plugin.Rect(1400, 100, 100, 50), Crop(screen, 1400, 100, 100, 50)), "");
  EXPECT_EQ(
      Difference(plugin.Scaled(1400, 100, 100, 50, 100, 50), Crop(screen, 1400, 100, 100, 50)), "");
}

TEST_P(TwoMonitors, HaveNegativeCoordinatesLeftOfTheMainOne) {
  server.SetTwoMonitors(Xvfb::Primary::kRight);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  EXPECT_EQ(Difference(plugin.Main(), Crop(screen, 1440, 0, 1280, 1024)), "");
  EXPECT_EQ(Difference(plugin.Display(1), Crop(screen, 0, 0, 1440, 900)), "");
  EXPECT_EQ(Difference(plugin.Rect(-40, 100, 100, 50), Crop(screen, 1400, 100, 100, 50)), "");
}

INSTANTIATE_TEST_SUITE_P(X11, TwoMonitors, ::testing::Values(kDisplayImage, kOpenGL, kQuickDraw),
                         [](const auto& instance) {
                           return instance.param == kDisplayImage ? "DisplayImage"
                                  : instance.param == kOpenGL     ? "OpenGL"
                                                                  : "QuickDraw";
                         });

TEST(Depths, ThatAStrategyCannotReadAreRefused) {
  for (const auto& [screen, quickDraw] :
       {std::pair("320x200x16", false), std::pair("320x200x8", true)}) {
    const Xvfb server(screen);
    server.FillRandom(10);
    UseDesktop(server);
    Plugin plugin;
    UseSystem(kQuickDraw);
    const Plugin::Picture byQuickDraw = plugin.Main();
    EXPECT_EQ(byQuickDraw.has_value(), quickDraw) << screen;
    // OpenGL hands over to QuickDraw.
    UseSystem(kOpenGL);
    const Plugin::Picture byOpenGL = plugin.Main();
    EXPECT_EQ(byOpenGL.has_value(), quickDraw) << screen;
    if (!quickDraw || !byQuickDraw.has_value()) continue;
    Image grey = Crop(server.ImportScreen(), 0, 0, 320, 200);
    for (size_t i = 0; i < grey.rgba.size(); i += 4) {
      uint8_t* p = grey.rgba.data() + i;
      const auto luma = static_cast<uint8_t>((77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256);
      p[0] = p[1] = p[2] = luma;
    }
    EXPECT_EQ(Difference(byQuickDraw, grey), "");
    EXPECT_EQ(Difference(byOpenGL, grey), "");
  }
}

TEST(RawPixelString, HoldsTheScreensRowsFromTheBottomUpward) {
  const Xvfb server("320x200x24");
  server.FillRandom(11);
  UseDesktop(server);
  Plugin plugin;
  const RawPixels raw = plugin.Raw();
  const RgbImage screen = server.ImportScreen();
  ASSERT_EQ(raw.width, 320);
  ASSERT_EQ(raw.height, 200);
  ASSERT_EQ(raw.rowBytes, 1280);
  ASSERT_EQ(raw.bytes.size(), 256000U);
  EXPECT_EQ(raw.encoding, kRawBytesEncoding);
  for (size_t y = 0; y < 200; ++y) {
    for (size_t x = 0; x < 320; ++x) {
      const auto* bgra = reinterpret_cast<const uint8_t*>(raw.bytes.data()) + y * 1280 + x * 4;
      const uint8_t* rgb = screen.pixels.data() + ((199 - y) * 320 + x) * 3;
      ASSERT_EQ(bgra[0] << 16 | bgra[1] << 8 | bgra[2], rgb[2] << 16 | rgb[1] << 8 | rgb[0]);
    }
  }
  EXPECT_EQ(Difference(plugin.FromRaw(raw), *plugin.Main()), "");
}

TEST(RawPixelString, HasTheSizeOfItsDisplayAndNumbersOfZeroWithoutOne) {
  UseDesktop("virtual:1440x900+0+0");
  Plugin plugin;
  const RawPixels raw = plugin.RawDisplay(0);
  EXPECT_EQ(raw.bytes.size(), 5184000U);
  EXPECT_EQ(std::tuple(raw.width, raw.height, raw.rowBytes), std::tuple(1440, 900, 5760));
  for (const int32_t index : {-1, 1, 31, 32, INT32_MAX}) {
    const RawPixels none = plugin.RawDisplay(index);
    EXPECT_TRUE(none.bytes.empty()) << index;
    EXPECT_EQ(std::tuple(none.width, none.height, none.rowBytes), std::tuple(0, 0, 0)) << index;
  }
}

}  // namespace
}  // namespace qrv::testing
