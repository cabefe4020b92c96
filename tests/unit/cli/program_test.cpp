#include <gtest/gtest.h>

#include <regex>

#include "tests/support/xvfb.h"
#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

// The folder's files, with digits as 0.
std::set<std::string> Files(const ScratchFolder& folder) {
  std::set<std::string> names;
  for (const auto& each : std::filesystem::directory_iterator(folder.path())) {
    names.insert(std::regex_replace(each.path().filename().string(), std::regex("[0-9]"), "0"));
  }
  return names;
}

TEST(Capture, NamesFilesByTheTimeUnlessItIsToldTo) {
  const std::string dated = "screenshot-00000000-000000";
  const std::pair<const char*, std::string> cases[] = {
      {"capture", dated + ".png"},
      {"", dated + ".png"},
      {"a.ppm", "a.ppm"},
      {"--format PPM -q ./a", "a"},
      {"--count 1 a.ppm", "a.ppm"},
      {"a%%%H%03d%d.ppm", "a%0000000.ppm"},
      {"--mkdir -o ./%Y/", "0000"},
      {"capture --format ppm", dated + ".ppm"},
      {"capture a.PPM", "a.PPM"},
      {"capture -o b.png a.ppm", "a.ppm"},
      {"capture -o b.png -qoa.ppm", "a.ppm"},
      {"-qo a.ppm capture --", "a.ppm"},
      {"capture --disp 0 --output=a.ppm", "a.ppm"},
      {"capture --format ppm -q -- -b.ppm", "-b.ppm"},
      {"capture --count 2 --interval 1ms", dated + "-0.png"},
      {"capture --count 10 --interval 0 a.ppm", "a-00.ppm"},
      {"--count 2 --interval 0 a%02d.ppm", "a00.ppm"},
      {"--count 2 --interval 0 -o /dev/null --mkdir", ""},
  };
  const std::string desktop = "--desktop virtual:20x10+0+0 ";
  for (const auto& [line, file] : cases) {
    const ScratchFolder folder;
    const Outcome outcome = Qrvshot(folder, desktop + line);
    EXPECT_EQ(Files(folder), file.empty() ? std::set<std::string>() : std::set{file})
        << line << outcome.errors;
  }
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.File("shots"));
  for (int i = 0; i < 3; ++i) Qrvshot(folder, desktop + "capture -o shots");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.File("shots")), {}), 3);
}

TEST(Capture, ReportsApartFromThePicture) {
  const ScratchFolder folder;
  const std::string odd = "a\n\033[m\xC2\x9B\u00E9\xFF.png";
  EXPECT_EQ(Qrvshot(folder, "capture " + odd).output,
            "a  [m \u00E9?.png: 2720x1024 pixels of the virtual desktop\n");
  const Outcome outcome = Qrvshot(folder, "capture -o - --format ppm");
  EXPECT_TRUE(outcome.output == Capture("", "SHOT.PPM"));
  EXPECT_EQ(outcome.errors, "standard output: 2720x1024 pixels of the virtual desktop\n");
  const std::string json =
      Qrvshot(folder, "capture --json --display 1 --strategy opengl -o \"\\" + odd).output;
  EXPECT_TRUE(json.starts_with(
      R"({"file": "\"\\a\u000a\u001b[m\u009b)"
      "\u00E9\uFFFD"
      R"(.png", "width": 1280, )"
      R"("height": 1024, "desktop": "the virtual desktop", )"
      R"("method": "ScreenshotDisplayQRV", "strategy": "opengl", "milliseconds": )"))
      << json;
  const Outcome quiet = Qrvshot(folder, "capture -q b.png --desktop any");
  EXPECT_EQ(quiet.output + quiet.errors, "");
}

