// Bundles: folders such as Name.framework whose executable is the shared library Name within.
#include <dlfcn.h>
#include <link.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/corefoundation/url.h"
#include "platform/guarded.h"
#include "platform/library_file.h"

namespace {

// "/folder/Name.framework" -> "/folder/Name.framework/Name"
std::filesystem::path ExecutableOf(std::filesystem::path folder) {
  if (!folder.has_filename()) folder = folder.parent_path();
  return folder / folder.stem();
}

// Whether this code is in that library.
bool IsThisLibrary(void* library) {
  static const int here = 0;
  Dl_info info = {};
  void* itself = nullptr;
  return dladdr1(&here, &info, &itself, RTLD_DL_LINKMAP) != 0 && itself == library;
}

}  // namespace

// The bundle keeps its library loaded, except when that is this library, which the platform's own
// frameworks link to: it would never be unloaded if it held itself.
struct __CFBundle final : qrv::corefoundation::Object {
  explicit __CFBundle(std::filesystem::path folder) : executable(ExecutableOf(std::move(folder))) {}
  ~__CFBundle() override {
    if (isHeld) dlclose(library);
  }

  const std::filesystem::path executable;
  void* library = nullptr;
  bool isHeld = false;
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
    bundle->isHeld = bundle->library != nullptr && !IsThisLibrary(bundle->library);
    if (bundle->library != nullptr && !bundle->isHeld) dlclose(bundle->library);
    return bundle->library != nullptr;
  });
}

// QRV/Symbol.h explains the prefix. Allocates no memory, for a caller that doesn't find a function
// goes on without it.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName) {
  if (bundle == nullptr || bundle->library == nullptr || functionName == nullptr) return nullptr;
  char symbol[128];
  const int length = std::snprintf(symbol, sizeof symbol, "QRV_%s", functionName->characters);
  const bool isWhole = length > 0 && static_cast<size_t>(length) < sizeof symbol;
  return isWhole ? dlsym(bundle->library, symbol) : nullptr;
}
