// Scaled rectangles against the definition: what shrinks is the average of what each pixel covers,
// what grows the nearest pixel. And dense displays, whose units are averages of their pixels.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::Image;

constexpr int kWidth = 960;
constexpr int kHeight = 540;

// One target pixel's place along an axis of `from` pixels that become `to`.
struct Cover {
  double begin, end;

  Cover(int target, int from, int to)
      : begin(static_cast<double>(target) * from / to),
        end(static_cast<double>(target + 1) * from / to) {}

  double Of(int pixel) const { return std::min(end, pixel + 1.0) - std::max<double>(begin, pixel); }
};

// The average by areas, of one channel.
double Average(const Image& source, const Cover& x, const Cover& y, size_t channel) {
  double sum = 0;
  for (int row = static_cast<int>(y.begin); row < std::ceil(y.end - 1e-9); ++row) {
    for (int column = static_cast<int>(x.begin); column < std::ceil(x.end - 1e-9); ++column) {
      const size_t at = (static_cast<size_t>(row) * static_cast<size_t>(source.width) +
                         static_cast<size_t>(column)) *
                        4;
      sum += x.Of(column) * y.Of(row) * source.rgba[at + channel];
    }
  }
  return sum / ((x.end - x.begin) * (y.end - y.begin));
}

// How far the colours are from the average; 1000 for a picture of another size.
struct Errors {
  double worst = 1000;
  double mean = 1000;
};

Errors ErrorsOf(const Plugin::Picture& scaled, const Image& source, int width, int height) {
  if (!scaled.has_value() || scaled->width != width || scaled->height != height) return {};
  double worst = 0;
  double sum = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const size_t at =
          (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 4;
      for (size_t channel = 0; channel < 3; ++channel) {
        const double expected = Average(source, Cover(x, source.width, width),
                                        Cover(y, source.height, height), channel);
        const double error = std::abs(scaled->rgba[at + channel] - expected);
        worst = std::max(worst, error);
        sum += error;
      }
    }
  }
  return {worst, sum / (3.0 * width * height)};
}

class Scaling : public ::testing::Test {
 protected:
  Scaling() {
    server_.FillRandom(Seed());
    UseDesktop(server_);
    whole_ = *plugin_.Rect(0, 0, kWidth, kHeight);
  }

  const Xvfb server_{"960x540x24"};
  Plugin plugin_;
  Image whole_;
};

TEST_F(Scaling, ShrinksToTheAverageOfWhatEachPixelCovers) {
  constexpr int kSizes[][2] = {{480, 270}, {320, 180}, {240, 135},
                               {640, 360}, {700, 400}, {175, 100}};
  for (const auto& [width, height] : kSizes) {
    const Errors errors =
        ErrorsOf(plugin_.Scaled(0, 0, kWidth, kHeight, width, height), whole_, width, height);
    // Each axis rounds by half a level, and its weights of 1/256 by up to two thirds of one; of
    // the means of two or four pixels, half lie halfway.
    EXPECT_LE(errors.worst, 2.4) << width << "x" << height << ", QRV_TEST_SEED=" << Seed();
    EXPECT_LE(errors.mean, 0.55) << width << "x" << height << ", QRV_TEST_SEED=" << Seed();
  }
}

TEST_F(Scaling, GrowsToTheNearestPixel) {
  for (const int factor : {2, 3, 5}) {
    const Plugin::Picture large = plugin_.Scaled(100, 50, 60, 40, 60 * factor, 40 * factor);
    ASSERT_TRUE(large.has_value());
    for (int y = 0; y < large->height; ++y) {
      for (int x = 0; x < large->width; ++x) {
        const size_t to = static_cast<size_t>(y * large->width + x) * 4;
        const size_t from = static_cast<size_t>((50 + y / factor) * kWidth + 100 + x / factor) * 4;
        ASSERT_TRUE(std::equal(&large->rgba[to], &large->rgba[to] + 3, &whole_.rgba[from]))
            << x << ", " << y << " times " << factor;
      }
    }
  }
}

// Cut into displays at places that scale to whole pixels, it is what it is as one.
TEST_F(Scaling, ShowsNoSeamsBetweenDisplays) {
  const Image half = *plugin_.Scaled(0, 0, kWidth, kHeight, 480, 270);
  const Image third = *plugin_.Scaled(0, 0, kWidth, kHeight, 320, 180);
  server_.Run({"xrandr", "--setmonitor", "*left", "300/50x540/50+0+0", "screen"});
  server_.Run({"xrandr", "--setmonitor", "middle", "360/50x540/50+300+0", "none"});
  server_.Run({"xrandr", "--setmonitor", "right", "300/50x540/50+660+0", "none"});
  EXPECT_EQ(Difference(plugin_.Scaled(0, 0, kWidth, kHeight, 480, 270), half), "");
  EXPECT_EQ(Difference(plugin_.Scaled(0, 0, kWidth, kHeight, 320, 180), third), "");
}

// A layout of displays of random densities, side by side, and a rectangle that meets some.
TEST(DenseDisplays, ShowTheirUnitsAlikeByDisplayImageAndQuickDraw) {
  std::mt19937 random(Seed());
  const auto between = [&random](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  Plugin plugin;
  const char* const densities[] = {"", "*2", "*3", "*1.5", "*1.25", "*1.75"};
  for (int i = 0; i < 200; ++i) {
    std::string layout = "virtual:";
    int right = 0;
    for (int displays = between(1, 4); displays > 0; --displays) {
      const int width = between(1, 120);
      layout += (right == 0 ? "" : ",") + std::to_string(width) + "x" +
                std::to_string(between(1, 90)) + "+" + std::to_string(right) + "+" +
                std::to_string(between(0, 20)) + densities[random() % std::size(densities)];
      right += width;
    }
    UseDesktop(layout);
    for (int j = 0; j < 10; ++j) {
      const int rect[] = {between(-20, right), between(-30, 80), between(1, 200), between(1, 120)};
      UseSystem(kDisplayImage);
      const Plugin::Picture byImage = plugin.Rect(rect[0], rect[1], rect[2], rect[3]);
      UseSystem(kQuickDraw);
      Plugin::Picture byQuickDraw = plugin.Rect(rect[0], rect[1], rect[2], rect[3]);
      ASSERT_TRUE(byImage.has_value() && byQuickDraw.has_value());
      for (size_t at = 3; at < byQuickDraw->rgba.size(); at += 4) byQuickDraw->rgba[at] = 255;
      ASSERT_EQ(Difference(byQuickDraw, *byImage), "")
          << layout << " " << rect[0] << "," << rect[1] << "," << rect[2] << "," << rect[3]
          << ", QRV_TEST_SEED=" << Seed();
    }
  }
}

TEST(DenseDisplays, ShowAUnitAsTheAverageOfItsPixels) {
  Plugin plugin;
  UseSystem(kDisplayImage);
  for (const char* density : {"*2", "*3", "*1.5"}) {
    UseDesktop("virtual:120x90+0+0" + std::string(density));
    const Plugin::Picture pixels = plugin.Main();
    ASSERT_TRUE(pixels.has_value());
    EXPECT_GT(pixels->width, 120) << "a whole display has all of them";
    EXPECT_LE(ErrorsOf(plugin.Rect(0, 0, 120, 90), *pixels, 120, 90).worst, 2.4) << density;
  }
}

}  // namespace
}  // namespace qrv::testing
