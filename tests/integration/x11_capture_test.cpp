// Captures of real X screens against what ImageMagick's import sees there, and of the virtual
// desktop in every kind of host.

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;
using runtime::Image;

// What QuickDraw makes of a whole screen. Display images show every screen as it is, and so does
// OpenGL where QuickDraw does; it hands the others over.
enum class Shown { kExactly, kGrey, kNotAtAll };

struct ScreenCase {
  const char* name;
  const char* screen;
  Shown byQuickDraw = Shown::kExactly;
  std::vector<std::string> arguments = {};
};

void PrintTo(const ScreenCase& one, std::ostream* out) { *out << one.name; }

Image Grey(Image image) {
  for (size_t i = 0; i < image.rgba.size(); i += 4) {
    uint8_t* p = image.rgba.data() + i;
    p[0] = p[1] = p[2] = static_cast<uint8_t>((77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256);
  }
  return image;
}

class EveryScreen : public ::testing::TestWithParam<ScreenCase> {};

TEST_P(EveryScreen, IsCapturedPixelForPixelByEveryStrategyThatCan) {
  const Xvfb server(GetParam().screen, GetParam().arguments);
  server.FillRandom(7);
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  const Image whole = Crop(screen, {0, 0, screen.width, screen.height});
  const Image part = Crop(screen, {-5, 11, 333, 77});
  UseSystem(kDisplayImage);
  EXPECT_EQ(Difference(plugin.Main(), whole), "");
  EXPECT_EQ(Difference(plugin.Rect(-5, 11, 333, 77), part), "");
  for (const char* system : {kOpenGL, kQuickDraw}) {
    UseSystem(system);
    if (GetParam().byQuickDraw == Shown::kNotAtAll) {
      EXPECT_FALSE(plugin.Main().has_value()) << system;
    } else if (GetParam().byQuickDraw == Shown::kGrey) {
      EXPECT_EQ(Difference(Opaque(plugin.Main()), Grey(whole)), "") << system;
    } else {
      EXPECT_EQ(DifferenceOn(
                    system, [&] { return plugin.Main(); }, whole),
                "");
      EXPECT_EQ(DifferenceOn(
                    system, [&] { return plugin.Rect(-5, 11, 333, 77); }, part),
                "");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    X11, EveryScreen,
    ::testing::Values(
        ScreenCase{"Depth24", "641x479x24"}, ScreenCase{"Depth30", "640x480x30"},
        ScreenCase{"Depth16", "640x480x16", Shown::kNotAtAll},
        ScreenCase{"Depth8", "640x480x8", Shown::kGrey},
        ScreenCase{"WithoutSharedMemory", "640x480x24", Shown::kExactly, {"-extension", "MIT-SHM"}},
        ScreenCase{"WithoutRandR", "640x480x24", Shown::kExactly, {"-extension", "RANDR"}}),
    [](const auto& instance) { return instance.param.name; });

struct HostCase {
  ApplicationKind application;
  bool hasAlpha;
  std::optional<double> version;
};

void ExpectPictures(const HostCase& one) {
  UseDesktop("virtual:70x50+0+0");
  runtime::HostOptions options;
  options.application = one.application;
  options.picturesHaveAlpha = one.hasAlpha;
  options.version = one.version;
  Plugin plugin(options);
  const Image whole = Cards("70x50+0+0", {0, 0, 70, 50});
  for (const char* system : {kDisplayImage, kOpenGL}) {
    UseSystem(system);
    EXPECT_EQ(Difference(plugin.Main(), whole), "") << system;
    EXPECT_EQ(Difference(plugin.FromRaw(plugin.Raw()), whole), "") << system;
  }
  UseSystem(kQuickDraw);
  const Plugin::Picture picture = plugin.Main();
  ASSERT_EQ(Difference(Opaque(picture), whole), "");
  EXPECT_EQ(picture->rgba[3],
            one.hasAlpha && one.application == ApplicationKind::kDesktop ? 0 : 255);
}

// In a process each: the plug-in keeps what it has found out about its host.
TEST(EveryHost, GetsTheScreenPixelForPixel) {
  for (const HostCase& one : {HostCase{ApplicationKind::kDesktop, false, 2010.0},
                              HostCase{ApplicationKind::kDesktop, true, 2011.04},
                              HostCase{ApplicationKind::kDesktop, false, std::nullopt},
                              HostCase{ApplicationKind::kDesktop, true, 2013.03},
                              HostCase{ApplicationKind::kConsole, true, 2010.0},
                              HostCase{ApplicationKind::kConsole, false, 2012.0},
                              HostCase{ApplicationKind::kConsole, false, 2013.03},
                              HostCase{ApplicationKind::kWeb, false, 2013.0}}) {
    EXPECT_EQ(WaitForEnd(ForkTest([&] { ExpectPictures(one); })), 0)
        << static_cast<int>(one.application) << " " << one.hasAlpha << " "
        << one.version.value_or(0);
  }
}

TEST(RawPixelString, HoldsTheRowsOfTheDisplayFromTheBottomUpwardOrNothing) {
  UseDesktop("virtual:70x50+0+0,30x20+70+0");
  Plugin plugin;
  const RawPixels raw = plugin.RawDisplay(1);
  ASSERT_EQ(std::tuple(raw.width, raw.height, raw.rowBytes, raw.bytes.size(), raw.encoding),
            std::tuple(30, 20, 120, 2400U, kRawBytesEncoding));
  const Image card = Cards("70x50+0+0,30x20+70+0", {70, 0, 30, 20});
  for (size_t i = 0; i < raw.bytes.size(); i += 4) {
    const auto* bgra = reinterpret_cast<const uint8_t*>(raw.bytes.data()) + i;
    const uint8_t* rgba = card.rgba.data() + (19 - i / 120) * 120 + i % 120;
    ASSERT_EQ(std::tuple(bgra[2], bgra[1], bgra[0]), std::tuple(rgba[0], rgba[1], rgba[2])) << i;
  }
  for (const int32_t index : {-1, 2, 32, INT32_MAX}) {
    const RawPixels none = plugin.RawDisplay(index);
    EXPECT_EQ(std::tuple(none.width, none.height, none.rowBytes, none.bytes),
              std::tuple(0, 0, 0, ""))
        << index;
  }
}

}  // namespace
}  // namespace qrv::testing
