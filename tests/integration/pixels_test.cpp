// The strategies of the rectangle capture give the same pixels, and those are the desktop's.
// Scaled, what shrinks is the average of what each pixel covers; so are the units of dense
// displays.

#include <cmath>
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

// One target pixel's place along an axis of `from` pixels that become `to`.
struct Cover {
  double begin, end;

  Cover(int target, int from, int to)
      : begin(static_cast<double>(target) * from / to),
        end(static_cast<double>(target + 1) * from / to) {}

  double Of(int pixel) const { return std::min(end, pixel + 1.0) - std::max<double>(begin, pixel); }
};

size_t Place(const Image& image, int x, int y) {
  return static_cast<size_t>(y * image.width + x) * 4;
}

// The average by areas, of one channel.
double Average(const Image& source, const Cover& x, const Cover& y, size_t channel) {
  double sum = 0;
  for (int row = static_cast<int>(y.begin); row < std::ceil(y.end - 1e-9); ++row) {
    for (int column = static_cast<int>(x.begin); column < std::ceil(x.end - 1e-9); ++column) {
      sum += x.Of(column) * y.Of(row) * source.rgba[Place(source, column, row) + channel];
    }
  }
  return sum / ((x.end - x.begin) * (y.end - y.begin));
}

// The colours are the averages. Each axis rounds by half a level, and its weights of 1/256 by up to
// two thirds of one; of the means of two or four pixels, half lie halfway.
void ExpectAverages(const Plugin::Picture& scaled, const Image& source, int width, int height) {
  ASSERT_TRUE(scaled.has_value());
  ASSERT_EQ(std::pair(scaled->width, scaled->height), std::pair(width, height));
  double worst = 0;
  double sum = 0;
  for (int i = 0; i < width * height * 3; ++i) {
    const int x = i / 3 % width, y = i / 3 / width;
    const auto channel = static_cast<size_t>(i % 3);
    const double error =
        std::abs(scaled->rgba[Place(*scaled, x, y) + channel] -
                 Average(source, {x, source.width, width}, {y, source.height, height}, channel));
    worst = std::max(worst, error);
    sum += error;
  }
  EXPECT_LE(worst, 2.4) << width << "x" << height << ", QRV_TEST_SEED=" << Seed();
  EXPECT_LE(sum / (3.0 * width * height), 0.55) << width << "x" << height;
}

// Also cut into displays at places that scale to whole pixels.
TEST(Scaling, ShrinksToTheAverageOfWhatEachPixelCoversWithoutSeams) {
  constexpr Area kWhole = {0, 0, 960, 540};
  const Screen server("960x540x24");
  Plugin plugin;
  const Image whole = server.Part(kWhole);
  const auto scaled = [&](int width, int height) { return plugin.Scaled(kWhole, width, height); };
  for (const auto& [width, height] : {std::pair(240, 135), {640, 360}, {700, 400}, {175, 100}}) {
    ExpectAverages(scaled(width, height), whole, width, height);
  }
  const Plugin::Picture half = scaled(480, 270), third = scaled(320, 180);
  ExpectAverages(half, whole, 480, 270);
  ExpectAverages(third, whole, 320, 180);
  server.SetMonitor("*left", {0, 0, 300, 540}, "screen");
  server.SetMonitor("middle", {300, 0, 360, 540});
  server.SetMonitor("right", {660, 0, 300, 540});
  EXPECT_EQ(Difference(scaled(480, 270), *half), "");
  EXPECT_EQ(Difference(scaled(320, 180), *third), "");
}

// A display of so many pixels shows the card of one of so many units.
TEST(DenseDisplay, ShowsAllItsPixelsWholeAndAUnitAsTheirAverage) {
  Plugin plugin;
  for (const auto& [density, width, height] :
       {std::tuple("*2", 240, 180), {"*3", 360, 270}, {"*1.5", 180, 135}}) {
    UseDesktop(std::string("virtual:120x90+0+0") + density);
    const std::string its = std::to_string(width) + "x" + std::to_string(height) + "+0+0";
    const Image card = Cards(its, {0, 0, width, height});
    EXPECT_EQ(Difference(plugin.On(kDisplayImage).Main(), card), "");
    EXPECT_EQ(Difference(plugin.On(kOpenGL).Main(), card), "");
    EXPECT_EQ(Difference(plugin.FromRaw(plugin.On(kOpenGL).Raw()), card), "");
    ExpectAverages(plugin.On(kDisplayImage).Rect({0, 0, 120, 90}), card, 120, 90);
  }
}

}  // namespace
}  // namespace qrv::testing
