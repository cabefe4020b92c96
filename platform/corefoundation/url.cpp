#include "platform/corefoundation/url.h"

#include <dlfcn.h>
#include <limits.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/guarded.h"

namespace qrv::corefoundation {
namespace {

constexpr FSRef kFrameworksReference = {{'F', 'r', 'a', 'm', 'e', 'w', 'o', 'r', 'k', 's'}};

// The loader may know this library by a name relative to the folder that was current when it was
// loaded, so the name is made absolute at that time.
struct OwnFolder {
  OwnFolder() noexcept {
    Dl_info info;
    if (dladdr(this, &info) == 0 || info.dli_fname == nullptr) return;
    if (realpath(info.dli_fname, path) == nullptr) {
      path[0] = '\0';
      return;
    }
    if (char* separator = strrchr(path, '/')) *separator = '\0';
  }

  char path[PATH_MAX] = "";  // without a closing '/'; also empty when it can't be found out
};

const OwnFolder ownFolder;

std::string FrameworksFolder() { return std::string(ownFolder.path) + "/Frameworks"; }

}  // namespace

bool ReferToFrameworksFolder(FSRef& reference) noexcept {
  return Guarded(false, [&] {
    std::error_code error;
    if (ownFolder.path[0] != '/' || !std::filesystem::is_directory(FrameworksFolder(), error)) {
      return false;
    }
    reference = kFrameworksReference;
    return true;
  });
}

}  // namespace qrv::corefoundation

using namespace qrv::corefoundation;

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* reference) {
  if (reference == nullptr || memcmp(reference, &kFrameworksReference, sizeof(FSRef)) != 0) {
    return nullptr;
  }
  return qrv::Guarded<CFURLRef>(nullptr, [] { return new __CFURL(FrameworksFolder()); });
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean) {
  if (url == nullptr || component == nullptr) return nullptr;
  return qrv::Guarded<CFURLRef>(
      nullptr, [=] { return new __CFURL(url->path + "/" + component->characters); });
}
