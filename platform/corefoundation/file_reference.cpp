#include "platform/corefoundation/file_reference.h"

#include <dlfcn.h>
#include <limits.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace qrv::corefoundation {
namespace {

struct Identity {
  uint64_t tag = 0;
  uint64_t device = 0;
  uint64_t inode = 0;
};
static_assert(sizeof(Identity) <= sizeof(FSRef));

constexpr uint64_t kTag = 0x466F6C6465725251;

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
  bool known() const { return path[0] == '/'; }
};

const OwnFolder ownFolder;

std::string FrameworksFolder() {
  return ownFolder.known() ? std::string(ownFolder.path) + "/Frameworks" : std::string();
}

std::optional<Identity> IdentifyFolder(const std::string& path) {
  struct stat64 status = {};
  if (stat64(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return Identity{kTag, status.st_dev, status.st_ino};
}

}  // namespace

bool ReferToFrameworksFolder(FSRef* reference) noexcept try {
  const std::optional<Identity> identity = IdentifyFolder(FrameworksFolder());
  if (!identity) return false;
  *reference = FSRef{};
  memcpy(reference->hidden, &*identity, sizeof(Identity));
  return true;
} catch (...) {
  return false;
}

std::string PathOf(const FSRef& reference) {
  std::string path = FrameworksFolder();
  const std::optional<Identity> identity = IdentifyFolder(path);
  if (!identity || memcmp(reference.hidden, &*identity, sizeof(Identity)) != 0) return {};
  return path;
}

}  // namespace qrv::corefoundation
