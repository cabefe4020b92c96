// Between the platform and libScreenshotPortal.so: plain records and functions, so that neither
// depends on the other's C++ runtime. No exception crosses.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_

#include <cstdint>

#include "platform/desktop/error.h"
#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::session_bus {

// As Frame; `owner` is given back with Module::releaseFrame.
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

// What the module calls while a capture waits for a person: once with a message, if that takes
// more than a moment; and with the time that it took.
struct PersonCalls {
  void (*report)(const char* message);
  void (*addTime)(int64_t nanoseconds);
};

// Deadlines are in nanoseconds of the monotonic clock. Functions that return a pointer or a bool
// fail with null or false, and fill in the error.
struct Module {
  // `output` is one of the compositor's.
  ModuleBackend* (*openKWin)(const wayland::PlacedOutput& output, int64_t deadline,
                             ModuleError& error);
  ModuleBackend* (*openPortal)(const PersonCalls& person, int64_t deadline, ModuleError& error);
  void (*beginCapture)(ModuleBackend* backend);
  bool (*capture)(ModuleBackend* backend, const wayland::PlacedOutput& output,
                  const PixelRect& region, Pointer pointer, int64_t deadline, ModuleFrame& frame,
                  ModuleError& error);
  void (*releaseFrame)(void* owner);
  void (*close)(ModuleBackend* backend);
};
inline constexpr char kModuleSymbol[] = "QRV_portal_module";

}  // namespace qrv::desktop::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_INTERFACE_H_
