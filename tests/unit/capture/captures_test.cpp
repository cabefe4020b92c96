// Displays, systems and answers that the sweep doesn't have, and the limits of rectangles.

#include "plugin/capture/methods.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

using runtime::Host;
using Sizes = std::vector<std::pair<int32_t, int32_t>>;

class Captures : public PluginTest {
 protected:
  void SetUp() override {
    UseDesktop({{0, 0, 40, 30}, {40, -5, 25, 50}});
    BindQuickDraw();
  }

  // A picture of one colour, or as the host has made it. Releases it.
  void ExpectAll(REALpictureStruct* picture, const Bytes& pixel) {
    ASSERT_NE(picture, nullptr);
    ExpectIs(picture,
             Expected({10000, 10000, Host::Width(picture), Host::Height(picture)}, pixel, 0));
  }

  void ExpectRect(Strategy strategy, const Box& r) {
    ExpectShows(ScreenshotRectQRV(r.left, r.top, r.width, r.height), strategy, r);
  }
};

TEST_F(Captures, AskForTheMainDisplayWhereverItIsInTheList) {
  seam::CGMainDisplayID.answer = [] { return ::CGMainDisplayID() + 1; };
  seam::GetMainDevice.answer = [] { return seam::GetNextDevice.real(seam::GetDeviceList.real()); };
  for (const Strategy strategy : {kDisplayImage, kOpenGL, kQuickDraw}) {
    UseSystem(strategy);
    ExpectShows(ScreenshotQRV(), strategy, displays[1]);
    ExpectShows(ScreenshotDisplayQRV(0), strategy, displays[0]);
    int32_t width = 0, height = 0, rowBytes = 0;
    host->Release(ScreenshotStringQRV(width, height, rowBytes));
    EXPECT_EQ(width, strategy == kQuickDraw ? 0 : 25);
    TakeStrategies();
  }
}

TEST_F(Captures, TestBothNumbersOfTheSystemVersion) {
  const auto expect = [this](const std::string& version, Strategy strategy) {
    UseSystem(version);
    ExpectShows(ScreenshotQRV(), strategy, displays[0]);
    ExpectRect(strategy, {1, 2, 3, 4});
  };
  for (const char* version : {"10.7", "10.8", "11.7"}) expect(version, kDisplayImage);
  for (const char* version : {"10.6", "11.0"}) expect(version, kOpenGL);
  for (const char* version : {"9.9", "10.4"}) expect(version, kQuickDraw);
  // A number that comes with an error.
  for (const OSType unknown :
       {OSType{gestaltSystemVersionMajor}, OSType{gestaltSystemVersionMinor}}) {
    seam::Gestalt.answer = [unknown](OSType selector, SInt32* response) {
      *response = 10;
      return static_cast<OSErr>(selector == unknown ? gestaltUndefSelectorErr : noErr);
    };
    expect("10.6", kOpenGL);
  }
}

TEST_F(Captures, EndWithADisplayImageThatCannotBeConverted) {
  UseSystem(kDisplayImage);
  layer.refused = {"newPicture"};
  EXPECT_EQ(ScreenshotQRV(), nullptr);
  EXPECT_EQ(ScreenshotRectQRV(0, 0, 8, 8), nullptr);
  EXPECT_EQ(TakeStrategies(), kDisplayImage);
}

TEST_F(Captures, AskForDisplayZeroWhenNoDisplayHasTheIndex) {
  UseSystem(kDisplayImage);
  seam::CGDisplayCreateImage.answer = [](CGDirectDisplayID id) {
    EXPECT_EQ(id, 0U);
    return ::CGDisplayCreateImage(id);
  };
  for (const int32_t index : {2, 31, 32, INT32_MAX}) {
    EXPECT_EQ(ScreenshotDisplayQRV(index), nullptr) << index;
  }
  // QuickDraw counts its own devices, and begins with the first one.
  ExpectShows(ScreenshotDisplayQRV(-1), kQuickDraw, displays[0]);
  EXPECT_EQ(layer.CallsOf("CGGetActiveDisplayList"), 2) << "for what no list has it isn't asked";
}

// The rest of a list of more is other people's memory.
TEST_F(Captures, TakeThirtyTwoDisplaysOfMore) {
  seam::CGGetActiveDisplayList.answer = [](uint32_t most, CGDirectDisplayID* ids, uint32_t* count) {
    const CGError error = ::CGGetActiveDisplayList(most, ids, count);
    for (uint32_t i = *count; i < most; ++i) ids[i] = 0;
    *count = most + 8;
    return error;
  };
  UseSystem(kDisplayImage);
  ExpectRect(kDisplayImage, {-2, -8, 71, 57});
  EXPECT_EQ(layer.CallsOf("CGDisplayBounds"), 32);
}