TEST(Capture, OfASeriesIsReportedAtOnceAndOneStream) {
  const ScratchFolder folder;
  const std::string shell =
      QRV_BUILD_DIR "/qrvshot --count forever --interval 100ms a-%02d.ppm | head -n 2";
  EXPECT_EQ(testing::RunProgram({"sh", "-c", shell}, [&] { return Prepare(folder); }).output,
            "a-01.ppm: 2720x1024 pixels of the virtual desktop\n"
            "a-02.ppm: 2720x1024 pixels of the virtual desktop\n");
  EXPECT_LT(folder.Count(), 10U);
  const std::string one = Capture("--display 1");
  for (const char* stream : {"-", "/dev/stdout", "/proc/self/fd/1"}) {
    const Outcome outcome = Qrvshot(
        folder, std::string("--display 1 --count 2 --interval 0 --format ppm -o ") + stream);
    EXPECT_TRUE(outcome.output == one + one) << outcome.errors;
  }
}

TEST(Capture, ShowsWhatWasAskedFor) {
  const std::string desktop = "--desktop=virtual:100x80+0+0,60x40-60+0 ";
  const std::string dense = "--desktop=virtual:100x80+0+0*2 ";
  const std::pair<std::string, std::string> same[] = {
      {"--display 0", "--display main"},
      {desktop, desktop + "--rect -60,0,160,80"},
      {desktop + "--rect -60,0,60,40", desktop + "--display 1"},
      {desktop + "--rect=60x40+-60+0", desktop + "--display=1"},
      {desktop + "--rect -60,0~60x40", desktop + "--display=1"},
      {desktop + "--scale 100%", desktop},
      {desktop + "--size 80x", desktop + "--size 80x40"},
      {desktop + "--scale 50%", desktop + "--size x40"},
      {dense, dense + "--rect 0,0,100,80"},
      {dense + "--units", dense + "--scale 50%"},
      {"--rect=1400,100,100,50 --strategy display-image", "--rect=1400,100,100,50"}};
  for (const auto& [one, other] : same) EXPECT_TRUE(Capture(one) == Capture(other)) << one;
  const std::pair<std::string, const char*> sizes[] = {
      {"--display VIRTUAL-2", "1280 1024"},
      {"--display 0 --scale 33.3%", "480 300"},
      {"--rect=0,0,9,9 --size 30x70", "30 70"},
      {dense, "200 160"},
      {"--desktop=virtual:9x8+0+0*2,9x8+9+0 --rect=1,0,17,8", "34 16"},
      {dense + "--units", "100 80"}};
  for (const auto& [options, size] : sizes) {
    EXPECT_TRUE(Capture(options).starts_with(std::string("P6\n") + size + "\n")) << options;
  }
}

// A desktop whose main display does not have the corner.
TEST(Capture, TakesTheCoordinatesOfTheXServer) {
  const testing::Xvfb server("2720x1024x24");
  server.SetMonitor("left", {0, 0, 1440, 900}, "screen");
  server.SetMonitor("*right", {1440, 0, 1280, 1024});
  server.FillRandom(3);
  const std::string desktop = " --desktop x11:" + server.display();
  const auto seen = [&](const char* area) {
    return server.Run(
        {"import", "-silent", "-window", "root", "-crop", area, "+repage", "-depth", "8", "ppm:-"});
  };
  EXPECT_TRUE(Capture("--rect 1400,100,100,50" + desktop) == seen("100x50+1400+100"));
  EXPECT_TRUE(Capture("--display main" + desktop) == seen("1280x1024+1440+0"));
  EXPECT_TRUE(Capture(desktop).starts_with("P6\n2720 1024\n"));
  EXPECT_NE(Capture("--rect 2720,0,9,9" + desktop).find("fill 0,0,2720,1024"), std::string::npos);
  const ScratchFolder folder;
  const std::string lists = Qrvshot(folder, "displays" + desktop).output +
                            Qrvshot(folder, "displays --json" + desktop).output;
  for (const char* corner :
       {"1440x900  at 0,0", R"("x": 0, "y": 0, "fromMainX": -1440, "fromMainY": 0)"}) {
    EXPECT_NE(lists.find(corner), std::string::npos) << lists;
  }
}

