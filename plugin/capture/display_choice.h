// The displays, and what the system supports.
#ifndef PLUGIN_CAPTURE_DISPLAY_CHOICE_H_
#define PLUGIN_CAPTURE_DISPLAY_CHOICE_H_

#include <ApplicationServices/ApplicationServices.h>

namespace capture {

constexpr uint32_t kMaxDisplays = 32;

// The active displays, in the platform's order.
struct DisplayList {
  CGDirectDisplayID displays[kMaxDisplays];
  CGDisplayCount count = 0;
};

// False when the platform can't list its displays.
bool ListActiveDisplays(DisplayList& list);

// The active display with that index, or 0 when there is none.
CGDirectDisplayID ActiveDisplay(int32_t index);

// True when the system's version has display images. Major and minor version are tested separately.
bool SystemHasDisplayImages();

}  // namespace capture

#endif  // PLUGIN_CAPTURE_DISPLAY_CHOICE_H_
