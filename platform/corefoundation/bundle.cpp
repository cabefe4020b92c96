// Bundles: folders such as Name.framework whose executable is the shared library Name within.
#include <QRV/Desktop.h>
#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/corefoundation/url.h"
#include "platform/guarded.h"

namespace {

// "/folder/Name.framework" -> "/folder/Name.framework/Name"
std::filesystem::path ExecutableOf(std::filesystem::path folder) {
  if (!folder.has_filename()) folder = folder.parent_path();
  return folder / folder.stem();
}

// A name is also searched for in the libraries that the library depends on.
bool Defines(void* library, void* address) {
  link_map* libraryMap = nullptr;
  void* definer = nullptr;
  Dl_info info;
  return dlinfo(library, RTLD_DI_LINKMAP, &libraryMap) == 0 &&
         dladdr1(address, &info, &definer, RTLD_DL_LINKMAP) != 0 && definer == libraryMap;
}

}  // namespace

// The library is loaded as long as its bundle lives; addresses taken from it are valid that long.
struct __CFBundle final : qrv::corefoundation::Object {
  explicit __CFBundle(std::filesystem::path folder) : executable(ExecutableOf(std::move(folder))) {}
  ~__CFBundle() override {
    if (library != nullptr) dlclose(library);
  }

  const std::filesystem::path executable;
  void* library = nullptr;
};

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
  if (url == nullptr) return nullptr;
  return qrv::Guarded<CFBundleRef>(nullptr, [=] {
    std::error_code error;
    return std::filesystem::is_directory(url->path, error) ? new __CFBundle(url->path) : nullptr;
  });
}

Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
  if (bundle == nullptr) return false;
  if (bundle->library != nullptr) return true;
  return qrv::Guarded(false, [=] {
    if (!qrv::IsWholeLibrary(bundle->executable.c_str())) return false;
    bundle->library = dlopen(bundle->executable.c_str(), RTLD_NOW | RTLD_LOCAL);
    return bundle->library != nullptr;
  });
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName) {
  if (bundle == nullptr || bundle->library == nullptr || functionName == nullptr) return nullptr;
  void* address = dlsym(bundle->library, functionName->characters);
  return address != nullptr && Defines(bundle->library, address) ? address : nullptr;
}
