// What libScreenshotPortal.so exports.
#include <chrono>
#include <exception>
#include <memory>

#include "platform/desktop/wayland/session_bus/module/kwin.h"
#include "platform/desktop/wayland/session_bus/module/portal.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"
#include "platform/one_line.h"

namespace qrv::desktop::wayland::session_bus {

struct ModuleBackend {
  std::unique_ptr<Backend> backend;
};

namespace {

constexpr std::chrono::minutes kPersonTimeout{1};

void Fill(ModuleError& error, Reason reason, const char* message) {
  error.reason = reason;
  CopyText(error.message, message);
}

// Returns what `call` returns. When it throws, fills in the error and returns an empty value.
template <typename Call>
auto Guarded(ModuleError& error, Call call) noexcept -> decltype(call()) {
  try {
    return call();
  } catch (const Error& thrown) {
    Fill(error, thrown.reason(), thrown.what());
  } catch (const std::exception&) {
    Fill(error, Reason::kNoMemory, kNoMemoryMessage);
  }
  return {};
}

Deadline DeadlineOf(int64_t nanoseconds) {
  return Deadline(
      std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(nanoseconds)));
}

ModuleBackend* OpenKWin(const PlacedOutput& output, int64_t deadline, ModuleError& error) {
  return Guarded(error,
                 [&] { return new ModuleBackend{OpenKWinBackend(output, DeadlineOf(deadline))}; });
}

ModuleBackend* OpenPortal(const PersonCalls& person, int64_t deadline, ModuleError& error) {
  return Guarded(error, [&] {
    return new ModuleBackend{OpenPortalBackend(person, kPersonTimeout, DeadlineOf(deadline))};
  });
}

bool Capture(ModuleBackend* backend, const PlacedOutput& output, const PixelRect& region,
             Pointer pointer, int64_t deadline, ModuleFrame& frame, ModuleError& error) {
  return Guarded(error, [&] {
    const Frame captured = backend->backend->Capture(output, region, pointer, DeadlineOf(deadline));
    frame = {new Frame(captured), captured.pixels, captured.width, captured.height,
             captured.rowBytes};
    return true;
  });
}

}  // namespace
}  // namespace qrv::desktop::wayland::session_bus

using namespace qrv::desktop::wayland::session_bus;

extern "C" [[gnu::visibility("default")]] const Module QRV_portal_module;
const Module QRV_portal_module = {
    OpenKWin,
    OpenPortal,
    [](ModuleBackend* backend) { backend->backend->BeginCapture(); },
    Capture,
    [](void* owner) { delete static_cast<qrv::desktop::Frame*>(owner); },
    [](ModuleBackend* backend) { delete backend; }};
