// A desktop under test, with its displays as last listed.
#ifndef TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_
#define TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_

#include <gtest/gtest.h>

#include <cstring>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

struct TestedDesktop {
  size_t List() {
    if (!desktop->ListDisplays(displays)) displays.clear();
    return displays.size();
  }
  Frame Capture(const PixelRect& part, size_t index = 0) {
    return desktop->Capture(displays.at(index), part, isGone);
  }
  PixelRect Whole(size_t index = 0) const {
    return {0, 0, displays.at(index).pixelWidth, displays.at(index).pixelHeight};
  }
  // How many pixels of a frame are of another colour than `colorAt(x, y)`, 0xRRGGBB; -1 without
  // one.
  template <typename Color>
  static int CountOther(const Frame& frame, Color colorAt) {
    if (!frame) return -1;
    int others = 0;
    for (int32_t y = 0; y < frame.height; ++y) {
      for (int32_t x = 0; x < frame.width; ++x) {
        uint32_t pixel = 0;
        std::memcpy(&pixel, frame.pixels + static_cast<size_t>(y) * frame.rowBytes + x * 4, 3);
        if (pixel != colorAt(x, y)) ++others;
      }
    }
    return others;
  }

  std::unique_ptr<Desktop> desktop;
  std::vector<Display> displays;
  bool isGone = false;
};

}  // namespace qrv::desktop

#endif  // TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_
