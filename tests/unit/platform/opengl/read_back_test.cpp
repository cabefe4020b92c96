#include <OpenGL/OpenGL.h>

#include <thread>

#include "platform/desktop/session.h"
#include "platform/desktop/test_card.h"
#include "tests/unit/platform/coregraphics/display_test.h"

namespace {

using qrv::desktop::TestCardPixel;

constexpr uint32_t kUntouched = 0xDEADBEEF;
constexpr GLint kWidth = 50;
constexpr GLint kHeight = 40;
constexpr size_t kPixels = 2000;

// The display's card, addressed as a frame buffer is. `x` and `y` count from its bottom-left
// corner.
uint32_t CardPixel(GLint x, GLint y) {
  return TestCardPixel(0, kWidth, kHeight, x, kHeight - 1 - y);
}

class ReadBack : public DisplayTest {
 protected:
  static CGLError Choose(std::vector<CGLPixelFormatAttribute> attributes,
                         CGLPixelFormatObj* pixelFormat) {
    attributes.push_back(0);
    GLint count = -1;
    const CGLError error = CGLChoosePixelFormat(attributes.data(), pixelFormat, &count);
    EXPECT_EQ(count, error == kCGLNoError ? 1 : 0);
    return error;
  }

  // A context of the display, not current and not attached.
  static CGLContextObj CreateContext(CGDirectDisplayID display) {
    CGLPixelFormatObj pixelFormat = nullptr;
    Choose({kCGLPFAFullScreen, kCGLPFADisplayMask, CGDisplayIDToOpenGLDisplayMask(display)},
           &pixelFormat);
    CGLContextObj context = nullptr;
    EXPECT_EQ(CGLCreateContext(pixelFormat, nullptr, &context), kCGLNoError);
    CGLDestroyPixelFormat(pixelFormat);
    return context;
  }

  void Open(CGDirectDisplayID display) {
    context_ = CreateContext(display);
    CGLSetCurrentContext(context_);
    EXPECT_EQ(CGLSetFullScreen(context_), kCGLNoError);
    glReadBuffer(GL_FRONT);
  }

  // What the call leaves in a buffer of `size` pixels.
  static std::vector<uint32_t> Read(size_t size, GLint x, GLint y, GLsizei width, GLsizei height) {
    std::vector<uint32_t> buffer(size, kUntouched);
    glReadPixels(x, y, width, height, GL_BGRA, GL_UNSIGNED_INT_8_8_8_8_REV, buffer.data());
    return buffer;
  }

  ~ReadBack() override {
    if (context_ != nullptr) CGLDestroyContext(context_);
  }

