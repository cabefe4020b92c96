// What libScreenshotPortal.so exports. It has a C++ runtime of its own, so nothing is thrown out of
// it.
#include <exception>
#include <utility>

#include "platform/desktop/portal/module/kwin.h"
#include "platform/desktop/portal/module/portal.h"

namespace qrv::desktop::portal {
namespace {

class ContainedSource : public wayland::PixelSource {
 public:
  explicit ContainedSource(std::unique_ptr<wayland::PixelSource> source)
      : source_(std::move(source)) {}

  void Capture(std::span<wayland::OutputShare> shares, std::string& problem) override {
    try {
      source_->Capture(shares, problem);
    } catch (const std::exception&) {
      problem = kNoMemory;
    }
  }
  const char* Name() const override { return source_->Name(); }

 private:
  std::unique_ptr<wayland::PixelSource> source_;
};

template <auto open, typename Argument>
std::unique_ptr<wayland::PixelSource> OpenContained(Argument argument, std::string& problem) {
  try {
    auto source = open(argument, problem);
    if (!source) return nullptr;
    return std::make_unique<ContainedSource>(std::move(source));
  } catch (const std::exception&) {
    problem = kNoMemory;
    return nullptr;
  }
}

}  // namespace
}  // namespace qrv::desktop::portal

using namespace qrv::desktop::portal;

extern "C" [[gnu::visibility("default")]] const Module QRV_portal_module;
const Module QRV_portal_module = {OpenContained<OpenKWinSource, const Outputs&>,
                                  OpenContained<OpenPortalSource, void (*)(const char*)>};
