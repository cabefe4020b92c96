#include "platform/desktop/portal/library.h"

#include <dlfcn.h>

#include <QRV/Desktop.h>

#include "platform/desktop/waiting_notice.h"

namespace qrv::desktop::portal {
namespace {

constexpr char kFileName[] = "libScreenshotPortal.so";
constexpr char kNoModule[] = "libScreenshotPortal.so can't be loaded";

// Beside this library. Null when it is not there, or what it needs isn't. It stays: frames that lie
// in its memory may outlive all else.
const Module* Load() {
  static const int here = 0;
  Dl_info info = {};
  if (dladdr(&here, &info) == 0 || info.dli_fname == nullptr) return nullptr;
  std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return nullptr;
  path.replace(slash + 1, std::string::npos, kFileName);
  if (!IsWholeLibrary(path.c_str())) return nullptr;
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  return library == nullptr ? nullptr : static_cast<const Module*>(dlsym(library, kModuleSymbol));
}

}  // namespace

std::unique_ptr<wayland::PixelSource> OpenKWin(const Outputs& outputs, std::string& problem) {
  const Module* const module = Load();
  problem = kNoModule;
  return module == nullptr ? nullptr : module->openKWin(outputs, problem);
}

std::unique_ptr<wayland::PixelSource> OpenPortal(std::string& problem) {
  const Module* const module = Load();
  problem = kNoModule;
  return module == nullptr ? nullptr : module->openPortal(TellOfWaiting, problem);
}

}  // namespace qrv::desktop::portal
