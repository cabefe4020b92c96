#include "platform/desktop/session.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/xvfb.h"

namespace qrv::desktop {
namespace {

using ::qrv::testing::ScopedVariable;

TEST(Session, ShowsTheChosenLayout) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0,20x20+100+0");
  const std::vector<Display>* const displays = RefreshDisplays();
  ASSERT_NE(displays, nullptr);
  ASSERT_EQ(displays->size(), 2U);
  EXPECT_EQ((*displays)[1].bounds.x, 100);
  EXPECT_STREQ(QRVDesktopName(), "virtual desktop");
  EXPECT_STREQ(QRVDesktopProblem(), "");
}

TEST(Session, ShowsTheDefaultLayoutWhenNoneIsNamed) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual");
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_EQ(RefreshDisplays()->size(), 2U);
}

TEST(Session, FollowsAChangedChoice) {
  const ScopedVariable first("QRV_DESKTOP", "virtual:100x50+0+0");
  ASSERT_NE(RefreshDisplays(), nullptr);
  const ScopedVariable second("QRV_DESKTOP", "virtual:30x20+0+0");
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_EQ(RefreshDisplays()->front().pixelWidth, 30);
}

TEST(Session, HasNoDesktopWithoutAChoiceItUnderstands) {
  const ScopedVariable display("DISPLAY", nullptr);
  struct {
    const char* choice;
    const char* problem;
  } const cases[] = {
      {nullptr, "DISPLAY is not set and QRV_DESKTOP chooses no desktop"},
      {"", "DISPLAY is not set and QRV_DESKTOP chooses no desktop"},
      {"x11", "QRV_DESKTOP is x11, but DISPLAY is not set"},
      {"x11:", "QRV_DESKTOP is x11: without a display"},
      {"x11:nonsense", "'nonsense' is not the name of an X display"},
      {"virtual:", "layout entry 1 '': expected WIDTHxHEIGHT+X+Y"},
      {"virtual:12x", "layout entry 1 '12x': expected WIDTHxHEIGHT+X+Y"},
      {"Virtual", "QRV_DESKTOP is none of x11, x11:DISPLAY, virtual and virtual:LAYOUT"}};
  for (const auto& each : cases) {
    const ScopedVariable chosen("QRV_DESKTOP", each.choice);
    EXPECT_EQ(RefreshDisplays(), nullptr) << each.problem;
    EXPECT_STREQ(QRVDesktopProblem(), each.problem);
    EXPECT_EQ(FindDisplay(1), std::nullopt);
  }
}

TEST(Session, SaysWhichServerItCannotReach) {
  const ScopedVariable chosen("QRV_DESKTOP", "x11::4711");
  EXPECT_EQ(RefreshDisplays(), nullptr);
  EXPECT_STREQ(QRVDesktopProblem(), "X server :4711 can't be reached");
}

TEST(Session, FindsADisplayWithoutARefreshBefore) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0");
  const std::optional<Display> display = FindDisplay(1);
  ASSERT_TRUE(display);
  EXPECT_EQ(display->pixelWidth, 100);
  EXPECT_FALSE(FindDisplay(2));
}

TEST(Session, RemembersWhoDeliveredUntilItIsAsked) {
  const ScopedVariable chosen("QRV_DESKTOP", "virtual:100x50+0+0");
  const std::optional<Display> display = FindDisplay(1);
  ASSERT_TRUE(display);
  EXPECT_FALSE(Capture(*display, {0, 0, 101, 1}, Reader::kDisplayImage));
  EXPECT_TRUE(Capture(*display, {0, 0, 1, 1}, Reader::kOpenGL));
  EXPECT_TRUE(Capture(*display, {0, 0, 1, 1}, Reader::kQuickDraw));
  EXPECT_EQ(QRVTakeReaders(), 6U);
  EXPECT_EQ(QRVTakeReaders(), 0U);
}

TEST(Session, TakesTheServerOfDisplayAndFollowsItsChange) {
  const qrv::testing::Xvfb small("320x200x24");
  const qrv::testing::Xvfb large("640x480x24");
  const ScopedVariable chosen("QRV_DESKTOP", nullptr);
  const ScopedVariable first("DISPLAY", small.display().c_str());
  ASSERT_NE(RefreshDisplays(), nullptr) << QRVDesktopProblem();
  EXPECT_EQ(RefreshDisplays()->front().pixelWidth, 320);
  EXPECT_EQ(QRVDesktopName(), "X11 " + small.display());
  const ScopedVariable second("DISPLAY", large.display().c_str());
  ASSERT_NE(RefreshDisplays(), nullptr) << QRVDesktopProblem();
  EXPECT_EQ(RefreshDisplays()->front().pixelWidth, 640);
  const ScopedVariable named("QRV_DESKTOP", ("x11:" + small.display()).c_str());
  ASSERT_NE(RefreshDisplays(), nullptr) << QRVDesktopProblem();
  EXPECT_EQ(RefreshDisplays()->front().pixelWidth, 320);
}

}  // namespace
}  // namespace qrv::desktop
