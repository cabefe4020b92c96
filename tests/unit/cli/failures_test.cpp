// Every way to fail: its exit code, and what it says to the user.

#include <gtest/gtest.h>

#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

struct Case {
  int exitCode;
  const char* line;
  const char* message;  // what it has in it, separated by |
};

constexpr Case kCases[] = {
    {1, "capture --strategy opengl --desktop virtual:80x60+0+0@8",
     "opengl can't capture|quickdraw"},
    {1, "capture --strategy opengl --rect 0,0,9,9 --size 9x9", "opengl can't capture|quickdraw"},
    {1, "capture --strategy quickdraw --desktop virtual:80x60+0+0@16",
     "main display|16 bits per pixel"},
    {1, "capture --rect 0,0,0,5", "rectangle 0,0,0,5|1 to 32767|--rect"},
    {1, "capture --rect -2147483648,2147483647,0,-1", "-2147483648,2147483647,0,-1"},
    {1, "capture --rect 0,0,32767,32767", "2^31 bytes|--rect"},
    {1, "capture --rect 0,0,9,9 --size 0x4", "0x4|--size"},
    {1, "capture --display 7", "display 7|2 displays|0 to 1"},
    {1, "raw --display -1", "display -1|2 displays"},
    {1, "raw --system-version 10.4", "10.5"},
    {1, "capture --desktop x11", "DISPLAY is not set|virtual"},
    {1, "displays --desktop x11::9999", "X server :9999 can't be reached"},
    {1, "displays --desktop x11:moon", "'moon' is not the name"},
    {1, "displays --desktop x11:", "names no DISPLAY|x11::0"},
    {1, "displays --desktop virtual:9x9+0+0,12", "layout entry 2 '12'|virtual:1440x900"},
    {1, "displays --desktop moon", "\"moon\"|x11"},
    {2, "", "No command|capture, displays"},
    {2, "captur", "no command captur;|capture, displays"},
    {2, "--json", "no option --json before"},
    {2, "from-raw --width 5 --height 5 --row-bytes 20 pixels",
     "only 80 bytes|--height 5|4 rows of 20 bytes"},
    {2, "from-raw --width 25 --height 1 --row-bytes 101 pixels",
     "--row-bytes 101|not even one row"},
    {2, "from-raw --width 5 --height 4 --row-bytes 19 pixels", "--row-bytes 19|at least 20 bytes"},
    {2, "from-raw --width 32768 --height 1 --row-bytes 131072 pixels", "--width 32768|1 to 32767"},
    {2, "from-raw --width 1 --height 32768 --row-bytes 4 pixels", "--height 32768|1 to 32767"},
    {2, "from-raw --width 0 --height 1 --row-bytes 4 pixels", "--width 0"},
    {2, "from-raw --width 1 --height -1 --row-bytes 4 pixels", "--height -1"},
    {2, "from-raw --width 32767 --height 32767 --row-bytes 2147483647 pixels",
     "--height 32767|1 row of"},
    {2, "capture --size 2x2", "Try `qrvshot capture --help`"},
    {2, "capture --display 0 --rect 0,0,2,2", "Try `qrvshot capture --help`"},
    {2, "capture --strategy opengl --system-version 10.6", "Try `qrvshot capture --help`"},
    {2, "capture -o shot.JPG", "Try `qrvshot capture --help`"},
    {3, "displays --plugin none.so", "none.so: plug-in not found"},
    {3, "capture -o /dev/full", "/dev/full could not be written: No space left on device. Free"},
    {3, "capture -o none/a.png", "none/a.png could not be written: No such file|Make the folder"},
    {3, "capture -o /proc", "Is a directory. Name a file in it"},
    {3, "capture -o /proc/sys/kernel/ostype", "Permission denied. Choose a folder"},
    {3, "from-raw --width 1 --height 1 --row-bytes 4 /dev/null", "/dev/null is empty"},
    {3, "from-raw --width 1 --height 1 --row-bytes 4 none", "none could not be read: No such file"},
    {3, "from-raw --width 1 --height 1 --row-bytes 4 /", "/ could not be read: Is a directory"},
};

// An option and the values, separated by spaces, that it can't have.
constexpr std::pair<const char*, const char*> kWrongValues[] = {
    {"--rect",
     "1,2,3 1,2,3,4,5 1,2,3, ,1,2,3 1,~2,3,4 a,b,c,d 1,2,3,4~ 1,2,3,2147483648 1.5,2,3,4 +1,2,3,4 "
     "0x1,2,3,4"},
    {"--rect=0,0,2,2 --size", "640 640x x480 640x480x1 640,480 640~x~480"},
    {"--host-version", "new inf nan -1 2013.03x 1e999"},
    {"--system-version", "7 10. .7 10.7.5 ten.seven -10.7"},
    {"--display", "one"},
    {"--format", "gif"},
    {"--strategy", "magic"},
    {"--compression", "10"},
    {"--app", "phone"},
};

void ExpectFailure(int exitCode, const std::string& line, std::string message) {
  const ScratchFolder folder;
  folder.Write("pixels", std::string(80, 'x'));
  const Outcome outcome = Qrvshot(folder, line);
  EXPECT_EQ(outcome.exitCode, exitCode) << line << "\n" << outcome.errors;
  EXPECT_TRUE(outcome.errors.starts_with("qrvshot: ")) << line << "\n" << outcome.errors;
  std::replace(message.begin(), message.end(), ' ', '~');
  std::replace(message.begin(), message.end(), '|', ' ');
  for (const std::string& words : Split(message)) {
    EXPECT_NE(outcome.errors.find(words), std::string::npos) << words << "\n" << outcome.errors;
  }
  EXPECT_EQ(folder.Count(), 1U) << line;
}

TEST(Failure, SaysWhatIsWrongAndLeavesNoFile) {
  for (const Case& each : kCases) ExpectFailure(each.exitCode, each.line, each.message);
  for (const auto& [option, values] : kWrongValues) {
    for (std::istringstream input(values); input;) {
      std::string value;
      if (!(input >> value)) break;
      std::string shown = value;
      std::replace(shown.begin(), shown.end(), '~', ' ');
      ExpectFailure(2, std::string("capture ") + option + "=" + value, shown);
    }
  }
  // A script whose variable is unset must not get the main display instead of its rectangle.
  for (const std::string option : {"--rect", "--display", "--output", "--plugin", "--desktop"}) {
    ExpectFailure(2, "capture " + option + " ''", option + " has an empty value");
  }
}

}  // namespace
}  // namespace qrv::cli
