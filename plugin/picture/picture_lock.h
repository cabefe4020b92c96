// Locking a host picture's pixels, with what hosts before 2012.0 need.
#ifndef PLUGIN_PICTURE_PICTURE_LOCK_H_
#define PLUGIN_PICTURE_PICTURE_LOCK_H_

#include "plugin/host/bridge.h"

namespace picture {

// Locks the picture's pixels in the form that `pixelType` names. A host before 2012.0 is told to
// unlock the picture after a lock that it has refused or lacks, too; a newer host is not.
inline bool LockDescription(REALpictureStruct* picture, REALpictureDescription& description,
                            long pixelType) {
  if (REALLockPictureDescription(picture, &description, pixelType)) return true;
  if (rbversion < 2012.0) REALUnlockPictureDescription(picture);
  return false;
}

}  // namespace picture

#endif  // PLUGIN_PICTURE_PICTURE_LOCK_H_
