#include "plugin/capture/opengl_readback.h"

#include "plugin/host/bridge.h"

namespace capture {
namespace {

// The number that the display mode states under that key; false when it states none.
bool ReadModeNumber(CFDictionaryRef mode, CFStringRef key, SInt32& value) {
  const auto number = static_cast<CFNumberRef>(CFDictionaryGetValue(mode, key));
  return number != nullptr && CFNumberGetValue(number, kCFNumberSInt32Type, &value);
}

CGLContextObj CreateContext(CGDirectDisplayID display) {
  const CGLPixelFormatAttribute attributes[] = {kCGLPFAFullScreen, kCGLPFADisplayMask,
                                                CGDisplayIDToOpenGLDisplayMask(display), 0};
  CGLPixelFormatObj pixelFormat = nullptr;
  CGLContextObj context = nullptr;
  GLint count = 0;
  CGLChoosePixelFormat(attributes, &pixelFormat, &count);
  CGLCreateContext(pixelFormat, nullptr, &context);
  if (pixelFormat != nullptr) CGLDestroyPixelFormat(pixelFormat);
  return context;
}

// The whole front buffer of the display; false when it can't be read.
bool ReadDisplay(CGDirectDisplayID display, PixelBuffer& buffer, FrameBufferArea& area) {
  if (!HasOpenGL()) return false;
  const OwnedGLContext context(OpenFullScreenContext(display));
  if (context.get() == nullptr) return false;
  GLint viewport[4] = {};
  glGetIntegerv(GL_VIEWPORT, viewport);
  area = {0, 0, viewport[2], viewport[3]};
  return buffer.Read(area);
}

}  // namespace

bool HasOpenGL() {
  return CGLChoosePixelFormat != nullptr && CGLCreateContext != nullptr &&
         CGLDestroyPixelFormat != nullptr && CGLSetCurrentContext != nullptr &&
         CGLSetFullScreen != nullptr && CGLDestroyContext != nullptr && glReadBuffer != nullptr &&
         glGetIntegerv != nullptr && glFinish != nullptr && glPixelStorei != nullptr &&
         glReadPixels != nullptr;
}

CGLContextObj OpenFullScreenContext(CGDirectDisplayID display) {
  CGLContextObj context = CreateContext(display);
  if (context == nullptr) return nullptr;
  CGLSetCurrentContext(context);
  CGLSetFullScreen(context);
  CGLSetCurrentContext(context);
  glReadBuffer(GL_FRONT);
  return context;
}

bool PixelBuffer::Allocate(int32_t width, int32_t height) {
  const int64_t pixels = static_cast<int64_t>(width) * height;
  if (width < 1 || height < 1 || pixels > INT32_MAX / 4) return false;
  size_ = static_cast<int32_t>(pixels * 4);
  width_ = width;
  height_ = height;
  memory_.Reset(calloc(1, static_cast<size_t>(size_)));
  return memory_.get() != nullptr;
}

bool PixelBuffer::Read(const FrameBufferArea& area) {
  if (!Allocate(area.width, area.height)) return false;
  glFinish();
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glPixelStorei(GL_PACK_SKIP_ROWS, 0);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
  glReadPixels(area.x, area.y, area.width, area.height, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV,
               memory_.get());
  return true;
}

picture::SourceRows PixelBuffer::Rows() const {
  const ptrdiff_t rowBytes = static_cast<ptrdiff_t>(width_) * 4;
  const auto* top = static_cast<const uint8_t*>(memory_.get()) + (height_ - 1) * rowBytes;
  return {picture::SourceLayout::kBgrSkip, top, -rowBytes, width_, height_};
}

}  // namespace capture

bool Is32bitDisplay(unsigned int display) {
  CFDictionaryRef mode = CGDisplayCurrentMode(display);
  if (mode == nullptr) return false;
  SInt32 bitsPerSample = 0;
  if (!capture::ReadModeNumber(mode, CFSTR("BitsPerSample"), bitsPerSample)) bitsPerSample = 0;
  SInt32 samplesPerPixel = 0;
  if (!capture::ReadModeNumber(mode, CFSTR("SamplesPerPixel"), samplesPerPixel)) return false;
  return samplesPerPixel >= 3 && bitsPerSample >= 8;
}

REALpictureStruct* GLScreenshotQRV(unsigned int display) {
  if (!Is32bitDisplay(display)) return nullptr;
  capture::PixelBuffer buffer;
  capture::FrameBufferArea area = {};
  if (!capture::ReadDisplay(display, buffer, area)) return nullptr;
  PictureWriter writer;
  if (!BindNewPicture(writer, area.width, area.height)) return nullptr;
  picture::WriteRows(writer, buffer.Rows());
  return writer.RenderPictureWriter();
}

REALstringStruct* GLScreenshotStringQRV(unsigned int display, int32_t& width, int32_t& height,
                                        int32_t& rowBytes) {
  capture::PixelBuffer buffer;
  capture::FrameBufferArea area = {};
  if (!capture::ReadDisplay(display, buffer, area)) return nullptr;
  REALstringStruct* string = originalREALBuildString(buffer.bytes(), buffer.size());
  if (string != nullptr) REALSetStringEncoding(string, kRawBytesEncoding);
  width = area.width;
  height = area.height;
  rowBytes = area.width * 4;
  return string;
}
