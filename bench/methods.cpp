#include "bench/methods.h"

#include <stdexcept>

namespace qrv::bench {
namespace {

using runtime::Host;

constexpr char kRect[] =
    "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer) as "
    "picture";
constexpr char kScaled[] =
    "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer, "
    "destwidth as integer, destheight as integer) as picture";
constexpr char kString[] =
    "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes as "
    "integer) as string";
constexpr char kStringDisplay[] =
    "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref RowBytes "
    "as integer, index as integer) as string";
constexpr char kFromString[] =
    "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, data as "
    "string) as picture";

// A call of the method that is declared so, whatever it returns.
template <typename Result, typename... Arguments>
Call MakeCall(Host& host, const char* declaration, Arguments... arguments) {
  return [&host, declaration, arguments...] {
    Result* const result = host.Call<Result*>(declaration, arguments...);
    if (result == nullptr) return false;
    host.Release(result);
    return true;
  };
}

// The numbers that the string methods give along with their string.
struct Numbers {
  int32_t width, height, rowBytes;
};

Call CaptureString(Host& host) {
  return [&host] {
    Numbers n = {};
    auto* const string = host.Call<REALstringStruct*>(kString, &n.width, &n.height, &n.rowBytes);
    if (string == nullptr) return false;
    host.Release(string);
    return true;
  };
}

Call CaptureStringDisplay(Host& host) {
  return [&host] {
    Numbers n = {};
    auto* const string =
        host.Call<REALstringStruct*>(kStringDisplay, &n.width, &n.height, &n.rowBytes, 0);
    if (string == nullptr) return false;
    host.Release(string);
    return true;
  };
}

// The string is made at the first call and serves all that follow.
Call PictureFromString(Host& host, int32_t width, int32_t height) {
  const auto data = std::make_shared<REALstringStruct*>(nullptr);
  return [&host, width, height, data] {
    if (*data == nullptr) {
      *data = host.NewString(
          std::string(static_cast<size_t>(width) * 4 * static_cast<size_t>(height), 'x'));
    }
    return MakeCall<REALpictureStruct>(host, kFromString, width, height, width * 4, *data)();
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

Call CaptureMain(Host& host) {
  return MakeCall<REALpictureStruct>(host, "ScreenshotQRV as picture");
}

Call CaptureRect(Host& host, int32_t width, int32_t height) {
  return MakeCall<REALpictureStruct>(host, kRect, 0, 0, width, height);
}

std::vector<Method> AllMethods(Host& host, int32_t width, int32_t height) {
  return {
      {"ScreenshotQRV", CaptureMain(host)},
      {"ScreenshotDisplayQRV",
       MakeCall<REALpictureStruct>(host, "ScreenshotDisplayQRV(index as integer) as picture", 0)},
      {"ScreenshotRectQRV", CaptureRect(host, width, height)},
      {"ScreenshotRectQRV-scaled",
       MakeCall<REALpictureStruct>(host, kScaled, 0, 0, width, height, width / 2, height / 2)},
      {"ScreenshotStringQRV", CaptureString(host)},
      {"ScreenshotStringDisplayQRV", CaptureStringDisplay(host)},
      {"ScreenshotFromStringQRV", PictureFromString(host, width, height)}};
}

}  // namespace qrv::bench
