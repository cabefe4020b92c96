// Intersections of QuickDraw rectangles.
#ifndef PLATFORM_QUICKDRAW_RECTANGLE_H_
#define PLATFORM_QUICKDRAW_RECTANGLE_H_

#include <ApplicationServices/QuickDraw.h>

namespace qrv::quickdraw {

// Whether the rectangles have a common part, which is stored, or else (0, 0, 0, 0).
bool Intersect(const Rect& first, const Rect& second, Rect& common);

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_RECTANGLE_H_
