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

#include <QRV/Symbol.h>

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

// --- Displays. Bounds are in the global display space, in units; images are in pixels. ---

// The main display's identifier, 0 when there is no display.
CGDirectDisplayID CGMainDisplayID(void) QRV_SYMBOL("CGMainDisplayID");

// Fills `displays` with up to `maxDisplays` identifiers, main display first, and `*displayCount`
// with how many were filled. Not kCGErrorSuccess when the desktop is unavailable.
CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* displays,
                               CGDisplayCount* displayCount) QRV_SYMBOL("CGGetActiveDisplayList");

// The display's rectangle; empty at (0, 0) for an identifier that names no display.
CGRect CGDisplayBounds(CGDirectDisplayID display) QRV_SYMBOL("CGDisplayBounds");

// The display's current mode, with the numbers "BitsPerSample" and "SamplesPerPixel" where the
// system states them. Not owned; valid until the next call. Null for no display.
CFDictionaryRef CGDisplayCurrentMode(CGDirectDisplayID display) QRV_SYMBOL("CGDisplayCurrentMode");

// The bit of the display's index in the latest list. 0 for no display, and for those after the
// first 32.
CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display)
    QRV_SYMBOL("CGDisplayIDToOpenGLDisplayMask");

// An image of the whole display, or null.
__attribute__((weak)) CGImageRef CGDisplayCreateImage(CGDirectDisplayID display)
    QRV_SYMBOL("CGDisplayCreateImage");

// An image of a rectangle of the display, in units from the display's top-left corner, or null when
// the two don't intersect.
__attribute__((weak)) CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID display, CGRect rect)
    QRV_SYMBOL("CGDisplayCreateImageForRect");

// --- Geometry ---

// The intersection of two rectangles, or the null rectangle when it is empty.
CGRect CGRectIntersection(CGRect first, CGRect second) QRV_SYMBOL("CGRectIntersection");
bool CGRectIsNull(CGRect rect) QRV_SYMBOL("CGRectIsNull");

// --- Colour spaces ---

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) QRV_SYMBOL("CGColorSpaceCreateDeviceRGB");
// The space of that name ("kCGColorSpaceGenericRGB"), or null when there is none.
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name)
    QRV_SYMBOL("CGColorSpaceCreateWithName");
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) QRV_SYMBOL("CGColorSpaceGetModel");
void CGColorSpaceRelease(CGColorSpaceRef space) QRV_SYMBOL("CGColorSpaceRelease");

// --- Images ---

// Width and height in pixels; 0 for null.
size_t CGImageGetWidth(CGImageRef image) QRV_SYMBOL("CGImageGetWidth");
size_t CGImageGetHeight(CGImageRef image) QRV_SYMBOL("CGImageGetHeight");
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) QRV_SYMBOL("CGImageGetAlphaInfo");
// The image's colour space, not owned; null when it has none.
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) QRV_SYMBOL("CGImageGetColorSpace");
void CGImageRelease(CGImageRef image) QRV_SYMBOL("CGImageRelease");

// --- Bitmap contexts ---

// A context over `data`, or over zeroed memory of its own when `data` is null. 8 bits per
// component, RGB, alpha info 1, 2, 5 or 6 in the default byte order; null for anything else.
// `bytesPerRow` is at least width x 4. The caller's `data` outlives the context. A context
// allocates its own memory only when it is needed; when that fails, its address and its image are
// null.
//
// A context is drawn, then read through its address or made one image of, and then released.
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo)
    QRV_SYMBOL("CGBitmapContextCreate");
void CGContextRelease(CGContextRef context) QRV_SYMBOL("CGContextRelease");

// The address of the context's top-left pixel; null when an image has taken the memory over.
void* CGBitmapContextGetData(CGContextRef context) QRV_SYMBOL("CGBitmapContextGetData");
size_t CGBitmapContextGetBitsPerPixel(CGContextRef context)
    QRV_SYMBOL("CGBitmapContextGetBitsPerPixel");
size_t CGBitmapContextGetWidth(CGContextRef context) QRV_SYMBOL("CGBitmapContextGetWidth");
size_t CGBitmapContextGetHeight(CGContextRef context) QRV_SYMBOL("CGBitmapContextGetHeight");
size_t CGBitmapContextGetBytesPerRow(CGContextRef context)
    QRV_SYMBOL("CGBitmapContextGetBytesPerRow");
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context)
    QRV_SYMBOL("CGBitmapContextGetAlphaInfo");

// Draws the image into the rectangle of user space, clipped to the context. The image's pixels
// replace those of the context, without blending; an image without alpha is drawn with alpha 255.
// The rectangle has the image's size and begins at a whole pixel: an image that would have to be
// scaled, or drawn between pixels, is not drawn, and the context fails.
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image)
    QRV_SYMBOL("CGContextDrawImage");
// Makes the rectangle transparent black.
void CGContextClearRect(CGContextRef context, CGRect rect) QRV_SYMBOL("CGContextClearRect");
// An image of the context's pixels, which takes over their memory. Null for a context over the
// caller's memory, and while pixels are missing that should have been drawn.
CGImageRef CGBitmapContextCreateImage(CGContextRef context)
    QRV_SYMBOL("CGBitmapContextCreateImage");

#ifdef __cplusplus
}
#endif

#endif  // APPLICATIONSERVICES_COREGRAPHICS_H_
