#include "platform/desktop/wayland/desktop.h"

#include <chrono>

#include "tests/support/holdings.h"
#include "tests/unit/platform/desktop/tested_desktop.h"
#include "tests/wayland/server.h"

namespace qrv::desktop {
namespace {

using std::chrono::steady_clock;
using testing::Compositor;
using testing::CompositorSetup;
using testing::Fault;
using testing::Holdings;
using testing::kFramesNumber;
using testing::OutputSetup;

constexpr uint32_t kXrgb = 1;
constexpr uint32_t kXbgr = 0x34324258;

// A compositor, and the desktop that captures it.
struct Screen : TestedDesktop {
  explicit Screen(const CompositorSetup& setup = {}) : compositor(setup), format(setup.formats[0]) {
    desktop = OpenWaylandDesktop(compositor.path(), false);
    List();
  }

  // How many pixels of a frame of that part differ from the picture.
  int CountWrong(const Frame& frame, const PixelRect& part) const {
    if (!frame || frame.width != part.width || frame.height != part.height) return -1;
    return CountOther(frame, [&](int x, int y) {
      return testing::ColorAt(format, picture, part.x + x, part.y + y);
    });
  }
  int CountWrongNow(const PixelRect& part) { return CountWrong(Capture(part), part); }
  void Show(uint32_t which) { compositor.script().picture = picture = which; }

  Compositor compositor;
  uint32_t format;
  uint32_t picture = 0;
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
      EXPECT_FALSE(screen.compositor.script().withPointer);
      EXPECT_TRUE(screen.Capture({1, 2, 3, 4}, 0, Pointer::kShown));
      EXPECT_TRUE(screen.compositor.script().withPointer);
      EXPECT_STREQ(screen.desktop->backend(),
                   imageCopy ? "ext-image-copy-capture" : "wlr-screencopy");
    }
  }
}

// A region is asked for only where an output is upright and its units have whole pixels.
TEST(Wayland, BringsEveryOrientationUpright) {
  const PixelRect part = {5, 3, 31, 27};
  const int logicalSizes[][2] = {{60, 40}, {30, 20}, {40, 27}, {60, 40}};
  for (int i = 0; i < 32; ++i) {
    const auto& [width, height] = logicalSizes[i / 8];
    CompositorSetup setup = By(i >= 24);
    setup.outputs[0] = {"", 60, 40, i % 8, 1, 0, 0, width, height};
    setup.isInverted = i / 8 == 1;
    setup.screencopy = 1 + i % 3;
    if (i % 2 == 1) std::swap(setup.outputs[0].logicalWidth, setup.outputs[0].logicalHeight);
    Screen screen(setup);
    EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << i;
    EXPECT_EQ(screen.CountWrongNow(part), 0) << i;
    EXPECT_EQ(screen.compositor.script().regions, i == 0 || i == 8 ? 1U : 0) << i;
  }
}

// As "name place and size in units, size in pixels".
std::string Text(const Display& display) {
  const auto& [x, y, width, height] = display.bounds;
  std::ostringstream text;
  text << display.name << " " << x << "," << y << " " << width << "x" << height << " "
       << display.pixelWidth << "x" << display.pixelHeight;
  return text.str();
}

