#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <random>

#include "tests/support/xvfb.h"
#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

// The folder's files, sorted, with digits as 0.
std::string Files(const ScratchFolder& folder) {
  std::set<std::string> names;
  for (const auto& each : std::filesystem::directory_iterator(folder.path())) {
    std::string name = each.path().filename();
    for (char& letter : name) letter = letter >= '0' && letter <= '9' ? '0' : letter;
    names.insert(name);
  }
  std::string list;
  for (const std::string& name : names) list += name + " ";
  return list;
}

TEST(Capture, NamesFilesByTheTimeUnlessItIsToldTo) {
  const std::string dated = "screenshot-00000000-000000";
  const std::pair<const char*, std::string> cases[] = {
      {"capture", dated + ".png "},
      {"capture --format jpeg", dated + ".jpeg "},
      {"capture a.webp", "a.webp "},
      {"capture -o b.png a.ppm", "a.ppm "},
      {"capture a.ppm -o b.jpg", "b.jpg "},
      {"capture --count 2 --interval 1", dated + "-0.png "},
      {"capture --count 10 --interval 0 a.ppm", "a-00.ppm "},
  };
  for (const auto& [line, files] : cases) {
    const ScratchFolder folder;
    const Outcome outcome = Qrvshot(folder, std::string(line) + " --desktop virtual:20x10+0+0");
    EXPECT_EQ(Files(folder), files) << outcome.errors;
  }
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.File("shots"));
  for (int i = 0; i < 3; ++i) Qrvshot(folder, "capture -o shots --desktop virtual:20x10+0+0");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.File("shots")), {}), 3);
}

TEST(Capture, TellsOfItApartFromThePicture) {
  const ScratchFolder folder;
  EXPECT_EQ(Qrvshot(folder, "capture a.png").output,
            "a.png: 2720x1024 pixels of the virtual desktop\n");
  const Outcome outcome = Qrvshot(folder, "capture -o - --format ppm");
  EXPECT_TRUE(outcome.output == Capture("", "SHOT.PPM"));
  EXPECT_EQ(outcome.errors, "standard output: 2720x1024 pixels of the virtual desktop\n");
  const std::string json =
      Qrvshot(folder, "capture --json --display 1 --strategy opengl -o \"\\.png").output;
  EXPECT_TRUE(json.starts_with(
      R"({"file": "\"\\.png", "width": 1280, "height": 1024, "desktop": "the virtual desktop", )"
      R"("method": "ScreenshotDisplayQRV", "strategy": "opengl", "milliseconds": )"))
      << json;
  const Outcome quiet = Qrvshot(folder, "capture -q b.png --desktop any");
  EXPECT_EQ(quiet.output + quiet.errors, "");
}

TEST(Capture, ShowsWhatWasAskedFor) {
  const std::string desktop = "--desktop=virtual:100x80+0+0,60x40-60+0 ";
  const std::string dense = "--desktop=virtual:100x80+0+0*2 ";
  const std::string rect = "--rect=1400,100,100,50";
  const std::pair<std::string, std::string> same[] = {
      {"--display 0", "--display main"},
      {"", "--rect 0,0,2720,1024"},
      {desktop, desktop + "--rect -60,0,160,80"},
      {desktop + "--rect -60,0,60,40", desktop + "--display 1"},
      {desktop + "--rect=60x40+-60+0", desktop + "--display=1"},
      {desktop + "--rect -60,0~60x40", desktop + "--display=1"},
      {desktop + "--scale 100%", desktop},
      {desktop + "--size 80x", desktop + "--size 80x40"},
      {desktop + "--scale 50%", desktop + "--size x40"},
      {dense, dense + "--rect 0,0,100,80"},
      {dense + "--units", dense + "--scale 50%"},
      {rect + " --strategy display-image", rect},
      {rect + " --strategy opengl", rect},
      {rect + " --strategy quickdraw", rect}};
  for (const auto& [one, other] : same) EXPECT_TRUE(Capture(one) == Capture(other)) << one;
  const std::pair<std::string, const char*> sizes[] = {{"", "2720 1024"},
                                                       {"--display 1", "1280 1024"},
                                                       {"--display VIRTUAL-2", "1280 1024"},
                                                       {"--display 0 --scale 33.3%", "480 300"},
                                                       {"--rect=0,0,9,9 --size 30x70", "30 70"},
                                                       {dense, "200 160"},
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
  const testing::RgbImage screen = server.ImportScreen();
  const auto expected = [&](int left, int top, int width, int height) {
    std::string file = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int y = top; y < top + height; ++y) {
      const uint8_t* row = screen.pixels.data() + (y * screen.width + left) * 3;
      file.append(reinterpret_cast<const char*>(row), static_cast<size_t>(width) * 3);
    }
    return file;
  };
  EXPECT_TRUE(Capture("--rect 1400,100,100,50" + desktop) == expected(1400, 100, 100, 50));
  EXPECT_TRUE(Capture("--display main" + desktop) == expected(1440, 0, 1280, 1024));
  EXPECT_TRUE(Capture(desktop).starts_with("P6\n2720 1024\n"));
  const ScratchFolder folder;
  EXPECT_NE(Qrvshot(folder, "displays" + desktop).output.find("1440x900  at 0,0"),
            std::string::npos);
  EXPECT_NE(Qrvshot(folder, "displays --json" + desktop)
                .output.find(R"("x": 0, "y": 0, "fromMainX": -1440, "fromMainY": 0)"),
            std::string::npos);
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
  const std::string methods = Qrvshot(folder, "methods --host-version 2012.0").output;
  EXPECT_TRUE(methods.starts_with("interface version 10\n"));
  EXPECT_NE(methods.find("\nflags 0x4  ScreenshotQRV as picture\n"), std::string::npos);
  EXPECT_EQ(Qrvshot(folder, "displays --desktop virtual:80x60+0+0*2,9x9-9+5@16").output,
            "0  id 1  80x60  at 0,0  32 bits per pixel  160x120 pixels, 2 a unit  main\n"
            "1  id 2  9x9  at -9,5  16 bits per pixel\n");
  EXPECT_EQ(Qrvshot(folder, "displays --json --desktop virtual:80x60+0+0").output,
            "[\n  {\"index\": 0, \"id\": 1, \"x\": 0, \"y\": 0, "
            "\"fromMainX\": 0, \"fromMainY\": 0, \"width\": 80, \"height\": 60, "
            "\"pixelWidth\": 80, \"pixelHeight\": 60, \"density\": 1, "
            "\"bitsPerPixel\": 32, \"main\": true}\n]\n");
}

