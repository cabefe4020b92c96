// Captures of Wayland outputs against the picture that they are known to show: sway's, and those of
// a compositor that tells what isn't so, or tells no more.

#include <screenshotqrv/platform.h>
#include <unistd.h>

#include <algorithm>

#include "tests/integration/plugin.h"
#include "tests/wayland/server.h"

namespace qrv::testing {
namespace {

// The displays are the outputs, and all their pixels are right.
void ExpectShown(Plugin& plugin, const Outputs& compositor) {
  std::vector<QRVDisplay> displays(compositor.outputs().size());
  const auto capacity = static_cast<int32_t>(displays.size());
  ASSERT_EQ(QRVListDisplays(displays.data(), sizeof displays[0], capacity), capacity);
  for (size_t i = 0; i < displays.size(); ++i) {
    const auto its = std::find_if(displays.begin(), displays.end(),
                                  [i](const auto& each) { return each.name == OutputName(i); });
    ASSERT_NE(its, displays.end()) << OutputName(i);
    const Area& units = compositor.outputs()[i].units;
    EXPECT_EQ(std::tuple(its->x, its->y, its->width, its->height),
              std::tuple(units.left, units.top, units.width, units.height));
    const auto index = static_cast<int32_t>(its - displays.begin());
    EXPECT_EQ(Difference(plugin.On(kDisplayImage).Display(index), compositor.Whole(i)), "")
        << its->name;
  }
}

// As grim writes it.
std::string Ppm(const Image& image) {
  std::string ppm = "P6\n" + std::to_string(image.width) + " " + std::to_string(image.height);
  ppm += "\n255\n";
  for (size_t i = 0; i < image.rgba.size(); ++i) {
    if (i % 4 != 3) ppm += static_cast<char>(image.rgba[i]);
  }
  return ppm;
}

TEST(Wayland, IsShownUprightPixelForPixelAsOutputsChangeAndCome) {
  const Output plain = {{0, 0, 120, 80}};
  Output other = {{120, 10, 300, 220}};
  Outputs compositor({plain, other});
  Plugin plugin;
  for (const double density : {1.0, 1.5, 2.0}) {
    for (const char* transform :
         {"normal", "90", "180", "270", "flipped", "flipped-90", "flipped-180", "flipped-270"}) {
      SCOPED_TRACE(transform + std::to_string(density));
      other.density = density;
      other.transform = transform;
      compositor.Command(other.Command(1));
      compositor.Fill({plain, other});
      ExpectShown(plugin, compositor);
      if (density == 1.5) continue;  // grim gives an output of that density another size
      EXPECT_TRUE(compositor.Run({"grim", "-t", "ppm", "-o", OutputName(1), "-s",
                                  std::to_string(density), "-"}) == Ppm(compositor.Whole(1)));
    }
  }
  const Output third = {{-100, 20, 100, 80}};  // of headless outputs none can be made to go
  compositor.Command("create_output; " + third.Command(2));
  EXPECT_TRUE(plugin.Main().has_value());
  compositor.Fill({plain, other, third});
  ExpectShown(plugin, compositor);
}

TEST(Wayland, IsUprightOrNilWhileItsOutputTurns) {
  const Output plain = {{0, 0, 200, 150}};
  const Outputs compositor({plain});
  const Image upright = compositor.Whole(0);
  Plugin plugin;
  const pid_t turning = Fork([&]() -> int {
    for (useconds_t pause = 0;; pause = (pause + 7000) % 60000) {
      compositor.Command(std::string("output * transform ") + (pause % 2000 == 0 ? "180" : "0"));
      usleep(pause);
    }
  });
  int pictures = 0;
  for (int i = 0; i < 300; ++i) {
    UseSystem(kSystems[i % 3]);
    const auto picture = plugin.Main();
    EXPECT_EQ(picture ? Difference(picture, upright) : "", "") << i;
    pictures += picture ? 1 : 0;
  }
  kill(turning, SIGKILL);
  WaitForEnd(turning);
  EXPECT_TRUE(pictures > 0 && pictures < 300) << pictures;
  std::cout << pictures << " pictures\n";
}

TEST(Wayland, IsCapturedByEveryStrategyAndBeforeX11) {
  const Screen server("320x200x24");
  const TwoOutputs compositor;
  const ScopedVariable x11("DISPLAY", server.display().c_str());
  std::filesystem::path socket = compositor.socket();
  const ScopedVariable folder("XDG_RUNTIME_DIR", socket.parent_path().c_str());
  const ScopedVariable wayland("WAYLAND_DISPLAY", "wayland-1");
  UseDesktop("");
  Plugin plugin;
  ExpectAllRight(plugin, compositor);
  EXPECT_EQ(std::string(QRVDesktopName()), "Wayland wayland-1");
  UseDesktop("wayland:wayland-7");
  EXPECT_FALSE(plugin.Main().has_value());
  EXPECT_EQ(std::string(QRVFailureMessage()), "the Wayland compositor at " +
                                                  socket.replace_filename("wayland-7").string() +
                                                  " can't be reached");
}

// Of outputs in a row; the desktop from now on.
class Liar : public Compositor {
 public:
  explicit Liar(const CompositorSetup& setup) : Compositor(setup), outputs_(setup.outputs) {
    UseDesktop("wayland:" + path());
  }