TEST_F(Captures, ReadDisplaysBackOfThreeSamplesOfEightBitsOnly) {
  int bits = 0, samples = 0;  // of the second display; 0: the mode doesn't state it
  bool isSecond = false;
  seam::CGDisplayCurrentMode.answer = [&](CGDirectDisplayID id) {
    isSecond = id != ::CGMainDisplayID();
    return ::CGDisplayCurrentMode(id);
  };
  seam::CFNumberGetValue.answer = [&](CFNumberRef number, CFNumberType type, void* value) {
    const bool isRead = ::CFNumberGetValue(number, type, value);
    auto* stated = static_cast<int32_t*>(value);
    if (isSecond) *stated = *stated == 8 ? bits : samples;
    return static_cast<Boolean>(isRead && *stated != 0);
  };
  UseSystem(kOpenGL);
  for (const auto& each : Sizes{{8, 3}, {10, 3}, {16, 4}, {7, 3}, {8, 2}, {0, 3}, {8, 0}}) {
    std::tie(bits, samples) = each;
    ExpectRect(bits >= 8 && samples >= 3 ? kOpenGL : kQuickDraw, {-2, -8, 71, 57});
  }
}

// Any numbers on any displays: exactly what the displays show; where edges wrap or there are too
// many pixels, nil or a picture of the size.
TEST_F(Captures, TakeAnyRectangle) {
  constexpr size_t kMany = 1 << 20;
  seam::CGBitmapContextCreate.answer = [](void* data, size_t width, size_t height, auto... rest) {
    if (width > kMany / height) return CGContextRef{};
    return seam::CGBitmapContextCreate.habit(data, width, height, rest...);
  };
  for (int i = 0; i < 200; ++i) {
    std::vector<Box> boxes = {{0, 0, Pick(1, 200), Pick(1, 150)}};
    for (int more = Pick(0, 3); more > 0; --more) {
      const Box& last = boxes.back();
      boxes.push_back({last.left + last.width, Pick(-99, 99), Pick(1, 200), Pick(1, 150)});
    }
    UseDesktop(boxes);
    Use(static_cast<ApplicationKind>(Pick(0, 2)));
    const bool isScaled = i % 4 == 3;
    const Strategy strategy = isScaled ? kQuickDraw : static_cast<Strategy>(1 << i % 4);
    UseSystem(strategy);
    const int32_t left = PickAny(-300, 600), top = PickAny(-300, 300);
    int32_t width = PickAny(1, 400), height = PickAny(1, 300);
    if (int64_t{width} * height > int{kMany}) (Pick(0, 1) == 0 ? width : height) = Pick(1, 8);
    SCOPED_TRACE(::testing::Message() << getenv("QRV_DESKTOP") << " " << strategy << " " << left
                                      << " " << top << " " << width << " " << height);
    REALpictureStruct* picture =
        isScaled ? ScreenshotRectDestQRV(left, top, width, height, width, height)
                 : ScreenshotRectQRV(left, top, width, height);
    const bool isShort = strategy == kQuickDraw;  // which takes the low 16 bits of all edges
    const Box part = {isShort ? static_cast<int16_t>(left) : left,
                      isShort ? static_cast<int16_t>(top) : top, width, height};
    // Scaled, the products of what was asked for are to fit 32 bits.
    const auto isPlain = [=](int64_t asked, int64_t at, int64_t size) {
      if (isScaled && (std::abs(asked) + INT16_MAX + 1) * size > INT32_MAX) return false;
      return size > 0 && size <= INT16_MAX && at + size <= (isShort ? INT16_MAX : INT32_MAX);
    };
    if (isPlain(left, part.left, width) && isPlain(top, part.top, height)) {
      ASSERT_NO_FATAL_FAILURE(ExpectIs(picture, Expected(strategy, part)));
    } else if (picture != nullptr) {
      EXPECT_EQ(Host::Width(picture), static_cast<int16_t>(width));
      EXPECT_EQ(Host::Height(picture), static_cast<int16_t>(height));
      host->Release(picture);
    }
    ASSERT_EQ(Problems(), "");
  }
}

TEST_F(Captures, CallNothingForAnEmptyRectangle) {
  for (const int32_t empty : {0, -1, INT32_MIN}) {
    EXPECT_EQ(ScreenshotRectQRV(1, 1, empty, 5), nullptr);
    EXPECT_EQ(ScreenshotRectQRV(1, 1, 5, empty), nullptr);
  }
  EXPECT_THAT(layer.calls, IsEmpty());
}

// A display image that is larger than its units is drawn at its own size, from the top-left corner.
TEST_F(Captures, DrawImagesThatAreLargerThanTheirUnitsAtTheirSize) {
  seam::CGDisplayCreateImageForRect.answer = [](CGDirectDisplayID id, CGRect) {
    return seam::CGDisplayCreateImageForRect.real(id, {{10, 8}, {16, 12}});
  };
  UseSystem(kDisplayImage);
  ExpectIs(ScreenshotRectQRV(5, 4, 8, 6), Expected(kDisplayImage, {10, 8, 8, 6}));
}

