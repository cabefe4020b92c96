#include "platform/desktop/portal/module/picture_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/desktop/error.h"
#include "tests/support/process.h"

namespace qrv::desktop::portal {
namespace {

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

class PortalPicture : public ::testing::Test {
 protected:
  // Whether it is taken; what stays in the folder must be `left` files.
  bool IsTaken(const std::string& name, size_t left) {
    bool isTaken = false;
    try {
      const Frame frame = TakePicture(folder_.File(name));
      EXPECT_EQ(frame.width, 3);
      EXPECT_EQ(frame.height, 2);
      EXPECT_EQ(FrameRow(frame, 1)[2] & 0xFFFFFF, 0x102030U);
      isTaken = true;
    } catch (const Error& error) {
      EXPECT_EQ(error.reason(), Reason::kUnsupported);
    }
    EXPECT_EQ(folder_.Count(), left) << name;
    return isTaken;
  }
  void MakePicture(const std::string& name) {
    testing::RunProgram({"convert", "-size", "3x2", "xc:#102030", "PNG24:" + folder_.File(name)});
  }

  const testing::ScratchFolder folder_;
};

TEST_F(PortalPicture, IsTakenAndDeletedWhenItIsAFileOfThisUsersOwn) {
  MakePicture("own.png");
  EXPECT_TRUE(IsTaken("own.png", 0));
  folder_.Write("no.png", "no picture at all");
  EXPECT_FALSE(IsTaken("no.png", 0));
}

TEST_F(PortalPicture, IsLeftAloneWhenItIsALinkAPipeAFolderOrAnothers) {
  MakePicture("own.png");
  ASSERT_EQ(symlink("own.png", folder_.File("link.png").c_str()), 0);
  ASSERT_EQ(mkfifo(folder_.File("pipe.png").c_str(), 0600), 0);
  ASSERT_EQ(mkdir(folder_.File("folder.png").c_str(), 0700), 0);
  for (const char* name : {"link.png", "pipe.png", "folder.png", "none.png"}) {
    EXPECT_FALSE(IsTaken(name, 4));
  }
  if (geteuid() != 0) GTEST_SKIP() << "giving a file away needs root";
  ASSERT_EQ(chown(folder_.File("own.png").c_str(), 65534, 65534), 0);
  EXPECT_FALSE(IsTaken("own.png", 4));
}

}  // namespace
}  // namespace qrv::desktop::portal
