// A host that unloads the plug-in, or ends. It links nothing of the platform.
//
//   end_probe PLUGIN ROUNDS             loads, captures once by OpenGL and once by QuickDraw, and
//                                       unloads. Ends with 0 when every capture found pixels,
//                                       nothing of the product is loaded between two rounds, and it
//                                       holds after the last round what it held after the first.
//   end_probe PLUGIN exit MICROSECONDS  exits after that time while a thread captures; for 0,
//                                       captures in a handler of the exit instead. Ends with 0
//                                       unless it crashes.

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "tests/support/holdings.h"

#if defined(__SANITIZE_ADDRESS__)
// The plug-in keeps the bundle of its framework for good, some hundred bytes each time it is
// loaded.
extern "C" const char* __asan_default_options() {  // NOLINT(*-reserved-identifier)
  return "detect_leaks=0";
}
#endif

namespace {

void* rawPixels = nullptr;
void* scaledRect = nullptr;
int captures = 0;

struct Method {
  void* function;
  void* setter;
  const char* declaration;
};

void Register(Method* method) {
  const std::string_view declaration = method->declaration;
  if (declaration.starts_with("ScreenshotStringQRV(")) rawPixels = method->function;
  if (declaration.find("destwidth") != declaration.npos) scaledRect = method->function;
}

// The pixels have been read when there are any to make a string of, or a picture is made for them.
void* BuildString(const char*, int length) { return captures += length > 0 ? 1 : 0, nullptr; }
void* NewPicture(long, long, long) { return ++captures, nullptr; }

void* Resolve(std::string_view name) {
  return name == "PluginRegisterMethod" ? reinterpret_cast<void*>(Register)
         : name == "REALBuildString"    ? reinterpret_cast<void*>(BuildString)
         : name == "newPicture"         ? reinterpret_cast<void*>(NewPicture)
                                        : nullptr;
}

void* Load(const char* path) {
  void* const plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (plugin == nullptr) std::abort();
  reinterpret_cast<void (*)(void* (*)(const char*))>(dlsym(plugin, "REALPluginMain"))(
      [](const char* name) { return Resolve(name); });
  return plugin;
}

void Capture() {
  int32_t width = 0, height = 0, rowBytes = 0;
  reinterpret_cast<void* (*)(int32_t&, int32_t&, int32_t&)>(rawPixels)(width, height, rowBytes);
  reinterpret_cast<void* (*)(int, int, int, int, int, int)>(scaledRect)(0, 0, 9, 9, 3, 3);
}

void Round(const char* path) {
  void* const plugin = Load(path);
  Capture();
  dlclose(plugin);
  dl_iterate_phdr(
      [](dl_phdr_info* library, size_t, void*) {
        if (std::string_view(library->dlpi_name).find("Screenshot") != std::string_view::npos) {
          std::puts(library->dlpi_name);
          std::abort();
        }
        return 0;
      },
      nullptr);
}

// The handler runs after the libraries' static objects are destroyed.
[[noreturn]] void Exit(const char* path, int microseconds) {
  if (microseconds == 0) std::atexit(Capture);
  Load(path);
  Capture();
  if (microseconds != 0) {
    std::thread([] {
      for (;;) Capture();
    }).detach();
    usleep(static_cast<useconds_t>(microseconds));
  }
  std::exit(0);
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 4) Exit(arguments[1], std::atoi(arguments[3]));
  const int rounds = std::atoi(arguments[2]);
  Round(arguments[1]);
  const qrv::testing::Holdings first;
  for (int i = 1; i < rounds; ++i) Round(arguments[1]);
  const qrv::testing::Holdings last;
  std::printf("%d captures, %zu to %zu files, %ld to %ld mappings, %ld to %ld KiB\n", captures,
              first.files.size(), last.files.size(), first.mappings, last.mappings, first.resident,
              last.resident);
#if defined(__SANITIZE_ADDRESS__)  // which keeps what was given back, and looks for leaks itself
  const bool isMemoryBack = true;
#else
  const bool isMemoryBack =
      last.mappings <= first.mappings + 2 && last.resident <= first.resident + 1024;
#endif
  return captures == 2 * rounds && last.files == first.files && isMemoryBack ? 0 : 1;
}
