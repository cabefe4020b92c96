// A copy of the platform library in a temporary folder of its own, where a test can put whatever it
// likes beside it.
#ifndef TESTS_UNIT_PLATFORM_COREFOUNDATION_PLATFORM_COPY_H_
#define TESTS_UNIT_PLATFORM_COREFOUNDATION_PLATFORM_COPY_H_

#include <CoreServices/CoreServices.h>
#include <dlfcn.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "platform-XXXXXX";
    path_ = std::filesystem::canonical(mkdtemp(name.data()));
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// The functions under test, from the library at `library`.
class Platform {
 public:
  explicit Platform(const std::filesystem::path& library)
      : library_(dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    Bind(findFolder, "FSFindFolder");
    Bind(createUrl, "CFURLCreateFromFSRef");
    Bind(appendComponent, "CFURLCreateCopyAppendingPathComponent");
    Bind(createBundle, "CFBundleCreate");
    Bind(load, "CFBundleLoadExecutable");
    Bind(findFunction, "CFBundleGetFunctionPointerForName");
    Bind(release, "CFRelease");
  }
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
  ~Platform() { dlclose(library_); }

  OSErr FindFrameworks(FSRef& folder) const {
    return findFolder(kOnAppropriateDisk, kFrameworksFolderType, true, &folder);
  }

  // The bundle of that name in the frameworks folder, or null.
  CFBundleRef CreateBundle(CFStringRef name) const {
    FSRef folder;
    if (FindFrameworks(folder) != noErr) return nullptr;
    CFURLRef folderUrl = createUrl(nullptr, &folder);
    CFURLRef url = appendComponent(nullptr, folderUrl, name, false);
    CFBundleRef bundle = createBundle(nullptr, url);
    release(url);
    release(folderUrl);
    return bundle;
  }

  decltype(&FSFindFolder) findFolder = nullptr;
  decltype(&CFURLCreateFromFSRef) createUrl = nullptr;
  decltype(&CFURLCreateCopyAppendingPathComponent) appendComponent = nullptr;
  decltype(&CFBundleCreate) createBundle = nullptr;
  decltype(&CFBundleLoadExecutable) load = nullptr;
  decltype(&CFBundleGetFunctionPointerForName) findFunction = nullptr;
  decltype(&CFRelease) release = nullptr;

 private:
  template <typename Function>
  void Bind(Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library_, name));
  }

  void* library_;
};

inline std::filesystem::path CopyPlatformTo(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  std::filesystem::path copy = folder / "libScreenshotPlatform.so";
  std::filesystem::copy_file(std::string(QRV_BUILD_DIR) + "/libScreenshotPlatform.so", copy);
  return copy;
}

#endif  // TESTS_UNIT_PLATFORM_COREFOUNDATION_PLATFORM_COPY_H_
