// The QuickDraw functions of the ApplicationServices framework. Programs find them by name in the
// loaded framework; this header serves the framework itself and its tests.
//
// A port is a graphics world, or the default port, which is current until a program chooses another
// and which has no pixels. Ports, handles and maps are checked against those that exist: for any
// other (null, disposed of, made up) a function does nothing, and yields null, 0 or false.
//
// What is drawn is black, or comes from a screen. Pixels that would have to be drawn in another way
// are not drawn, and the capture has failed: LockPixels says so.
#ifndef PLATFORM_QUICKDRAW_QUICKDRAW_H_
#define PLATFORM_QUICKDRAW_QUICKDRAW_H_

#include <ApplicationServices/QuickDraw.h>
#include <QRV/Symbol.h>

extern "C" {

// --- Devices: the displays, the main one first. ---

// The first device and the main device, which is the same one; both ask the desktop anew. Null when
// there is none. A device's record stays where it is for the life of the process and is filled
// anew by these two calls, so the handle of a display that has gone is harmless.
GDHandle GetDeviceList() QRV_SYMBOL("GetDeviceList");
GDHandle GetMainDevice() QRV_SYMBOL("GetMainDevice");
GDHandle GetNextDevice(GDHandle device) QRV_SYMBOL("GetNextDevice");

// --- Worlds: memory to draw in, at first all zero. ---

// Depths 8, 16, 24 and 32; paramErr for another one, or a rectangle without positive width and
// height; cDevErr while there is no device, as before the first list of them. There are no colour
// tables: a pixel of depth 8 is a grey level.
QDErr NewGWorld(GWorldPtr* world, short depth, const Rect* bounds, CTabHandle colors,
                GDHandle device, GWorldFlags flags) QRV_SYMBOL("NewGWorld");
// The default port takes the place of a world that was current.
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
// False when something that was to be copied from a screen is missing.
Boolean LockPixels(PixMapHandle map) QRV_SYMBOL("LockPixels");
void UnlockPixels(PixMapHandle map) QRV_SYMBOL("UnlockPixels");
Ptr GetPixBaseAddr(PixMapHandle map) QRV_SYMBOL("GetPixBaseAddr");
// The distance between rows; a pixel map's own field has no room for that of a wide world.
long GetPixRowBytes(PixMapHandle map) QRV_SYMBOL("GetPixRowBytes");
short GetPixDepth(PixMapHandle map) QRV_SYMBOL("GetPixDepth");

// --- Drawing in the current port ---

Pattern* GetQDGlobalsBlack(Pattern* black) QRV_SYMBOL("GetQDGlobalsBlack");
// Do nothing: black on white is what ports begin with, and no program asks for anything else.
void ForeColor(long color) QRV_SYMBOL("ForeColor");
void BackColor(long color) QRV_SYMBOL("BackColor");
// Draws with the black pattern, and no other.
void FillRect(const Rect* rect, const Pattern* pattern) QRV_SYMBOL("FillRect");

// --- Rectangles and copying ---

// The common part of two rectangles, (0, 0, 0, 0) when there is none.
Boolean SectRect(const Rect* first, const Rect* second, Rect* common) QRV_SYMBOL("SectRect");

// Copies `sourceRect` of a device into `targetRect` of a world, each in the coordinates of its own
// map, scaling to the nearest pixel and leaving out what lies outside either map. Copies in the
// mode srcCopy, without a mask, and not from a world.
void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) QRV_SYMBOL("CopyBits");

}  // extern "C"

#endif  // PLATFORM_QUICKDRAW_QUICKDRAW_H_
