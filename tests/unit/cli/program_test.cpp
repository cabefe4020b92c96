#include "tests/unit/cli/program.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <random>

#include "tests/support/xvfb.h"

namespace qrv::cli {
namespace {

using Words = std::vector<std::string>;

// Expects the program to fail with that code and with these words in its message, and to leave no
// file.
void ExpectFailure(const Words& arguments, int exitCode, const Words& message) {
  const ScratchFolder folder;
  const Outcome outcome = RunProgram(folder, arguments);
  EXPECT_EQ(outcome.exitCode, exitCode) << outcome.errors;
  EXPECT_TRUE(outcome.errors.starts_with("qrvshot: ")) << outcome.errors;
  for (const std::string& words : message) {
    EXPECT_NE(outcome.errors.find(words), std::string::npos) << words << "\n" << outcome.errors;
  }
  EXPECT_EQ(folder.Count(), 0U);
}

// The picture that a capture with these arguments shows, as a PPM file.
std::string Capture(Words arguments) {
  const ScratchFolder folder;
  arguments.insert(arguments.begin(), "capture");
  arguments.insert(arguments.end(), {"-o", "shot.ppm"});
  const Outcome outcome = RunProgram(folder, arguments);
  EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
  return folder.Read("shot.ppm");
}

TEST(Capture, WritesTheMainDisplayAndSaysSo) {
  const ScratchFolder folder;
  const Outcome outcome = RunProgram(folder, {"capture"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
  EXPECT_EQ(outcome.output, "screenshot.png: 1440x900 pixels of the virtual desktop\n");
  EXPECT_TRUE(folder.Read("screenshot.png").starts_with("\x89PNG"));
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(Capture, KeepsItsWordsApartFromAPictureOnStandardOutput) {
  const ScratchFolder folder;
  const Outcome outcome = RunProgram(folder, {"capture", "-o", "-", "--format", "ppm"});
  EXPECT_EQ(outcome.output, Capture({}));
  EXPECT_EQ(outcome.errors, "standard output: 1440x900 pixels of the virtual desktop\n");
}

TEST(Capture, ShowsTheDisplayOfTheIndex) {
  EXPECT_TRUE(Capture({"--display", "1"}).starts_with("P6\n1280 1024\n"));
  EXPECT_EQ(Capture({"--display", "0"}), Capture({}));
}

TEST(Capture, TakesNegativeRectanglesInEitherSpelling) {
  const Words layout = {"--desktop", "virtual:100x80+0+0,60x40-60+0"};
  Words spaced = layout;
  spaced.insert(spaced.end(), {"--rect", "-10,0,5,5"});
  Words joined = layout;
  joined.emplace_back("--rect=-10,0,5,5");
  EXPECT_TRUE(Capture(spaced).starts_with("P6\n5 5\n"));
  EXPECT_EQ(Capture(spaced), Capture(joined));
}

TEST(Capture, ShowsTheSamePixelsToEveryKindOfHost) {
  const std::string expected = Capture({});
  for (const Words& host : {Words{"--app", "console"}, Words{"--app", "web"}, Words{"--alpha"},
                            Words{"--host-version", "2010.0"}, Words{"--host-version", "none"}}) {
    EXPECT_EQ(Capture(host), expected) << host.back();
  }
}

TEST(Capture, ShowsTheSamePixelsByEveryStrategy) {
  const std::string expected = Capture({"--rect", "1400,100,100,50"});
  for (const char* strategy : {"display-image", "opengl", "quickdraw"}) {
    EXPECT_EQ(Capture({"--rect", "1400,100,100,50", "--strategy", strategy}), expected) << strategy;
  }
}

TEST(Capture, ScalesARectangle) {
  EXPECT_TRUE(Capture({"--rect", "1400,100,100,50", "--size", "30x70"}).starts_with("P6\n30 70\n"));
}

TEST(Capture, FailsRatherThanUseAnotherStrategyThanTheWanted) {
  ExpectFailure({"capture", "--strategy", "opengl", "--desktop", "virtual:80x60+0+0@8"}, 1,
                {"opengl can't capture", "quickdraw"});
  ExpectFailure({"capture", "--strategy", "opengl", "--rect", "0,0,9,9", "--size", "9x9"}, 1,
                {"opengl can't capture", "quickdraw"});
}

TEST(Capture, ExplainsWhatYieldsNothing) {
  ExpectFailure({"capture", "--strategy", "quickdraw", "--desktop", "virtual:80x60+0+0@16"}, 1,
                {"main display", "16 bits per pixel"});
  ExpectFailure({"capture", "--rect", "0,0,0,5"}, 1, {"rectangle 0,0,0,5", "1 to 32767", "--rect"});
  ExpectFailure({"capture", "--rect", "0,0,32767,32767"}, 1, {"2^31 bytes", "--rect"});
  ExpectFailure({"capture", "--rect", "0,0,9,9", "--size", "0x4"}, 1, {"0x4", "--size"});
  ExpectFailure({"capture", "--display", "7"}, 1, {"display 7", "2 displays", "0 to 1"});
  ExpectFailure({"raw", "--display", "-1"}, 1, {"display -1", "2 displays"});
  ExpectFailure({"raw", "--system-version", "10.4"}, 1, {"10.5"});
}

TEST(Desktop, ThatCanNotBeReachedIsNamed) {
  ExpectFailure({"capture", "--desktop", "x11"}, 1, {"DISPLAY is not set", "--desktop virtual"});
  ExpectFailure({"displays", "--desktop", "x11::9999"}, 1, {"X server :9999 can't be reached"});
  ExpectFailure({"displays", "--desktop", "x11:moon"}, 1, {"'moon' is not the name"});
  ExpectFailure({"displays", "--desktop", "x11:"}, 1, {"names no X display", "x11::0"});
  ExpectFailure({"displays", "--desktop", "virtual:9x9+0+0,12"}, 1, {"layout", "entry 2 '12'"});
  ExpectFailure({"displays", "--desktop", "moon"}, 1, {"\"moon\"", "x11"});
}

TEST(Usage, IsRefusedInWords) {
  for (const Words& arguments :
       {Words{}, Words{"shoot"}, Words{"capture", "--rect", "1,2,3"},
        Words{"capture", "--rect", "0,0,1,2147483648"}, Words{"capture", "--size", "2x2"},
        Words{"capture", "--rect", "0,0,2,2", "--size", "2"}, Words{"capture", "--display", "one"},
        Words{"capture", "--display", "0", "--rect", "0,0,2,2"},
        Words{"capture", "--format", "gif"}, Words{"capture", "-o", "shot.JPG"},
        Words{"capture", "--strategy", "magic"},
        Words{"capture", "--strategy", "opengl", "--system-version", "10.6"},
        Words{"capture", "--compression", "10"}, Words{"methods", "--app", "phone"},
        Words{"methods", "--host-version", "new"}, Words{"methods", "--system-version", "7"}}) {
    ExpectFailure(arguments, 2, {"Try `qrvshot ", "--help`"});
  }
}

TEST(Usage, NamesTheCommandsWhenNoneIsKnown) {
  ExpectFailure({}, 2, {"No command", "capture, displays"});
  ExpectFailure({"captur"}, 2, {"no command captur;", "capture, displays"});
  ExpectFailure({"--json"}, 2, {"no option --json before"});
}

// A script whose variable is unset must not get the main display instead of its rectangle.
TEST(Usage, RefusesEmptyValues) {
  for (const char* option : {"--rect", "--display", "--output", "--plugin", "--desktop"}) {
    ExpectFailure({"capture", option, ""}, 2, {std::string(option) + " has an empty value"});
  }
}

TEST(Plugin, ThatCanNotBeLoadedIsNamed) {
  ExpectFailure({"methods", "--plugin", "none.so"}, 3, {"none.so: plug-in not found", "--plugin"});
  ExpectFailure({"methods", "--plugin", QRV_BUILD_DIR "/libScreenshotPlatform.so"}, 3,
                {"not a plug-in", "--plugin"});
}

TEST(Plugin, OfWhichOnlyPartIsThereIsRefused) {
  std::ifstream whole(QRV_BUILD_DIR "/ScreenshotQRV.so", std::ios::binary);
  std::string part(4096, '\0');
  ASSERT_TRUE(whole.read(part.data(), static_cast<std::streamsize>(part.size())));
  const ScratchFolder folder;
  folder.Write("part.so", part);
  const Outcome outcome = RunProgram(folder, {"methods", "--plugin", "part.so"});
  EXPECT_EQ(outcome.exitCode, 3);
  EXPECT_NE(outcome.errors.find("only part of one"), std::string::npos) << outcome.errors;
}

TEST(Methods, AreListedWithTheInterfaceVersionAndFlags) {
  const ScratchFolder folder;
  const Outcome outcome = RunProgram(folder, {"methods", "--host-version", "2012.0"});
  EXPECT_TRUE(outcome.output.starts_with("interface version 10\n"));
  EXPECT_NE(outcome.output.find("\nflags 0x4  ScreenshotQRV as picture\n"), std::string::npos);
}

TEST(Displays, AreListedInOneLineEach) {
  const ScratchFolder folder;
  EXPECT_EQ(RunProgram(folder, {"displays", "--desktop", "virtual:80x60+0+0*2,9x9-9+5@16"}).output,
            "0  id 1  80x60  at 0,0  32 bits per pixel  160x120 pixels  main\n"
            "1  id 2  9x9  at -9,5  16 bits per pixel\n");
}

TEST(Displays, AreListedForScriptsAsJson) {
  const ScratchFolder folder;
  EXPECT_EQ(RunProgram(folder, {"displays", "--json", "--desktop", "virtual:80x60+0+0"}).output,
            "[\n  {\"index\": 0, \"id\": 1, \"x\": 0, \"y\": 0, \"width\": 80, \"height\": 60, "
            "\"pixelWidth\": 80, \"pixelHeight\": 60, \"bitsPerPixel\": 32, \"main\": true}\n]\n");
}

TEST(Raw, PrintsItsNumbersAndHoldsTheBytesOfAllRows) {
  const ScratchFolder folder;
  EXPECT_EQ(RunProgram(folder, {"raw"}).output, "1440 900 5760\n");
  EXPECT_EQ(folder.Read("screenshot.raw").size(), 5184000U);
  EXPECT_EQ(RunProgram(folder, {"raw", "--json", "--display", "1"}).output,
            "{\"width\": 1280, \"height\": 1024, \"rowBytes\": 5120}\n");
}

TEST(FromRaw, MakesThePictureThatWasCaptured) {
  for (const char* version : {"2010.0", "2013.03"}) {
    const ScratchFolder folder;
    RunProgram(folder, {"raw", "--display", "1", "-o", "pixels"});
    const Outcome outcome =
        RunProgram(folder, {"from-raw", "--width", "1280", "--height", "1024", "--row-bytes",
                            "5120", "pixels", "-o", "shot.ppm", "--host-version", version});
    EXPECT_EQ(outcome.output, "shot.ppm: 1280x1024 pixels of pixels\n") << outcome.errors;
    EXPECT_EQ(folder.Read("shot.ppm"), Capture({"--display", "1"}));
  }
}

TEST(FromRaw, SaysWhichNumberIsWrongAndWhatWouldFit) {
  struct Case {
    const char *width, *height, *rowBytes;
    Words message;
  };
  for (const Case& c : {Case{"5", "5", "20", {"only 80 bytes", "--height 5", "4 rows of 20 bytes"}},
                        Case{"25", "1", "101", {"--row-bytes 101", "not even one row"}},
                        Case{"5", "4", "19", {"--row-bytes 19", "at least 20 bytes"}},
                        Case{"32768", "1", "131072", {"--width 32768", "1 to 32767"}},
                        Case{"1", "32768", "4", {"--height 32768", "1 to 32767"}},
                        Case{"0", "1", "4", {"--width 0"}}, Case{"1", "-1", "4", {"--height -1"}},
                        Case{"32767", "32767", "2147483647", {"--height 32767", "1 row of"}}}) {
    const ScratchFolder folder;
    folder.Write("pixels", std::string(80, 'x'));
    const Outcome outcome = RunProgram(folder, {"from-raw", "--width", c.width, "--height",
                                                c.height, "--row-bytes", c.rowBytes, "pixels"});
    EXPECT_EQ(outcome.exitCode, 2);
    for (const std::string& words : c.message) {
      EXPECT_NE(outcome.errors.find(words), std::string::npos) << words << "\n" << outcome.errors;
    }
    EXPECT_EQ(folder.Count(), 1U);
  }
}

TEST(FromRaw, NamesAFileThatIsEmptyOrUnreadable) {
  const Words numbers = {"from-raw", "--width", "1", "--height", "1", "--row-bytes", "4"};
  for (const auto& [file, message] : {std::pair{"/dev/null", "/dev/null is empty"},
                                      std::pair{"none", "none could not be read: No such file"},
                                      std::pair{"/", "/ could not be read: Is a directory"}}) {
    Words arguments = numbers;
    arguments.emplace_back(file);
    ExpectFailure(arguments, 3, {message});
  }
}

TEST(Capture, TakesTheFormatFromTheNameInEitherCase) {
  const ScratchFolder folder;
  RunProgram(folder, {"capture", "-o", "SHOT.PPM"});
  EXPECT_TRUE(folder.Read("SHOT.PPM").starts_with("P6\n"));
}

TEST(Capture, LeavesNoPartOfAPictureWhenItIsKilled) {
  constexpr uintmax_t kWhole = 17 + 2000 * 1500 * 3;  // "P6\n2000 1500\n255\n" and the pixels
  std::mt19937 random(std::random_device{}());
  for (int i = 0; i < 24; ++i) {
    const ScratchFolder folder;
    const ScratchFolder streams;
    if (i % 2 == 0) {
      folder.Write("a.ppm", "old");
    }
    const pid_t process = StartProgram(
        folder, {"capture", "--desktop", "virtual:2000x1500+0+0", "-o", "a.ppm"}, streams);
    usleep(static_cast<useconds_t>(random() % 60000));
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
    for (const auto& file : std::filesystem::directory_iterator(folder.File(""))) {
      const uintmax_t size = file.file_size();
      EXPECT_TRUE(size == kWhole || (i % 2 == 0 && size == 3)) << file.path() << ": " << size;
    }
  }
}

TEST(Capture, IsTheWholePictureOrNoneWhenTheServerDiesMeanwhile) {
  constexpr int kWidth = 1000;
  constexpr int kHeight = 800;
  qrv::testing::Xvfb server("1000x800x24");
  server.FillRandom(5);
  std::string whole = "P6\n1000 800\n255\n";
  for (const uint8_t sample : server.ImportScreen().pixels) {
    whole += static_cast<char>(sample);
  }
  std::mt19937 random(std::random_device{}());
  for (int i = 0; i < 30; ++i) {
    const ScratchFolder folder;
    const ScratchFolder streams;
    const pid_t process = StartProgram(
        folder,
        {"capture", "--desktop", "x11:" + server.display(), "--strategy",
         i % 2 == 0 ? "opengl" : "quickdraw", "--rect",
         "0,0," + std::to_string(kWidth) + "," + std::to_string(kHeight), "-o", "a.ppm"},
        streams);
    usleep(static_cast<useconds_t>(random() % 30000));
    server.Kill();
    int status = 0;
    waitpid(process, &status, 0);
    if (WEXITSTATUS(status) == 0) {
      EXPECT_TRUE(folder.Read("a.ppm") == whole);
    } else {
      EXPECT_EQ(folder.Count(), 0U);
    }
    server.Restart();
    server.FillRandom(5);
  }
}

TEST(Capture, EndsWithItsOwnCodeWhenTheFileCanNotBeWritten) {
  ExpectFailure({"capture", "-o", "/dev/full"}, 3, {"/dev/full", "No space left"});
}

}  // namespace
}  // namespace qrv::cli
