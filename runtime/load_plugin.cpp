#include "runtime/load_plugin.h"

#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace qrv::runtime {

namespace {

// Whether the file begins as a library of this process's word size does.
bool LooksLikeLibrary(std::ifstream& file) {
  constexpr char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  char head[EI_NIDENT] = {};
  return file.read(head, sizeof head) && memcmp(head, ELFMAG, SELFMAG) == 0 &&
         head[EI_CLASS] == kClass;
}

}  // namespace

PluginMain LoadPlugin(const std::string& path, std::string& error) {
  std::error_code reason;
  const std::filesystem::path file = std::filesystem::canonical(path, reason);
  if (reason) {
    const bool missing =
        reason == std::errc::no_such_file_or_directory || reason == std::errc::not_a_directory;
    error = path + (missing ? ": plug-in not found" : ": " + reason.message());
    return nullptr;
  }
  if (!std::filesystem::is_regular_file(file, reason)) {
    error = path + ": not a plug-in: not a file";
    return nullptr;
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    error = path + ": can't be read: " + strerror(errno);
    return nullptr;
  }
  if (!LooksLikeLibrary(stream)) {
    error = path + ": not a plug-in: not a library for this machine";
    return nullptr;
  }
  void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* report = dlerror();
    error = path + ": can't be loaded: " + (report == nullptr ? "unknown reason" : report);
    return nullptr;
  }
  void* entry = dlsym(library, "REALPluginMain");
  if (entry == nullptr) {
    error = path + ": not a plug-in: it has no REALPluginMain";
    dlclose(library);
    return nullptr;
  }
  return reinterpret_cast<PluginMain>(entry);
}

}  // namespace qrv::runtime
