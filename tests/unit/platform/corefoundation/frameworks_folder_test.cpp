#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/unit/platform/corefoundation/platform_copy.h"

namespace {

namespace fs = std::filesystem;

class FrameworksFolder : public testing::Test {
 protected:
  // A bundle can be created from a reference exactly when it leads to the folder with this marker.
  void MakeMarkedFrameworks(const fs::path& parent) const {
    fs::create_directories(parent / "Frameworks/Marker.framework");
  }
  static bool LeadsToMarker(const Platform& platform) {
    CFBundleRef bundle = platform.CreateBundle(CFSTR("Marker.framework"));
    if (bundle == nullptr) return false;
    platform.release(bundle);
    return true;
  }

  TemporaryFolder folder_;
};

TEST_F(FrameworksFolder, LiesBesideTheLibrary) {
  const Platform platform(CopyPlatformTo(folder_.path()));
  MakeMarkedFrameworks(folder_.path());
  EXPECT_TRUE(LeadsToMarker(platform));
}

TEST_F(FrameworksFolder, IsNotFoundUntilItExists) {
  const Platform platform(CopyPlatformTo(folder_.path()));
  FSRef reference;
  EXPECT_EQ(platform.FindFrameworks(reference), fnfErr);
  std::ofstream(folder_.path() / "Frameworks") << "a file";
  EXPECT_EQ(platform.FindFrameworks(reference), fnfErr);
  fs::remove(folder_.path() / "Frameworks");
  MakeMarkedFrameworks(folder_.path());
  EXPECT_EQ(platform.FindFrameworks(reference), noErr);
}

TEST_F(FrameworksFolder, LiesBesideTheFileThatALinkToTheLibraryStandsFor) {
  const fs::path library = CopyPlatformTo(folder_.path() / "real");
  MakeMarkedFrameworks(folder_.path() / "real");
  fs::create_directories(folder_.path() / "linked/Frameworks");
  const fs::path link = folder_.path() / "linked/lib.so";
  fs::create_symlink(library, link);
  EXPECT_TRUE(LeadsToMarker(Platform(link)));
}

TEST_F(FrameworksFolder, DoesNotFollowTheWorkingDirectory) {
  CopyPlatformTo(folder_.path() / "first");
  MakeMarkedFrameworks(folder_.path() / "first");
  fs::create_directories(folder_.path() / "second/Frameworks");
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path() / "first");
  const Platform platform("./libScreenshotPlatform.so");
  fs::current_path(folder_.path() / "second");
  EXPECT_TRUE(LeadsToMarker(platform));
  fs::current_path(before);
}

TEST_F(FrameworksFolder, IsTheOnlyFolderThatCanBeFound) {
  const Platform platform(CopyPlatformTo(folder_.path()));
  MakeMarkedFrameworks(folder_.path());
  FSRef reference;
  EXPECT_EQ(platform.findFolder(0, kFrameworksFolderType, true, &reference), paramErr);
  EXPECT_EQ(platform.findFolder(kOnAppropriateDisk, 0x666F6E74, true, &reference), paramErr);
  EXPECT_EQ(platform.findFolder(kOnAppropriateDisk, kFrameworksFolderType, true, nullptr),
            paramErr);
}

class Reference : public FrameworksFolder {
 protected:
  void SetUp() override {
    MakeMarkedFrameworks(folder_.path());
    ASSERT_EQ(platform_.FindFrameworks(reference_), noErr);
  }
  bool HasUrl(const FSRef& reference) const {
    CFURLRef url = platform_.createUrl(nullptr, &reference);
    if (url != nullptr) platform_.release(url);
    return url != nullptr;
  }

  Platform platform_{CopyPlatformTo(folder_.path())};
  FSRef reference_;
};

TEST_F(Reference, CanBeCopied) {
  const FSRef copy = reference_;
  reference_ = FSRef{};
  EXPECT_TRUE(HasUrl(copy));
}

TEST_F(Reference, ThatWasMadeUpHasNoUrl) {
  EXPECT_FALSE(HasUrl(FSRef{}));
  FSRef noise;
  memset(&noise, 0xA5, sizeof(noise));
  EXPECT_FALSE(HasUrl(noise));
}

TEST_F(Reference, ToAFolderThatWasReplacedHasNoUrl) {
  fs::rename(folder_.path() / "Frameworks", folder_.path() / "Old");
  EXPECT_FALSE(HasUrl(reference_));
  MakeMarkedFrameworks(folder_.path());
  EXPECT_FALSE(HasUrl(reference_));
}

}  // namespace
