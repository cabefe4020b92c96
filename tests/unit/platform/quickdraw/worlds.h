// Worlds and screens as the tests handle them.
#ifndef TESTS_UNIT_PLATFORM_QUICKDRAW_WORLDS_H_
#define TESTS_UNIT_PLATFORM_QUICKDRAW_WORLDS_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/quickdraw/quickdraw.h"

class World {
 public:
  World(short depth, const Rect& bounds) : bounds_(bounds), depth_(depth) {
    EXPECT_EQ(NewGWorld(&port_, depth, &bounds, nullptr, nullptr, 0), 0);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() { DisposeGWorld(port_); }

  GWorldPtr port() const { return port_; }
  const Rect& bounds() const { return bounds_; }
  const BitMap* bitMap() const { return GetPortBitMapForCopyBits(port_); }

  size_t pixelBytes() const { return static_cast<size_t>(depth_) / 8; }
  size_t rowBytes() const { return static_cast<size_t>(GetPixRowBytes(GetGWorldPixMap(port_))); }
  // The address of the pixel at (x, y) in the world's coordinates.
  uint8_t* At(int x, int y) const {
    return reinterpret_cast<uint8_t*>(GetPixBaseAddr(GetGWorldPixMap(port_))) +
           static_cast<size_t>(y - bounds_.top) * rowBytes() +
           static_cast<size_t>(x - bounds_.left) * pixelBytes();
  }
  std::vector<uint8_t> Pixel(int x, int y) const { return {At(x, y), At(x, y) + pixelBytes()}; }
  // All of the memory, padding included.
  size_t byteCount() const {
    return rowBytes() * static_cast<size_t>(bounds_.bottom - bounds_.top);
  }
  std::vector<uint8_t> Bytes() const {
    const uint8_t* first = At(bounds_.left, bounds_.top);
    return {first, first + byteCount()};
  }

 private:
  GWorldPtr port_ = nullptr;
  Rect bounds_;
  short depth_;
};

inline void ShowDesktop(const std::string& layout) {
  setenv("QRV_DESKTOP", ("virtual:" + layout).c_str(), 1);
}

inline const Rect& BoundsOf(GDHandle device) { return (*(*device)->gdPMap)->bounds; }

inline const BitMap* BitMapOf(GDHandle device) {
  return reinterpret_cast<const BitMap*>(*(*device)->gdPMap);
}

inline bool operator==(const Rect& first, const Rect& second) {
  return first.top == second.top && first.left == second.left && first.bottom == second.bottom &&
         first.right == second.right;
}

inline void PrintTo(const Rect& rect, std::ostream* out) {
  *out << "{" << rect.top << ", " << rect.left << ", " << rect.bottom << ", " << rect.right << "}";
}

#endif  // TESTS_UNIT_PLATFORM_QUICKDRAW_WORLDS_H_
