#include <CoreServices/CoreServices.h>

#include "platform/corefoundation/url.h"
#include "platform/system_version.h"

OSErr Gestalt(OSType selector, SInt32* response) {
  if (response == nullptr) return paramErr;
  const std::optional<qrv::Version> version = qrv::SystemVersion();
  if (!version) return gestaltUndefSelectorErr;
  switch (selector) {
    case gestaltSystemVersionMajor:
      *response = version->major;
      return noErr;
    case gestaltSystemVersionMinor:
      *response = version->minor;
      return noErr;
    default:
      return gestaltUndefSelectorErr;
  }
}

OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, Boolean, FSRef* foundReference) {
  if (volume != kOnAppropriateDisk || folderType != kFrameworksFolderType ||
      foundReference == nullptr) {
    return paramErr;
  }
  return qrv::corefoundation::ReferToFrameworksFolder(*foundReference) ? noErr : fnfErr;
}
