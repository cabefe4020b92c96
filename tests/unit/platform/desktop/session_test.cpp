#include "platform/desktop/session.h"

#include <gtest/gtest.h>

#include "tests/support/xvfb.h"

namespace qrv::desktop {
namespace {

using testing::ScopedVariable;

// What the environment asks for, and what is shown: the width of the last display, or 0.
struct Choice {
  const char* desktop;
  const char* display;  // DISPLAY
  int width;
  std::string name;
  std::string problem = {};
  std::string note = {};
  Reason reason = Reason::kNone;
};

void ExpectShown(const Choice& choice) {
  const ScopedVariable desktop("QRV_DESKTOP", choice.desktop);
  const ScopedVariable display("DISPLAY", choice.display);
  const std::vector<Display>* const displays = RefreshDisplays();
  EXPECT_EQ(displays == nullptr ? 0 : displays->back().pixelWidth, choice.width) << choice.problem;
  if (displays != nullptr) {
    EXPECT_EQ(FrameBuffer(displays->back()).width, choice.width);
  }
  const Status status = CurrentStatus();
  EXPECT_EQ(std::tuple(status.name, status.message, status.note),
            std::tuple(choice.name, choice.problem, choice.note));
  EXPECT_EQ(status.failure, choice.reason) << choice.problem;
  EXPECT_EQ(FindDisplay(displays == nullptr ? 1 : displays->back().id).has_value(),
            choice.width != 0);
}

TEST(Session, FollowsTheChoiceFromListToList) {
  const std::string none = "no desktop", card = "the virtual desktop";
  const std::string unset = "WAYLAND_DISPLAY is not set, DISPLAY is not set";
  const std::string unreachable = "X server :4711 can't be reached";
  for (const Choice& choice : std::initializer_list<Choice>{
           {"virtual:100x50+0+0,20x20+100+0", nullptr, 20, card},
           {"virtual", nullptr, 1280, card},
           {"any", nullptr, 1280, card, "", unset + ": this is the built-in virtual desktop"},
           {"any", ":4711", 0, "X11 :4711", unreachable, "", Reason::kUnreachable},
           {nullptr, ":4711", 0, "X11 :4711", unreachable, "", Reason::kUnreachable},
           {nullptr, nullptr, 0, none, unset, "", Reason::kNoDesktop},
           {"", nullptr, 0, none, unset, "", Reason::kNoDesktop},
           {"wayland", ":1", 0, none, "WAYLAND_DISPLAY is not set", "", Reason::kNoDesktop}}) {
    ExpectShown(choice);
  }
  for (const auto& [desktop, problem] : std::initializer_list<std::pair<const char*, std::string>>{
           {"x11:", "the desktop \"x11:\" names no DISPLAY"},
           {"x11:moon",
            "'moon' is not the name of an X display, which begins with a colon or a host: x11::0"},
           {"virtual:", "the desktop \"virtual:\" names no LAYOUT"},
           {"virtually", "there is no desktop \"virtually\""}}) {
    ExpectShown({desktop, nullptr, 0, none, problem, "", Reason::kBadChoice});
  }
  const ScopedVariable version("QRV_SYSTEM_VERSION", "foo");
  ExpectShown({"virtual", nullptr, 0, none, "QRV_SYSTEM_VERSION is not a version like 10.7", "",
               Reason::kBadChoice});
}

TEST(Session, TakesTheServerOfDisplayAndFollowsItsChange) {
  const testing::Xvfb small("320x200x24");
  const testing::Xvfb large("640x480x24");
  ExpectShown({nullptr, small.display().c_str(), 320, "X11 " + small.display()});
  ExpectShown({nullptr, large.display().c_str(), 640, "X11 " + large.display()});
  const Display display = LatestDisplays()->front();
  const Frame before = FrameBuffer(display);
  EXPECT_EQ(FrameBuffer(display).pixels, before.pixels);
  DropFrameBuffer(display.id);
  EXPECT_NE(FrameBuffer(display).pixels, before.pixels);
}

TEST(Session, CapturesNothingMoreOnceACaptureHasFailed) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0,100x50+100+0");
  const Display display = RefreshDisplays()->back();
  const PixelRect pixel = {0, 0, 1, 1};
  TakeStrategies();
  EXPECT_TRUE(Capture(display, pixel, Strategy::kOpenGL));
  EXPECT_FALSE(HasCaptureFailed());
  FailCapture(Reason::kNoMemory, "a reason");
  FailCapture(Reason::kRefused, "another");
  EXPECT_TRUE(HasCaptureFailed());
  EXPECT_FALSE(Capture(display, pixel, Strategy::kQuickDraw));
  EXPECT_FALSE(FrameBuffer(display));
  EXPECT_STREQ(CurrentStatus().message, "a reason");
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_FALSE(HasCaptureFailed());
  EXPECT_STREQ(CurrentStatus().message, "");
  EXPECT_TRUE(FrameBuffer(display));
  EXPECT_EQ(TakeStrategies(), 2U) << "those that delivered";
  EXPECT_EQ(TakeStrategies(), 0U);
}

// A display that is gone lacks its pixels, but the capture of the others goes on.
TEST(Session, GoesOnWithoutADisplayThatIsGone) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0");
  Display gone = RefreshDisplays()->front();
  gone.id = 99;
  EXPECT_FALSE(Capture(gone, {0, 0, 1, 1}, Strategy::kDisplayImage));
  EXPECT_EQ(CurrentStatus().failure, Reason::kDisplayChanged);
  EXPECT_FALSE(HasCaptureFailed());
  EXPECT_TRUE(Capture(LatestDisplays()->front(), {0, 0, 1, 1}, Strategy::kDisplayImage));
}

}  // namespace
}  // namespace qrv::desktop
