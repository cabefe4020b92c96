// Captures of a Wayland compositor's outputs against the picture that they are known to show.

#include <screenshotqrv/platform.h>
#include <unistd.h>

#include <algorithm>
#include <random>

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

TEST(Wayland, RectanglesShowAllOutputsThatTheyMeetAndBlackBeyond) {
  const Outputs compositor({{{0, 0, 200, 150}}, {{200, 0, 120, 160}, 1, "90"}});
  Plugin plugin;
  std::mt19937 random(Seed());
  const auto from = [&](int first, unsigned count) {
    return first + static_cast<int>(random() % count);
  };
  for (int i = 0; i < 200; ++i) {
    const Area area = {from(-50, 300), from(-50, 150), from(60, 200), from(60, 100)};
    EXPECT_EQ(Difference(plugin.On(kSystems[i % 3]).Rect(area), compositor.Part(area)), "")
        << "rectangle " << i << ", QRV_TEST_SEED=" << Seed();
  }
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

}  // namespace
}  // namespace qrv::testing