// A mode of another size than the display's bounds, in whose middle the viewport lies.
TEST_F(Captures, ReadWhatTheViewportMeasuresBackFromTheBottomLeftCorner) {
  seam::glGetIntegerv.answer = [](GLenum, GLint* values) {
    for (const int value : {3, 2, 7, 5}) *values++ = value;
  };
  UseSystem(kOpenGL);
  ExpectShows(ScreenshotQRV(), kOpenGL, {0, 25, 7, 5});
}

// The display's right and bottom edges wrap, so that it seems to begin left of or above the
// rectangle.
TEST_F(Captures, TakeDisplaysBeyondTheLimitsOfTheirNumbers) {
  UseSystem(kOpenGL);
  // Its right edge wraps, so that it seems to meet every display, beyond what that shows.
  ExpectAll(ScreenshotRectQRV(INT32_MAX - 9, 1, 20, 5), Stored(0));
  constexpr auto kFar = static_cast<CGFloat>(INT32_MAX - 5.0);
  CGRect bounds = {{kFar, 1}, {10, 3}};
  seam::CGDisplayBounds.answer = [&bounds](CGDirectDisplayID) { return bounds; };
  ExpectAll(ScreenshotRectQRV(INT32_MIN, 0, 10, 5), Bytes(4, kPoison));
  bounds = {{1, kFar}, {3, 10}};
  ExpectAll(ScreenshotRectQRV(0, INT32_MIN, 5, 10), Bytes(4, kPoison));
  // One that is as high as can be, of which nothing lies there, is black.
  bounds = {{0, 0}, {3e9, 3e9}};
  ExpectAll(ScreenshotRectQRV(0, 0, 5, 5), Stored(0));
}

TEST_F(Captures, TakeNoWorldThatQuickDrawHasNotMade) {
  // Of a depth that is not converted.
  setenv("QRV_DESKTOP", "virtual:40x30+0+0@16", 1);
  EXPECT_EQ(ScreenshotQRV(), nullptr);
  EXPECT_EQ(layer.CallsOf("NewGWorld"), 1);
  // One that comes with an error.
  seam::NewGWorld.answer = [](GWorldPtr* world, short, const Rect*, CTabHandle, GDHandle, auto) {
    seam::GetPort.real(world);
    return QDErr{memFullErr};
  };
  EXPECT_EQ(ScreenshotRectDestQRV(0, 0, 8, 8, 8, 8), nullptr);
  EXPECT_EQ(layer.CallsOf("SetGWorld") + layer.CallsOf("GetGWorldPixMap"), 1);
}

TEST_F(Captures, ConvertWorldsOfTwentyFourBits) {
  seam::NewGWorld.answer = [](GWorldPtr* world, short, auto... rest) {
    return seam::NewGWorld.habit(world, 24, rest...);
  };
  UseSystem(kQuickDraw);
  ExpectIs(ScreenshotRectQRV(-2, -8, 71, 57), Expected({-2, -8, 71, 57}, Stored(0), -1));
}

TEST_F(Captures, LeaveThePortWhereNoneWasCurrent) {
  seam::GetPort.answer = [](GrafPtr* port) { *port = nullptr; };
  ExpectShows(ScreenshotRectDestQRV(1, 2, 8, 8, 8, 8), kQuickDraw, {1, 2, 8, 8});
  EXPECT_EQ(layer.CallsOf("SetPort"), 0);
}

TEST_F(Captures, MapSharesToNothingWhereTheyAreEmpty) {
  // One column of the first display at the left edge of three scaled to two.
  ExpectShows(ScreenshotRectDestQRV(39, 2, 3, 1, 2, 1), kQuickDraw, {40, 2, 2, 1});
  for (const auto& [width, height] : Sizes{{0, 5}, {5, 0}, {-5, 5}, {5, -32768}}) {
    ExpectAll(ScreenshotRectDestQRV(1, 1, width, height, 4, 4), Stored(0, 0));
    seam::SectRect.answer = [](const Rect*, const Rect*, Rect*) { return 1; };
    ExpectAll(ScreenshotRectDestQRV(1, 1, width, height, 4, 4), Stored(0, 0));
    seam::SectRect.answer = nullptr;
  }
  for (const auto& [width, height] : Sizes{{-1, 1}, {0, 1}, {1, 32768}, {INT32_MAX, 1}}) {
    EXPECT_EQ(ScreenshotRectDestQRV(1, 1, 5, 5, width, height), nullptr);
  }
}

// -2^31 / -1 fits no number.
TEST_F(Captures, MapAnEdgeThatHasNoQuotient) {
  UseDesktop({{1, 0, 40, 30}, {-32767, 0, 20, 10}});  // relative to the main display
  ExpectAll(ScreenshotRectDestQRV(-163840, 0, -1, 1, 16384, 1), Stored(0, 0));
}

}  // namespace
}  // namespace qrv::passthrough
