// The part of CoreGraphics that the plug-in and the host runtime use, under the framework's own
// names, types, argument orders and constants.
//
// Display bounds and display image rectangles grow downward from the top-left corner; a bitmap
// context's user space grows upward from its bottom-left corner, while row 0 of its memory is its
// top row. Objects from "Create" functions belong to the caller.
#ifndef APPLICATIONSERVICES_COREGRAPHICS_H_
#define APPLICATIONSERVICES_COREGRAPHICS_H_

#include <CoreFoundation/CoreFoundation.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__LP64__)
typedef double CGFloat;
#else
typedef float CGFloat;
#endif

typedef struct CGPoint {
  CGFloat x;
  CGFloat y;
} CGPoint;

typedef struct CGSize {
  CGFloat width;
  CGFloat height;
} CGSize;

typedef struct CGRect {
  CGPoint origin;
  CGSize size;
} CGRect;

typedef struct CGColorSpace* CGColorSpaceRef;
typedef struct CGImage* CGImageRef;
typedef struct CGContext* CGContextRef;

typedef int32_t CGError;
enum { kCGErrorSuccess = 0, kCGErrorFailure = 1000, kCGErrorIllegalArgument = 1001 };

typedef uint32_t CGDirectDisplayID;
typedef uint32_t CGDisplayCount;
typedef uint32_t CGOpenGLDisplayMask;
enum { kCGNullDirectDisplay = 0 };

typedef int32_t CGColorSpaceModel;
enum {
  kCGColorSpaceModelUnknown = -1,
  kCGColorSpaceModelMonochrome = 0,
  kCGColorSpaceModelRGB = 1,
  kCGColorSpaceModelCMYK = 2
};

// Where a pixel's alpha lies and whether the colours are multiplied by it.
typedef uint32_t CGImageAlphaInfo;
enum {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
  kCGImageAlphaOnly = 7
};

// An alpha info in the low five bits, a byte order above them. The default byte order stores a
// pixel's components in memory in the order that the alpha info's name tells.
typedef uint32_t CGBitmapInfo;
enum { kCGBitmapAlphaInfoMask = 0x1F, kCGBitmapByteOrder32Little = 2 << 12 };

// --- Displays. Bounds are in the global display space, in units; images are in pixels. ---

// The main display's identifier, 0 when there is no display.
CGDirectDisplayID CGMainDisplayID(void);

// Fills `displays` with up to `maxDisplays` identifiers, main display first, and `*displayCount`
// with how many were filled. Not kCGErrorSuccess when the desktop can't be asked.
CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* displays,
                               CGDisplayCount* displayCount);

// The display's rectangle; empty at (0, 0) for an identifier that names no display.
CGRect CGDisplayBounds(CGDirectDisplayID display);

// The display's current mode, with the numbers "BitsPerSample" and "SamplesPerPixel" where the
// system states them. Not owned; valid until the next call. Null for no display.
CFDictionaryRef CGDisplayCurrentMode(CGDirectDisplayID display);

// One bit that stands for the display; 0 for no display.
CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display);

// An image of the whole display, or null.
__attribute__((weak)) CGImageRef CGDisplayCreateImage(CGDirectDisplayID display);

// An image of a part of the display, in units from the display's top-left corner, or null when
// the part does not meet the display or can't be captured.
__attribute__((weak)) CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID display,
                                                             CGRect rect);

// --- Geometry ---

// The common part of two rectangles, or the null rectangle when they have none.
CGRect CGRectIntersection(CGRect first, CGRect second);
bool CGRectIsNull(CGRect rect);

// --- Colour spaces ---

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
// The space of that name ("kCGColorSpaceGenericRGB"), or null when there is none.
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
void CGColorSpaceRelease(CGColorSpaceRef space);

// --- Images ---

// Width and height in pixels; 0 for null.
size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
// The image's colour space, not owned; null when it has none.
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
void CGImageRelease(CGImageRef image);

// --- Bitmap contexts ---

// A context over `data`, or over zeroed memory of its own when `data` is null. 8 bits a component,
// RGB, alpha info 1, 2, 5 or 6 in the default byte order; null for anything else and when there is
// no memory. `bytesPerRow` is at least width x 4. The caller's `data` outlives the context.
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo);
void CGContextRelease(CGContextRef context);

// The address of the context's top-left pixel.
void* CGBitmapContextGetData(CGContextRef context);
size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
size_t CGBitmapContextGetWidth(CGContextRef context);
size_t CGBitmapContextGetHeight(CGContextRef context);
size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context);

// Draws the image into the rectangle of user space, scaled to its size, clipped to the context.
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);
// Makes the rectangle transparent black.
void CGContextClearRect(CGContextRef context, CGRect rect);
// An image of the context's pixels as they are now; later drawing does not change it.
CGImageRef CGBitmapContextCreateImage(CGContextRef context);

#ifdef __cplusplus
}
#endif

#endif  // APPLICATIONSERVICES_COREGRAPHICS_H_
