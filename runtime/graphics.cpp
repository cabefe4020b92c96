// The object that draws into a desktop application's picture.

#include <string.h>

#include <algorithm>

#include "runtime/entry_points.h"
#include "runtime/pictures.h"

namespace qrv::runtime {

namespace {

constexpr int kWholeImage = -10000;

struct Graphics : REALobjectStruct {
  void DropKept(HostState& host) override { Drop(host, target); }

  REALpictureStruct* target = nullptr;  // kept
};

// One axis of a drawing, in pixels: the target's span and the source's.
struct Span {
  int64_t start;
  int64_t length;
  int64_t sourceStart;
  int64_t sourceLength;

  // The source position of a target position; it may be outside the image.
  int64_t Source(int64_t position) const {
    return sourceStart + (position - start) * sourceLength / length;
  }
};

void DrawRow(const uint8_t* source, int32_t sourceWidth, uint8_t* target, int32_t targetWidth,
             const Span& span) {
  const int64_t end = std::min<int64_t>(span.start + span.length, targetWidth);
  for (int64_t x = std::max<int64_t>(span.start, 0); x < end; ++x) {
    const int64_t sourceX = span.Source(x);
    if (sourceX >= 0 && sourceX < sourceWidth) memcpy(target + x * 4, source + sourceX * 4, 4);
  }
}

void Draw(const REALpictureStruct& image, const REALpictureStruct& target, const Span& columns,
          const Span& rows) {
  const int64_t end = std::min<int64_t>(rows.start + rows.length, target.height);
  for (int64_t y = std::max<int64_t>(rows.start, 0); y < end; ++y) {
    const int64_t sourceY = rows.Source(y);
    if (sourceY >= 0 && sourceY < image.height) {
      DrawRow(image.Row(static_cast<int32_t>(sourceY)), image.width,
              target.Row(static_cast<int32_t>(y)), target.width, columns);
    }
  }
}

}  // namespace

REALobjectStruct* GetPictureGraphics(REALpictureStruct* picture) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr || !picture->bitmap) return nullptr;
  return Guarded([=] {
    auto* graphics = static_cast<Graphics*>(Admit(*host, std::make_unique<Graphics>()));
    graphics->target = picture;
    Keep(picture);
    AddReference(*host, graphics);
    return graphics;
  });
}

void DrawPicture(REALobjectStruct* graphics, REALpictureStruct* image, int x, int y, int width,
                 int height, int sourceX, int sourceY, int sourceWidth, int sourceHeight) noexcept {
  if (HostOf(graphics) == nullptr || HostOf(image) == nullptr) return;
  const auto* drawer = dynamic_cast<const Graphics*>(graphics);
  if (drawer == nullptr || !image->HasPixels()) return;
  const Span columns = {x, width, sourceX, sourceWidth == kWholeImage ? image->width : sourceWidth};
  const Span rows = {y, height, sourceY,
                     sourceHeight == kWholeImage ? image->height : sourceHeight};
  Draw(*image, *drawer->target, columns, rows);
}

}  // namespace qrv::runtime
