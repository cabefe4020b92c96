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

// A picture, a file or a desktop that can't be had.
constexpr Case kRefusals[] = {
    {1, "--strategy opengl --desktop virtual:80x60+0+0@8", "opengl can't capture|quickdraw"},
    {1, "--strategy opengl --rect 0,0,9,9 --size 8x8", "opengl can't capture|quickdraw"},
    {1, "--strategy quickdraw --display 0 --desktop virtual:80x60+0+0@16", "16 bits per pixel"},
    {1, "--rect 0,0,32767,32767", "2^31 bytes"},
    {1, "--rect -2147483648,2147483647,1,1", "-2147483648,2147483647,1,1|no display|2720,1024"},
    {1, "--rect 2720,0,9,9", "The rectangle 2720,0,9,9|no display|0,0,2720,1024"},
    {1, "--scale 2000%", "54400x20480|1 to 32767"},
    {1, "--desktop virtual:20000x9+0+0,20000x9+20000+0", "40000x9|1 to 32767"},
    {1, "--rect 10000,0,32767,9 --scale 50% --desktop virtual:20000x9+0+0,20000x9+20000+0",
     "farther than 32767"},
    {1, "--strategy quickdraw --rect 32760,0,9,9 --desktop virtual:20000x9+0+0,20000x9+20000+0",
     "farther than"},
    {1, "--display 7", "display 7|2 displays|0 to 1"},
    {1, "--desktop x11::9999", "X server :9999 can't be reached"},
    {2, "--desktop x11:moon", "'moon' is not the name"},
    {2, "--desktop x11:", "names no DISPLAY|x11::0"},
    {2, "--desktop virtual:9x9+0+0,12", "layout entry 2 '12'|virtual:1440x900"},
    {2, "--desktop moon", "\"moon\"|x11"},
    {3, "--plugin none.so", "none.so: plug-in not found"},
    {3, "--copy", "neither WAYLAND_DISPLAY nor DISPLAY"},
    {3, "--rect 0,0,9,9 -o /dev/full",
     "/dev/full could not be written: No space left on device. Free"},
    {3, "none/\033a\n.png", "none/ a .png could not be written: No such file|Make the folder"},
    {3, "-o none/", "none/screenshot-|No such file"},
    {3, "-o /proc/sys/kernel/ostype", "Permission denied. It is write-protected"},
};

// Words that mean nothing. Where the page that helps is another one, the message has it.
constexpr std::pair<const char*, const char*> kMistakes[] = {
    {"captur", "no command captur; did you mean capture?"},
    {"shoot",
     "no command shoot; a file of that name is ./shoot; there are capture|`qrvshot --help`"},
    {"help captur", "no command captur; did you mean capture?"},
    {"help shoot", "no command shoot; there are capture"},
    {"''", "file name has an empty value"},
    {"--desktpo x11", "capture has no option --desktpo; did you mean --desktop?"},
    {"-w", "no option -w: --window active"},
    {"--cursor a.png", "no option --cursor: -p shows the mouse pointer"},
    {"--geometry 5x5+0+0", "--geometry: -g X,Y,W,H"},
    {"-s 0.5 a.png", "a.png is one|behind 0.5;|--scale 50%"},
    {"-o VIRTUAL-2 a.png", "--display VIRTUAL-2"},
    {"--display :0", "--desktop x11::0"},
    {"--desktop :5 a.png", "did you mean x11::5?"},
    {"-q 90 a.jpg", "no command 90; numbers are for"},
    {"-a 1,2,3,4", "-g X,Y,W,H|`qrvshot capture --help`"},
    {"--scale 0.5", "not a percentage; did you mean 50%?"},
    {"a.png -s -g 0,0,5,5", "-s and -g can't"},
    {"--window active --display 0", "--window and --display can't"},
    {"--copy --format jpg", "--format jpg has no effect on the clipboard"},
    {"--copy --compression 0", "no effect on the clipboard"},
    {"--desktop x11:0", "begins with a colon"},
    {"displays --alpha", "qrvshot displays has no option --alpha"},
    {"raw --dispaly 1", "no option --dispaly; did you mean --display? Try `qrvshot raw --help`"},
    {"raw --system-version 10", "--system-version 10 is not|`qrvshot raw --help`"},
    {"raw --rect 0,0,9,9", "qrvshot raw has no option --rect"},
    {"capture -qz", "no option -z"},
    {"capture --copy=yes", "--copy takes no value"},
    {"capture --co a.png", "no option --co; did you mean --count?"},
    {"displays a.png", "a.png is one argument too many"},
    {"capture a.png b.png", "b.png is one argument too many"},
    {"capture a.png -o b.png", "a.png and -o b.png both name the file."},
    {"capture --file a.png", "no option --file: -o names"},
    {"capture --rect 5x5-1-1", "places from the right or the bottom"},
    {"capture --display", "--display lacks its value"},
    {"capture -o", "-o lacks its value"},
    {"capture -o --json", "-o lacks its value"},
    {"capture --display 0 --rect 0,0,2,2", "--display and --rect can't|`qrvshot capture --help`"},
    {"capture --strategy opengl --system-version 10.6", "can't be used together"},
    {"capture --scale 50% --size 5x5", "--scale and --size can't"},
    {"capture --interval 5", "--interval has no effect without --count"},
    {"shot.pdf", "not pdf"},
    {"capture -o shot.GIF", "-o shot.GIF: this qrvshot writes png|, not gif"},
    {"capture --quality 50", "--quality has no effect on png"},
    {"capture --compression 5 a.ppm", "--compression has no effect on ppm"},
    {"capture --strategy opengll", "did you mean opengl?"},
    {"from-raw --width 5 --height 5 --row-bytes 20 pixels",
     "only 80 bytes|--height 5|4 rows of 20 bytes"},
    {"from-raw --width 25 --height 1 --row-bytes 101 pixels", "--row-bytes 101|not even one row"},
    {"from-raw --width 5 --height 4 --row-bytes 19 pixels", "--row-bytes 19|at least 20 bytes"},
    {"from-raw --width 32767 --height 32767 --row-bytes 2147483647 pixels",
     "--height 32767|1 row of"},
    {"from-raw --width 1 --height 1 --row-bytes 4", "required"},
};