TEST(Raw, BecomesThePictureThatWasCaptured) {
  const ScratchFolder folder;
  EXPECT_EQ(Qrvshot(folder, "raw --json --display 1 -o input").output,
            "{\"width\": 1280, \"height\": 1024, \"rowBytes\": 5120}\n");
  EXPECT_EQ(Qrvshot(folder, "raw").output, "1440 900 5760\n");
  EXPECT_EQ(folder.Read("screenshot.raw").size(), 5184000U);
  for (const char* file : {"input", "- --host-version 2010.0"}) {
    const Outcome outcome = Qrvshot(
        folder,
        std::string("from-raw --width 1280 --height 1024 --row-bytes 5120 -o shot.ppm ") + file);
    EXPECT_EQ(outcome.output, std::string("shot.ppm: 1280x1024 pixels of ") +
                                  (*file == '-' ? "standard input\n" : "input\n"));
    EXPECT_TRUE(folder.Read("shot.ppm") == Capture("--display 1"));
  }
}

TEST(Installation, HasItsPluginAndFrameworkWhereverItIsMovedTo) {
  const ScratchFolder folder;
  ASSERT_EQ(
      testing::RunProgram({"cmake", "--install", QRV_BUILD_DIR, "--prefix", folder.File("first")})
          .exitCode,
      0);
  std::filesystem::rename(folder.File("first"), folder.File("second"));
  const Outcome outcome = testing::RunProgram(
      Split(folder.File("second/bin/qrvshot") + " capture --strategy quickdraw -o shot.ppm"),
      [&] { return Prepare(folder); });
  EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
  EXPECT_TRUE(folder.Read("shot.ppm") == Capture(""));
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

// Whether the process has a file open whose name begins so.
bool HasOpen(pid_t process, const std::string& name) {
  std::error_code error;
  for (const auto& each :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/fd", error)) {
    if (std::filesystem::read_symlink(each, error).string().starts_with(name)) return true;
  }
  return false;
}

// How a capture ends that is interfered with up to 4 ms after it has opened that file.
int StatusOfCapture(const ScratchFolder& folder, const std::string& opened,
                    const std::string& arguments, const std::function<void(pid_t)>& interfere) {
  static std::mt19937 random(std::random_device{}());
  const pid_t process =
      testing::StartProgram(Split(QRV_BUILD_DIR "/qrvshot capture " + arguments), [&] {
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        return Prepare(folder);
      });
  siginfo_t ended = {};
  while (!HasOpen(process, opened) && ended.si_pid == 0) {
    waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT);
  }
  usleep(static_cast<useconds_t>(random() % 4000));
  interfere(process);
  return testing::WaitForEnd(process);
}

constexpr int kTimes = 24;

TEST(Capture, LeavesNoPartOfAPictureWhenItIsKilled) {
  constexpr uintmax_t kWhole = 17 + 2000 * 1500 * 3;  // "P6\n2000 1500\n255\n" and the pixels
  int killed = 0;
  for (int i = 0; i < kTimes; ++i) {
    const ScratchFolder folder;
    if (i % 2 == 0) folder.Write("a.ppm", "old");
    killed += WIFSIGNALED(StatusOfCapture(folder, folder.path(),
                                          "--desktop virtual:2000x1500+0+0 -o a.ppm",
                                          [](pid_t process) { kill(process, SIGKILL); }));
    for (const auto& file : std::filesystem::directory_iterator(folder.path())) {
      const uintmax_t size = file.file_size();
      EXPECT_TRUE(size == kWhole || (i % 2 == 0 && size == 3)) << file.path() << ": " << size;
    }
  }
  EXPECT_GE(killed, kTimes / 4) << "too few were killed while they wrote";
}

TEST(Capture, IsTheWholePictureOrNoneWhenTheServerDiesMeanwhile) {
  testing::Xvfb server("1000x800x24");
  server.FillRandom(5);
  std::string whole = "P6\n1000 800\n255\n";
  for (const uint8_t sample : server.ImportScreen().pixels) whole += static_cast<char>(sample);
  int nothing = 0;
  for (int i = 0; i < kTimes; ++i) {
    const ScratchFolder folder;
    const int status =
        StatusOfCapture(folder, "socket:",
                        "--rect 0,0,1000,800 -o a.ppm --desktop x11:" + server.display() +
                            " --strategy " + (i % 2 == 0 ? "opengl" : "quickdraw"),
                        [&](pid_t) { server.Kill(); });
    EXPECT_EQ(folder.Count(), status == 0 ? 1U : 0U) << status;
    if (status == 0) {
      EXPECT_TRUE(folder.Read("a.ppm") == whole);
    }
    nothing += status != 0 ? 1 : 0;
    server.Restart();
    server.FillRandom(5);
  }
  EXPECT_GE(nothing, kTimes / 4) << "too few servers died while they were captured";
}

}  // namespace
}  // namespace qrv::cli
