#include "platform/coregraphics/composite.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace qrv::coregraphics {
namespace {

// Pixman counts pixels in 16 bits and wants rows at addresses that 4 divides; a context promises
// neither. So the drawing is done tile by tile, in a small aligned copy of the context's pixels.
constexpr int kTileSize = 256;
// Of the source, along one axis, for one tile.
constexpr double kMaxSourcePixels = 16384;

struct ImageUnref {
  void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
using PixmanImage = std::unique_ptr<pixman_image_t, ImageUnref>;

// One axis of the mapping from the context's pixels to the image's.
struct Axis {
  double areaStart;
  double scale;  // image pixels per context pixel
  int64_t imageLength;

  Axis(double from, double to, size_t length)
      : areaStart(from),
        scale(static_cast<double>(length) / (to - from)),
        imageLength(static_cast<int64_t>(length)) {}

  double ImagePositionOfCentre(int64_t pixel) const {
    return (static_cast<double>(pixel) + 0.5 - areaStart) * scale;
  }

  int LengthOfTile(int64_t start, int64_t end) const {
    const double most = std::clamp(kMaxSourcePixels / scale, 1.0, double{kTileSize});
    return static_cast<int>(std::min(end - start, static_cast<int64_t>(most)));
  }
};

// What a tile reads of the image along one axis: a window, and how tile pixels lie in it.
struct Window {
  int64_t start;
  int length;
  double scale;   // window pixels per tile pixel
  double offset;  // window position of the tile's start

  Window(const Axis& axis, int64_t tileStart, int tileLength) {
    // One more pixel on either side, because a sample is a mean of neighbours.
    const double first = axis.ImagePositionOfCentre(tileStart);
    const double last = axis.ImagePositionOfCentre(tileStart + tileLength - 1);
    const auto end = static_cast<double>(axis.imageLength);
    start = static_cast<int64_t>(std::clamp(std::floor(first) - 1, 0.0, end - 1));
    length = static_cast<int>(static_cast<int64_t>(std::clamp(
                                  std::floor(last) + 2, static_cast<double>(start) + 1, end)) -
                              start);
    scale = tileLength == 1 ? 1 : axis.scale;  // for one sample only its position matters
    offset = first - static_cast<double>(start) - 0.5 * scale;
  }

  bool IsPlainCopy() const { return scale == 1 && offset == std::floor(offset); }
};

PixmanImage MakeSource(const CGImage& image, pixman_format_code_t format, const Window& x,
                       const Window& y) {
  const uint8_t* corner = image.pixels + static_cast<size_t>(y.start) * image.bytesPerRow +
                          static_cast<size_t>(x.start) * 4;
  // Pixman only reads a source, but takes its address as one to write to.
  auto* bits = reinterpret_cast<uint32_t*>(const_cast<uint8_t*>(corner));
  PixmanImage source(pixman_image_create_bits(format, x.length, y.length, bits,
                                              static_cast<int>(image.bytesPerRow)));
  if (source == nullptr || (x.IsPlainCopy() && y.IsPlainCopy())) return source;

  pixman_f_transform_t positions;
  pixman_f_transform_init_identity(&positions);
  positions.m[0][0] = x.scale;
  positions.m[0][2] = x.offset;
  positions.m[1][1] = y.scale;
  positions.m[1][2] = y.offset;
  pixman_transform_t transform;
  if (!pixman_transform_from_pixman_f_transform(&transform, &positions)) return nullptr;
  if (!pixman_image_set_transform(source.get(), &transform)) return nullptr;
  pixman_image_set_filter(source.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0);
  pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);  // the image's edge is not blurred
  return source;
}

class Tile {
 public:
  explicit Tile(pixman_format_code_t format)
      : words_(size_t{kTileSize} * kTileSize),
        image_(pixman_image_create_bits(format, kTileSize, kTileSize, words_.data(), kRowBytes)) {
    if (image_ == nullptr) throw std::bad_alloc();
  }

  pixman_image_t* Image() { return image_.get(); }

  void Load(const CGContext& context, int64_t left, int64_t top, int width, int height) {
    for (int y = 0; y < height; ++y) {
      memcpy(Row(y), ContextRow(context, left, top + y), static_cast<size_t>(width) * 4);
    }
  }

  void Store(const CGContext& context, int64_t left, int64_t top, int width, int height) {
    for (int y = 0; y < height; ++y) {
      memcpy(ContextRow(context, left, top + y), Row(y), static_cast<size_t>(width) * 4);
    }
  }

 private:
  static constexpr int kRowBytes = kTileSize * 4;

  static uint8_t* ContextRow(const CGContext& context, int64_t left, int64_t y) {
    return context.Row(static_cast<size_t>(y)) + static_cast<size_t>(left) * 4;
  }
  uint32_t* Row(int y) { return words_.data() + static_cast<size_t>(y) * kTileSize; }

  std::vector<uint32_t> words_;
  PixmanImage image_;
};

}  // namespace

void Composite(const CGImage& image, const PixelLayout& imageLayout, const Edges& area,
               const PixelBox& box, const CGContext& context) {
  const Axis xAxis(area.left, area.right, image.width);
  const Axis yAxis(area.top, area.bottom, image.height);
  const pixman_op_t operation = imageLayout.hasAlpha ? PIXMAN_OP_OVER : PIXMAN_OP_SRC;
  Tile tile(context.layout->formatWithAlpha);

  int height = 0;
  for (int64_t top = box.top; top < box.bottom; top += height) {
    height = yAxis.LengthOfTile(top, box.bottom);
    const Window yWindow(yAxis, top, height);
    int width = 0;
    for (int64_t left = box.left; left < box.right; left += width) {
      width = xAxis.LengthOfTile(left, box.right);
      const Window xWindow(xAxis, left, width);
      const PixmanImage source = MakeSource(image, imageLayout.format, xWindow, yWindow);
      if (source == nullptr) continue;
      const bool isPlain = xWindow.IsPlainCopy() && yWindow.IsPlainCopy();
      tile.Load(context, left, top, width, height);
      pixman_image_composite32(operation, source.get(), nullptr, tile.Image(),
                               isPlain ? static_cast<int>(xWindow.offset) : 0,
                               isPlain ? static_cast<int>(yWindow.offset) : 0, 0, 0, 0, 0, width,
                               height);
      tile.Store(context, left, top, width, height);
    }
  }
}

}  // namespace qrv::coregraphics
