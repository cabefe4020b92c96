#include "platform/desktop/wayland/sway_windows.h"

#include <gtest/gtest.h>

#include "platform/desktop/error.h"

namespace qrv::desktop::wayland {
namespace {

// As sway 1.7 answers, with less of it.
TEST(SwayTree, HasWindowsWithTitleBarsAndContents) {
  const std::vector<Window> windows = ParseSwayTree(R"({"id": 1, "nodes": [{"nodes": [
    {"id": 7, "pid": 4, "rect": {"x": 300, "y": 27, "width": 1200, "height": 873},
     "window_rect": {"x": 2, "y": 0, "width": 1196, "height": 871},
     "deco_rect": {"x": 0, "y": 0, "width": 1200, "height": 27},
     "visible": true, "focused": true, "name": "Hello", "app_id": "foot"},
    {"id": 8, "pid": 5, "rect": 3, "visible": "yes", "name": null, "app_id": null,
     "window_properties": {"class": "XTerm\n"}}],
    "floating_nodes": [{"id": 9, "pid": 6, "rect": {"x": -1e99, "width": 99999999999}}]}]})");
  ASSERT_EQ(windows.size(), 3U);
  EXPECT_EQ(windows[0].id, 9U);  // floating, so on top
  EXPECT_EQ(windows[1].program, std::string("XTerm "));
  EXPECT_EQ(windows[1].state, WindowState::kElsewhere);
  const Window& hello = windows[2];
  EXPECT_EQ(hello.frame, (PixelRect{300, 0, 1200, 900}));
  EXPECT_EQ(hello.content, (PixelRect{302, 27, 1196, 871}));
  EXPECT_TRUE(hello.isActive && hello.state == WindowState::kShown);
  EXPECT_EQ(hello.title + std::string(hello.program), "Hellofoot");
  for (const std::string& json : {std::string("[]"), std::string("{"), std::string(1 << 20, '[')}) {
    EXPECT_THROW(ParseSwayTree(json), Error);
  }
}

}  // namespace
}  // namespace qrv::desktop::wayland
