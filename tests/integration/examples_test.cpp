// The examples of hosts.

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

TEST(Examples, CaptureWhatTheRuntimeCaptures) {
  const std::string plugin = QRV_BUILD_DIR "/ScreenshotQRV.so";
  const ScratchFolder folder;
  std::istringstream examples(QRV_EXAMPLES);
  for (std::string example; std::getline(examples, example, ':');) {
    UseDesktop("virtual:70x50+0+0,20x20+70+0");
    EXPECT_EQ(RunProgram({example, plugin, folder.File("shot.ppm")}).exitCode, 0) << example;
    std::string expected = "P6\n70 50\n255\n";
    const Plugin::Picture picture = Plugin().Main();
    ASSERT_TRUE(picture);
    for (size_t i = 0; i < picture->rgba.size(); ++i) {
      if (i % 4 != 3) expected += static_cast<char>(picture->rgba[i]);
    }
    EXPECT_EQ(folder.Read("shot.ppm"), expected) << example;
    UseDesktop("none");
    const Outcome none = RunProgram({example, plugin, folder.File("none.ppm")});
    EXPECT_EQ(none.exitCode, 1) << example;
    EXPECT_THAT(none.errors, ::testing::HasSubstr("there is no desktop \"none\"\n"));
    EXPECT_FALSE(std::filesystem::exists(folder.File("none.ppm"))) << example;
  }
}

}  // namespace
}  // namespace qrv::testing
