// Loading a plug-in's library into this process, for good.

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
  std::error_code reason;
  const std::filesystem::path file = std::filesystem::canonical(path, reason);
  if (reason) {
    const bool missing =
        reason == std::errc::no_such_file_or_directory || reason == std::errc::not_a_directory;
    error = path + (missing ? ": plug-in not found" : ": " + reason.message());
    return false;
  }
  if (!std::filesystem::is_regular_file(file, reason)) {
    error = path + ": not a plug-in: not a file";
    return false;
  }
  if (!std::ifstream(file, std::ios::binary)) {
    error = path + ": can't be read: " + strerror(errno);
    return false;
  }
  if (!IsWholeLibrary(file.c_str())) {
    error = path + ": not a plug-in: not a library for this machine, or only part of one";
    return false;
  }
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* report = dlerror();
    error = path + ": can't be loaded: " + (report == nullptr ? "unknown reason" : report);
    return false;
  }
  void* entry = dlsym(library, REALPluginMainName);
  if (entry == nullptr) {
    error = path + ": not a plug-in: it has no REALPluginMain";
    dlclose(library);
    return false;
  }
  StartPlugin(reinterpret_cast<REALPluginMainFunction>(entry));
  return true;
}

}  // namespace qrv::runtime
