#include "platform/corefoundation/url.h"

#include <cstring>
#include <filesystem>
#include <system_error>

#include "platform/guarded.h"
#include "platform/library_file.h"

namespace qrv::corefoundation {
namespace {

constexpr FSRef kFrameworksReference = {{'F', 'r', 'a', 'm', 'e', 'w', 'o', 'r', 'k', 's'}};

std::string FrameworksFolder() { return std::string(qrv::OwnFolder()) + "/Frameworks"; }

}  // namespace

bool ReferToFrameworksFolder(FSRef& reference) noexcept {
  return Guarded(false, [&] {
    std::error_code error;
    if (*OwnFolder() != '/' || !std::filesystem::is_directory(FrameworksFolder(), error)) {
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
