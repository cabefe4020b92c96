// Locking a host picture's pixels.
#ifndef PLUGIN_PICTURE_PICTURE_LOCK_H_
#define PLUGIN_PICTURE_PICTURE_LOCK_H_

#include "plugin/host/bridge.h"

namespace picture {

// Locks the picture's pixels in the form that `pixelType` names. A host before 2012.0 expects an
// unlock even after a lock that failed; a newer host does not.
inline bool LockDescription(REALpictureStruct* picture, REALpictureDescription& description,
                            long pixelType) {
  if (REALLockPictureDescription(picture, &description, pixelType)) return true;
  if (rbversion < 2012.0) REALUnlockPictureDescription(picture);
  return false;
}

}  // namespace picture

#endif  // PLUGIN_PICTURE_PICTURE_LOCK_H_
