// Locking a host picture's pixels, with what hosts before 2012.0 need.
#ifndef PICTURE_PICTURE_LOCK_H_
#define PICTURE_PICTURE_LOCK_H_

#include "host/bridge.h"

namespace picture {

// Locks the picture's pixels in the form that `pixelType` names. A host before 2012.0 counts a
// refused lock as a lock, so it is given back there.
inline bool LockDescription(REALpictureStruct* picture, REALpictureDescription& description,
                            long pixelType) {
  if (REALLockPictureDescription(picture, &description, pixelType)) return true;
  if (rbversion < 2012.0) REALUnlockPictureDescription(picture);
  return false;
}

}  // namespace picture

#endif  // PICTURE_PICTURE_LOCK_H_