  Image Part(const Area& part) const {
    return Paint(part, [this](int x, int y) {
      for (const OutputSetup& each : outputs_) {
        if (x < each.x || x >= each.x + each.width || y < 0 || y >= each.height) continue;
        return ColorAt(1, 0, x - each.x, y);
      }
      return 0U;
    });
  }

 private:
  std::vector<OutputSetup> outputs_;
};

CompositorSetup InARow(const std::vector<std::pair<int, int>>& sizes) {
  CompositorSetup setup;
  setup.outputs.clear();
  int x = 0;
  for (const auto& [width, height] : sizes) {
    setup.outputs.push_back({"", width, height, 0, 1, x, 0, width, height});
    x += width;
  }
  return setup;
}

TEST(LyingCompositor, IsNilInTimeByEveryMethodWheneverItFallsSilent) {
  CompositorSetup setup = InARow({{180, 200}, {140, 200}});
  std::vector<pid_t> processes;
  for (uint32_t roundTrip = 1; roundTrip <= 6; ++roundTrip) {
    setup.imageCopy = roundTrip % 3 == 0 ? 1 : 0;
    for (const Capture& each : kCaptures) {
      const bool drips = processes.size() % 5 == 0;
      processes.push_back(ForkTest([&] {
        Liar compositor(setup);
        compositor.script().words[0] = roundTrip;
        compositor.script().fault = drips ? Fault::kDrips : Fault::kFallsSilent;
        Plugin plugin;
        const Image expected = compositor.Part(each.part);
        while (each.ExpectRightOrNil(plugin, expected) && !::testing::Test::HasFailure()) {
        }
      }));
      usleep(15000);  // that they don't all wake at the same time
    }
  }
  for (const pid_t each : processes) EXPECT_EQ(WaitForEnd(each), 0);
}

// The masks of displays have 32 bits.
TEST(LyingCompositor, HasRawPixelsOfTheFirstThirtyTwoOfFortyOutputs) {
  std::vector<std::pair<int, int>> sizes(40, {40, 30});
  for (int i = 0; i < 40; ++i) sizes[static_cast<size_t>(i)].first += i;
  const CompositorSetup setup = InARow(sizes);
  const Liar compositor(setup);
  Plugin plugin;
  for (const int index : {0, 30, 31}) {
    const OutputSetup& output = setup.outputs[static_cast<size_t>(index)];
    EXPECT_EQ(Difference(plugin.FromRaw(plugin.Raw(index)),
                         compositor.Part({output.x, 0, output.width, output.height})),
              "");
  }
  for (const int index : {-1, 32, 39, 1000}) EXPECT_EQ(plugin.Raw(index).bytes, "") << index;
}

}  // namespace
}  // namespace qrv::testing
