#include "platform/desktop/wayland/desktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/holdings.h"
#include "tests/wayland/server.h"

namespace qrv::desktop {
namespace {

using std::chrono::steady_clock;
using testing::Compositor;
using testing::CompositorSetup;
using testing::Fault;
using testing::Holdings;
using testing::OutputSetup;

constexpr uint32_t kXrgb = 1;
constexpr uint32_t kXbgr = 0x34324258;

// A compositor, and the desktop that captures it.
struct Screen {
  explicit Screen(const CompositorSetup& setup = {}) : compositor(setup), format(setup.formats[0]) {
    List();
  }

  size_t List() {
    if (!desktop->ListDisplays(displays)) displays.clear();
    return displays.size();
  }
  Frame Capture(const PixelRect& part, size_t index = 0) {
    return desktop->Capture(displays.at(index), part, isGone);
  }
  PixelRect Whole(size_t index = 0) const {
    return {0, 0, displays.at(index).pixelWidth, displays.at(index).pixelHeight};
  }
  // How many pixels of a frame of that part differ from the picture.
  int CountWrong(const Frame& frame, const PixelRect& part) const {
    if (!frame || frame.width != part.width || frame.height != part.height) return -1;
    int wrong = 0;
    for (int32_t y = 0; y < frame.height; ++y) {
      for (int32_t x = 0; x < frame.width; ++x) {
        uint32_t pixel = 0;
        std::memcpy(&pixel, frame.pixels + static_cast<size_t>(y) * frame.rowBytes + x * 4, 3);
        if (pixel != testing::ColorAt(format, picture, part.x + x, part.y + y)) ++wrong;
      }
    }
    return wrong;
  }
  int CountWrongNow(const PixelRect& part) { return CountWrong(Capture(part), part); }
  void Show(uint32_t which) { compositor.script().picture = picture = which; }

