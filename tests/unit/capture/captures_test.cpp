// Displays, systems and answers that the sweep doesn't have, and the limits of rectangles.

#include "plugin/capture/methods.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

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
             Expected({10000, 10000, runtime::Host::Width(picture), runtime::Host::Height(picture)},
                      pixel, 0));
  }

  void ExpectShowsRect(Strategy strategy, const Box& request, const Box& part) {
    UseSystem(strategy);
    ExpectShows(ScreenshotRectQRV(request.left, request.top, request.width, request.height),
                strategy, part);
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
    ExpectShows(ScreenshotRectQRV(1, 2, 3, 4), strategy, {1, 2, 3, 4});
  };
  for (const char* version : {"10.7", "10.8", "11.7"}) expect(version, kDisplayImage);
  for (const char* version : {"10.6", "11.0"}) expect(version, kOpenGL);
  for (const char* version : {"9.9", "10.4"}) expect(version, kQuickDraw);
  // A number that comes with an error.
  for (const bool isMinor : {false, true}) {
    seam::Gestalt.answer = [isMinor](OSType selector, SInt32* response) {
      *response = 10;
      const bool isKnown = (selector == gestaltSystemVersionMinor) != isMinor;
      return static_cast<OSErr>(isKnown ? noErr : gestaltUndefSelectorErr);
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
  ExpectShowsRect(kDisplayImage, {-2, -8, 71, 57}, {-2, -8, 71, 57});
  EXPECT_EQ(layer.CallsOf("CGDisplayBounds"), 32);
}

TEST_F(Captures, ReadDisplaysBackOfThreeSamplesOfEightBitsOnly) {
  // Of the second display; 0: the mode doesn't state it.
  int bits = 0, samples = 0;
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
  const Box whole = {-2, -8, 71, 57};
  UseSystem(kOpenGL);
  for (const auto& [itsBits, itsSamples] :
       Sizes{{8, 3}, {10, 3}, {16, 4}, {5, 3}, {7, 3}, {8, 2}, {0, 3}, {8, 0}}) {
    bits = itsBits;
    samples = itsSamples;
    ExpectShows(ScreenshotRectQRV(whole.left, whole.top, whole.width, whole.height),
                bits >= 8 && samples >= 3 ? kOpenGL : kQuickDraw, whole);
  }
}

TEST_F(Captures, CallNothingForAnEmptyRectangle) {
  for (const auto& [width, height] : Sizes{{0, 5}, {5, 0}, {-1, 5}, {5, INT32_MIN}}) {
    EXPECT_EQ(ScreenshotRectQRV(1, 1, width, height), nullptr);
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
  seam::CGDisplayBounds.answer = [](CGDirectDisplayID) {
    return CGRect{{INT32_MAX - 5.0, 1}, {10, 3}};
  };
  ExpectAll(ScreenshotRectQRV(INT32_MIN, 0, 10, 5), Bytes(4, kPoison));
  seam::CGDisplayBounds.answer = [](CGDirectDisplayID) {
    return CGRect{{1, INT32_MAX - 5.0}, {3, 10}};
  };
  ExpectAll(ScreenshotRectQRV(0, INT32_MIN, 5, 10), Bytes(4, kPoison));
  // One that is as high as can be, of which nothing lies there, is black.
  seam::CGDisplayBounds.answer = [](CGDirectDisplayID) { return CGRect{{0, 0}, {3e9, 3e9}}; };
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

TEST_F(Captures, LeaveThePortWhereNoneWasCurrent) {
  seam::GetPort.answer = [](GrafPtr* port) { *port = nullptr; };
  ExpectShows(ScreenshotRectDestQRV(1, 2, 8, 8, 8, 8), kQuickDraw, {1, 2, 8, 8});
  EXPECT_EQ(layer.CallsOf("SetPort"), 0);
}

TEST_F(Captures, WrapAtSixteenBitsByQuickDrawOnly) {
  for (const int32_t offset : {65536, -65536}) {
    ExpectShowsRect(kQuickDraw, {offset, 0, 70, 20}, {0, 0, 70, 20});
    ExpectShowsRect(kQuickDraw, {0, offset, 70, 20}, {0, 0, 70, 20});
    UseSystem(kDisplayImage);
    ExpectAll(ScreenshotRectQRV(offset, 0, 70, 20), Stored(0));
    UseSystem(kOpenGL);
    ExpectAll(ScreenshotRectQRV(0, offset, 70, 20), Bytes(4, kPoison));
    ExpectShows(ScreenshotRectDestQRV(offset, 0, 70, 20, 70, 20), kQuickDraw, {0, 0, 70, 20});
  }
  // Its right edge wraps, so that it seems to meet every display, beyond what that shows.
  ExpectAll(ScreenshotRectQRV(INT32_MAX - 9, 1, 20, 5), Stored(0));
}

TEST_F(Captures, MapSharesToNothingWhereTheyAreEmpty) {
  // One column of the first display at the left edge of three scaled to two.
  ExpectShows(ScreenshotRectDestQRV(39, 2, 3, 1, 2, 1), kQuickDraw, {40, 2, 2, 1});
  for (const bool isSaidToMeet : {false, true}) {
    if (isSaidToMeet) seam::SectRect.answer = [](const Rect*, const Rect*, Rect*) { return 1; };
    for (const auto& [width, height] : Sizes{{0, 5}, {5, 0}, {-5, 5}, {5, -32768}}) {
      ExpectAll(ScreenshotRectDestQRV(1, 1, width, height, 4, 4), Stored(0, 0));
    }
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
