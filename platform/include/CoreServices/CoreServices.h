// The part of CoreServices that the plug-in uses: the system's version and the frameworks folder.
#ifndef CORESERVICES_CORESERVICES_H_
#define CORESERVICES_CORESERVICES_H_

#include <CoreFoundation/CoreFoundation.h>

#include <QRV/Symbol.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef SInt16 FSVolumeRefNum;

enum {
  noErr = 0,
  paramErr = -50,
  memFullErr = -108,
  cDevErr = -155,
  fnfErr = -43,
  gestaltUndefSelectorErr = -5551
};
enum { kOnAppropriateDisk = -32767 };
enum { kFrameworksFolderType = 0x6672616D };      // 'fram'
enum { gestaltSystemVersionMajor = 0x73797331 };  // 'sys1'
enum { gestaltSystemVersionMinor = 0x73797332 };  // 'sys2'

// Stores the selector's value in `response` and returns 0; or returns an error.
OSErr Gestalt(OSType selector, SInt32* response) QRV_SYMBOL("Gestalt");

// Stores a reference to the folder of that type and returns 0; or returns an error, which is fnfErr
// when there is no such folder.
OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, Boolean createFolder,
                   FSRef* foundReference) QRV_SYMBOL("FSFindFolder");

#ifdef __cplusplus
}
#endif

#endif  // CORESERVICES_CORESERVICES_H_
