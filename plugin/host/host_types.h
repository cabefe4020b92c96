// The host's plug-in interface as data: the opaque host types, the records that cross between host
// and plug-in, and the host's codes. The layouts are the host's; on the 32-bit target each offset
// that the host relies on is asserted. On 64-bit targets the records take their natural layout.
#ifndef PLUGIN_HOST_HOST_TYPES_H_
#define PLUGIN_HOST_HOST_TYPES_H_

#include <stddef.h>
#include <stdint.h>

// A host string, a host object, and a host picture (which is also an object). Nil is null.
struct REALstringStruct;
struct REALobjectStruct;
struct REALpictureStruct;

// The address of the host's entry point of that name, or null when the host has none.
using REALresolver = void* (*)(const char* name);

// One method that a plug-in declares to the host.
struct REALmethodDefinition {
  void* function;
  void* setterFunction;
  const char* declaration;  // in the host's language, NUL-terminated ASCII
  uint32_t flags;
  uint32_t attributeCount;
  void* attributes;
};

// A string's bytes. Filled by REALGetStringData, given back with REALDisposeStringData.
struct REALstringData {
  char* data;
  uint32_t length;  // bytes, not counting any terminator
  uint32_t encoding;
};

// The encoding code that stands for the bytes as the string stores them.
constexpr uint32_t kRawBytesEncoding = 0xFFFF;

// A locked picture's pixel buffer, filled in by the host's lock call.
struct REALpictureDescription {
  int32_t pixelType;  // kPixelTypeBitmapContext or kPixelTypeConsoleImage
  void* container;    // the CGContext, or the ConsoleImage
  int32_t width;      // pixels
  int32_t height;     // pixels
  int32_t hostValue;  // the host's own
  uint8_t hostFlag;   // the host's own
};

constexpr long kPixelTypeBitmapContext = 8;
constexpr long kPixelTypeConsoleImage = 10;

// A picture of a console or web application: the head of libgd 2's gdImageStruct, as far as its
// true-colour rows. A pixel of `tpixels` is the native word 0xAARRGGBB with a 7-bit alpha, 0 being
// opaque.
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
  int32_t trueColor;
  int32_t** tpixels;  // one pointer per row
};

// A string as hosts before version 2013.0 keep it. Its bytes begin at storage + 1; the byte before
// them is the host's own.
struct LegacyHostString {
  int32_t referenceCount;
  unsigned char* storage;
  int32_t hostValue;
  int32_t length;  // bytes
};

#if defined(__i386__)
static_assert(sizeof(REALmethodDefinition) == 24, "method record");
static_assert(offsetof(REALmethodDefinition, setterFunction) == 4, "method record");
static_assert(offsetof(REALmethodDefinition, declaration) == 8, "method record");
static_assert(offsetof(REALmethodDefinition, flags) == 12, "method record");
static_assert(offsetof(REALmethodDefinition, attributeCount) == 16, "method record");
static_assert(offsetof(REALmethodDefinition, attributes) == 20, "method record");
static_assert(sizeof(REALstringData) == 12, "string data");
static_assert(offsetof(REALstringData, data) == 0, "string data");
static_assert(offsetof(REALstringData, length) == 4, "string data");
static_assert(offsetof(REALstringData, encoding) == 8, "string data");
static_assert(sizeof(REALpictureDescription) == 24, "picture description");
static_assert(offsetof(REALpictureDescription, pixelType) == 0, "picture description");
static_assert(offsetof(REALpictureDescription, container) == 4, "picture description");
static_assert(offsetof(REALpictureDescription, width) == 8, "picture description");
static_assert(offsetof(REALpictureDescription, height) == 12, "picture description");
static_assert(offsetof(REALpictureDescription, hostValue) == 16, "picture description");
static_assert(offsetof(REALpictureDescription, hostFlag) == 20, "picture description");
static_assert(offsetof(ConsoleImage, pixels) == 0, "console image");
static_assert(offsetof(ConsoleImage, sx) == 4, "console image");
static_assert(offsetof(ConsoleImage, sy) == 8, "console image");
static_assert(offsetof(ConsoleImage, trueColor) == 7224, "console image");
static_assert(offsetof(ConsoleImage, tpixels) == 7228, "console image");
static_assert(offsetof(LegacyHostString, storage) == 4, "host string before 2013.0");
static_assert(offsetof(LegacyHostString, length) == 12, "host string before 2013.0");
#endif

#endif  // PLUGIN_HOST_HOST_TYPES_H_
