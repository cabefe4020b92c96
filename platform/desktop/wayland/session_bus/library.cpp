#include "platform/desktop/wayland/session_bus/library.h"

#include <dlfcn.h>

#include <chrono>
#include <string>

#include "platform/desktop/peer/person.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"
#include "platform/library_file.h"
#include "platform/one_line.h"

namespace qrv::desktop::wayland::session_bus {
namespace {

constexpr char kFileName[] = "libScreenshotPortal.so";

// The file is beside this library. It stays loaded, because frames in its memory may outlive
// everything else.
const Module& Load() {
  const std::string path = OwnFolder() + ("/" + std::string(kFileName));
  void* const library = IsWholeLibrary(path.c_str())
                            ? dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)
                            : nullptr;
  const void* const module = library == nullptr ? nullptr : dlsym(library, kModuleSymbol);
  if (module == nullptr) {
    throw Error(Reason::kUnsupported, std::string(kFileName) + " is missing or can't be loaded");
  }
  return *static_cast<const Module*>(module);
}

int64_t Nanoseconds(Deadline deadline) {
  return std::chrono::nanoseconds(deadline.time_since_epoch()).count();
}

class LibraryBackend : public Backend {
 public:
  LibraryBackend(const Module& module, ModuleBackend* backend, const char* name)
      : module_(module), backend_(backend), name_(name) {}
  ~LibraryBackend() override { module_.close(backend_); }

  void BeginCapture() override { module_.beginCapture(backend_); }
  Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline deadline) override {
    ModuleFrame captured;
    ModuleError error;
    if (!module_.capture(backend_, output, region, pointer, Nanoseconds(deadline), captured,
                         error)) {
      throw Error(error.reason, error.message);
    }
    return {std::shared_ptr<void>(captured.owner, module_.releaseFrame), captured.pixels,
            captured.width, captured.height, captured.rowBytes};
  }
  const char* name() const override { return name_; }

 private:
  const Module& module_;
  ModuleBackend* backend_;
  const char* name_;
};

// A denial, or any other failure of the portal, holds for the whole method call: the next strategy
// lists the displays again, maybe over a new connection, and must not ask the person again.
constexpr std::chrono::seconds kFailureLife{1};
ModuleError lastFailure;
Deadline failsUntil;

class PortalBackend : public LibraryBackend {
 public:
  using LibraryBackend::LibraryBackend;

  bool hasPointer() const override { return false; }

  Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline deadline) override {
    if (Clock::now() < failsUntil) throw Error(lastFailure.reason, lastFailure.message);
    try {
      return LibraryBackend::Capture(output, region, pointer, deadline);
    } catch (const Error& error) {
      lastFailure.reason = error.reason();
      CopyText(lastFailure.message, error.what());
      failsUntil = Clock::now() + kFailureLife;
      throw;
    }
  }
};

constexpr PersonCalls kPersonCalls = {ReportWaiting, [](int64_t nanoseconds) {
                                        AddPersonTime(std::chrono::nanoseconds(nanoseconds));
                                      }};

}  // namespace

std::unique_ptr<Backend> OpenKWin(const std::vector<PlacedOutput>& outputs, Deadline deadline) {
  const Module& module = Load();
  ModuleError error;
  ModuleBackend* const backend =
      outputs.empty() ? nullptr : module.openKWin(outputs.front(), Nanoseconds(deadline), error);
  if (backend == nullptr) throw Error(error.reason, error.message);
  return std::make_unique<LibraryBackend>(module, backend, "KWin ScreenShot2");
}

std::unique_ptr<Backend> OpenPortal(Deadline deadline) {
  const Module& module = Load();
  ModuleError error;
  ModuleBackend* const backend = module.openPortal(kPersonCalls, Nanoseconds(deadline), error);
  if (backend == nullptr) throw Error(error.reason, error.message);
  return std::make_unique<PortalBackend>(module, backend, "desktop portal");
}

}  // namespace qrv::desktop::wayland::session_bus
