#include "cli/capture/dense_rect.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "cli/capture/start_host.h"
#include "runtime/methods.h"

namespace qrv::cli {
namespace {

struct Image {
  explicit Image(const Rows& rows) : width(rows.width), height(rows.height) {
    bytes.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    for (int32_t y = 0; y < height; ++y) rows.read(y, bytes.data() + ptrdiff_t{4} * width * y);
  }
  const uint8_t* At(int64_t x, int64_t y) const { return bytes.data() + 4 * (y * width + x); }

  int32_t width;
  int32_t height;
  std::vector<uint8_t> bytes;
};

class DenseRect : public testing::Test {
 protected:
  void Use(const std::string& layout) {
    setenv("QRV_DESKTOP", ("virtual:" + layout).c_str(), 1);
    Arguments arguments;
    arguments.plugin = QRV_BUILD_DIR "/ScreenshotQRV.so";
    host_ = StartHost(arguments);
    displays_ = RequireDisplays();
  }
  Image Whole(int32_t index) {
    return Image(RowsOf(CallMethod(*host_, runtime::methods::kScreenshotDisplay, index)));
  }
  Image Capture(const Rect& rect) { return Image(CaptureDenseRect(*host_, displays_, rect, "it")); }

  std::unique_ptr<runtime::Host> host_;
  Displays displays_;
  std::mt19937 random_{std::random_device{}()};
};

// At 1.25, 1.5, 1.75, 2 and 2.5 pixels per unit, with what lies beyond the display black.
TEST_F(DenseRect, IsABlockOfItsDisplaysPixels) {
  for (const char* density : {"1.25", "1.5", "1.75", "2", "2.5"}) {
    Use(std::string("81x63+0+0*") + density);
    const Image whole = Whole(0);
    const auto edge = [](double units, int32_t pixels, int32_t all) {
      return static_cast<int32_t>(std::floor(units * pixels / all + 0.5));
    };
    for (int i = 0; i < 200; ++i) {
      const auto any = [&](int low, int high) {
        return std::uniform_int_distribution(low, high)(random_);
      };
      const int32_t left = any(-20, 80);
      const int32_t top = any(-20, 62);
      const Rect rect = {left, top, any(1 - std::min(left, 0), 100), any(1 - std::min(top, 0), 80)};
      const Image part = Capture(rect);
      const int32_t x0 = edge(left, whole.width, 81);
      const int32_t y0 = edge(top, whole.height, 63);
      ASSERT_EQ(part.width, edge(left + rect.width, whole.width, 81) - x0);
      ASSERT_EQ(part.height, edge(top + rect.height, whole.height, 63) - y0);
      for (int32_t y = 0; y < part.height; ++y) {
        for (int32_t x = 0; x < part.width; ++x) {
          constexpr uint8_t kBlack[] = {0, 0, 0, 255};
          const bool isInside =
              x0 + x >= 0 && x0 + x < whole.width && y0 + y >= 0 && y0 + y < whole.height;
          ASSERT_EQ(memcmp(part.At(x, y), isInside ? whole.At(x0 + x, y0 + y) : kBlack, 4), 0)
              << density << ": " << left << "," << top << " at " << x << "," << y;
        }
      }
    }
  }
}

// A display of 1.5 beside one of 1, which is enlarged, and another of 1.5, which isn't.
TEST_F(DenseRect, EnlargesLessDenseDisplaysByInterpolation) {
  Use("40x30+0+0*1.5,20x30+40+0,433x30+60+0*1.5");
  const Image all = Capture({0, 0, 493, 30});
  ASSERT_EQ(all.width, 740);
  const Image plain = Whole(1);
  const Image last = Whole(2);
  for (int32_t y = 0; y < 45; ++y) {
    EXPECT_EQ(memcmp(all.At(0, y), Whole(0).At(0, y), 60 * 4), 0) << y;
    EXPECT_EQ(memcmp(all.At(90, y), last.At(0, y), 650 * 4), 0) << y;
    for (int32_t x = 0; x < 30; ++x) {
      const double across = std::clamp((x + 0.5) / 1.5 - 0.5, 0.0, 19.0);
      const double down = std::clamp((y + 0.5) / 1.5 - 0.5, 0.0, 29.0);
      const auto column = static_cast<int32_t>(across);
      const auto row = static_cast<int32_t>(down);
      for (int channel = 0; channel < 4; ++channel) {
        const auto at = [&](int32_t dx, int32_t dy) {
          const uint8_t* pixel = plain.At(std::min(column + dx, 19), std::min(row + dy, 29));
          return static_cast<double>(pixel[channel]);
        };
        const double upper = std::lerp(at(0, 0), at(1, 0), across - column);
        const double lower = std::lerp(at(0, 1), at(1, 1), across - column);
        ASSERT_NEAR(all.At(60 + x, y)[channel], std::lerp(upper, lower, down - row), 2.5)
            << x << "," << y;
      }
    }
  }
}

}  // namespace
}  // namespace qrv::cli
