// Captures of a Wayland compositor's outputs against the picture that they are known to show.

#include <tuple>

#include "runtime/desktop_view.h"
#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// The displays are the outputs, and all their pixels are right.
void ExpectShown(Plugin& plugin, const Outputs& compositor) {
  const auto displays = runtime::ListDisplays().value_or(std::vector<runtime::DisplayInfo>());
  ASSERT_EQ(displays.size(), compositor.outputs().size());
  for (size_t i = 0; i < displays.size(); ++i) {
    const runtime::DisplayInfo& its = displays[i];
    const Area& units = compositor.outputs()[i].units;
    EXPECT_EQ(std::tuple(its.x, its.y, its.width, its.height),
              std::tuple(units.left, units.top, units.width, units.height));
    EXPECT_EQ(
        Difference(plugin.On(kDisplayImage).Display(static_cast<int32_t>(i)), compositor.Whole(i)),
        "")
        << i;
  }
}

class EveryOutput : public ::testing::TestWithParam<double> {};

TEST_P(EveryOutput, IsShownUprightPixelForPixel) {
  const Output plain = {{0, 0, 120, 80}};
  Output other = {{120, 10, 300, 220}, GetParam()};
  Outputs compositor({plain, other});
  Plugin plugin;
  for (const char* transform :
       {"normal", "90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270"}) {
    SCOPED_TRACE(transform);
    other.transform = transform;
    compositor.Command(other.Command(2));
    compositor.Fill({plain, other});
    ExpectShown(plugin, compositor);
  }
}

INSTANTIATE_TEST_SUITE_P(OfADensity, EveryOutput, ::testing::Values(1, 1.5, 2));

TEST(Wayland, IsCapturedByEveryStrategyAndBeforeX11) {
  const Screen server("320x200x24");
  const TwoOutputs compositor;
  const ScopedVariable x11("DISPLAY", server.display().c_str());
  const ScopedVariable folder("XDG_RUNTIME_DIR",
                              std::filesystem::path(compositor.socket()).parent_path().c_str());
  const ScopedVariable wayland("WAYLAND_DISPLAY", "wayland-1");
  UseDesktop("");
  Plugin plugin;
  ExpectAllRight(plugin, compositor);
  EXPECT_EQ(runtime::DesktopName(), "Wayland wayland-1");
  UseDesktop("wayland:wayland-7");
  EXPECT_FALSE(plugin.Main().has_value());
  EXPECT_EQ(runtime::DesktopProblem(),
            "the Wayland compositor at " +
                std::filesystem::path(compositor.socket()).replace_filename("wayland-7").string() +
                " can't be reached");
}

// Of sway's headless outputs none can be made to go.
TEST(Wayland, OutputsComeAndChangeBetweenCaptures) {
  const Output first = {{0, 0, 200, 150}}, second = {{200, 0, 120, 160}},
               third = {{-100, 20, 100, 80}}, turned = {{200, 0, 160, 120}, 1, "270"},
               larger = {{0, 0, 640, 480}}, dense = {{640, 0, 60, 40}, 2};
  Outputs compositor({first, second});
  Plugin plugin;
  ExpectShown(plugin, compositor);
  const std::pair<std::string, std::vector<Output>> steps[] = {
      {"create_output; " + third.Command(3), {first, second, third}},
      {turned.Command(2), {first, turned, third}},
      {dense.Command(2) + "; " + larger.Command(1), {larger, dense, third}}};
  for (const auto& [command, outputs] : steps) {
    SCOPED_TRACE(command);
    compositor.Command(command);
    EXPECT_TRUE(plugin.Main().has_value());
    compositor.Fill(outputs);
    ExpectShown(plugin, compositor);
  }
}

}  // namespace
}  // namespace qrv::testing
