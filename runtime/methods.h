// The plug-in's methods: the exact declaration of each, and the C function that it stands for.
#ifndef RUNTIME_METHODS_H_
#define RUNTIME_METHODS_H_

#include <screenshotqrv/host.h>

#include <type_traits>

namespace qrv::runtime {

// `Function` is the type of the C function. An integer that is passed `byref` is an int32_t&.
template <typename Function>
struct Method {
  const char* declaration;
};

namespace methods {

template <typename Pointer>
using MethodOf = Method<std::remove_pointer_t<Pointer>>;

inline constexpr MethodOf<ScreenshotQRVFunction> kScreenshot = {ScreenshotQRVDeclaration};
inline constexpr MethodOf<ScreenshotDisplayQRVFunction> kScreenshotDisplay = {
    ScreenshotDisplayQRVDeclaration};
inline constexpr MethodOf<ScreenshotRectQRVFunction> kScreenshotRect = {
    ScreenshotRectQRVDeclaration};
inline constexpr MethodOf<ScreenshotRectDestQRVFunction> kScreenshotRectScaled = {
    ScreenshotRectDestQRVDeclaration};
inline constexpr MethodOf<ScreenshotStringQRVFunction> kScreenshotString = {
    ScreenshotStringQRVDeclaration};
inline constexpr MethodOf<ScreenshotStringDisplayQRVFunction> kScreenshotStringDisplay = {
    ScreenshotStringDisplayQRVDeclaration};
inline constexpr MethodOf<ScreenshotFromStringQRVFunction> kScreenshotFromString = {
    ScreenshotFromStringQRVDeclaration};

}  // namespace methods

}  // namespace qrv::runtime

#endif  // RUNTIME_METHODS_H_
