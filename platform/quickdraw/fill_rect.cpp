// Intersecting and filling rectangles.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/desktop/session.h"
#include "platform/quickdraw/quickdraw.h"
#include "platform/quickdraw/world.h"

namespace {

constexpr UInt8 kBlack = 0xFF;  // a row of the pattern

bool IsBlack(const Pattern& pattern) {
  return std::all_of(std::begin(pattern.pat), std::end(pattern.pat),
                     [](UInt8 row) { return row == kBlack; });
}

}  // namespace

Boolean SectRect(const Rect* first, const Rect* second, Rect* common) {
  if (first == nullptr || second == nullptr || common == nullptr) return false;
  const Rect part = {std::max(first->top, second->top), std::max(first->left, second->left),
                     std::min(first->bottom, second->bottom),
                     std::min(first->right, second->right)};
  const bool intersect = part.top < part.bottom && part.left < part.right;
  *common = intersect ? part : Rect{};
  return intersect;
}

Pattern* GetQDGlobalsBlack(Pattern* black) {
  if (black != nullptr) std::fill(std::begin(black->pat), std::end(black->pat), kBlack);
  return black;
}

void ForeColor(long) {}

void BackColor(long) {}

// Black is 0 at every depth.
void FillRect(const Rect* rect, const Pattern* pattern) {
  OpaqueGrafPtr& world = *qrv::quickdraw::CurrentPort();
  const Rect& bounds = world.map.record().bounds;
  Rect visible;
  if (pattern == nullptr || !world.HasPixels() || !SectRect(rect, &bounds, &visible)) return;
  if (!IsBlack(*pattern)) {
    qrv::desktop::FailCapture(qrv::desktop::Reason::kUnsupported,
                              "only the black pattern can be drawn");
    return;
  }
  const auto width = static_cast<size_t>(visible.right - visible.left);
  const auto left = static_cast<size_t>(visible.left - bounds.left);
  for (int y = visible.top; y < visible.bottom; ++y) {
    memset(world.At(left, static_cast<size_t>(y - bounds.top)), 0,
           width * world.layout->bytesPerPixel);
  }
}
