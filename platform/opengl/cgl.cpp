// CGL contexts, each of which has a whole display.
#include <array>
#include <bit>
#include <optional>

#include "platform/coregraphics/display_list.h"
#include "platform/desktop/session.h"
#include "platform/opengl/context.h"
#include "platform/system_version.h"

namespace {

// Static, because callers that have begun a picture don't check for failures.
std::array<_CGLPixelFormatObject, 32> pixelFormats;  // by the lowest bit of the display mask
std::optional<_CGLContextObject> theContext;
CGLContextObj currentContext = nullptr;

// The first system that reads displays back through full-screen contexts.
constexpr qrv::Version kReadsDisplays = {10, 5};

struct Request {
  bool fullScreen = false;
  uint32_t displayMask = 0;
};

// Nothing when the list has an unknown attribute.
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
  if (!qrv::SystemIsAtLeast(kReadsDisplays)) return kCGLBadAttribute;
  const auto display = qrv::coregraphics::DisplayOfMask(request->displayMask);
  if (!display) return kCGLBadDisplay;

  *pixelFormat = &pixelFormats[static_cast<size_t>(std::countr_zero(request->displayMask))];
  **pixelFormat = {display->id};
  *count = 1;
  return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj) { return kCGLNoError; }

CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj, CGLContextObj* context) {
  if (context == nullptr) return kCGLBadValue;
  *context = nullptr;
  if (pixelFormat == nullptr) return kCGLBadPixelFormat;
  if (theContext) return kCGLBadAlloc;
  *context = &theContext.emplace(_CGLContextObject{.display = pixelFormat->display});
  return kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj context) {
  if (!theContext || context != &*theContext) return kCGLBadContext;
  if (context == currentContext) currentContext = nullptr;
  qrv::desktop::DropFrameBuffer(context->display);
  theContext.reset();
  return kCGLNoError;
}

CGLError CGLSetCurrentContext(CGLContextObj context) {
  currentContext = context;
  return kCGLNoError;
}

CGLError CGLSetFullScreen(CGLContextObj context) {
  if (context == nullptr) return kCGLBadContext;
  if (!qrv::desktop::FindDisplay(context->display)) return kCGLBadDisplay;
  context->isAttached = true;
  return kCGLNoError;
}
