// The QuickDraw functions of the ApplicationServices framework. Programs find them by name in the
// loaded framework; this header serves the framework itself and its tests.
//
// A port is a graphics world, or the default port, which is current until a program sets another
// and has no pixels. Functions accept only ports, handles and maps that exist: for any other (null,
// disposed of, made up) they do nothing and return null, 0 or false.
//
// Drawing is limited to black, and to copies from a screen. Anything else is not drawn and fails
// the capture, which LockPixels reports.
#ifndef PLATFORM_QUICKDRAW_QUICKDRAW_H_
#define PLATFORM_QUICKDRAW_QUICKDRAW_H_

#include <ApplicationServices/QuickDraw.h>
#include <QRV/Symbol.h>

extern "C" {

// --- Devices: the displays, the main one first. ---

// The first device and the main device, which are the same; both ask the desktop for its displays.
// Null when there is none. These two calls fill in the records of devices, which keep their
// addresses for the life of the process, so that the handle of a display that is gone is harmless.
GDHandle GetDeviceList() QRV_SYMBOL("GetDeviceList");
GDHandle GetMainDevice() QRV_SYMBOL("GetMainDevice");
GDHandle GetNextDevice(GDHandle device) QRV_SYMBOL("GetNextDevice");

// --- Worlds: memory to draw in, at first all zero. ---

// Depths 8, 16, 24 and 32; paramErr for another one, or a rectangle without positive width and
// height; cDevErr while there is no device, as before the first list of them. There are no colour
// tables: a pixel of depth 8 is a grey level.
QDErr NewGWorld(GWorldPtr* world, short depth, const Rect* bounds, CTabHandle colors,
                GDHandle device, GWorldFlags flags) QRV_SYMBOL("NewGWorld");
// When the world is current, the default port becomes current.
void DisposeGWorld(GWorldPtr world) QRV_SYMBOL("DisposeGWorld");

// --- Ports ---

void GetPort(GrafPtr* port) QRV_SYMBOL("GetPort");
void SetPort(GrafPtr port) QRV_SYMBOL("SetPort");
void SetGWorld(GWorldPtr world, GDHandle device) QRV_SYMBOL("SetGWorld");
// Fills `bounds` and returns it.
Rect* GetPortBounds(GrafPtr port, Rect* bounds) QRV_SYMBOL("GetPortBounds");
const BitMap* GetPortBitMapForCopyBits(GrafPtr port) QRV_SYMBOL("GetPortBitMapForCopyBits");

// --- Pixel maps, of worlds and of devices. The pixels of a device have no address. ---

PixMapHandle GetGWorldPixMap(GWorldPtr world) QRV_SYMBOL("GetGWorldPixMap");
// False when the capture has failed.
Boolean LockPixels(PixMapHandle map) QRV_SYMBOL("LockPixels");
void UnlockPixels(PixMapHandle map) QRV_SYMBOL("UnlockPixels");
Ptr GetPixBaseAddr(PixMapHandle map) QRV_SYMBOL("GetPixBaseAddr");
// Bytes from one row to the next; a pixel map's own field is too small for a wide world.
long GetPixRowBytes(PixMapHandle map) QRV_SYMBOL("GetPixRowBytes");
short GetPixDepth(PixMapHandle map) QRV_SYMBOL("GetPixDepth");

// --- Drawing in the current port ---

Pattern* GetQDGlobalsBlack(Pattern* black) QRV_SYMBOL("GetQDGlobalsBlack");
// Do nothing: ports begin with black on white, which is all that is supported.
void ForeColor(long color) QRV_SYMBOL("ForeColor");
void BackColor(long color) QRV_SYMBOL("BackColor");
// Supports only the black pattern.
void FillRect(const Rect* rect, const Pattern* pattern) QRV_SYMBOL("FillRect");

// --- Rectangles and copying ---

// The intersection of two rectangles. False, and (0, 0, 0, 0), when it is empty.
Boolean SectRect(const Rect* first, const Rect* second, Rect* common) QRV_SYMBOL("SectRect");

// Copies `sourceRect` of a device into `targetRect` of a world, each in the coordinates of its map,
// clipped to both maps. Averages when it shrinks, and takes the nearest pixel when it enlarges.
// Supports only the mode srcCopy, without a mask, from a device.
void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) QRV_SYMBOL("CopyBits");

}  // extern "C"

#endif  // PLATFORM_QUICKDRAW_QUICKDRAW_H_
