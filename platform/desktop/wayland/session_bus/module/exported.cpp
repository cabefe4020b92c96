// What libScreenshotPortal.so exports.
#include <chrono>
#include <exception>
#include <memory>

#include "platform/desktop/peer/one_line.h"
#include "platform/desktop/wayland/session_bus/module/kwin.h"
#include "platform/desktop/wayland/session_bus/module/portal.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"

namespace qrv::desktop::session_bus {

struct ModuleBackend {
  std::unique_ptr<wayland::Backend> backend;
};

namespace {

constexpr std::chrono::minutes kPatience{1};

void Fill(ModuleError& error, Reason reason, const char* message) {
  error.reason = reason;
  CopyText(error.message, message);
}

// What `call` yields, or a false value and the error when it throws.
template <typename Call>
auto Contained(ModuleError& error, Call call) noexcept -> decltype(call()) {
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

ModuleBackend* OpenKWin(const wayland::PlacedOutput& output, int64_t deadline, ModuleError& error) {
  return Contained(
      error, [&] { return new ModuleBackend{OpenKWinBackend(output, DeadlineOf(deadline))}; });
}

ModuleBackend* OpenPortal(const PersonCalls& person, int64_t deadline, ModuleError& error) {
  return Contained(error, [&] {
    return new ModuleBackend{OpenPortalBackend(person, kPatience, DeadlineOf(deadline))};
  });
}

bool Capture(ModuleBackend* backend, const wayland::PlacedOutput& output, const PixelRect& region,
             Pointer pointer, int64_t deadline, ModuleFrame& frame, ModuleError& error) {
  return Contained(error, [&] {
    const Frame captured = backend->backend->Capture(output, region, pointer, DeadlineOf(deadline));
    frame = {new Frame(captured), captured.pixels, captured.width, captured.height,
             captured.rowBytes};
    return true;
  });
}

}  // namespace
}  // namespace qrv::desktop::session_bus

using namespace qrv::desktop::session_bus;

extern "C" [[gnu::visibility("default")]] const Module QRV_portal_module;
const Module QRV_portal_module = {
    OpenKWin,
    OpenPortal,
    [](ModuleBackend* backend) { backend->backend->BeginCapture(); },
    Capture,
    [](void* owner) { delete static_cast<qrv::desktop::Frame*>(owner); },
    [](ModuleBackend* backend) { delete backend; }};