  Compositor compositor;
  std::unique_ptr<Desktop> desktop = OpenWaylandDesktop(compositor.path(), false);
  std::vector<Display> displays;
  uint32_t format;
  uint32_t picture = 0;
  bool isGone = false;
};

CompositorSetup By(bool imageCopy) {
  CompositorSetup setup;
  setup.imageCopy = imageCopy ? 1 : 0;
  return setup;
}

TEST(Wayland, ConvertsEveryFormatExactly) {
  for (const auto& [code, channels] : testing::kShmFormats) {
    for (const bool imageCopy : {false, true}) {
      CompositorSetup setup = By(imageCopy);
      setup.formats = {code};
      setup.padding = 8;
      Screen screen(setup);
      EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << channels << " " << imageCopy;
      EXPECT_STREQ(screen.desktop->Way(), imageCopy ? "ext-image-copy-capture" : "wlr-screencopy");
    }
  }
}

TEST(Wayland, BringsEveryOrientationUpright) {
  const PixelRect part = {5, 3, 30, 27};
  for (int i = 0; i < 24; ++i) {
    CompositorSetup setup = By(i >= 16);
    setup.outputs[0].transform = i % 8;
    setup.isInverted = i / 8 == 1;
    setup.screencopy = 1 + i % 3;
    if (i % 2 == 1) std::swap(setup.outputs[0].logicalWidth, setup.outputs[0].logicalHeight);
    Screen screen(setup);
    EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << i;
    EXPECT_EQ(screen.CountWrongNow(part), 0) << i;
    EXPECT_EQ(screen.compositor.script().regions, i % 8 == 0 && i < 16 ? 1U : 0) << i;
  }
}

// All of an output that is 60 units wide comes when it is not certain which pixels a region has.
TEST(Wayland, AsksForRegionsWhereUnitsHaveWholePixels) {
  for (const auto& [pixels, regions] : {std::pair(60, 3U), {120, 3U}, {180, 3U}, {75, 0U}}) {
    CompositorSetup setup;
    setup.outputs[0] = {"", pixels, pixels, 0, 1, 0, 0, 60, 60};
    Screen screen(setup);
    for (const PixelRect& part : {PixelRect{0, 0, 1, 1}, {7, 5, 20, 13}, {31, 29, 29, 31}}) {
      EXPECT_EQ(screen.CountWrongNow(part), 0) << pixels << " " << part.x;
    }
    EXPECT_EQ(screen.compositor.script().regions, regions) << pixels;
  }
}

TEST(Wayland, PlacesDisplaysByTheirOutputs) {
  struct Expected {
    std::string name;
    PixelRect bounds;
    int32_t width, height;  // in pixels
  };
  const OutputSetup left = {"left", 40, 30, 0, 1, -40, 7, 40, 30};
  const OutputSetup main = {"main", 80, 60, 0, 2, 0, 0, 40, 30};
  const OutputSetup turned = {"turned", 50, 25, 3, 1, 40, -9, 20, 40};
  const OutputSetup off = {"off", 0, 0, 0, 1, 99, 0, 0, 0};
  const Expected atLeft = {"left", {-40, 7, 40, 30}, 40, 30};
  const Expected atMain = {"main", {0, 0, 40, 30}, 80, 60};
  const Expected atTurned = {"turned", {40, -9, 20, 40}, 25, 50};
  struct {
    std::vector<OutputSetup> outputs;
    int outputVersion, xdgVersion;
    std::vector<Expected> expected;
  } const cases[] = {
      {{left, off, main, turned}, 4, 3, {atMain, atLeft, atTurned}},
      {{left, main}, 3, 2, {atMain, atLeft}},  // named by xdg-output
      {{left, main}, 2, 1, {{"", atMain.bounds, 80, 60}, {"", atLeft.bounds, 40, 30}}},
      {{turned, left},
       4,
       3,
       {{"turned", {0, 0, 20, 40}, 25, 50}, {"left", {-80, 16, 40, 30}, 40, 30}}},
      {{turned, main}, 4, 0, {atMain, {"turned", {40, -9, 25, 50}, 25, 50}}},
      {{main}, 2, 0, {{"", {0, 0, 40, 30}, 80, 60}}},
      {{off}, 4, 3, {}},
  };
  for (const auto& each : cases) {
    CompositorSetup setup;
    setup.outputs = each.outputs;
    setup.outputVersion = each.outputVersion;
    setup.xdgOutput = each.xdgVersion;
    Screen screen(setup);
    ASSERT_EQ(screen.displays.size(), each.expected.size()) << &each - cases;
    for (size_t i = 0; i < each.expected.size(); ++i) {
      const Display& display = screen.displays[i];
      const Expected& expected = each.expected[i];
      EXPECT_EQ(std::tuple(std::string(display.name), display.pixelWidth, display.pixelHeight),
                std::tuple(expected.name, expected.width, expected.height));
      EXPECT_EQ(display.bounds, expected.bounds) << &each - cases << " " << expected.name;
      const Frame frame = screen.Capture(screen.Whole(i), i);
      EXPECT_EQ(screen.CountWrong(frame, screen.Whole(i)), 0) << &each - cases << expected.name;
    }
  }
}

enum class After { kFrame, kNothing, kGone, kLost };

struct Misbehaviour {
  Fault fault;
  After after;
  std::string problem;
  int times = 1;
  std::vector<uint32_t> words = {};
};

const std::string kRefuses = "the compositor refuses to give the pixels";
const std::string kUnknown = "the compositor sends pixels in a format that is not known here";
const std::string kChanged = "the display is gone or has changed";

// What is right afterwards is what the same connection gives, or another one when it was lost.
void ExpectRecovery(const Misbehaviour& row, bool imageCopy) {
  SCOPED_TRACE("fault " + std::to_string(static_cast<int>(row.fault)) +
               (imageCopy ? ", image copy" : ", screencopy"));
  CompositorSetup setup = By(imageCopy);
  setup.outputs.push_back({"TEST-2", 70, 30, 0, 1, 61, 0, 70, 30});
  Screen screen(setup);
  std::copy(row.words.begin(), row.words.end(), screen.compositor.script().words);
  screen.compositor.Make(row.fault, row.times);
  const auto start = steady_clock::now();
  EXPECT_EQ(screen.CountWrongNow(screen.Whole()), row.after == After::kFrame ? 0 : -1);
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
  const std::string peer =
      row.after == After::kLost ? "Wayland compositor " + screen.compositor.path() : "";
  EXPECT_EQ(screen.desktop->Problem(), peer + row.problem);
  EXPECT_EQ(screen.isGone, row.after == After::kGone);
  screen.compositor.Make(Fault::kNone);
  if (row.after >= After::kGone) {
    // One that did not answer gets little time to greet at first.
    for (screen.List();
         screen.displays.empty() && steady_clock::now() - start < std::chrono::seconds(20);) {
      screen.List();
    }
  }
  EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << screen.desktop->Problem();
}

TEST(Wayland, IsRightOrNilWhateverTheCompositorDoes) {
  const std::string closed = " closed the connection";
  for (const Misbehaviour& row : std::initializer_list<Misbehaviour>{
           {Fault::kFails, After::kNothing, kRefuses, 9},
           {Fault::kStops, After::kNothing, kRefuses},
           {Fault::kUnknownFormat, After::kNothing, kUnknown},
           {Fault::kNoSize, After::kNothing, kUnknown},
           {Fault::kHugeSize, After::kNothing, kUnknown},
           {Fault::kOtherSize, After::kNothing, "the display has changed since it was listed"},
           {Fault::kChangesMode, After::kGone, kChanged},
           {Fault::kRemovesOutput, After::kGone, kChanged},
           {Fault::kHangsUp, After::kLost, closed},
           {Fault::kComplains, After::kLost, closed + ": no pixels today"},
           {Fault::kSendsByteByByte, After::kFrame, ""},
           // Numbers of objects that are not there; no object, one of a size that can't be; events
           // that are shorter than they should be, and a string that is longer.
           {Fault::kSendsWords, After::kFrame, "", 1, {1, 12 << 16 | 1, 0xFFFFFFFF, 99, 8 << 16}},
           {Fault::kSendsWords, After::kLost, closed, 1, {0, 0, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, closed, 1, {1, 0xFFFC0000, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, closed, 1, {1, 8 << 16 | 1, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, closed, 1, {1, 20 << 16, 0, 0, 0xFFFFFFFF}},
       }) {
    for (const bool imageCopy : {false, true}) ExpectRecovery(row, imageCopy);
  }
  ExpectRecovery({Fault::kShortStride, After::kNothing, kUnknown}, false);
  ExpectRecovery({Fault::kNewFormat, After::kNothing, kRefuses, 9}, true);
}

TEST(Wayland, GivesUpACompositorThatNeverHasTheFrame) {
  ExpectRecovery({Fault::kNeverReady, After::kLost, " does not answer"}, true);
}
TEST(Wayland, GivesUpACompositorThatTellsWithoutEnd) {
  ExpectRecovery({Fault::kFloods, After::kLost, " does not answer"}, false);
}

TEST(Wayland, TakesTheFormatThatIsOfferedNow) {
  for (const Fault fault : {Fault::kNone, Fault::kNewFormat, Fault::kNewFormatEarly}) {
    CompositorSetup setup = By(true);
    setup.formats = {kXrgb, kXbgr};
    Screen screen(setup);
    screen.compositor.Make(fault);
    if (fault != Fault::kNone) screen.format = kXbgr;
    EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << screen.desktop->Problem();
  }
}

TEST(Wayland, LeavesNothingAndNoFrameChanged) {
  for (const bool imageCopy : {false, true}) {
    Screen screen(By(imageCopy));
    const auto captureAgain = [&](int times) {
      std::vector<Frame> kept;
      for (int i = 0; i < times; ++i) {
        screen.Show(static_cast<uint32_t>(i));
        const Frame frame = screen.Capture(screen.Whole());
        EXPECT_EQ(screen.CountWrong(frame, screen.Whole()), 0);
        if (i % 20 == 0) kept.push_back(frame);
      }
      for (size_t i = 0; i < kept.size(); ++i) {
        screen.picture = static_cast<uint32_t>(20 * i);
        EXPECT_EQ(screen.CountWrong(kept[i], screen.Whole()), 0) << i;
      }
    };
    captureAgain(30);
    captureAgain(3);
    const Holdings before;
    captureAgain(100);
    captureAgain(3);
    const Holdings after;
    EXPECT_EQ(std::tuple(after.files, after.mappedFiles),
              std::tuple(before.files, before.mappedFiles));
    EXPECT_LT(screen.compositor.script().highest, 50U);
  }
}

}  // namespace
}  // namespace qrv::desktop
