// What libScreenshotPlatform.so tells the host that has loaded ScreenshotQRV.so, for C99 and C++11:
// why a capture was nil, which desktop is captured and by which backend, and the displays. It also
// makes the bitmap contexts that a host needs whose pictures are in desktop form.
//
// The library lies beside the plug-in and is loaded with it. Look its functions up with dlsym, by
// the handle of the plug-in, or link to it: it is CMake's target ScreenshotQRV::platform.
//
// The promise: what a version has stays. Later versions add functions, constants, and members at
// the end of QRVDisplay; they neither remove nor change any.
//
// Call these functions as you call the plug-in's methods, one thread at a time. Text is one line of
// UTF-8 that stays valid until the next call of one of them or of the plug-in.
#ifndef SCREENSHOTQRV_PLATFORM_H_
#define SCREENSHOTQRV_PLATFORM_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The version of this header, and that of the library: at least the header's, or functions of the
// header may be missing from the library.
#define QRV_PLATFORM_VERSION 2
int32_t QRVPlatformVersion(void);

// ---- Why there was nothing ----

enum {
  kQRVNoFailure = 0,
  kQRVNoDesktop = 1,       // the environment names no desktop
  kQRVBadChoice = 2,       // QRV_DESKTOP or QRV_SYSTEM_VERSION makes no sense
  kQRVUnreachable = 3,     // the desktop can't be connected to, hung up, or broke its protocol
  kQRVTimeout = 4,         // the desktop does not answer
  kQRVRefused = 5,         // the desktop said no, or the person it asked said no or nothing
  kQRVDisplayChanged = 6,  // a display was unplugged or changed after it was listed
  kQRVUnsupported = 7,     // the desktop has no capture protocol or pixel format that is known here
  kQRVOutOfMemory = 8,
};

// Why the last list of displays, or the last capture, failed or lacks a display.
int32_t QRVFailure(void);
const char* QRVFailureMessage(void);  // "" for kQRVNoFailure

// What a person can do about a desktop that is not there, as a sentence; "" when there is one.
const char* QRVFailureAdvice(void);

// What is worth knowing of a capture that succeeded, such as that it was slower than it need be;
// "" for nothing.
const char* QRVCaptureNote(void);

// ---- Which desktop ----

enum {
  kQRVNoDesktopKind = 0,
  kQRVX11 = 1,
  kQRVWayland = 2,
  kQRVVirtualDesktop = 3,
};

// The desktop of the last list of displays or capture: its kind, what a person calls it
// ("X11 :0", "the virtual desktop"), and the backend that captures it ("MIT-SHM", "wlr-screencopy";
// "" before the displays were listed).
int32_t QRVDesktopKind(void);
const char* QRVDesktopName(void);
// ":0", "wayland-1", or the layout of a virtual desktop.
const char* QRVDesktopAddress(void);
const char* QRVBackendName(void);

// The values of QRV_DESKTOP, for a help text: "x11, x11:DISPLAY, virtual or virtual:LAYOUT".
const char* QRVDesktopChoices(void);

// Calls `report` when a capture waits for a person, because the desktop asks whether it is allowed;
// null for no call. `message` says what is waited for.
typedef void (*QRVWaitingReport)(const char* message, void* context);
void QRVOnWaiting(QRVWaitingReport report, void* context);

// ---- The displays ----

// A display. Its place is in units of the global display space: y grows downward, the main
// display's top-left corner is (0, 0). Adding (offsetX, offsetY) gives the coordinates that the
// desktop's own programs use.
typedef struct QRVDisplay {
  uint32_t id;  // not 0, and the same as long as the display exists
  int32_t x;
  int32_t y;
  int32_t width;  // in units
  int32_t height;
  int32_t offsetX;
  int32_t offsetY;
  int32_t pixelWidth;  // a dense display has more pixels than units
  int32_t pixelHeight;
  int32_t bitsPerPixel;  // of the screen: 32, 30, 16 or 8
  char name[64];         // as the desktop calls it, "HDMI-1"; may be empty
} QRVDisplay;

// A method takes an index below this.
enum { kQRVMaxDisplayIndex = 32 };

// Lists the displays as they are now, main display first, in the order of the methods' indexes.
// Fills at most `capacity` records of `size` bytes each (sizeof(QRVDisplay)) and returns how many
// displays there are; -1 when there is no desktop.
int32_t QRVListDisplays(QRVDisplay* displays, size_t size, int32_t capacity);

// ---- The windows (version 2) ----

enum {
  kQRVWindowShown = 0,  // on the screen, if other windows don't cover it
  kQRVWindowMinimized = 1,
  kQRVWindowElsewhere = 2,  // on another workspace, or behind a tab
};

// A window. Its places are in units of the global display space, as a display's; a part may lie
// outside of all displays.
typedef struct QRVWindow {
  uint64_t id;  // as the desktop's own programs call it
  int32_t x;    // with title bar and borders, without a shadow
  int32_t y;
  int32_t width;
  int32_t height;
  int32_t contentX;  // without those that the window manager draws
  int32_t contentY;
  int32_t contentWidth;
  int32_t contentHeight;
  int32_t state;
  int32_t isActive;  // 1 for the window that has the keyboard, else 0
  char title[256];
  char program[64];
} QRVWindow;

// Lists the windows as they are now, the top one first. Fills at most `capacity` records of `size`
// bytes each (sizeof(QRVWindow)) and returns how many windows there are; -1 when that fails, as on
// desktops that list their windows to no program. To capture one, capture its rectangle, which
// shows what covers the window as well.
int32_t QRVListWindows(QRVWindow* windows, size_t size, int32_t capacity);

// ---- The pointer (version 2) ----

// Whether captures show the pointer from now on, as it lies on the screen: 1, or 0 as at first.
// QRVCaptureNote says when the desktop has left it out.
void QRVShowPointer(int32_t isShown);

// ---- How ----

// The strategies that have delivered pixels since the last call, as bits.
enum { kQRVDisplayImage = 1, kQRVOpenGL = 2, kQRVQuickDraw = 4 };
uint32_t QRVTakeStrategies(void);

// ---- Pictures in desktop form ----

// The pixel container of such a picture, for REALpictureDescription: `height` rows, the top one
// first, of `width` pixels of 4 bytes, `rowBytes` apart (width * 4 or more). `layout` says how a
// pixel's bytes lie in memory: red, green, blue, and alpha, by which the colours are premultiplied,
// or an unused byte. The pixels stay the caller's, who keeps them until the context is released.
// Null when an argument is out of range or there is no memory.
enum { kQRVLayoutRGBA = 1, kQRVLayoutARGB = 2, kQRVLayoutRGBX = 5, kQRVLayoutXRGB = 6 };
void* QRVCreateBitmapContext(void* pixels, size_t width, size_t height, size_t rowBytes,
                             uint32_t layout);
void QRVReleaseBitmapContext(void* context);  // null does nothing

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // SCREENSHOTQRV_PLATFORM_H_