// QuickDraw leaves alpha 0, which shows in a desktop program's pictures with an alpha channel.
TEST(Capture, IsATransparentPngWhereThePictureIs) {
  for (const auto& [options, colorType] : {std::pair("quickdraw", 6),
                                           {"opengl", 2},
                                           {"quickdraw --app console", 2},
                                           {"quickdraw --app web", 2}}) {
    EXPECT_EQ(Capture(std::string("--display 0 --alpha --strategy ") + options, "a.png")[25],
              colorType);
  }
}

TEST(Lists, AreForPeopleAndForScripts) {
  const ScratchFolder folder;
  EXPECT_EQ(testing::RunProgram({"sh", "-c", QRV_BUILD_DIR "/qrvshot methods >/dev/full"}).exitCode,
            3);
  const std::string methods = Qrvshot(folder, "methods --host-version 2012.0").output;
  EXPECT_TRUE(methods.starts_with("interface version 10\n"));
  EXPECT_NE(methods.find("\nflags 0x4  ScreenshotQRV as picture\n"), std::string::npos);
  EXPECT_EQ(Qrvshot(folder, "displays --desktop virtual:80x60+0+0*2,9x9-9+5@16").output,
            "0  id 1  80x60  at 0,0  32 bits per pixel  160x120 pixels, 2 a unit  "
            "VIRTUAL-1  by test card  main\n"
            "1  id 2  9x9  at -9,5  16 bits per pixel  VIRTUAL-2  by test card\n");
  EXPECT_EQ(Qrvshot(folder, "displays --json --desktop virtual:80x60+0+0").output,
            "[\n"
            R"(  {"index": 0, "name": "VIRTUAL-1", "id": 1, "x": 0, "y": 0, "fromMainX": 0, )"
            R"("fromMainY": 0, "width": 80, "height": 60, "pixelWidth": 80, "pixelHeight": 60, )"
            R"("density": 1, "bitsPerPixel": 32, "main": true, "way": "test card"})"
            "\n]\n");
}

TEST(Raw, BecomesThePictureThatWasCaptured) {
  const ScratchFolder folder;
  EXPECT_EQ(Qrvshot(folder, "raw --json --display 1 -o input").output,
            "{\"width\": 1280, \"height\": 1024, \"rowBytes\": 5120}\n");
  EXPECT_EQ(Qrvshot(folder, "raw").output, "1440 900 5760\n");
  EXPECT_EQ(folder.Read("screenshot.raw").size(), 5184000U);
  for (const char* file : {"input", "- --host-version 2010.0"}) {
    const std::string line = "from-raw --width 1280 --height 1024 --row-bytes 5120 -o shot.ppm ";
    EXPECT_EQ(Qrvshot(folder, line + file).output,
              std::string("shot.ppm: 1280x1024 pixels of ") +
                  (*file == '-' ? "standard input\n" : "input\n"));
    EXPECT_TRUE(folder.Read("shot.ppm") == Capture("--display 1"));
  }
}

TEST(Monitors, BeyondThe32ndAreListedAndRefused) {
  const testing::Xvfb server("640x480x24");
  for (int i = 0; i < 40; ++i) {
    server.SetMonitor("m" + std::to_string(i), {i % 8 * 80, i / 8 * 96, 80, 96},
                      i == 0 ? "screen" : "none");
  }
  const std::string desktop = " --desktop=x11:" + server.display();
  const ScratchFolder folder;
  const std::string list = Qrvshot(folder, "displays" + desktop).output;
  EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 40) << list;
  EXPECT_TRUE(Capture("--display=31" + desktop) == Capture("--rect=560,288,80,96" + desktop));
  for (const auto& [options, message] :
       {std::pair("--display=39", "Display 39 of 40"),
        {"--display=40", "has 40 displays"},
        {"--rect=0,0,640,400", "display 32 of it is beyond the first 32"}}) {
    EXPECT_NE(Capture(options + desktop).find(message), std::string::npos) << options;
  }
}

}  // namespace
}  // namespace qrv::cli
