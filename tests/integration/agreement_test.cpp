// The strategies of the rectangle capture give the same pixels, and those are the desktop's.

#include <random>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

bool Meet(const Area& a, const Area& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

std::string Text(const Area& area) {
  std::ostringstream text;
  text << area.width << "x" << area.height << std::showpos << area.left << area.top;
  return text.str();
}

// The seed, shown with every failure, makes the same case again.
class Agreement : public ::testing::Test {
 protected:
  int Pick(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  // One to four displays that don't overlap, anywhere around the main one.
  std::vector<Area> PickLayout() {
    std::vector<Area> layout = {{0, 0, Pick(1, 160), Pick(1, 120)}};
    const size_t count = static_cast<size_t>(Pick(1, 4));
    while (layout.size() < count) {
      const Area area = {Pick(-250, 250), Pick(-250, 250), Pick(1, 160), Pick(1, 120)};
      if (std::none_of(layout.begin(), layout.end(),
                       [&](const Area& other) { return Meet(area, other); })) {
        layout.push_back(area);
      }
    }
    return layout;
  }

  Area PickRequest() { return {Pick(-300, 300), Pick(-300, 300), Pick(1, 400), Pick(1, 300)}; }

  Plugin plugin_;
  std::mt19937 random_{Seed()};
};

// An enlarged capture by its two rules: a display's edge goes to (edge - origin) x size / source,
// truncated, and a pixel takes the one at its centre between the edges.
Image Enlarged(const Image& source, const std::vector<Area>& layout, const Area& r, int width,
               int height) {
  Image image = Cards("1x1+0+0", {1, 1, width, height});  // black
  for (const Area& area : layout) {
    if (!Meet(area, r)) continue;
    const int left = std::max(area.left, r.left) - r.left;
    const int top = std::max(area.top, r.top) - r.top;
    const int right = std::min(area.left + area.width, r.left + r.width) - r.left;
    const int bottom = std::min(area.top + area.height, r.top + r.height) - r.top;
    const int toLeft = left * width / r.width;
    const int toTop = top * height / r.height;
    const int toWidth = right * width / r.width - toLeft;
    const int toHeight = bottom * height / r.height - toTop;
    for (int i = 0; i < toWidth * toHeight; ++i) {
      const int x = i % toWidth, y = i / toWidth;
      const int fromX = left + (2 * x + 1) * (right - left) / (2 * toWidth);
      const int fromY = top + (2 * y + 1) * (bottom - top) / (2 * toHeight);
      std::copy_n(source.rgba.data() + (fromY * r.width + fromX) * 4, 4,
                  image.rgba.data() + ((toTop + y) * width + toLeft + x) * 4);
    }
  }
  return image;
}

TEST_F(Agreement, OfAllStrategiesAndSizesOnRandomLayouts) {
  for (int i = 0; i < 200; ++i) {
    const std::vector<Area> displays = PickLayout();
    std::string layout;
    for (const Area& each : displays) layout += (layout.empty() ? "" : ",") + Text(each);
    UseDesktop("virtual:" + layout);
    const Area r = PickRequest();
    const int width = i % 8 == 0 ? r.width * 2 : r.width + Pick(0, 300);
    const int height = i % 8 == 0 ? r.height * 3 : r.height + Pick(0, 200);
    const Image card = Cards(layout, r);
    for (const char* system : kSystems) EXPECT_EQ(Difference(plugin_.On(system).Rect(r), card), "");
    EXPECT_EQ(Difference(plugin_.On(kQuickDraw).Scaled(r, r.width, r.height), card), "");
    EXPECT_EQ(Difference(plugin_.On(kQuickDraw).Scaled(r, width, height),
                         Enlarged(card, displays, r, width, height)),
              "");
    ASSERT_FALSE(HasFailure()) << layout << " request " << Text(r) << " to " << width << "x"
                               << height << ", QRV_TEST_SEED=" << Seed();
  }
}

TEST_F(Agreement, OfDisplayImageAndQuickDrawOnDenseDisplays) {
  const char* const densities[] = {"", "*2", "*3", "*1.5", "*1.25", "*1.75"};
  for (int i = 0; i < 2000; ++i) {
    std::string layout;
    for (const Area& each : PickLayout()) {
      layout += (layout.empty() ? "" : ",") + Text(each) + densities[Pick(0, 5)];
    }
    UseDesktop("virtual:" + layout);
    const Area r = PickRequest();
    const Plugin::Picture expected = plugin_.On(kDisplayImage).Rect(r);
    ASSERT_TRUE(expected.has_value());
    EXPECT_EQ(Difference(plugin_.On(kQuickDraw).Rect(r), *expected), "");
    ASSERT_FALSE(HasFailure()) << layout << " request " << Text(r) << ", QRV_TEST_SEED=" << Seed();
  }
}

}  // namespace
}  // namespace qrv::testing
