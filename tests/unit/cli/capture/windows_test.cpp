// Windows of programs that know nothing of this project, under a window manager and without one,
// against the pictures that import takes of them.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include "tests/support/xvfb.h"
#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

using testing::Xvfb;

class Windows : public ::testing::Test {
 protected:
  ~Windows() override {
    for (const pid_t each : programs_) {
      kill(each, SIGKILL);
      testing::WaitForEnd(each);
    }
  }

  void Start(const Words& command) {
    programs_.push_back(testing::StartProgram(command, [this] {
      testing::UseNoStreams();
      return setenv("DISPLAY", server_.display().c_str(), 1) == 0;
    }));
  }

  // Shows a window of random pixels and waits until that is listed.
  void Show(const std::string& title, const Words& options = {}) {
    Words command = {"display", "-title", title, "-size", "180x120", "plasma:fractal"};
    command.insert(command.begin() + 1, options.begin(), options.end());
    Start(command);
    for (int i = 0; i < 200 && List().find(title) == std::string::npos; ++i) usleep(50000);
  }

  std::string List(const std::string& options = "") {
    return Qrvshot(folder_, "windows" + options + desktop_).output;
  }
  std::string Shown(const std::string& options) { return Capture(options + desktop_); }
  std::string IdOf(const std::string& title) {
    const std::string list = List();
    const size_t line = list.rfind('\n', list.find(title)) + 1;
    return list.substr(line, list.find(' ', line) - line);
  }
  std::string Seen(const Words& options, const std::string& id) {
    Words command = {"import", "-silent", "-window", id, "-depth", "8", "ppm:-"};
    command.insert(command.begin() + 1, options.begin(), options.end());
    return server_.Run(command);
  }
  void Move(const std::string& id, uint32_t x, uint32_t y) {
    xcb_connection_t* const xcb = xcb_connect(server_.display().c_str(), nullptr);
    const uint32_t position[] = {x, y};
    xcb_configure_window(xcb, static_cast<xcb_window_t>(std::stoul(id, nullptr, 16)),
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, position);
    std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    xcb_disconnect(xcb);
    usleep(300000);  // the window manager moves it
  }

  ScratchFolder folder_;
  Xvfb server_{"1000x700x24"};
  std::string desktop_ = " --desktop x11:" + server_.display();
  std::vector<pid_t> programs_;
};

TEST_F(Windows, OfAManagerAreCapturedWithTheirFramesAndWithout) {
  server_.SetMonitor("left", {0, 0, 300, 700}, "screen");
  server_.SetMonitor("*right", {300, 0, 700, 700});
  Start({"openbox", "--config-file", "/etc/xdg/openbox/rc.xml"});
  Show("First one", {"-geometry", "+40+60"});
  Show("Third", {"-iconic"});
  Show("Second one", {"-geometry", "+500+300"});
  for (int i = 0; i < 100 && List().find("active  Second one") == std::string::npos; ++i) {
    usleep(50000);
  }
  const std::string second = IdOf("Second one");
  for (const auto& [name, id] : {std::pair("active", second),
                                 {"second", second},
                                 {second.c_str(), second},
                                 {"First~one", IdOf("First one")}}) {
    const std::string window = std::string("--window ") + name;
    EXPECT_TRUE(Shown(window) == Seen({"-frame"}, id)) << window << "\n" << List();
    EXPECT_TRUE(Shown(window + " --no-frame") == Seen({}, id)) << window;
    EXPECT_NE(Shown(window), Shown(window + " --no-frame"));
  }
  Move(second, 330, 110);
  EXPECT_TRUE(Shown("--window " + second) == Seen({"-frame"}, second)) << List();
  Move(second, 950, 110);  // partly off the screen
  EXPECT_TRUE(Shown("--window " + second).starts_with("P6\n50 ")) << List();
  for (const auto& [name, message] : {std::pair("one", "'one' fits 2 windows"),
                                      {"Third", "'Third' is minimized"},
                                      {"nothing", "There is no window 'nothing'"}}) {
    EXPECT_NE(Shown(std::string("--window ") + name).find(message), std::string::npos) << name;
  }
  EXPECT_NE(List(" --json").find(R"("display": "left", "state": "shown", "active": false)"),
            std::string::npos)
      << List(" --json");
}

TEST_F(Windows, WithoutAManagerAreTheChildrenOfTheRoot) {
  Show("Only one", {"-geometry", "+40+60"});
  EXPECT_TRUE(Shown("--window only --no-frame") == Seen({}, IdOf("Only one"))) << List();
  EXPECT_NE(Shown("--window active").find("No window is active"), std::string::npos);
}

}  // namespace
}  // namespace qrv::cli
