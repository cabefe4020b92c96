// The three strategies of the rectangle capture give the same pixels, and those are the desktop's.

#include <algorithm>
#include <random>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::Image;

bool Meet(const Area& a, const Area& b) {
  return a.left < b.left + b.width && b.left < a.left + a.width && a.top < b.top + b.height &&
         b.top < a.top + a.height;
}

std::string Text(const std::vector<Area>& layout) {
  std::string text;
  for (const Area& area : layout) {
    text +=
        (text.empty() ? "" : ",") + std::to_string(area.width) + "x" + std::to_string(area.height);
    for (const int position : {area.left, area.top}) {
      text += (position < 0 ? "" : "+") + std::to_string(position);
    }
  }
  return text;
}

// The seed, shown with every failure, makes the same case again.
class Agreement : public ::testing::Test {
 protected:
  int Pick(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  // One to four displays that don't overlap, anywhere around the main one.
  std::vector<Area> PickLayout() {
    std::vector<Area> layout = {{0, 0, Pick(1, 160), Pick(1, 120)}};
    const int count = Pick(1, 4);
    while (static_cast<int>(layout.size()) < count) {
      const Area area = {Pick(-250, 250), Pick(-250, 250), Pick(1, 160), Pick(1, 120)};
      if (std::none_of(layout.begin(), layout.end(),
                       [&](const Area& other) { return Meet(area, other); })) {
        layout.push_back(area);
      }
    }
    return layout;
  }

  Area PickRequest() { return {Pick(-300, 300), Pick(-300, 300), Pick(1, 400), Pick(1, 300)}; }

  std::string AllStrategies(const Area& r, const Image& expected) {
    std::string difference = Scaled(r, r.width, r.height, expected);
    for (const char* system : kSystems) {
      difference += DifferenceOn(
          system, [&] { return plugin_.Rect(r.left, r.top, r.width, r.height); }, expected);
    }
    return difference;
  }

  std::string Scaled(const Area& r, int width, int height, const Image& expected) {
    return DifferenceOn(
        kQuickDraw, [&] { return plugin_.Scaled(r.left, r.top, r.width, r.height, width, height); },
        expected);
  }

  static std::string Case(const Area& request) {
    return "; QRV_TEST_SEED=" + std::to_string(Seed()) + ", request " + Text({request});
  }

 private:
  Plugin plugin_;
  std::mt19937 random_{Seed()};
};

// An enlarged capture by its two rules: a display's edge goes to (edge - origin) x size / source,
// truncated, and a pixel takes the one at its centre between the edges.
Image ScaledModel(const std::vector<Area>& layout, const Area& r, int width, int height) {
  const Image source = Cards(Text(layout), r);
  Image image = {width, height, {}};
  image.rgba.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  for (size_t i = 3; i < image.rgba.size(); i += 4) image.rgba[i] = 255;
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
  for (int i = 0; i < 25; ++i) {
    const std::vector<Area> layout = PickLayout();
    UseDesktop("virtual:" + Text(layout));
    for (int j = 0; j < 8; ++j) {
      const Area r = PickRequest();
      ASSERT_EQ(AllStrategies(r, Cards(Text(layout), r)), "") << Text(layout) << Case(r);
      const int width = j == 0 ? r.width * 2 : r.width + Pick(0, 300);
      const int height = j == 0 ? r.height * 3 : r.height + Pick(0, 200);
      ASSERT_EQ(Scaled(r, width, height, ScaledModel(layout, r, width, height)), "")
          << Text(layout) << Case(r) << " to " << width << "x" << height;
    }
  }
}

// Displays with more pixels than units: its card is that of a display of so many units.
TEST(DenseDisplay, IsCapturedWholeInAllItsPixels) {
  UseDesktop("virtual:40x30+0+0*2");
  Plugin plugin;
  for (const char* system : {kDisplayImage, kOpenGL}) {
    EXPECT_EQ(DifferenceOn(
                  system, [&] { return plugin.Main(); }, Cards("80x60+0+0", {0, 0, 80, 60})),
              "");
  }
  const RawPixels raw = plugin.Raw();
  EXPECT_EQ(std::tuple(raw.width, raw.height), std::tuple(80, 60));
}

}  // namespace
}  // namespace qrv::testing
