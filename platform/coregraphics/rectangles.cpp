#include "platform/coregraphics/rectangles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qrv::coregraphics {
namespace {

constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
constexpr CGRect kNullRect = {{kInfinity, kInfinity}, {0, 0}};

}  // namespace

std::optional<Edges> EdgesOf(CGRect rect) {
  const double x1 = rect.origin.x;
  const double y1 = rect.origin.y;
  const double x2 = x1 + rect.size.width;
  const double y2 = y1 + rect.size.height;
  for (const double edge : {x1, y1, x2, y2}) {
    if (!std::isfinite(edge)) return std::nullopt;
  }
  return Edges{std::min(x1, x2), std::min(y1, y2), std::max(x1, x2), std::max(y1, y2)};
}

}  // namespace qrv::coregraphics

using namespace qrv::coregraphics;

CGRect CGRectIntersection(CGRect first, CGRect second) {
  const std::optional<Edges> a = EdgesOf(first);
  const std::optional<Edges> b = EdgesOf(second);
  if (!a || !b) return kNullRect;
  const double left = std::max(a->left, b->left);
  const double top = std::max(a->top, b->top);
  const double width = std::min(a->right, b->right) - left;
  const double height = std::min(a->bottom, b->bottom) - top;
  if (width <= 0 || height <= 0) return kNullRect;
  return {{static_cast<CGFloat>(left), static_cast<CGFloat>(top)},
          {static_cast<CGFloat>(width), static_cast<CGFloat>(height)}};
}

bool CGRectIsNull(CGRect rect) { return rect.origin.x == kInfinity || rect.origin.y == kInfinity; }
