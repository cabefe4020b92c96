#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/unit/platform/corefoundation/platform_copy.h"

namespace {

namespace fs = std::filesystem;

// Every file is readable to root, so this thread opens files as another user meanwhile.
class FilesAsNobody {
 public:
  FilesAsNobody() : user_(geteuid()) {
    if (user_ == 0) setfsuid(65534);
  }
  FilesAsNobody(const FilesAsNobody&) = delete;
  FilesAsNobody& operator=(const FilesAsNobody&) = delete;
  ~FilesAsNobody() {
    if (user_ == 0) setfsuid(user_);
  }

 private:
  const uid_t user_;
};

// A frameworks folder with an empty Maths.framework, whose executable the tests put in place.
class Bundle : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(executable_.parent_path());
    bundle_ = platform_.CreateBundle(CFSTR("Maths.framework"));
    ASSERT_NE(bundle_, nullptr);
  }
  void TearDown() override {
    if (bundle_ != nullptr) platform_.release(bundle_);
  }

  void Write(const std::string& content) const { std::ofstream(executable_) << content; }

  // A library that defines cos and itself depends on the library that defines malloc.
  void CopyMathsLibrary() const {
    Dl_info info;
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "cos"), &info), 0);
    fs::copy_file(info.dli_fname, executable_, fs::copy_options::overwrite_existing);
  }

  TemporaryFolder folder_;
  fs::path executable_ = folder_.path() / "Frameworks/Maths.framework/Maths";
  Platform platform_{CopyPlatformTo(folder_.path())};
  CFBundleRef bundle_ = nullptr;
};

TEST_F(Bundle, IsNotCreatedWithoutAFolder) {
  EXPECT_EQ(platform_.CreateBundle(CFSTR("Music.framework")), nullptr);
  std::ofstream(folder_.path() / "Frameworks/File.framework") << "";
  EXPECT_EQ(platform_.CreateBundle(CFSTR("File.framework")), nullptr);
}

TEST_F(Bundle, GivesTheFunctionsOfItsExecutable) {
  CopyMathsLibrary();
  ASSERT_TRUE(platform_.load(bundle_));
  void* found = platform_.findFunction(bundle_, CFSTR("cos"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(reinterpret_cast<double (*)(double)>(found)(0.0), 1.0);
}

TEST_F(Bundle, HasNoFunctionThatItsExecutableDoesNotDefine) {
  CopyMathsLibrary();
  ASSERT_TRUE(platform_.load(bundle_));
  EXPECT_EQ(platform_.findFunction(bundle_, CFSTR("NewGWorld")), nullptr);
  EXPECT_EQ(platform_.findFunction(bundle_, CFSTR("malloc")), nullptr);
}

TEST_F(Bundle, HasNoFunctionBeforeItIsLoaded) {
  CopyMathsLibrary();
  EXPECT_EQ(platform_.findFunction(bundle_, CFSTR("cos")), nullptr);
}

TEST_F(Bundle, DoesNotLoadWithoutAnExecutable) { EXPECT_FALSE(platform_.load(bundle_)); }

TEST_F(Bundle, DoesNotLoadWhatIsNoLibrary) {
  Write("#!/bin/sh\n");
  EXPECT_FALSE(platform_.load(bundle_));
  Write("");
  EXPECT_FALSE(platform_.load(bundle_));
}

TEST_F(Bundle, DoesNotLoadALibraryThatIsStillBeingCopied) {
  CopyMathsLibrary();
  const uintmax_t size = fs::file_size(executable_);
  for (const uintmax_t present : {size - size / 3, size / 2, size / 10, uintmax_t{100}}) {
    fs::resize_file(executable_, present);
    EXPECT_FALSE(platform_.load(bundle_)) << present << " of " << size << " bytes";
  }
}

TEST_F(Bundle, DoesNotLoadAnUnreadableLibrary) {
  CopyMathsLibrary();
  fs::permissions(executable_, fs::perms::none);
  fs::permissions(folder_.path(), static_cast<fs::perms>(0755));
  const FilesAsNobody nobody;
  ASSERT_TRUE(fs::exists(executable_));
  EXPECT_FALSE(platform_.load(bundle_));
}

TEST_F(Bundle, DoesNotWaitForAPipeInPlaceOfItsExecutable) {
  ASSERT_EQ(mkfifo(executable_.c_str(), 0600), 0);
  EXPECT_FALSE(platform_.load(bundle_));
}

TEST_F(Bundle, LoadsOnceTheExecutableIsThere) {
  Write("not yet");
  EXPECT_FALSE(platform_.load(bundle_));
  CopyMathsLibrary();
  EXPECT_TRUE(platform_.load(bundle_));
  EXPECT_NE(platform_.findFunction(bundle_, CFSTR("cos")), nullptr);
}

TEST_F(Bundle, UnloadsItsExecutableWhenReleased) {
  CopyMathsLibrary();
  ASSERT_TRUE(platform_.load(bundle_));
  platform_.release(bundle_);
  bundle_ = nullptr;
  EXPECT_EQ(dlopen(executable_.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

// A leak checker sees what is lost here; without one, a crash or an open file left behind.
TEST_F(Bundle, CanFailToLoadAnyNumberOfTimes) {
  Write("never");
  for (int i = 0; i < 5000; ++i) {
    CFBundleRef bundle = platform_.CreateBundle(CFSTR("Maths.framework"));
    ASSERT_FALSE(platform_.load(bundle));
    platform_.release(bundle);
  }
}

}  // namespace