  CGLContextObj context_ = nullptr;
};

TEST_F(ReadBack, ReadsTheDisplayBottomRowFirst) {
  Open(Show("50x40+0+0")[0]);
  QRVTakeReaders();
  const auto buffer = Read(kPixels, 0, 0, kWidth, kHeight);
  for (GLint i = 0; i < kWidth * kHeight; ++i) {
    ASSERT_EQ(buffer[static_cast<size_t>(i)], CardPixel(i % kWidth, i / kWidth)) << i;
  }
  EXPECT_EQ(QRVTakeReaders(), static_cast<unsigned>(qrv::desktop::Reader::kOpenGL));
}

// Every case reads 3 x 2 pixels and says where in the buffer, in pixels, they begin and how far
// their rows are apart.
TEST_F(ReadBack, StoresRowsByThePackParameters) {
  struct Case {
    GLint alignment, rowLength, skipRows, skipPixels;
    size_t first, pitch;
  };
  const Case cases[] = {
      {4, 0, 0, 0, 0, 3}, {8, 0, 0, 0, 0, 4}, {1, 0, 0, 0, 0, 3}, {4, 7, 0, 0, 0, 7},
      {4, 0, 2, 0, 6, 3}, {4, 0, 0, 5, 5, 3}, {8, 5, 1, 2, 8, 6},
  };
  Open(Show("50x40+0+0")[0]);
  for (const Case& each : cases) {
    glPixelStorei(GL_PACK_ALIGNMENT, each.alignment);
    glPixelStorei(GL_PACK_ROW_LENGTH, each.rowLength);
    glPixelStorei(GL_PACK_SKIP_ROWS, each.skipRows);
    glPixelStorei(GL_PACK_SKIP_PIXELS, each.skipPixels);
    std::vector<uint32_t> expected(40, kUntouched);
    for (size_t i = 0; i < 6; ++i) {
      expected[each.first + i / 3 * each.pitch + i % 3] =
          CardPixel(10 + static_cast<GLint>(i % 3), 20 + static_cast<GLint>(i / 3));
    }
    EXPECT_EQ(Read(40, 10, 20, 3, 2), expected) << each.first << ", " << each.pitch;
  }
}

TEST_F(ReadBack, LeavesWhatLiesOutsideTheDisplayUntouched) {
  constexpr GLint kLeft = -2;
  constexpr GLint kBottom = -3;
  constexpr GLsizei kAskedWidth = kWidth + 5;
  constexpr GLsizei kAskedHeight = kHeight + 7;
  Open(Show("50x40+0+0")[0]);
  const auto buffer =
      Read(size_t{kAskedWidth} * kAskedHeight, kLeft, kBottom, kAskedWidth, kAskedHeight);
  for (GLint i = 0; i < kAskedWidth * kAskedHeight; ++i) {
    const GLint x = kLeft + i % kAskedWidth;
    const GLint y = kBottom + i / kAskedWidth;
    const bool isInside = x >= 0 && x < kWidth && y >= 0 && y < kHeight;
    const uint32_t expected = isInside ? CardPixel(x, y) : kUntouched;
    ASSERT_EQ(buffer[static_cast<size_t>(i)], expected) << x << ", " << y;
  }
}

TEST_F(ReadBack, ReadsNothingFromRectanglesThatMissTheDisplayOrHaveNoSize) {
  constexpr GLint kMax = 0x7FFFFFFF;
  const GLint cases[][4] = {{kWidth, 0, 4, 4}, {-4, 0, 4, 4}, {0, kHeight, 4, 4}, {0, -4, 4, 4},
                            {0, 0, 0, 4},      {0, 0, 4, -1}, {kMax, 0, kMax, 4}, {0, -kMax, 4, 1}};
  Open(Show("50x40+0+0")[0]);
  for (const auto& each : cases) {
    EXPECT_EQ(Read(16, each[0], each[1], each[2], each[3]), std::vector<uint32_t>(16, kUntouched))
        << each[0] << ", " << each[1];
  }
}

TEST_F(ReadBack, HasTheDisplaysPixelSizeAsItsViewport) {
  Open(Show("64x64+0+0,50x40+64+0*2")[1]);
  GLint viewport[] = {9, 9, 9, 9};
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(std::vector<GLint>(viewport, viewport + 4), (std::vector<GLint>{0, 0, 100, 80}));
}

TEST_F(ReadBack, DoesNothingWithoutACurrentContext) {
  Open(Show("50x40+0+0")[0]);
  CGLDestroyContext(context_);
  context_ = nullptr;
  GLint viewport[] = {9, 9, 9, 9};
  glGetIntegerv(GL_VIEWPORT, viewport);
  glPixelStorei(GL_PACK_ALIGNMENT, 8);
  glReadBuffer(GL_FRONT);
  glFinish();
  EXPECT_EQ(viewport[2], 9);
  EXPECT_EQ(Read(1, 0, 0, 1, 1)[0], kUntouched);
}

TEST_F(ReadBack, HasACurrentContextForEachThread) {
  Open(Show("50x40+0+0")[0]);
  std::thread([] { EXPECT_EQ(Read(1, 0, 0, 1, 1)[0], kUntouched); }).join();
  EXPECT_NE(Read(1, 0, 0, 1, 1)[0], kUntouched);
}

TEST_F(ReadBack, ReadsNothingFromADisplayThatIsGone) {
  const auto displays = Show("64x64+0+0,50x40+64+0");
  Open(displays[1]);
  Show("64x64+0+0");
  EXPECT_EQ(Read(1, 0, 0, 1, 1)[0], kUntouched);
  EXPECT_EQ(CGLSetFullScreen(context_), kCGLBadDisplay);
}

TEST_F(ReadBack, IsRefusedWithoutFullScreenADisplayOrAKnownAttribute) {
  const auto mask = CGDisplayIDToOpenGLDisplayMask(Show("50x40+0+0")[0]);
  const std::vector<CGLPixelFormatAttribute> cases[] = {
      {},
      {kCGLPFADisplayMask, mask},
      {kCGLPFAFullScreen},
      {kCGLPFAFullScreen, kCGLPFADisplayMask, 0},
      {kCGLPFAFullScreen, kCGLPFADisplayMask, mask << 1},
      {kCGLPFAFullScreen, kCGLPFADisplayMask, mask, 9999},
  };
  for (const auto& attributes : cases) {
    CGLPixelFormatObj pixelFormat = nullptr;
    EXPECT_NE(Choose(attributes, &pixelFormat), kCGLNoError) << attributes.size();
    EXPECT_EQ(pixelFormat, nullptr);
  }
}

TEST_F(ReadBack, IsRefusedForADisplayThatIsGone) {
  const auto displays = Show("64x64+0+0,50x40+64+0");
  const auto mask = CGDisplayIDToOpenGLDisplayMask(displays[1]);
  Show("64x64+0+0");
  CGLPixelFormatObj pixelFormat = nullptr;
  EXPECT_EQ(Choose({kCGLPFAFullScreen, kCGLPFADisplayMask, mask}, &pixelFormat), kCGLBadDisplay);
}

TEST_F(ReadBack, IsRefusedOnSystemsBeforeItCame) {
  const auto mask = CGDisplayIDToOpenGLDisplayMask(Show("50x40+0+0")[0]);
  for (const bool isThere : {false, true}) {
    setenv("QRV_SYSTEM_VERSION", isThere ? "10.5" : "10.4", 1);
    CGLPixelFormatObj pixelFormat = nullptr;
    const CGLError error = Choose({kCGLPFAFullScreen, kCGLPFADisplayMask, mask}, &pixelFormat);
    EXPECT_EQ(error == kCGLNoError, isThere);
    CGLDestroyPixelFormat(pixelFormat);
  }
}

}  // namespace
