// The interface between ScreenshotQRV.so and the host that loads it, for C99 and C++11: the
// plug-in's one exported function, the entry points that it looks up in the host, the records that
// cross between the two, and the methods that it registers. docs/hosting.md says when each entry
// point is called and what happens without it.
//
// REALNewPictureName is the exact name by which the plug-in looks up newPicture in the host, and
// REALNewPictureFunction the type of what it expects there; likewise for all others.
//
// References: every string and object has a reference count. What a creating call returns carries
// one reference, which the receiver releases with the unlock call or passes on. Nil is null. Sizes
// of pictures are in pixels; records are in the machine's byte order.
#ifndef SCREENSHOTQRV_HOST_H_
#define SCREENSHOTQRV_HOST_H_

#ifndef __cplusplus
#include <stdbool.h>
#endif
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// A host string, a host object, and a host picture, which is also an object. They are the host's
// own; except for LegacyHostString below, the plug-in only passes their addresses.
typedef struct REALstringStruct REALstringStruct;
typedef struct REALobjectStruct REALobjectStruct;
typedef struct REALpictureStruct REALpictureStruct;

// ---- Starting the plug-in ----

// The host's resolver returns the address of the entry point of that name, or null when the host
// has none. The plug-in keeps the resolver, looks an entry point up when it first needs it, and
// keeps the address.
typedef void* (*REALresolver)(const char* name);

// The plug-in's export. The host calls it once, before any method. Null does nothing.
#define REALPluginMainName "REALPluginMain"
typedef void (*REALPluginMainFunction)(REALresolver resolver);
void REALPluginMain(REALresolver resolver);

// The host's version, such as 2013.03. A host without it counts as 0.0, older than all.
#define REALGetRBVersionName "REALGetRBVersion"
typedef double (*REALGetRBVersionFunction)(void);

// The interface that the plug-in will speak, chosen by the host's version.
enum {
  kInterfaceVersionOldest = 9,
  kInterfaceVersion2012 = 10,     // hosts from 2012.0
  kInterfaceVersion2013 = 11,     // from 2013.0
  kInterfaceVersion2013_03 = 12,  // from 2013.03
};
#define REALRegisterPluginVersionName "RegisterPluginVersion"
typedef void (*REALRegisterPluginVersionFunction)(int32_t code);

// One method that the plug-in offers to programs. The record and its declaration belong to the
// plug-in and stay at their addresses.
typedef struct REALmethodDefinition {
  void* function;           // of one of the types under "The methods"
  void* setterFunction;     // null
  const char* declaration;  // in the host's language, NUL-terminated ASCII
  uint32_t flags;           // kMethodFlagHostBit2 for hosts from 2010.029, else 0
  uint32_t attributeCount;  // 0
  void* attributes;         // null
} REALmethodDefinition;
enum { kMethodFlagHostBit2 = 0x4 };
#define REALRegisterMethodName "PluginRegisterMethod"
typedef void (*REALRegisterMethodFunction)(REALmethodDefinition* method);

// ---- Objects and classes ----

// Add and release a reference to an object or picture.
#define REALLockObjectName "REALLockObject"
typedef void (*REALLockObjectFunction)(REALobjectStruct* object);
#define REALUnlockObjectName "REALUnlockObject"
typedef void (*REALUnlockObjectFunction)(REALobjectStruct* object);

// A reference to the class of that name, opaque and not null, or nil when the program has none. The
// first three classes identify the kind of program.
#define REALDesktopApplicationClass "Application"
#define REALWebApplicationClass "WebApplication"
#define REALConsoleApplicationClass "ConsoleApplication"
#define REALPictureClass "Picture"
#define REALGetClassRefName "pluginObjectType"
typedef void* (*REALGetClassRefFunction)(const char* className);

// A new object of that class, whose constructor has not run, or nil.
#define REALNewInstanceName "PluginNewInstance"
typedef REALobjectStruct* (*REALNewInstanceFunction)(const char* className);

// The object's method of that declaration, a function that takes the object first, or null.
#define REALLoadObjectMethodName "REALLoadObjectMethod"
typedef void* (*REALLoadObjectMethodFunction)(REALobjectStruct* object, const char* declaration);

// The global function of that declaration, or null; the first argument is null.
#define REALLoadGlobalMethodName "REALLoadGlobalMethod"
typedef void* (*REALLoadGlobalMethodFunction)(void* reserved, const char* declaration);

