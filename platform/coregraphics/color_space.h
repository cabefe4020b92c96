// Colour spaces are constants of the process: whoever gets one may keep it, and releasing it costs
// nothing.
#ifndef PLATFORM_COREGRAPHICS_COLOR_SPACE_H_
#define PLATFORM_COREGRAPHICS_COLOR_SPACE_H_

#include <ApplicationServices/CoreGraphics.h>

struct CGColorSpace {
  const char* name;
  CGColorSpaceModel model;
};

#endif  // PLATFORM_COREGRAPHICS_COLOR_SPACE_H_
