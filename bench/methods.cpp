#include "bench/methods.h"

#include <stdexcept>

#include "runtime/blocks.h"

namespace qrv::bench {
namespace {

using runtime::Host;
namespace methods = runtime::methods;

// A host that captures once has no kept block.
bool isOnce = false;
void DropKeptBlock() {
  constexpr size_t kAnother = size_t{4} << 20;
  runtime::NewBlock(kAnother).reset();
}

// A call of the method, with a copy of the arguments for each call to write to.
template <typename Function, typename... Arguments>
Call MakeCall(Host& host, const runtime::Method<Function>& method, Arguments... arguments) {
  return [&host, method, arguments...]() mutable {
    auto* const result = host.Call(method, arguments...);
    if (result == nullptr) return false;
    host.Release(result);
    if (isOnce) DropKeptBlock();
    return true;
  };
}

// The first call makes the string, and later ones reuse it.
Call PictureFromString(Host& host, int32_t width, int32_t height) {
  const auto data = std::make_shared<REALstringStruct*>(nullptr);
  return [&host, width, height, data] {
    if (*data == nullptr) {
      *data = host.NewString(
          std::string(static_cast<size_t>(width) * 4 * static_cast<size_t>(height), 'x'));
    }
    return MakeCall(host, methods::kScreenshotFromString, width, height, width * 4, *data)();
  };
}

}  // namespace

std::unique_ptr<Host> StartHost(const std::string& form) {
  if (form != "desktop" && form != "console") {
    throw std::runtime_error("the form is desktop or console, not '" + form + "'");
  }
  runtime::HostOptions options;
  options.application =
      form == "desktop" ? runtime::ApplicationKind::kDesktop : runtime::ApplicationKind::kConsole;
  auto host = std::make_unique<Host>(options);
  std::string error;
  if (!host->LoadPlugin(QRV_BUILD_DIR "/ScreenshotQRV.so", error)) throw std::runtime_error(error);
  return host;
}

void CaptureAsIfOnce() { isOnce = true; }

Call CaptureMain(Host& host) { return MakeCall(host, methods::kScreenshot); }

Call CaptureRect(Host& host, int32_t width, int32_t height) {
  return MakeCall(host, methods::kScreenshotRect, 0, 0, width, height);
}

std::vector<Method> AllMethods(Host& host, int32_t width, int32_t height) {
  return {
      {"ScreenshotQRV", CaptureMain(host)},
      {"ScreenshotDisplayQRV", MakeCall(host, methods::kScreenshotDisplay, 0)},
      {"ScreenshotRectQRV", CaptureRect(host, width, height)},
      {"ScreenshotRectQRV-scaled",
       MakeCall(host, methods::kScreenshotRectScaled, 0, 0, width, height, width / 2, height / 2)},
      {"ScreenshotStringQRV", MakeCall(host, methods::kScreenshotString, 0, 0, 0)},
      {"ScreenshotStringDisplayQRV", MakeCall(host, methods::kScreenshotStringDisplay, 0, 0, 0, 0)},
      {"ScreenshotFromStringQRV", PictureFromString(host, width, height)}};
}

}  // namespace qrv::bench
