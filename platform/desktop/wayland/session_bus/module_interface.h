// The interface between the platform and libScreenshotPortal.so: plain records and functions, so
// that neither depends on the other's C++ runtime. No exception crosses it.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_

#include <cstdint>

#include "platform/desktop/error.h"
#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::wayland::session_bus {

// Like Frame; Module::releaseFrame releases `owner`.
struct ModuleFrame {
  void* owner = nullptr;
  uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  size_t rowBytes = 0;
};

struct ModuleError {
  Reason reason = Reason::kNone;
  char message[320] = "";
};

// A backend of the module.
struct ModuleBackend;

// The functions that the module calls when a capture waits for a person.
struct PersonCalls {
  void (*report)(const char* message);   // once, when the wait takes more than a moment
  void (*addTime)(int64_t nanoseconds);  // at the end of the wait
};

// Deadlines are in nanoseconds of the monotonic clock. A function that returns a pointer or a bool
// returns null or false when it fails, and fills in the error.
struct Module {
  // `output` is any of the compositor's outputs.
  ModuleBackend* (*openKWin)(const PlacedOutput& output, int64_t deadline, ModuleError& error);
  ModuleBackend* (*openPortal)(const PersonCalls& person, int64_t deadline, ModuleError& error);
  void (*beginCapture)(ModuleBackend* backend);
  bool (*capture)(ModuleBackend* backend, const PlacedOutput& output, const PixelRect& region,
                  Pointer pointer, int64_t deadline, ModuleFrame& frame, ModuleError& error);
  void (*releaseFrame)(void* owner);
  void (*close)(ModuleBackend* backend);
};
inline constexpr char kModuleSymbol[] = "QRV_portal_module";

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_
