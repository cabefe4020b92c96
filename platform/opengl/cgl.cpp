// Contexts on whole displays.
#include <algorithm>
#include <new>
#include <optional>

#include "platform/coregraphics/display_mask.h"
#include "platform/coreservices/system_version.h"
#include "platform/desktop/session.h"
#include "platform/opengl/context.h"

namespace {

thread_local CGLContextObj currentContext = nullptr;

// The first system that reads displays back through full-screen contexts.
constexpr qrv::coreservices::Version kReadsDisplays = {10, 5};

struct Request {
  bool fullScreen = false;
  uint32_t displayMask = 0;
};

// Nothing when the list has an attribute that this platform does not know.
std::optional<Request> ReadAttributes(const CGLPixelFormatAttribute* attributes) {
  Request request;
  for (; *attributes != 0; ++attributes) {
    switch (*attributes) {
      case kCGLPFAFullScreen:
        request.fullScreen = true;
        break;
      case kCGLPFADisplayMask:
        request.displayMask = *++attributes;
        break;
      default:
        return std::nullopt;
    }
  }
  return request;
}

}  // namespace

CGLContextObj qrv::opengl::CurrentContext() noexcept { return currentContext; }

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes,
                              CGLPixelFormatObj* pixelFormat, GLint* count) {
  if (attributes == nullptr || pixelFormat == nullptr || count == nullptr) return kCGLBadValue;
  *pixelFormat = nullptr;
  *count = 0;
  const std::optional<Request> request = ReadAttributes(attributes);
  if (!request || !request->fullScreen) return kCGLBadAttribute;
  if (!qrv::coreservices::SystemVersion().IsAtLeast(kReadsDisplays)) return kCGLBadAttribute;
  const auto display = qrv::coregraphics::DisplayOfMask(request->displayMask);
  if (!display) return kCGLBadDisplay;

  *pixelFormat = new (std::nothrow) _CGLPixelFormatObject{display->id};
  if (*pixelFormat == nullptr) return kCGLBadAlloc;
  *count = 1;
  return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pixelFormat) {
  delete pixelFormat;
  return kCGLNoError;
}

CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj, CGLContextObj* context) {
  if (context == nullptr) return kCGLBadValue;
  *context = nullptr;
  if (pixelFormat == nullptr) return kCGLBadPixelFormat;
  *context = new (std::nothrow) _CGLContextObject{.display = pixelFormat->display};
  return *context == nullptr ? kCGLBadAlloc : kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj context) {
  if (context == nullptr) return kCGLBadContext;
  if (context == currentContext) currentContext = nullptr;
  delete context;
  return kCGLNoError;
}

CGLError CGLSetCurrentContext(CGLContextObj context) {
  currentContext = context;
  return kCGLNoError;
}

CGLError CGLSetFullScreen(CGLContextObj context) {
  if (context == nullptr) return kCGLBadContext;
  const auto display = qrv::desktop::FindDisplay(context->display);
  if (!display) return kCGLBadDisplay;
  context->isAttached = true;
  const GLint wholeDisplay[] = {0, 0, display->pixelWidth, display->pixelHeight};
  std::copy_n(wholeDisplay, 4, context->viewport);
  return kCGLNoError;
}