// Reads a yes-or-no property of the object into `out`; false when it has none of that name.
#define REALHasAlphaChannelProperty "HasAlphaChannel"
#define REALGetPropValueBoolName "REALGetPropValueBool"
typedef bool (*REALGetPropValueBoolFunction)(REALobjectStruct* object, const char* propertyName,
                                             unsigned char* out);

// ---- Pictures ----

enum {
  kPictureDepth = 32,       // bits per pixel, of every picture that the plug-in asks for
  kMaxPictureSide = 32767,  // pixels, of the largest one
};

// A new picture of that size, or nil. Pixels that the plug-in does not write keep the host's
// values.
#define REALNewPictureName "newPicture"
typedef REALpictureStruct* (*REALNewPictureFunction)(long width, long height, long depth);

// The two forms of a picture's pixels. A host grants the one that it has and refuses the other.
enum {
  kPixelTypeBitmapContext = 8,  // desktop programs: `container` is a CGContextRef, a bitmap context
                                // of libScreenshotPlatform.so with 32 bits per pixel
  kPixelTypeConsoleImage = 10,  // console and web programs: `container` is a ConsoleImage*
};

// A locked picture's pixels, which belong to the host.
typedef struct REALpictureDescription {
  int32_t pixelType;  // the requested one
  void* container;
  int32_t width;      // pixels
  int32_t height;     // pixels
  int32_t hostValue;  // the host's own
  uint8_t hostFlag;   // the host's own
} REALpictureDescription;

// The pixels of a picture of a console or web program: the start of libgd 2's gdImageStruct, up to
// its true-colour rows. The plug-in reads only `pixels`, `sx`, `sy`, `trueColor` and `tpixels`.
typedef struct ConsoleImage ConsoleImage;
struct ConsoleImage {
  unsigned char** pixels;  // palette rows; null in a true-colour image
  int32_t sx;              // width in pixels
  int32_t sy;              // height in pixels
  int32_t colorsTotal;
  int32_t red[256];
  int32_t green[256];
  int32_t blue[256];
  int32_t open[256];
  int32_t transparent;
  int32_t* polyInts;
  int32_t polyAllocated;
  ConsoleImage* brush;
  ConsoleImage* tile;
  int32_t brushColorMap[256];
  int32_t tileColorMap[256];
  int32_t styleLength;
  int32_t stylePos;
  int32_t* style;
  int32_t interlace;
  int32_t thick;
  int32_t alpha[256];
  int32_t trueColor;  // not 0
  int32_t** tpixels;  // a pointer for each row, from the top; a pixel is the native word 0xAARRGGBB
                      // with a 7-bit alpha, 0 being opaque
};

// Locks the picture's pixels in that form and fills the record. When false, the record is not read.
#define REALLockPictureDescriptionName "REALLockPictureDescription"
typedef bool (*REALLockPictureDescriptionFunction)(REALpictureStruct* picture,
                                                   REALpictureDescription* out, long pixelType);
// Unlocks them. For hosts before 2012.0 the plug-in calls it after a refused lock, too.
#define REALUnlockPictureDescriptionName "unlockPictureDescription"
typedef void (*REALUnlockPictureDescriptionFunction)(REALpictureStruct* picture);

// Reports that the pixels have changed.
#define REALPictureClearCacheName "REALPictureClearCache"
typedef void (*REALPictureClearCacheFunction)(REALpictureStruct* picture);

// The four below are for images with an alpha channel, which captures don't have.

// The picture's mask: black is opaque, white is transparent. Made on demand when `create` is not 0.
#define REALGetPictureMaskName "REALGetPictureMask"
typedef REALpictureStruct* (*REALGetPictureMaskFunction)(REALpictureStruct* picture,
                                                         unsigned char create);

// An object that draws into the picture, or nil.
#define REALGetPictureGraphicsName "pluginPictureGraphicsGetter"
typedef REALobjectStruct* (*REALGetPictureGraphicsFunction)(REALpictureStruct* picture);

// Draws a part of the image, in pixels from its top-left corner, scaled to a rectangle. The plug-in
// finds it by REALLoadObjectMethod in the object that draws into a picture.
#define REALDrawPictureDeclaration                                                         \
  "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, " \
  "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"
