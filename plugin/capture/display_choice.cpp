#include "plugin/capture/display_choice.h"

namespace capture {

bool ListActiveDisplays(DisplayList& list) {
  if (CGGetActiveDisplayList(kMaxDisplays, list.displays, &list.count) != kCGErrorSuccess) {
    return false;
  }
  if (list.count > kMaxDisplays) list.count = kMaxDisplays;
  return true;
}

CGDirectDisplayID ActiveDisplay(int32_t index) {
  if (index < 0 || index >= static_cast<int32_t>(kMaxDisplays)) return kCGNullDirectDisplay;
  DisplayList list;
  if (!ListActiveDisplays(list) || static_cast<uint32_t>(index) >= list.count) {
    return kCGNullDirectDisplay;
  }
  return list.displays[index];
}

bool SystemHasDisplayImages() {
  SInt32 response = 0;
  if (Gestalt(gestaltSystemVersionMajor, &response) != noErr || response < 10) return false;
  return Gestalt(gestaltSystemVersionMinor, &response) == noErr && response >= 7;
}

}  // namespace capture
