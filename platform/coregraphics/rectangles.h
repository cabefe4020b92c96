// Rectangles by their edges, in doubles, which are precise enough for sums of floats.
#ifndef PLATFORM_COREGRAPHICS_RECTANGLES_H_
#define PLATFORM_COREGRAPHICS_RECTANGLES_H_

#include <ApplicationServices/CoreGraphics.h>

#include <optional>

namespace qrv::coregraphics {

// A rectangle by its edges, left <= right and top <= bottom. "Top" is the edge with the smaller y,
// whichever way y grows.
struct Edges {
  double left;
  double top;
  double right;
  double bottom;
};

// The rectangle's edges, sorted when a size is negative. Nothing when a number is not finite, as in
// the null rectangle.
std::optional<Edges> EdgesOf(CGRect rect);

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_RECTANGLES_H_
