// CopyBits pixel by pixel, from its definition.
#ifndef TESTS_UNIT_PLATFORM_QUICKDRAW_COPY_MODEL_H_
#define TESTS_UNIT_PLATFORM_QUICKDRAW_COPY_MODEL_H_

#include <functional>
#include <optional>
#include <random>
#include <vector>

#include "tests/unit/platform/quickdraw/worlds.h"

struct Color {
  int alpha;
  int red;
  int green;
  int blue;
};

// The colour that a source shows at a place counted in 1 / `parts` units from coordinate 0 of
// either axis, or nothing outside the source.
using ColorAt =
    std::function<std::optional<Color>(int64_t x, int64_t y, int64_t xParts, int64_t yParts)>;

int64_t FloorDivide(int64_t value, int64_t divisor);

Color Decode(const std::vector<uint8_t>& pixel);
std::vector<uint8_t> Encode(const Color& color, size_t pixelBytes);

// A source that is a world with the pixels it has now.
ColorAt ColorsOf(const World& world);

// The bytes of `target` after a copy.
std::vector<uint8_t> ModelCopy(const ColorAt& source, const World& target, const Rect& from,
                               const Rect& to);

// Random bounds, rectangles and pixels, the same in every run.
class Chance {
 public:
  explicit Chance(uint32_t seed) : engine_(seed) {}
  int Between(int low, int high) {
    return low + static_cast<int>(engine_() % static_cast<uint32_t>(high - low + 1));
  }
  short Depth() { return static_cast<short>(8 * Between(1, 4)); }
  // Not empty, around (0, 0).
  Rect Bounds(int largest);
  // Mostly near `bounds`; sometimes empty, inverted, or reaching far out.
  Rect RectNear(const Rect& bounds);
  // Fills the world, padding included, with colours; unused bits of 16-bit pixels stay 0.
  void Scribble(const World& world);

 private:
  short Edge(int low, int high);
  std::mt19937 engine_;
};

#endif  // TESTS_UNIT_PLATFORM_QUICKDRAW_COPY_MODEL_H_
