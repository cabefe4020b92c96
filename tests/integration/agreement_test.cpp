// The three strategies of the rectangle capture give the same pixels, and those are the desktop's.

#include <algorithm>
#include <random>

#include "platform/desktop/test_card.h"
#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::Image;

struct Box {
  int x, y, width, height;

  bool Holds(int px, int py) const {
    return px >= x && py >= y && px < x + width && py < y + height;
  }
  bool Meets(const Box& other) const {
    return x < other.x + other.width && other.x < x + width && y < other.y + other.height &&
           other.y < y + height;
  }
};

// The seed, shown with every failure, makes the same case again.
class Agreement : public ::testing::Test {
 protected:
  Agreement() : random_(Seed()) { RecordProperty("seed", std::to_string(Seed())); }

  int Pick(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }

  // One to four displays that don't overlap, anywhere around the main one.
  std::vector<Box> PickLayout() {
    std::vector<Box> layout = {{0, 0, Pick(1, 160), Pick(1, 120)}};
    const int count = Pick(1, 4);
    while (static_cast<int>(layout.size()) < count) {
      const Box box = {Pick(-250, 250), Pick(-250, 250), Pick(1, 160), Pick(1, 120)};
      const bool free = std::none_of(layout.begin(), layout.end(),
                                     [&box](const Box& other) { return box.Meets(other); });
      if (free) layout.push_back(box);
    }
    return layout;
  }

  static std::string Text(const std::vector<Box>& layout) {
    std::string text = "virtual:";
    for (const Box& box : layout) {
      if (text.back() != ':') text += ",";
      text += std::to_string(box.width) + "x" + std::to_string(box.height);
      for (const int position : {box.x, box.y}) {
        text += (position < 0 ? "" : "+") + std::to_string(position);
      }
    }
    return text;
  }

  Box PickRequest() { return {Pick(-300, 300), Pick(-300, 300), Pick(1, 400), Pick(1, 300)}; }

  // What a rectangle of the layout shows: the test card of each display, black elsewhere.
  static Image Expected(const std::vector<Box>& layout, const Box& request) {
    Image image = {request.width, request.height, {}};
    for (int y = request.y; y < request.y + request.height; ++y) {
      for (int x = request.x; x < request.x + request.width; ++x) {
        uint32_t colour = 0;
        for (size_t i = 0; i < layout.size(); ++i) {
          const Box& box = layout[i];
          if (!box.Holds(x, y)) continue;
          colour = desktop::TestCardPixel(static_cast<uint32_t>(i), box.width, box.height,
                                          x - box.x, y - box.y);
        }
        for (const int shift : {16, 8, 0})
          image.rgba.push_back(static_cast<uint8_t>(colour >> shift));
        image.rgba.push_back(255);
      }
    }
    return image;
  }

  // The unused byte of a QuickDraw world is 0, and a picture keeps it; opacity is not compared.
  static Plugin::Picture Opaque(Plugin::Picture picture) {
    if (picture.has_value()) {
      for (size_t i = 3; i < picture->rgba.size(); i += 4) picture->rgba[i] = 255;
    }
    return picture;
  }

  static std::string AllStrategies(Plugin& plugin, const Box& r, const Image& expected) {
    for (const char* system : {kDisplayImage, kOpenGL, kQuickDraw}) {
      UseSystem(system);
      const std::string difference =
          Difference(Opaque(plugin.Rect(r.x, r.y, r.width, r.height)), expected);
      if (!difference.empty()) return std::string("on ") + system + " " + difference;
    }
    const std::string difference =
        Difference(Opaque(plugin.Scaled(r.x, r.y, r.width, r.height, r.width, r.height)), expected);
    return difference.empty() ? "" : "scaled to its own size " + difference;
  }

  std::string Case(const Box& request) const {
    return "; QRV_TEST_SEED=" + std::to_string(Seed()) + ", request " + std::to_string(request.x) +
           "," + std::to_string(request.y) + "," + std::to_string(request.width) + "," +
           std::to_string(request.height);
  }

 private:
  std::mt19937 random_;
};

TEST_F(Agreement, OfAllStrategiesOnRandomLayouts) {
  Plugin plugin;
  for (int i = 0; i < 100; ++i) {
    const std::vector<Box> layout = PickLayout();
    UseDesktop(Text(layout));
    for (int j = 0; j < 20; ++j) {
      const Box request = PickRequest();
      ASSERT_EQ(AllStrategies(plugin, request, Expected(layout, request)), "")
          << Text(layout) << Case(request);
    }
  }
}

TEST_F(Agreement, OfAllStrategiesWithAnIndependentProgramOnX11) {
  const Xvfb server("300x200x24");
  server.FillRandom(Seed());
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  for (int i = 0; i < 200; ++i) {
    const Box r = PickRequest();
    ASSERT_EQ(AllStrategies(plugin, r, Crop(screen, r.x, r.y, r.width, r.height)), "") << Case(r);
  }
}

// A scaled capture by its two rules: a display's edge goes to (edge - origin) x size / source,
// truncated, and a pixel takes its source by nearest neighbour between the edges.
class ScaledAgreement : public Agreement {
 protected:
  static Image Model(const std::vector<Box>& layout, const Box& r, int width, int height) {
    const Image source = Expected(layout, r);
    Image image = {width, height, {}};
    image.rgba.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
    for (size_t i = 3; i < image.rgba.size(); i += 4) image.rgba[i] = 255;
    for (const Box& box : layout) {
      if (!box.Meets(r)) continue;
      const int left = std::max(box.x, r.x) - r.x;
      const int top = std::max(box.y, r.y) - r.y;
      const int right = std::min(box.x + box.width, r.x + r.width) - r.x;
      const int bottom = std::min(box.y + box.height, r.y + r.height) - r.y;
      const int toLeft = left * width / r.width;
      const int toTop = top * height / r.height;
      const int toWidth = right * width / r.width - toLeft;
      const int toHeight = bottom * height / r.height - toTop;
      for (int y = 0; y < toHeight; ++y) {
        for (int x = 0; x < toWidth; ++x) {
          const int fromX = left + x * (right - left) / toWidth;
          const int fromY = top + y * (bottom - top) / toHeight;
          const uint8_t* from = source.rgba.data() + (fromY * r.width + fromX) * 4;
          std::copy(from, from + 4, image.rgba.data() + ((toTop + y) * width + toLeft + x) * 4);
        }
      }
    }
    return image;
  }
};

TEST_F(ScaledAgreement, WithTheModelAtEverySize) {
  Plugin plugin;
  for (int i = 0; i < 60; ++i) {
    const std::vector<Box> layout = PickLayout();
    UseDesktop(Text(layout));
    for (int j = 0; j < 10; ++j) {
      const Box r = PickRequest();
      const int width = j == 0 ? r.width * 2 : Pick(1, 500);
      const int height = j == 0 ? r.height * 3 : Pick(1, 400);
      ASSERT_EQ(Difference(Opaque(plugin.Scaled(r.x, r.y, r.width, r.height, width, height)),
                           Model(layout, r, width, height)),
                "")
          << Text(layout) << Case(r) << " to " << width << "x" << height;
    }
  }
}

}  // namespace
}  // namespace qrv::testing
