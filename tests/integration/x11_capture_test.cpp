// Captures of real X screens against what ImageMagick's import sees there.

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// What QuickDraw makes of a whole screen. Display images show every screen as it is, and so does
// OpenGL where QuickDraw does; it hands the others over.
enum class Shown { kExactly, kGrey, kNotAtAll };

Image Grey(Image image) {
  for (size_t i = 0; i < image.rgba.size(); i += 4) {
    uint8_t* p = image.rgba.data() + i;
    p[0] = p[1] = p[2] = static_cast<uint8_t>((77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256);
  }
  return image;
}

TEST(X11, IsCapturedPixelForPixelByEveryStrategyThatCan) {
  const std::tuple<const char*, Shown, std::vector<std::string>> screens[] = {
      {"641x479x24", Shown::kExactly, {}},
      {"640x480x30", Shown::kExactly, {}},
      {"640x480x16", Shown::kNotAtAll, {}},
      {"640x480x8", Shown::kGrey, {}},
      {"640x480x24", Shown::kExactly, {"-extension", "MIT-SHM"}},
      {"640x480x24", Shown::kExactly, {"-extension", "RANDR"}}};
  for (const auto& [size, byQuickDraw, arguments] : screens) {
    const Screen server(size, {}, arguments);
    Plugin plugin;
    const Area area = {-5, 11, 333, 77};
    const Image whole = server.Whole();
    for (const char* system : kSystems) {
      SCOPED_TRACE(size + ::testing::PrintToString(arguments) + system);
      UseSystem(system);
      if (system == kDisplayImage || byQuickDraw == Shown::kExactly) {
        EXPECT_EQ(Difference(plugin.On(system).Main(), whole), "");
        EXPECT_EQ(Difference(plugin.On(system).Rect(area), server.Part(area)), "");
      } else if (byQuickDraw == Shown::kGrey) {
        EXPECT_EQ(Difference(plugin.Main(), Grey(whole)), "");
      } else {
        EXPECT_FALSE(plugin.Main().has_value());
      }
    }
  }
}

}  // namespace
}  // namespace qrv::testing
