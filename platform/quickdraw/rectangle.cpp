#include "platform/quickdraw/rectangle.h"

#include <algorithm>

#include "platform/quickdraw/quickdraw.h"

namespace qrv::quickdraw {

bool Intersect(const Rect& first, const Rect& second, Rect& common) {
  const Rect part = {std::max(first.top, second.top), std::max(first.left, second.left),
                     std::min(first.bottom, second.bottom), std::min(first.right, second.right)};
  const bool meet = part.top < part.bottom && part.left < part.right;
  common = meet ? part : Rect{};
  return meet;
}

}  // namespace qrv::quickdraw

Boolean SectRect(const Rect* first, const Rect* second, Rect* common) {
  if (first == nullptr || second == nullptr || common == nullptr) return false;
  return qrv::quickdraw::Intersect(*first, *second, *common);
}
