#include <ApplicationServices/CoreGraphics.h>
#include <OpenGL/OpenGL.h>
#include <gtest/gtest.h>

#include "platform/desktop/virtual/test_card.h"

namespace {

using Attributes = std::vector<CGLPixelFormatAttribute>;

constexpr uint32_t kUntouched = 0xDEADBEEF;
constexpr GLint kWidth = 50;
constexpr GLint kHeight = 40;

// Of a virtual desktop.
class Displays : public testing::Test {
 protected:
  ~Displays() override {
    if (context_ != nullptr) CGLDestroyContext(context_);
    unsetenv("QRV_DESKTOP");
    unsetenv("QRV_SYSTEM_VERSION");
  }

  // Shows the layout and returns its displays' identifiers, main display first.
  static std::vector<CGDirectDisplayID> Show(const std::string& layout) {
    setenv("QRV_DESKTOP", ("virtual:" + layout).c_str(), 1);
    std::vector<CGDirectDisplayID> displays(32);
    CGDisplayCount count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(32, displays.data(), &count), kCGErrorSuccess);
    displays.resize(count);
    return displays;
  }

  // A number of the display's current mode, or -1 when it states none.
  static SInt32 ModeNumber(CGDirectDisplayID display, CFStringRef key) {
    const void* const number = CFDictionaryGetValue(CGDisplayCurrentMode(display), key);
    SInt32 value = -1;
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt32Type, &value);
    return value;
  }

  CGLError Choose(Attributes attributes) {
    attributes.push_back(0);
    GLint count = -1;
    const CGLError error = CGLChoosePixelFormat(attributes.data(), &pixelFormat_, &count);
    EXPECT_EQ(count, error == kCGLNoError ? 1 : 0);
    EXPECT_EQ(pixelFormat_ == nullptr, error != kCGLNoError);
    return error;
  }

  void Open(CGDirectDisplayID display) {
    Choose({kCGLPFAFullScreen, kCGLPFADisplayMask, CGDisplayIDToOpenGLDisplayMask(display)});
    EXPECT_EQ(CGLCreateContext(pixelFormat_, nullptr, &context_), kCGLNoError);
    CGLSetCurrentContext(context_);
    EXPECT_EQ(CGLSetFullScreen(context_), kCGLNoError);
  }

  // What reading that many pixels from there leaves in a buffer of them.
  static std::vector<uint32_t> Read(GLint x, GLint y, GLsizei width, GLsizei height) {
    std::vector<uint32_t> buffer(static_cast<size_t>(width * height), kUntouched);
    glReadPixels(x, y, width, height, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, buffer.data());
    return buffer;
  }

  CGLPixelFormatObj pixelFormat_ = nullptr;
  CGLContextObj context_ = nullptr;
};

TEST_F(Displays, AreListedAsFarAsThereIsRoomAndEachHasABitOfItsOwn) {
  std::string layout = "10x10+0+0";
  for (int i = 1; i < 32; ++i) layout += ",10x10+" + std::to_string(i * 10) + "+0";
  const auto displays = Show(layout);
  CGOpenGLDisplayMask all = 0;
  for (const CGDirectDisplayID display : displays) {
    const CGOpenGLDisplayMask mask = CGDisplayIDToOpenGLDisplayMask(display);
    EXPECT_EQ(mask & (mask - 1), 0U);
    all |= mask;
  }
  EXPECT_EQ(all, 0xFFFFFFFFU);
  std::vector<CGDirectDisplayID> few(3);
  CGDisplayCount count = 0;
  EXPECT_EQ(CGGetActiveDisplayList(2, few.data(), &count), kCGErrorSuccess);
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(few, (std::vector{displays[0], displays[1], 0U}));
}

TEST_F(Displays, TellTheSamplesOfTheirModesUnlessTheSystemIsTooOld) {
  const auto displays = Show("64x64+0+0@32,64x64+64+0@16,64x64+128+0@8");
  for (const char* version : {"10.5", "10.4"}) {
    setenv("QRV_SYSTEM_VERSION", version, 1);
    const bool areTold = version[3] == '5';
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(ModeNumber(displays[i], CFSTR("SamplesPerPixel")), !areTold ? -1 : i == 2 ? 1 : 3);
      EXPECT_EQ(ModeNumber(displays[i], CFSTR("BitsPerSample")), !areTold ? -1 : i == 1 ? 5 : 8);
    }
  }
}

TEST_F(Displays, AreReadBackBottomRowFirstAndWhatLiesOutsideIsLeftUntouched) {
  Open(Show("50x40+0+0")[0]);
  const auto buffer = Read(-2, -3, 55, 47);
  for (GLint i = 0; i < 55 * 47; ++i) {
    const GLint x = i % 55 - 2, y = i / 55 - 3;
    const bool isOutside = x < 0 || y < 0 || x >= kWidth || y >= kHeight;
    const auto card = qrv::desktop::TestCardPixel(0, kWidth, kHeight, x, kHeight - 1 - y);
    ASSERT_EQ(buffer[static_cast<size_t>(i)], isOutside ? kUntouched : card) << i;
  }
}

TEST_F(Displays, AreNotReadBackOnceTheyOrTheContextAreGone) {
  const auto displays = Show("50x40+0+0,9x9+50+0");
  Open(displays[0]);
  CGLDestroyContext(context_);
  EXPECT_EQ(Read(0, 0, 1, 1)[0], kUntouched);
  Open(displays[1]);
  Show("50x40+0+0");
  EXPECT_EQ(Read(0, 0, 1, 1)[0], kUntouched);
  EXPECT_EQ(CGLSetFullScreen(context_), kCGLBadDisplay);
}

TEST_F(Displays, AreRefusedWithoutFullScreenADisplayAKnownAttributeOrANewEnoughSystem) {
  const auto mask = CGDisplayIDToOpenGLDisplayMask(Show("64x64+0+0,50x40+64+0")[1]);
  const Attributes whole = {kCGLPFAFullScreen, kCGLPFADisplayMask, mask};
  for (const Attributes& refused : {Attributes{},
                                    {kCGLPFADisplayMask, mask},
                                    {kCGLPFAFullScreen},
                                    {kCGLPFAFullScreen, kCGLPFADisplayMask, mask << 1},
                                    {kCGLPFAFullScreen, kCGLPFADisplayMask, mask, 9999}}) {
    EXPECT_NE(Choose(refused), kCGLNoError);
  }
  setenv("QRV_SYSTEM_VERSION", "10.4", 1);
  EXPECT_NE(Choose(whole), kCGLNoError);
  setenv("QRV_SYSTEM_VERSION", "10.5", 1);
  EXPECT_EQ(Choose(whole), kCGLNoError);
  Show("64x64+0+0");
  EXPECT_EQ(Choose(whole), kCGLBadDisplay);
}

}  // namespace