TEST(Wayland, PlacesDisplaysByTheirOutputs) {
  const OutputSetup left = {"left", 40, 30, 0, 1, -40, 7, 40, 30};
  const OutputSetup main = {"main", 80, 60, 0, 2, 0, 0, 40, 30};
  const OutputSetup turned = {"turned", 50, 25, 3, 1, 40, -9, 20, 40};
  const OutputSetup off = {"off", 0, 0, 0, 1, 99, 0, 0, 0};
  const std::tuple<std::vector<OutputSetup>, int, int, std::vector<std::string>> cases[] = {
      {{left, off, main, turned},
       4,
       3,
       {"main 0,0 40x30 80x60", "left -40,7 40x30 40x30", "turned 40,-9 20x40 25x50"}},
      {{left, main}, 3, 2, {"main 0,0 40x30 80x60", "left -40,7 40x30 40x30"}},
      {{left, main}, 2, 1, {" 0,0 40x30 80x60", " -40,7 40x30 40x30"}},
      {{turned, left}, 4, 3, {"turned 0,0 20x40 25x50", "left -80,16 40x30 40x30"}},
      {{turned, main}, 4, 0, {"main 0,0 40x30 80x60", "turned 40,-9 25x50 25x50"}},
      {{off}, 4, 3, {}},
      {{}, 4, 3, {}},
      {std::vector<OutputSetup>(257), 4, 3, {}}};  // more than are believed
  for (const auto& [outputs, outputVersion, xdgOutput, expected] : cases) {
    CompositorSetup setup;
    setup.outputs = outputs;
    setup.outputVersion = outputVersion;
    setup.xdgOutput = xdgOutput;
    Screen screen(setup);
    std::vector<std::string> displays;
    for (size_t i = 0; i < screen.displays.size(); ++i) {
      displays.push_back(Text(screen.displays[i]));
      EXPECT_EQ(screen.CountWrong(screen.Capture(screen.Whole(i), i), screen.Whole(i)), 0) << i;
    }
    EXPECT_EQ(displays, expected);
  }
}

enum class After { kFrame, kNothing, kGone, kLost };

struct Misbehaviour {
  Fault fault;
  After after;
  std::string problem;
  std::vector<uint32_t> words = {};
};

const std::string kRefuses = "the compositor refuses the capture";
const std::string kDisorder = " violates the protocol: a frame's event is out of order";
const std::string kUnknown = "the compositor sends pixels in an unsupported format";
const std::string kChanged = "the display has changed since it was listed";

// What is right afterwards is what the same connection gives, or another one when it was lost.
void ExpectRecovery(const Misbehaviour& row, bool imageCopy) {
  SCOPED_TRACE("fault " + std::to_string(static_cast<int>(row.fault)) +
               (imageCopy ? ", image copy" : ", screencopy"));
  CompositorSetup setup = By(imageCopy);
  setup.outputs.push_back({"TEST-2", 70, 30, 0, 1, 61, 0, 70, 30});
  Screen screen(setup);
  std::copy(row.words.begin(), row.words.end(), screen.compositor.script().words);
  screen.compositor.script().fault = row.fault;
  const auto start = steady_clock::now();
  screen.List();
  EXPECT_EQ(screen.CountWrongNow(screen.Whole()), row.after == After::kFrame ? 0 : -1);
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
  const std::string peer =
      row.after == After::kLost ? "the Wayland compositor at " + screen.compositor.path() : "";
  EXPECT_EQ(screen.problem, peer + row.problem);
  EXPECT_EQ(screen.reason == Reason::kDisplayChanged, row.after == After::kGone);
  screen.compositor.script().fault = Fault::kNone;
  // One that did not answer gets little time to greet at first.
  while (row.after >= After::kGone && screen.List() == 0 &&
         steady_clock::now() - start < std::chrono::seconds(20)) {
  }
  EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << screen.problem;
}

