#include <QRV/Desktop.h>

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
};

void ExpectShown(const Choice& choice) {
  const ScopedVariable desktop("QRV_DESKTOP", choice.desktop);
  const ScopedVariable display("DISPLAY", choice.display);
  const std::vector<Display>* const displays = RefreshDisplays();
  EXPECT_EQ(displays == nullptr ? 0 : displays->back().pixelWidth, choice.width) << choice.problem;
  EXPECT_EQ(std::tuple(DesktopName(), DesktopProblem(), DesktopNote()),
            std::tuple(choice.name, choice.problem, choice.note));
  EXPECT_EQ(FindDisplay(displays == nullptr ? 1 : displays->back().id).has_value(),
            choice.width != 0);
}

TEST(Session, FollowsTheChoiceFromListToList) {
  const std::string none = "no desktop", card = "the virtual desktop";
  for (const Choice& choice : std::initializer_list<Choice>{
           {"virtual:100x50+0+0,20x20+100+0", nullptr, 20, card},
           {"virtual", nullptr, 1280, card},
           {"any", nullptr, 1280, card, "",
            "WAYLAND_DISPLAY is not set, DISPLAY is not set: this is the built-in virtual desktop"},
           {"any", ":4711", 0, "X11 :4711", "X server :4711 can't be reached"},
           {nullptr, ":4711", 0, "X11 :4711", "X server :4711 can't be reached"},
           {nullptr, nullptr, 0, none, "WAYLAND_DISPLAY is not set, DISPLAY is not set"},
           {"", nullptr, 0, none, "WAYLAND_DISPLAY is not set, DISPLAY is not set"},
           {"x11:", nullptr, 0, none, "the desktop \"x11:\" names no DISPLAY"},
           {"x11:moon", nullptr, 0, none, "'moon' is not the name of an X display"},
           {"wayland", ":1", 0, none, "WAYLAND_DISPLAY is not set"},
           {"virtual:", nullptr, 0, none, "the desktop \"virtual:\" names no LAYOUT"},
           {"virtually", nullptr, 0, none, "there is no desktop \"virtually\""}}) {
    ExpectShown(choice);
  }
  const ScopedVariable version("QRV_SYSTEM_VERSION", "foo");
  ExpectShown({"virtual", nullptr, 0, none, "QRV_SYSTEM_VERSION is not a version like 10.7"});
}

TEST(Session, TakesTheServerOfDisplayAndFollowsItsChange) {
  const testing::Xvfb small("320x200x24");
  const testing::Xvfb large("640x480x24");
  ExpectShown({nullptr, small.display().c_str(), 320, "X11 " + small.display()});
  ExpectShown({nullptr, large.display().c_str(), 640, "X11 " + large.display()});
}

TEST(Session, HasLostPixelsUntilTheNextListWhateverSucceedsMeanwhile) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0,100x50+100+0");
  const Display display = RefreshDisplays()->back();
  TakeStrategies();
  EXPECT_FALSE(Capture(display, {0, 0, 101, 1}, Strategy::kDisplayImage));
  EXPECT_TRUE(Capture(display, {0, 0, 1, 1}, Strategy::kOpenGL));
  EXPECT_TRUE(Capture(display, {0, 0, 1, 1}, Strategy::kQuickDraw));
  LosePixels("another reason");
  EXPECT_TRUE(HasLostPixels());
  EXPECT_FALSE(HoldPixels(display));
  EXPECT_STREQ(DesktopProblem(), "pixels outside of the display were asked for");
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_FALSE(HasLostPixels());
  EXPECT_STREQ(DesktopProblem(), "");
  EXPECT_EQ(TakeStrategies(), 6U) << "those that delivered";
  EXPECT_EQ(TakeStrategies(), 0U);
}

}  // namespace
}  // namespace qrv::desktop
