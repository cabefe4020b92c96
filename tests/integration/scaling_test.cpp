// Scaled rectangles against the definition: what shrinks is the average of what each pixel covers.
// And dense displays, whose units are averages of their pixels.

#include <cmath>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

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
