// A recording set of frameworks over the stage's displays. QuickDraw's functions are found through
// the fake bundle, as on a real system.
#ifndef TESTS_FAKES_FAKE_FRAMEWORKS_H_
#define TESTS_FAKES_FAKE_FRAMEWORKS_H_

#include <ApplicationServices/ApplicationServices.h>

#include <cstdint>
#include <string>
#include <vector>

struct CGColorSpace {
  CGColorSpaceModel model = kCGColorSpaceModelRGB;
};

// Pixels of 4 bytes in memory: red, green, blue, alpha; colours multiplied by alpha.
struct CGImage {
  size_t width = 0;
  size_t height = 0;
  CGImageAlphaInfo alphaInfo = kCGImageAlphaNoneSkipFirst;
  CGColorSpaceRef space = nullptr;
  std::vector<uint8_t> rgba;
};

struct CGContext {
  uint8_t* data = nullptr;
  size_t width = 0;
  size_t height = 0;
  size_t rowBytes = 0;
  size_t bitsPerPixel = 32;
  CGImageAlphaInfo alphaInfo = 0;
  std::vector<uint8_t> memory;  // when it has its own
};

struct OpaqueGrafPtr {
  Rect bounds = {};
  short depth = 32;
  long rowBytes = 0;
  std::vector<uint8_t> memory;
  PixMap pixMap = {};
  PixMap* pixMapPointer = nullptr;
  bool locked = false;
};

namespace qrv::fakes {

// The device RGB space; its model is the test's to change.
CGColorSpaceRef DeviceSpace();

// An image for the conversions; freed by the test. All pixels are (red, green, blue, alpha).
CGImage* MakeImage(size_t width, size_t height, CGImageAlphaInfo alphaInfo,
                   CGColorSpaceRef space = DeviceSpace());

// A world as NewGWorld would make it, recorded as held. `rowBytes` of 0 means no gaps.
GWorldPtr MakeWorld(int width, int height, short depth, long rowBytes = 0);

// The current port.
GrafPtr CurrentPort();
void SetCurrentPort(GrafPtr port);

}  // namespace qrv::fakes

#endif  // TESTS_FAKES_FAKE_FRAMEWORKS_H_