typedef void (*REALDrawPictureFunction)(REALobjectStruct* graphics, REALpictureStruct* image, int x,
                                        int y, int width, int height, int sourceX, int sourceY,
                                        int sourceWidth, int sourceHeight);

// The constructor of a picture with an alpha channel. The plug-in finds it by REALLoadObjectMethod
// in a new instance of REALPictureClass.
#define REALPictureConstructorDeclaration "Constructor(width as integer, height as integer)"
typedef void (*REALPictureConstructorFunction)(REALobjectStruct* instance, int width, int height);

// ---- Strings ----

// The encoding code for the bytes as the string stores them.
enum { kRawBytesEncoding = 0xFFFF };

// A new string with a copy of the bytes, or nil.
#define REALBuildStringName "REALBuildString"
typedef REALstringStruct* (*REALBuildStringFunction)(const char* bytes, int length);

// The string's encoding.
#define REALSetStringEncodingName "REALSetStringEncoding"
typedef void (*REALSetStringEncodingFunction)(REALstringStruct* string, unsigned long encoding);
#define REALGetStringEncodingName "REALGetStringEncoding"
typedef unsigned long (*REALGetStringEncodingFunction)(REALstringStruct* string);

// A new string of the same text in another encoding, or nil.
#define REALConvertStringName "REALConvertString"
typedef REALstringStruct* (*REALConvertStringFunction)(REALstringStruct* string,
                                                       unsigned long encoding);

// Add and release a reference to a string.
#define REALLockStringName "REALLockString"
typedef void (*REALLockStringFunction)(REALstringStruct* string);
#define REALUnlockStringName "REALUnlockString"
typedef void (*REALUnlockStringFunction)(REALstringStruct* string);

// A string of a host before 2013.0, which the plug-in reads in place. Its bytes begin at
// storage + 1; the byte before them is the host's own.
typedef struct LegacyHostString {
  int32_t referenceCount;
  unsigned char* storage;  // null when the bytes are unavailable
  int32_t hostValue;       // the host's own
  int32_t length;          // bytes
} LegacyHostString;

// A string's bytes in an encoding, for hosts from 2013.0 on.
typedef struct REALstringData {
  char* data;
  uint32_t length;  // bytes, not counting any terminator
  uint32_t encoding;
} REALstringData;

// Fills the record and returns true; or returns false, and then there is nothing to dispose of.
#define REALGetStringDataName "PluginGetStringData"
typedef bool (*REALGetStringDataFunction)(REALstringStruct* string, unsigned long encoding,
                                          REALstringData* out);
// Disposes of a record that the call above filled. Without this the plug-in passes `data` to
// free().
#define REALDisposeStringDataName "PluginDisposeStringData"
typedef void (*REALDisposeStringDataFunction)(REALstringData* data);

// The alternative to the two above for hosts from 2013.0 on: the string's bytes, which belong to
// the host, and, by REALLoadGlobalMethod, their number.
#define REALStringGetCStringName "StringGetCString"
typedef const char* (*REALStringGetCStringFunction)(REALstringStruct* string);
#define REALLenBDeclaration "LenB( s as string ) as integer"
typedef int (*REALLenBFunction)(REALstringStruct* string);

// ---- The methods ----
//
// The plug-in's methods, which the host finds by their declarations among those registered, and
// calls one at a time. Rectangles are in the global display space: units, origin at the main
// display's top-left corner, y growing downward, right and bottom edges exclusive. What a method
// returns is new and carries one reference, which is the caller's. Nil means that there is no such
// display, that no picture can have that size, or that the platform or the host refused. Parts of a
// rectangle on no display are no failure: a rectangle that intersects none gives a picture, too.
//
// An integer of the host's language has 32 bits, in 64-bit processes too. One that is passed
// `byref` is the address of the caller's variable, never null.

#ifdef __cplusplus
typedef int32_t& REALintegerByRef;
#else
typedef int32_t* REALintegerByRef;
#endif

// The main display.
#define ScreenshotQRVDeclaration "ScreenshotQRV as picture"
typedef REALpictureStruct* (*ScreenshotQRVFunction)(void);

// The display with that index, counted from 0.
#define ScreenshotDisplayQRVDeclaration "ScreenshotDisplayQRV(index as integer) as picture"
typedef REALpictureStruct* (*ScreenshotDisplayQRVFunction)(int32_t index);

// A rectangle of the desktop at its own size.
#define ScreenshotRectQRVDeclaration                                                         \
  "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer) " \
  "as picture"
