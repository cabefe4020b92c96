// A compositor that tells what isn't so, or tells no more: captures are right or nil, in time.

#include <unistd.h>

#include "tests/integration/plugin.h"
#include "tests/wayland/server.h"

namespace qrv::testing {
namespace {

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
