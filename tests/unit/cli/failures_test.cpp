// Every way to fail: its exit code, and what it says to the user.

#include <gtest/gtest.h>

#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

struct Case {
  Words arguments;
  Words message;
};

void ExpectFailures(int exitCode, const std::vector<Case>& cases) {
  for (const auto& [arguments, message] : cases) {
    const ScratchFolder folder;
    folder.Write("pixels", std::string(80, 'x'));
    const Outcome outcome = Qrvshot(folder, arguments);
    std::string line;
    for (const std::string& each : arguments) line += each + " ";
    EXPECT_EQ(outcome.exitCode, exitCode) << line << outcome.errors;
    EXPECT_TRUE(outcome.errors.starts_with("qrvshot: ")) << outcome.errors;
    for (const std::string& words : message) {
      EXPECT_NE(outcome.errors.find(words), std::string::npos) << line << words << outcome.errors;
    }
    EXPECT_EQ(folder.Count(), 1U) << line;
  }
}

Words FromRaw(const char* width, const char* height, const char* rowBytes,
              const char* file = "pixels") {
  return {"from-raw", "--width", width, "--height", height, "--row-bytes", rowBytes, file};
}

TEST(Failure, ToCaptureSaysWhyAndWhatToTry) {
  ExpectFailures(
      1, {{{"capture", "--strategy", "opengl", "--desktop", "virtual:80x60+0+0@8"},
           {"opengl can't capture", "quickdraw"}},
          {{"capture", "--strategy", "opengl", "--rect", "0,0,9,9", "--size", "9x9"},
           {"opengl can't capture", "quickdraw"}},
          {{"capture", "--strategy", "quickdraw", "--desktop", "virtual:80x60+0+0@16"},
           {"main display", "16 bits per pixel"}},
          {{"capture", "--rect", "0,0,0,5"}, {"rectangle 0,0,0,5", "1 to 32767", "--rect"}},
          {{"capture", "--rect", "-2147483648,2147483647,0,-1"}, {"-2147483648,2147483647,0,-1"}},
          {{"capture", "--rect", "0,0,32767,32767"}, {"2^31 bytes", "--rect"}},
          {{"capture", "--rect", "0,0,9,9", "--size", "0x4"}, {"0x4", "--size"}},
          {{"capture", "--display", "7"}, {"display 7", "2 displays", "0 to 1"}},
          {{"raw", "--display", "-1"}, {"display -1", "2 displays"}},
          {{"raw", "--system-version", "10.4"}, {"10.5"}},
          {{"capture", "--desktop", "x11"}, {"DISPLAY is not set", "virtual"}},
          {{"displays", "--desktop", "x11::9999"}, {"X server :9999 can't be reached"}},
          {{"displays", "--desktop", "x11:moon"}, {"'moon' is not the name"}},
          {{"displays", "--desktop", "x11:"}, {"names no DISPLAY", "x11::0"}},
          {{"displays", "--desktop", "virtual:9x9+0+0,12"},
           {"layout entry 2 '12'", "virtual:1440x900"}},
          {{"displays", "--desktop", "moon"}, {"\"moon\"", "x11"}}});
}

TEST(Failure, ToUnderstandSaysWhatIsWrong) {
  std::vector<Case> cases = {
      {{}, {"No command", "capture, displays"}},
      {{"captur"}, {"no command captur;", "capture, displays"}},
      {{"--json"}, {"no option --json before"}},
      {FromRaw("5", "5", "20"), {"only 80 bytes", "--height 5", "4 rows of 20 bytes"}},
      {FromRaw("25", "1", "101"), {"--row-bytes 101", "not even one row"}},
      {FromRaw("5", "4", "19"), {"--row-bytes 19", "at least 20 bytes"}},
      {FromRaw("32768", "1", "131072"), {"--width 32768", "1 to 32767"}},
      {FromRaw("1", "32768", "4"), {"--height 32768", "1 to 32767"}},
      {FromRaw("0", "1", "4"), {"--width 0"}},
      {FromRaw("1", "-1", "4"), {"--height -1"}},
      {FromRaw("32767", "32767", "2147483647"), {"--height 32767", "1 row of"}}};
  for (const Words& options :
       {Words{"--size", "2x2"}, Words{"--display", "one"}, Words{"--format", "gif"},
        Words{"--display", "0", "--rect", "0,0,2,2"}, Words{"-o", "shot.JPG"},
        Words{"--strategy", "magic"}, Words{"--strategy", "opengl", "--system-version", "10.6"},
        Words{"--compression", "10"}, Words{"--app", "phone"}}) {
    cases.push_back({options, {"Try `qrvshot capture --help`"}});
    cases.back().arguments.insert(cases.back().arguments.begin(), "capture");
  }
  const std::pair<const char*, std::vector<const char*>> values[] = {
      {"--rect",
       {"1,2,3", "1,2,3,4,5", "1,2,3,", ",1,2,3", "1, 2,3,4", "a,b,c,d", "1,2,3,4 ",
        "1,2,3,2147483648", "1.5,2,3,4", "+1,2,3,4", "0x1,2,3,4"}},
      {"--size", {"640", "640x", "x480", "640x480x1", "640,480", "640 x 480"}},
      {"--host-version", {"new", "inf", "nan", "-1", "2013.03x", "1e999"}},
      {"--system-version", {"7", "10.", ".7", "10.7.5", "ten.seven", "-10.7"}}};
  for (const auto& [option, wrong] : values) {
    for (const char* value : wrong) {
      cases.push_back({{"capture", "--rect=0,0,2,2", std::string(option) + "=" + value}, {value}});
      if (std::string(option) == "--rect")
        cases.back().arguments.erase(cases.back().arguments.begin() + 1);
    }
  }
  // A script whose variable is unset must not get the main display instead of its rectangle.
  for (const std::string option : {"--rect", "--display", "--output", "--plugin", "--desktop"}) {
    cases.push_back({{"capture", option, ""}, {option + " has an empty value"}});
  }
  ExpectFailures(2, cases);
}

TEST(Failure, OfAFileNamesIt) {
  ExpectFailures(3, {{{"displays", "--plugin", "none.so"}, {"none.so: plug-in not found"}},
                     {{"capture", "-o", "/dev/full"}, {"/dev/full", "No space left"}},
                     {FromRaw("1", "1", "4", "/dev/null"), {"/dev/null is empty"}},
                     {FromRaw("1", "1", "4", "none"), {"none could not be read: No such file"}},
                     {FromRaw("1", "1", "4", "/"), {"/ could not be read: Is a directory"}}});
}

}  // namespace
}  // namespace qrv::cli
