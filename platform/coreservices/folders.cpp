#include <CoreServices/CoreServices.h>

#include "platform/corefoundation/file_reference.h"

OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, Boolean, FSRef* foundReference) {
  if (volume != kOnAppropriateDisk || folderType != kFrameworksFolderType ||
      foundReference == nullptr) {
    return paramErr;
  }
  return qrv::corefoundation::ReferToFrameworksFolder(foundReference) ? noErr : fnfErr;
}
