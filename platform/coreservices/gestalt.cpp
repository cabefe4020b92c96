#include <CoreServices/CoreServices.h>

#include "platform/coreservices/system_version.h"

OSErr Gestalt(OSType selector, SInt32* response) {
  if (response == nullptr) return paramErr;
  const qrv::coreservices::Version version = qrv::coreservices::SystemVersion();
  switch (selector) {
    case gestaltSystemVersionMajor:
      *response = version.major;
      return noErr;
    case gestaltSystemVersionMinor:
      *response = version.minor;
      return noErr;
    default:
      return gestaltUndefSelectorErr;
  }
}