typedef REALpictureStruct* (*ScreenshotRectQRVFunction)(int32_t left, int32_t top, int32_t width,
                                                        int32_t height);

// A rectangle of the desktop, scaled to another size.
#define ScreenshotRectDestQRVDeclaration                                                     \
  "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as integer, " \
  "destwidth as integer, destheight as integer) as picture"
typedef REALpictureStruct* (*ScreenshotRectDestQRVFunction)(int32_t left, int32_t top,
                                                            int32_t width, int32_t height,
                                                            int32_t destwidth, int32_t destheight);

// The main display's pixels: rows from the bottom upward without gaps, 4 bytes per pixel: blue,
// green, red, alpha. The three numbers are 0 when nothing was read.
#define ScreenshotStringQRVDeclaration                                                      \
  "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes as " \
  "integer) as string"
typedef REALstringStruct* (*ScreenshotStringQRVFunction)(REALintegerByRef width,
                                                         REALintegerByRef height,
                                                         REALintegerByRef rowBytes);

// The same for the display with that index.
#define ScreenshotStringDisplayQRVDeclaration                                                   \
  "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref RowBytes " \
  "as integer, index as integer) as string"
typedef REALstringStruct* (*ScreenshotStringDisplayQRVFunction)(REALintegerByRef width,
                                                                REALintegerByRef height,
                                                                REALintegerByRef rowBytes,
                                                                int32_t index);

// A picture of such pixels, `rowBytes` bytes from one row to the next. The string stays the
// caller's.
#define ScreenshotFromStringQRVDeclaration                                                     \
  "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, data as " \
  "string) as picture"
typedef REALpictureStruct* (*ScreenshotFromStringQRVFunction)(int32_t width, int32_t height,
                                                              int32_t rowBytes,
                                                              REALstringStruct* data);

// ---- The layouts, in processes of 32 and of 64 bits ----

#if defined(__cplusplus) && __cplusplus >= 201103L
#define QRV_ASSERT(condition) static_assert(condition, "the layout of the host's records")
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define QRV_ASSERT(condition) _Static_assert(condition, "the layout of the host's records")
#else
#define QRV_ASSERT(condition) extern char qrvLayoutOfTheHostsRecords[(condition) ? 1 : -1]
#endif
#define QRV_SIZE(record, bytes32, bytes64) \
  QRV_ASSERT(sizeof(record) == (sizeof(void*) == 4 ? (bytes32) : (bytes64)))
#define QRV_OFFSET(record, field, bytes32, bytes64) \
  QRV_ASSERT(offsetof(record, field) == (sizeof(void*) == 4 ? (bytes32) : (bytes64)))

QRV_OFFSET(REALmethodDefinition, setterFunction, 4, 8);
QRV_OFFSET(REALmethodDefinition, declaration, 8, 16);
QRV_OFFSET(REALmethodDefinition, flags, 12, 24);
QRV_OFFSET(REALmethodDefinition, attributeCount, 16, 28);
QRV_OFFSET(REALmethodDefinition, attributes, 20, 32);
QRV_SIZE(REALmethodDefinition, 24, 40);
QRV_OFFSET(REALpictureDescription, container, 4, 8);
QRV_OFFSET(REALpictureDescription, width, 8, 16);
QRV_OFFSET(REALpictureDescription, height, 12, 20);
QRV_OFFSET(REALpictureDescription, hostValue, 16, 24);
QRV_OFFSET(REALpictureDescription, hostFlag, 20, 28);
QRV_SIZE(REALpictureDescription, 24, 32);
QRV_OFFSET(ConsoleImage, sx, 4, 8);
QRV_OFFSET(ConsoleImage, sy, 8, 12);
QRV_OFFSET(ConsoleImage, trueColor, 7224, 7248);
QRV_OFFSET(ConsoleImage, tpixels, 7228, 7256);
QRV_OFFSET(LegacyHostString, storage, 4, 8);
QRV_OFFSET(LegacyHostString, length, 12, 20);
QRV_OFFSET(REALstringData, length, 4, 8);
QRV_OFFSET(REALstringData, encoding, 8, 12);
QRV_SIZE(REALstringData, 12, 16);

#undef QRV_OFFSET
#undef QRV_SIZE
#undef QRV_ASSERT

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // SCREENSHOTQRV_HOST_H_
