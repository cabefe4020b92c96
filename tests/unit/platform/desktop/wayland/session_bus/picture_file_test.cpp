#include "platform/desktop/wayland/session_bus/module/picture_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tuple>

#include "platform/desktop/error.h"
#include "platform/desktop/wayland/screen.h"
#include "tests/support/process.h"

namespace qrv::desktop::session_bus {
namespace {

using namespace std::string_view_literals;

TEST(PictureFile, IsWhatALocalUriNames) {
  const std::pair<const char*, const char*> cases[] = {
      {"file:///home/a%20b/%C3%A9.png", "/home/a b/\xC3\xA9.png"},
      {"file://localhost/x.png", "/x.png"},
      {"file://elsewhere/x.png", ""},
      {"https://localhost/x.png", ""},
      {"file:relative.png", ""},
      {"file:///a%0", ""},
      {"file:///a%zz", ""},
      {"file:///a%00b", ""}};
  for (const auto& [uri, path] : cases) EXPECT_EQ(PathOfUri(uri), path) << uri;
}

TEST(PictureFile, CanShowADesktopOnlyAtADensityOfItsOutputs) {
  using Size = std::pair<int32_t, int32_t>;
  struct Output {
    Size pixels;
    Size units;
  };
  const struct {
    std::vector<Output> outputs;  // from left to right
    std::vector<Size> right;
    std::vector<Size> wrong;
  } cases[] = {
      {{{{1280, 720}, {1280, 720}}, {{1024, 768}, {1024, 768}}},
       {{2304, 768}, {2303, 769}},
       {{0, 0}, {1, 1}, {1280, 720}, {1024, 768}, {2304, 720}, {768, 2304}, {4608, 1536}}},
      {{{{1280, 720}, {1280, 720}}, {{3840, 2160}, {1920, 1080}}},
       {{3200, 1080}, {6400, 2160}},
       {{3840, 2160}, {5120, 2160}, {9600, 3240}, {1600, 540}}},
      // Densities of 1.15 and 1.25, and a small one of 1.75; units are rounded.
      {{{{1920, 1080}, {1670, 939}}, {{1920, 1080}, {1920, 1080}}},
       {{4129, 1242}, {3590, 1080}},
       {{1920, 1080}, {4170, 1242}, {7180, 2160}}},
      {{{{2560, 1440}, {2048, 1152}}}, {{2560, 1440}, {2048, 1152}}, {{1280, 720}, {4096, 2304}}},
      {{{{101, 57}, {58, 33}}, {{1920, 1080}, {1097, 617}}}, {{2021, 1080}}, {{4042, 2160}}}};
  for (const auto& [outputs, right, wrong] : cases) {
    std::vector<std::unique_ptr<wayland::Output>> all;
    int32_t x = 0;
    for (const auto& [pixels, units] : outputs) {
      auto& output = *all.emplace_back(std::make_unique<wayland::Output>());
      std::tie(output.modeWidth, output.modeHeight) = pixels;
      output.logical = {x, 0, units.first, units.second};
      x += units.first;
    }
    const wayland::Space desktop = wayland::PlaceOutputs(all).front().desktop;
    const auto canShow = [&](const Size& size) {
      return CanShow(desktop, static_cast<uint32_t>(size.first),
                     static_cast<uint32_t>(size.second));
    };
    for (const Size& size : right) EXPECT_TRUE(canShow(size)) << size.first << "x" << size.second;
    for (const Size& size : wrong) EXPECT_FALSE(canShow(size)) << size.first << "x" << size.second;
  }
}

// Each stays. Of the small file that declares a vast picture not a pixel is decoded.
TEST(PortalPicture, IsLeftAloneUnlessItIsAFileOfThisUsersOwnThatShowsThisDesktop) {
  const std::string header("\x89PNG\r\n\x1A\n\0\0\0\rIHDR"sv);
  const std::string_view vast = "\0\0\x75\x30\0\0\x75\x30\x08\6\0\0\0\x66\x27\xF8\xBA"sv;
  const testing::ScratchFolder folder;
  folder.Write("cut.png", header);
  folder.Write("vast.png", header + std::string(vast));
  testing::RunProgram({"convert", "-size", "3x2", "xc:#102030", folder.File("other.png")});
  std::filesystem::create_symlink("other.png", folder.File("link.png"));
  std::filesystem::create_directory(folder.File("folder.png"));
  ASSERT_EQ(mkfifo(folder.File("pipe.png").c_str(), 0600), 0);
  const std::string notOwn = "the portal names no picture of this user's own";
  std::map<std::string, std::string> problems = {
      {"cut.png", "the portal's picture can't be read"},
      {"vast.png",
       "the portal's picture of 30000 x 30000 pixels does not show this desktop of 3 x 2 units"},
      {"link.png", notOwn},
      {"folder.png", notOwn},
      {"pipe.png", notOwn},
      {"none.png", notOwn}};
  // Giving a file away needs root.
  if (chown(folder.File("other.png").c_str(), 65534, 65534) == 0) problems["other.png"] = notOwn;
  for (const auto& [name, problem] : problems) {
    try {
      TakePicture(folder.File(name), {{0, 0, 3, 2}});
      ADD_FAILURE() << name << " is taken";
    } catch (const Error& error) {
      EXPECT_EQ(error.what(), problem) << name;
    }
  }
  EXPECT_EQ(folder.Count(), 6U);
}

}  // namespace
}  // namespace qrv::desktop::session_bus
