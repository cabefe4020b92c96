// The plug-in's methods: the exact declaration of each, and the C function that it stands for.
#ifndef RUNTIME_METHODS_H_
#define RUNTIME_METHODS_H_

#include <cstdint>

#include "plugin/host/host_types.h"

namespace qrv::runtime {

// Of the type of the function that the host calls. An integer that the method is given by reference
// is an int32_t&.
template <typename Function>
struct Method {
  const char* declaration;
};

namespace methods {

using Picture = REALpictureStruct*;
using String = REALstringStruct*;

inline constexpr Method<Picture()> kScreenshot = {"ScreenshotQRV as picture"};

inline constexpr Method<Picture(int32_t index)> kScreenshotDisplay = {
    "ScreenshotDisplayQRV(index as integer) as picture"};

inline constexpr Method<Picture(int32_t left, int32_t top, int32_t width, int32_t height)>
    kScreenshotRect = {
        "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer) "
        "as picture"};

inline constexpr Method<Picture(int32_t left, int32_t top, int32_t width, int32_t height,
                                int32_t destinationWidth, int32_t destinationHeight)>
    kScreenshotRectScaled = {
        "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer, "
        "destwidth as integer, destheight as integer) as picture"};

inline constexpr Method<String(int32_t& width, int32_t& height, int32_t& rowBytes)>
    kScreenshotString = {
        "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes as "
        "integer) as string"};

inline constexpr Method<String(int32_t& width, int32_t& height, int32_t& rowBytes, int32_t index)>
    kScreenshotStringDisplay = {
        "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref "
        "RowBytes as integer, index as integer) as string"};

inline constexpr Method<Picture(int32_t width, int32_t height, int32_t rowBytes, String data)>
    kScreenshotFromString = {
        "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, data as "
        "string) as picture"};

}  // namespace methods

}  // namespace qrv::runtime

#endif  // RUNTIME_METHODS_H_