// An option and the values, separated by spaces, that it can't have.
constexpr std::pair<const char*, const char*> kWrongValues[] = {
    {"capture --rect",
     "1,2,3 1,2,3,4,5 1,2,3, ,1,2,3 1,~2,3,4 a,b,c,d 1,2,3,4~ 1,2,3,2147483648 1.5,2,3,4 +1,2,3,4 "
     "0x1,2,3,4 0,0,0,5 0,0,5,-1 0,0,32768,1 5x5-1+1 5x5+1 5x5~+1+1 1,1~5,5"},
    {"capture --size", "640 x 640x480x1 640,480 640~x~480 0x0 0x4 -1x5 70000x300 x32768"},
    {"capture --scale", "25 0% -5% x% % inf% 1e999%"},
    {"capture --host-version", "new inf nan -1 2013.03x 1e999"},
    {"capture --system-version", "7 10. .7 10.7.5 ten.seven -10.7"},
    {"capture --display", "one -1 1e3 1.5 00x"},
    {"capture --format", "gif"},
    {"capture --strategy", "magic"},
    {"capture --compression", "10 -1 x"},
    {"capture --quality", "0 101 x"},
    {"--count", "-1 x 100001 99999999999"},
    {"--delay", "-1 x 86401 25h 3x ms 1e999s -5ms"},
    {"capture --app", "phone"},
    {"raw --display", "-1"},
    {"from-raw pixels --height 1 --row-bytes 4 --width", "0 -1 32768 x"},
    {"from-raw pixels --width 1 --row-bytes 4 --height", "0 32768"},
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
  for (const auto& [code, line, message] : kRefusals) {
    ExpectFailure(code, std::string("capture ") + line, message);
  }
  for (const auto& [line, message] : kMistakes) ExpectFailure(2, line, message);
  for (const auto& [option, values] : kWrongValues) {
    for (const std::string& value : Split(values)) {
      std::string typed = value;
      std::replace(typed.begin(), typed.end(), ' ', '~');
      ExpectFailure(2, std::string(option) + "=" + typed, value);
    }
  }
  // A script whose variable is unset must not get the whole desktop instead of its rectangle.
  for (const std::string option : {"--rect", "--display", "--plugin", "--desktop", "-o"}) {
    ExpectFailure(2, "capture " + option + " ''", option + " has an empty value");
  }
  for (const std::string refused : {"/dev/null is empty", "none could not be read: No such file",
                                    "/ could not be read: Is a directory"}) {
    ExpectFailure(3, "from-raw --width 1 --height 1 --row-bytes 4 " + Split(refused)[0], refused);
  }
  ExpectFailure(1, "raw --system-version 10.4", "10.5");
}

}  // namespace
}  // namespace qrv::cli
