// A host that loads and unloads the plug-in: `unload_probe PLUGIN ROUNDS` captures once a round and
// prints the captures that found pixels, then its descriptors, mappings and KiB after the first
// round and after the last. It links nothing of the platform, which goes with the plug-in.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

struct Method {
  void* function;
  void* setter;
  const char* declaration;
};

void* rawPixels = nullptr;
int captures = 0;

void Register(Method* method) {
  if (std::strncmp(method->declaration, "ScreenshotStringQRV(", 20) == 0) {
    rawPixels = method->function;
  }
}

// The pixels have been read when there are any to make a string of.
void* BuildString(const char*, int length) {
  if (length > 0) ++captures;
  return nullptr;
}

void* Resolve(const char* name) {
  if (std::strcmp(name, "PluginRegisterMethod") == 0) return reinterpret_cast<void*>(Register);
  if (std::strcmp(name, "REALBuildString") == 0) return reinterpret_cast<void*>(BuildString);
  return nullptr;
}

void Round(const char* path) {
  void* const plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) std::abort();
  reinterpret_cast<void (*)(void* (*)(const char*))>(dlsym(plugin, "REALPluginMain"))(Resolve);
  int32_t numbers[3] = {};
  reinterpret_cast<void* (*)(int32_t*, int32_t*, int32_t*)>(rawPixels)(&numbers[0], &numbers[1],
                                                                       &numbers[2]);
  dlclose(plugin);
}

struct Held {
  long files = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  long mappings = 0;
  long kib = 0;

  Held() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) ++mappings;
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> kib;
    kib *= sysconf(_SC_PAGESIZE) / 1024;
  }
};

}  // namespace

int main(int, char** arguments) {
  const int rounds = std::atoi(arguments[2]);
  Round(arguments[1]);
  const Held first;
  for (int i = 1; i < rounds; ++i) Round(arguments[1]);
  const Held last;
  std::printf("%d %ld %ld %ld %ld %ld %ld\n", captures, first.files, last.files, first.mappings,
              last.mappings, first.kib, last.kib);
}
