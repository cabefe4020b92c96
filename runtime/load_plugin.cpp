// Loading a plug-in's library into this process. It is never unloaded.

#include <dlfcn.h>
#include <errno.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "platform/library_file.h"
#include "runtime/host.h"

namespace qrv::runtime {

bool Host::LoadPlugin(const std::string& path, std::string& error) {
  const auto fail = [&](const std::string& why) {
    error = path + ": " + why;
    return false;
  };
  std::error_code reason;
  const std::filesystem::path file = std::filesystem::canonical(path, reason);
  if (reason) {
    const bool missing =
        reason == std::errc::no_such_file_or_directory || reason == std::errc::not_a_directory;
    return fail(missing ? "plug-in not found" : reason.message());
  }
  if (!std::filesystem::is_regular_file(file, reason)) return fail("not a plug-in: not a file");
  if (!std::ifstream(file, std::ios::binary)) {
    return fail(std::string("can't be read: ") + strerror(errno));
  }
  if (!IsWholeLibrary(file.c_str())) {
    return fail("not a plug-in: not a library for this machine, or only part of one");
  }
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* report = dlerror();
    return fail(std::string("can't be loaded: ") + (report == nullptr ? "" : report));
  }
  void* entry = dlsym(library, REALPluginMainName);
  if (entry == nullptr) {
    dlclose(library);
    return fail("not a plug-in: it has no REALPluginMain");
  }
  StartPlugin(reinterpret_cast<REALPluginMainFunction>(entry));
  return true;
}

}  // namespace qrv::runtime
