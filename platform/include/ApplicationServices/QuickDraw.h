// QuickDraw's types, record layouts and constants. Its functions are not declared here, because
// they are not linked: programs find them by name in the framework's executable at run time.
//
// Records are packed to 2 bytes, as the platform defines them. Coordinates are signed 16-bit and
// grow downward; right and bottom edges are exclusive.
#ifndef APPLICATIONSERVICES_QUICKDRAW_H_
#define APPLICATIONSERVICES_QUICKDRAW_H_

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

#pragma pack(push, 2)

typedef short QDErr;
typedef char* Ptr;
typedef Ptr* Handle;
typedef SInt32 Fixed;
typedef struct OpaqueRgnHandle* RgnHandle;
typedef struct ColorTable** CTabHandle;
typedef UInt32 GWorldFlags;

typedef struct Rect {
  short top;
  short left;
  short bottom;
  short right;
} Rect;

typedef struct Pattern {
  UInt8 pat[8];
} Pattern;

typedef struct BitMap {
  Ptr baseAddr;
  short rowBytes;
  Rect bounds;
} BitMap;

typedef struct PixMap {
  Ptr baseAddr;
  short rowBytes;  // bit 15 set: this is a PixMap, not a BitMap
  Rect bounds;
  short pmVersion;
  short packType;
  SInt32 packSize;
  Fixed hRes;
  Fixed vRes;
  short pixelType;
  short pixelSize;  // bits per pixel
  short cmpCount;
  short cmpSize;
  OSType pixelFormat;
  CTabHandle pmTable;
  void* pmExt;
} PixMap;
typedef PixMap** PixMapHandle;

typedef struct GDevice GDevice;
typedef GDevice** GDHandle;
struct GDevice {
  short gdRefNum;
  short gdID;
  short gdType;
  Handle gdITable;
  short gdResPref;
  void* gdSearchProc;
  void* gdCompProc;
  short gdFlags;
  PixMapHandle gdPMap;
  SInt32 gdRefCon;
  GDHandle gdNextGD;
  Rect gdRect;  // in the global display space
  SInt32 gdMode;
  short gdCCBytes;
  short gdCCDepth;
  Handle gdCCXData;
  Handle gdCCXMask;
  Handle gdExt;
};

#pragma pack(pop)

// A port is what drawing functions draw into. A graphics world is one.
typedef struct OpaqueGrafPtr* GrafPtr;
typedef GrafPtr GWorldPtr;

enum { srcCopy = 0 };
enum { blackColor = 33, whiteColor = 30 };

#ifdef __cplusplus
}
#endif

#endif  // APPLICATIONSERVICES_QUICKDRAW_H_
