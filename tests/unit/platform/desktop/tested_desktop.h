// A desktop under test, with its displays as last listed.
#ifndef TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_
#define TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

struct TestedDesktop {
  static constexpr std::chrono::seconds kTimeout{2};

  // How many displays there are; 0 when there is an error.
  size_t List() {
    displays.clear();
    Try([this] { displays = desktop->ListDisplays(Clock::now() + kTimeout); });
    return displays.size();
  }
  // Empty when there is an error.
  Frame Capture(const PixelRect& region, size_t index = 0, Pointer pointer = Pointer::kHidden) {
    Frame frame;
    Try([&] {
      frame = desktop->Capture(displays.at(index), region, pointer, Clock::now() + kTimeout);
    });
    return frame;
  }
  PixelRect Whole(size_t index = 0) const { return AllPixels(displays.at(index)); }
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
  std::vector<Display> displays = {};
  Reason reason = Reason::kNone;  // of the last call's error
  std::string problem = {};       // its message

 private:
  template <typename Call>
  void Try(Call call) {
    reason = Reason::kNone;
    problem.clear();
    try {
      call();
    } catch (const Error& error) {
      reason = error.reason();
      problem = error.what();
    }
  }
};

}  // namespace qrv::desktop

#endif  // TESTS_UNIT_PLATFORM_DESKTOP_TESTED_DESKTOP_H_
