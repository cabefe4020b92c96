#include <CoreServices/CoreServices.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <sys/stat.h>

#include "platform/corefoundation/url.h"
#include "tests/support/holdings.h"
#include "tests/support/process.h"

namespace {

namespace fs = std::filesystem;

constexpr char kExecutable[] = "Maths.framework/Maths";

// A folder with an empty Maths.framework, whose executable the tests put in place.
class Bundle : public testing::Test {
 protected:
  Bundle() { fs::create_directory(executable_.parent_path()); }

  CFBundleRef Create(const char* name) const {
    auto* url = new __CFURL(folder_ / name);
    CFBundleRef bundle = CFBundleCreate(nullptr, url);
    CFRelease(url);
    return bundle;
  }

  // Whether the executable as it is can be loaded.
  bool Loads() const {
    CFBundleRef bundle = Create("Maths.framework");
    const bool isLoaded = CFBundleLoadExecutable(bundle);
    CFRelease(bundle);
    return isLoaded;
  }

  // A library that defines some of the frameworks' functions.
  void CopyLibrary() const {
    fs::copy_file(QRV_BUILD_DIR "/libScreenshotPlatform.so", executable_,
                  fs::copy_options::overwrite_existing);
  }

  // How many bytes of the executable a process maps.
  uintmax_t EndOfSegments() const {
    const std::string file = scratch_.Read(kExecutable);
    const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(file.data());
    const auto* segment = reinterpret_cast<const ElfW(Phdr)*>(file.data() + header->e_phoff);
    uintmax_t end = 0;
    for (int i = 0; i < header->e_phnum; ++i, ++segment) {
      end = std::max<uintmax_t>(end, segment->p_offset + segment->p_filesz);
    }
    return end;
  }

  const qrv::testing::ScratchFolder scratch_;
  const fs::path folder_ = fs::canonical(scratch_.path());
  const fs::path executable_ = folder_ / kExecutable;
};

TEST_F(Bundle, GivesTheFunctionsThatItsExecutableDefinesOnceItIsThereAndLoaded) {
  EXPECT_EQ(Create("Music.framework"), nullptr);
  CFBundleRef bundle = Create("Maths.framework");
  EXPECT_FALSE(CFBundleLoadExecutable(bundle));
  CopyLibrary();
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("SectRect")), nullptr);
  ASSERT_TRUE(CFBundleLoadExecutable(bundle));
  Dl_info info;
  void* const found = CFBundleGetFunctionPointerForName(bundle, CFSTR("SectRect"));
  ASSERT_NE(dladdr(found, &info), 0);
  EXPECT_EQ(info.dli_fname, executable_);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("SectCircle")), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("malloc")), nullptr);
  CFRelease(bundle);
  EXPECT_EQ(dlopen(executable_.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(Bundle, DoesNotLoadWhatIsNoWholeLibraryNorKeepsItOpen) {
  const auto files = qrv::testing::Holdings().files;
  for (const char* content : {"", "#!/bin/sh\n"}) {
    scratch_.Write(kExecutable, content);
    EXPECT_FALSE(Loads()) << content;
  }
  CopyLibrary();
  const uintmax_t size = EndOfSegments();
  for (const uintmax_t present : {size, size - 1, size / 2, size / 10, uintmax_t{100}}) {
    fs::resize_file(executable_, present);
    EXPECT_EQ(Loads(), present == size) << present << " of " << size << " bytes";
  }
  fs::remove(executable_);
  ASSERT_EQ(mkfifo(executable_.c_str(), 0600), 0);  // a pipe, for whose writer nobody waits
  EXPECT_FALSE(Loads());
  EXPECT_EQ(qrv::testing::Holdings().files, files);
}

// The library is loaded by a relative path, which is a link into another folder.
TEST_F(Bundle, IsLookedForBesideTheLibrarysOwnFileWhereverThatWasLoadedFrom) {
  fs::copy_file(QRV_BUILD_DIR "/libScreenshotPlatform.so", folder_ / "platform.so");
  fs::create_directories(folder_ / "linked/Frameworks");
  fs::create_symlink(folder_ / "platform.so", folder_ / "linked/platform.so");
  fs::current_path(folder_ / "linked");
  void* const library = dlopen("./platform.so", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr);
  const auto findFolder =
      reinterpret_cast<decltype(&FSFindFolder)>(dlsym(library, "QRV_FSFindFolder"));
  const auto createUrl =
      reinterpret_cast<decltype(&CFURLCreateFromFSRef)>(dlsym(library, "QRV_CFURLCreateFromFSRef"));
  FSRef reference = {};
  EXPECT_EQ(createUrl(nullptr, &reference), nullptr) << "of a reference that was made up";
  EXPECT_EQ(findFolder(kOnAppropriateDisk, kFrameworksFolderType, true, &reference), fnfErr);
  fs::create_directory(folder_ / "Frameworks");
  ASSERT_EQ(findFolder(kOnAppropriateDisk, kFrameworksFolderType, true, &reference), noErr);
  CFURLRef url = createUrl(nullptr, &reference);
  EXPECT_EQ(url->path, folder_ / "Frameworks");
  CFRelease(url);
  dlclose(library);
  fs::current_path("/");
}

}  // namespace
