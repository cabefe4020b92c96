#include "platform/desktop/wayland/session_bus/library.h"

#include <dlfcn.h>

#include <chrono>
#include <string>

#include "platform/desktop/peer/one_line.h"
#include "platform/desktop/peer/person.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"
#include "platform/library_file.h"

namespace qrv::desktop::session_bus {
namespace {

constexpr char kFileName[] = "libScreenshotPortal.so";

// Beside this library. It stays loaded: frames that lie in its memory may outlive all else.
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

class LibraryBackend : public wayland::Backend {
 public:
  LibraryBackend(const Module& module, ModuleBackend* backend, const char* name)
      : module_(module), backend_(backend), name_(name) {}
  ~LibraryBackend() override { module_.close(backend_); }

  void BeginCapture() override { module_.beginCapture(backend_); }
  Frame Capture(const wayland::PlacedOutput& output, const PixelRect& region, Pointer pointer,
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
  const char* Name() const override { return name_; }

 private:
  const Module& module_;
  ModuleBackend* backend_;
  const char* name_;
};

// A no is the answer for all of a call, and so is whatever else the portal could not do: the next
// strategy lists the displays again, where it must over another connection, and does not ask again.
constexpr std::chrono::seconds kAnswerLife{1};
ModuleError theRefusal;
Deadline refusedUntil;

class PortalBackend : public LibraryBackend {
 public:
  using LibraryBackend::LibraryBackend;

  bool HasPointer() const override { return false; }

  Frame Capture(const wayland::PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline deadline) override {
    if (Clock::now() < refusedUntil) throw Error(theRefusal.reason, theRefusal.message);
    try {
      return LibraryBackend::Capture(output, region, pointer, deadline);
    } catch (const Error& error) {
      theRefusal.reason = error.reason();
      CopyText(theRefusal.message, error.what());
      refusedUntil = Clock::now() + kAnswerLife;
      throw;
    }
  }
};

// What a person takes to answer is not the call's time.
constexpr PersonCalls kPersonCalls = {ReportWaiting, [](int64_t nanoseconds) {
                                        AddPersonTime(std::chrono::nanoseconds(nanoseconds));
                                      }};

}  // namespace

std::unique_ptr<wayland::Backend> OpenKWin(const std::vector<wayland::PlacedOutput>& outputs,
                                           Deadline deadline) {
  const Module& module = Load();
  ModuleError error;
  ModuleBackend* const backend =
      outputs.empty() ? nullptr : module.openKWin(outputs.front(), Nanoseconds(deadline), error);
  if (backend == nullptr) throw Error(error.reason, error.message);
  return std::make_unique<LibraryBackend>(module, backend, "KWin ScreenShot2");
}

std::unique_ptr<wayland::Backend> OpenPortal(Deadline deadline) {
  const Module& module = Load();
  ModuleError error;
  ModuleBackend* const backend = module.openPortal(kPersonCalls, Nanoseconds(deadline), error);
  if (backend == nullptr) throw Error(error.reason, error.message);
  return std::make_unique<PortalBackend>(module, backend, "desktop portal");
}

}  // namespace qrv::desktop::session_bus