TEST(Wayland, IsRightOrNilWhateverTheCompositorDoes) {
  const std::string closed = " closed the connection", violates = " violates the protocol: ";
  const std::string size = violates + "a message has an impossible size";
  const std::string shortMessage = violates + "a message is too short";
  for (const Misbehaviour& row : std::initializer_list<Misbehaviour>{
           {Fault::kRefuses, After::kNothing, kRefuses},
           {Fault::kRefusesBuffer, After::kNothing, kRefuses},
           {Fault::kTells, After::kNothing, kUnknown, {0x3F3F3F3F, 61, 244}},
           {Fault::kTells, After::kNothing, kUnknown, {kXrgb, 0, 244}},
           {Fault::kTells, After::kNothing, kUnknown, {kXrgb, 0x40000001, 244}},
           {Fault::kTells, After::kGone, kChanged, {kXrgb, 30, 120}},
           {Fault::kChangesMode, After::kGone, kChanged},
           {Fault::kTurnsOutput, After::kGone, kChanged},
           {Fault::kTurnsThere, After::kGone, kChanged},
           {Fault::kRemovesOutput, After::kGone, "the display is gone"},
           {Fault::kAnswersTwice, After::kFrame, ""},
           {Fault::kHangsUp, After::kLost, closed},
           {Fault::kComplains, After::kLost, closed + ": no pixels today"},
           // Numbers of objects that are not there, or still in use; no object, one of a size that
           // can't be; events that are shorter than they should be, and a string that is longer.
           {Fault::kSendsWords, After::kFrame, "", {1, 12 << 16 | 1, 0xFFFFFFFF, 99, 8 << 16}},
           {Fault::kSendsWords, After::kFrame, "", {1, 12 << 16 | 1, kFramesNumber, 99, 8 << 16}},
           {Fault::kSendsWords, After::kFrame, "", {1, 12 << 16 | 1, 1, 99, 8 << 16}},
           {Fault::kSendsWords, After::kLost, size, {0, 0, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, size, {1, 0xFFFC0000, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, shortMessage, {1, 8 << 16 | 1, 0, 0, 0}},
           {Fault::kSendsWords, After::kLost, shortMessage, {1, 20 << 16, 0, 0, 0xFFFFFFFF}},
           {Fault::kSendsWords, After::kLost, shortMessage, {1, 20 << 16, 0, 0, 4}},
           {Fault::kSendsEvent, After::kLost, kDisorder, {3}},  // failed, and ready as well
           {Fault::kSendsEvent, After::kLost, kDisorder, {0}},
           {Fault::kSendsEvent, After::kLost, kDisorder, {2}},
       }) {
    for (const bool imageCopy : {false, true}) ExpectRecovery(row, imageCopy);
  }
  for (const uint32_t stride : {243U, 262'140U}) {
    ExpectRecovery({Fault::kTells, After::kNothing, kUnknown, {kXrgb, 61, stride}}, false);
  }
  // Another layout, more of it, and ready before there is a buffer.
  for (const uint32_t event : {0U, 6U, 2U}) {
    ExpectRecovery({Fault::kSendsEventEarly, After::kLost, kDisorder, {event}}, false);
  }
  ExpectRecovery({Fault::kNeverSettles, After::kNothing, kRefuses}, true);
}

TEST(Wayland, GivesUpACompositorThatNeverHasTheFrameOrTellsWithoutEnd) {
  ExpectRecovery({Fault::kNeverReady, After::kLost, " does not answer"}, true);
  ExpectRecovery({Fault::kFloods, After::kLost, " does not answer"}, false);
}

TEST(Wayland, TakesTheFormatThatIsOfferedNow) {
  for (const Fault fault : {Fault::kNone, Fault::kNewFormat, Fault::kNewFormatEarly}) {
    CompositorSetup setup = By(true);
    setup.formats = {kXrgb, kXbgr};
    Screen screen(setup);
    screen.compositor.script().fault = fault;
    if (fault != Fault::kNone) screen.format = kXbgr;
    EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0) << screen.problem;
  }
}

TEST(Wayland, LeavesNothingAndNoFrameChanged) {
  for (const bool imageCopy : {false, true}) {
    CompositorSetup setup = By(imageCopy);
    setup.outputs.push_back({"large", 200, 200, 0, 1, 61, 0, 200, 200});
    Screen screen(setup);
    const Frame held = screen.Capture(screen.Whole());
    const auto captureAgain = [&](uint32_t times) {
      for (uint32_t i = 1; i <= times; ++i) {
        screen.Show(i);
        EXPECT_EQ(screen.CountWrongNow(screen.Whole()), 0);
      }
    };
    captureAgain(30);
    const Holdings before;
    captureAgain(100);
    const auto poolsOfCompositor = [&] {
      return Holdings(std::to_string(screen.compositor.pid())).mappedFiles;
    };
    const long pools = poolsOfCompositor();
    EXPECT_TRUE(screen.Capture(screen.Whole(1), 1));  // in a larger pool, in place of one
    EXPECT_EQ(poolsOfCompositor(), pools);
    const Holdings after;
    EXPECT_EQ(std::tuple(after.files, after.mappedFiles),
              std::tuple(before.files, before.mappedFiles));
    screen.Show(0);
    EXPECT_EQ(screen.CountWrong(held, screen.Whole()), 0);
    EXPECT_LT(screen.compositor.script().highest, 50U);
    EXPECT_EQ(screen.compositor.script().truncated, EPERM);
  }
}

}  // namespace
}  // namespace qrv::desktop
