#include <CoreServices/CoreServices.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/corefoundation/url.h"

namespace {

namespace fs = std::filesystem;

// A folder with an empty Maths.framework, whose executable the tests put in place.
class Bundle : public testing::Test {
 protected:
  Bundle() {
    std::string name = fs::temp_directory_path() / "bundle-XXXXXX";
    folder_ = fs::canonical(mkdtemp(name.data()));
    executable_ = folder_ / "Maths.framework/Maths";
    fs::create_directory(executable_.parent_path());
  }
  ~Bundle() override { fs::remove_all(folder_); }

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

  // A library that defines cos and itself depends on the library that defines malloc.
  void CopyMathsLibrary() const {
    Dl_info info;
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "cos"), &info), 0);
    fs::copy_file(info.dli_fname, executable_, fs::copy_options::overwrite_existing);
  }

  // How many bytes of the executable a process maps.
  uintmax_t EndOfSegments() const {
    std::ifstream file(executable_, std::ios::binary);
    ElfW(Ehdr) header;
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    uintmax_t end = 0;
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    ElfW(Phdr) segment;
    for (int i = 0; i < header.e_phnum; ++i) {
      file.read(reinterpret_cast<char*>(&segment), sizeof segment);
      end = std::max<uintmax_t>(end, segment.p_offset + segment.p_filesz);
    }
    return end;
  }

  fs::path folder_;
  fs::path executable_;
};

TEST_F(Bundle, GivesTheFunctionsThatItsExecutableDefinesOnceItIsThereAndLoaded) {
  EXPECT_EQ(Create("Music.framework"), nullptr);
  CFBundleRef bundle = Create("Maths.framework");
  EXPECT_FALSE(CFBundleLoadExecutable(bundle));
  CopyMathsLibrary();
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("cos")), nullptr);
  ASSERT_TRUE(CFBundleLoadExecutable(bundle));
  void* const found = CFBundleGetFunctionPointerForName(bundle, CFSTR("cos"));
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(reinterpret_cast<double (*)(double)>(found)(0.0), 1.0);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("NewGWorld")), nullptr);
  EXPECT_EQ(CFBundleGetFunctionPointerForName(bundle, CFSTR("malloc")), nullptr);
  CFRelease(bundle);
  EXPECT_EQ(dlopen(executable_.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(Bundle, DoesNotLoadWhatIsNoWholeLibraryNorKeepsItOpen) {
  const auto countFiles = [] {
    const fs::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  const auto files = countFiles();
  for (const char* content : {"", "#!/bin/sh\n"}) {
    std::ofstream(executable_) << content;
    EXPECT_FALSE(Loads()) << content;
  }
  CopyMathsLibrary();
  const uintmax_t size = EndOfSegments();
  for (const uintmax_t present : {size, size - 1, size / 2, size / 10, uintmax_t{100}}) {
    fs::resize_file(executable_, present);
    EXPECT_EQ(Loads(), present == size) << present << " of " << size << " bytes";
  }
  fs::remove(executable_);
  ASSERT_EQ(mkfifo(executable_.c_str(), 0600), 0);  // a pipe, for whose writer nobody waits
  EXPECT_FALSE(Loads());
  EXPECT_EQ(countFiles(), files);
}

// The library is loaded by a relative path, which is a link into another folder.
TEST_F(Bundle, IsLookedForBesideTheLibrarysOwnFileWhereverThatWasLoadedFrom) {
  fs::copy_file(QRV_BUILD_DIR "/libScreenshotPlatform.so", folder_ / "platform.so");
  fs::create_directories(folder_ / "linked/Frameworks");
  fs::create_symlink(folder_ / "platform.so", folder_ / "linked/platform.so");
  const fs::path before = fs::current_path();
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
  fs::current_path(before);
}

}  // namespace
