#include "tests/unit/platform/quickdraw/copy_model.h"

int64_t FloorDivide(int64_t value, int64_t divisor) {
  const int64_t quotient = value / divisor;
  return value % divisor < 0 ? quotient - 1 : quotient;
}

Color Decode(const std::vector<uint8_t>& pixel) {
  const auto widen = [](int sample) { return (sample % 32 * 255 * 2 + 31) / 62; };
  switch (pixel.size()) {
    case 1:
      return {0, pixel[0], pixel[0], pixel[0]};
    case 2: {
      const int word = pixel[0] * 256 + pixel[1];
      return {0, widen(word / 1024), widen(word / 32), widen(word)};
    }
    case 3:
      return {0, pixel[0], pixel[1], pixel[2]};
    default:
      return {pixel[0], pixel[1], pixel[2], pixel[3]};
  }
}

std::vector<uint8_t> Encode(const Color& color, size_t pixelBytes) {
  const auto byte = [](int value) { return static_cast<uint8_t>(value % 256); };
  const int word = color.red / 8 * 1024 + color.green / 8 * 32 + color.blue / 8;
  switch (pixelBytes) {
    case 1:
      return {byte((77 * color.red + 150 * color.green + 29 * color.blue + 128) / 256)};
    case 2:
      return {byte(word / 256), byte(word)};
    case 3:
      return {byte(color.red), byte(color.green), byte(color.blue)};
    default:
      return {byte(color.alpha), byte(color.red), byte(color.green), byte(color.blue)};
  }
}

ColorAt ColorsOf(const World& world) {
  const Rect bounds = world.bounds();
  const size_t rowBytes = world.rowBytes();
  const size_t pixelBytes = world.pixelBytes();
  return [=, bytes = world.Bytes()](int64_t x, int64_t y, int64_t xParts,
                                    int64_t yParts) -> std::optional<Color> {
    const int64_t column = FloorDivide(x, xParts);
    const int64_t row = FloorDivide(y, yParts);
    if (column < bounds.left || column >= bounds.right || row < bounds.top ||
        row >= bounds.bottom) {
      return std::nullopt;
    }
    const auto pixel = bytes.begin() + static_cast<std::ptrdiff_t>(
                                           static_cast<size_t>(row - bounds.top) * rowBytes +
                                           static_cast<size_t>(column - bounds.left) * pixelBytes);
    return Decode({pixel, pixel + static_cast<std::ptrdiff_t>(pixelBytes)});
  };
}

std::vector<uint8_t> ModelCopy(const ColorAt& source, const World& target, const Rect& from,
                               const Rect& to) {
  std::vector<uint8_t> result = target.Bytes();
  const Rect& bounds = target.bounds();
  const int64_t fromWidth = from.right - from.left;
  const int64_t fromHeight = from.bottom - from.top;
  const int64_t toWidth = to.right - to.left;
  const int64_t toHeight = to.bottom - to.top;
  if (fromWidth <= 0 || fromHeight <= 0) return result;
  for (int y = bounds.top; y < bounds.bottom; ++y) {
    for (int x = bounds.left; x < bounds.right; ++x) {
      if (x < to.left || x >= to.right || y < to.top || y >= to.bottom) continue;
      const std::optional<Color> color =
          source(from.left * toWidth + (x - to.left) * fromWidth,
                 from.top * toHeight + (y - to.top) * fromHeight, toWidth, toHeight);
      if (!color) continue;
      const std::vector<uint8_t> pixel = Encode(*color, target.pixelBytes());
      std::copy(pixel.begin(), pixel.end(),
                result.begin() + (target.At(x, y) - target.At(bounds.left, bounds.top)));
    }
  }
  return result;
}

Rect Chance::Bounds(int largest) {
  const int left = Between(-60, 40);
  const int top = Between(-60, 40);
  return {static_cast<short>(top), static_cast<short>(left),
          static_cast<short>(top + Between(1, largest)),
          static_cast<short>(left + Between(1, largest))};
}

short Chance::Edge(int low, int high) {
  if (Between(0, 15) == 0) return static_cast<short>(Between(-32768, 32767));
  return static_cast<short>(Between(low - 10, high + 10));
}

Rect Chance::RectNear(const Rect& bounds) {
  Rect rect = {Edge(bounds.top, bounds.bottom), Edge(bounds.left, bounds.right),
               Edge(bounds.top, bounds.bottom), Edge(bounds.left, bounds.right)};
  if (Between(0, 7) == 0) return rect;
  if (rect.left > rect.right) std::swap(rect.left, rect.right);
  if (rect.top > rect.bottom) std::swap(rect.top, rect.bottom);
  return rect;
}

void Chance::Scribble(const World& world) {
  uint8_t* bytes = world.At(world.bounds().left, world.bounds().top);
  const bool unusedBits = world.pixelBytes() == 2;
  for (size_t i = 0; i < world.byteCount(); ++i) {
    bytes[i] = static_cast<uint8_t>(engine_() & (unusedBits && i % 2 == 0 ? 0x7F : 0xFF));
  }
}
