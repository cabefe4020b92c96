// QuickDraw's functions, which the plug-in does not link but binds by name at first use. While a
// function is unavailable, a call does nothing and returns null, 0 or false, and the next call
// looks it up again.
#ifndef PLUGIN_QUICKDRAW_QUICKDRAW_H_
#define PLUGIN_QUICKDRAW_QUICKDRAW_H_

#include <ApplicationServices/ApplicationServices.h>

// --- Devices: the screens, in global coordinates ---

GDHandle GetDeviceList();
GDHandle GetNextDevice(GDHandle device);
GDHandle GetMainDevice();

// --- Offscreen worlds ---

// Makes a world of that depth (bits per pixel) and bounds: 0 and the world, or an error. Does not
// write `world` while the function is unavailable.
QDErr NewGWorld(GWorldPtr* world, short pixelDepth, const Rect* bounds, CTabHandle colorTable,
                GDHandle device, GWorldFlags flags);
void DisposeGWorld(GWorldPtr world);
PixMapHandle GetGWorldPixMap(GWorldPtr world);
const BitMap* GetPortBitMapForCopyBits(GWorldPtr world);
Rect* GetPortBounds(GWorldPtr world, Rect* bounds);

// A world's pixels stay in place while they are locked.
Boolean LockPixels(PixMapHandle pixMap);
void UnlockPixels(PixMapHandle pixMap);
Ptr GetPixBaseAddr(PixMapHandle pixMap);
long GetPixRowBytes(PixMapHandle pixMap);
short GetPixDepth(PixMapHandle pixMap);

// --- The current port, and drawing in it ---

void GetPort(GrafPtr* port);
void SetPort(GrafPtr port);
void SetGWorld(GWorldPtr world, GDHandle device);
void ForeColor(long color);
void BackColor(long color);
Pattern* GetQDGlobalsBlack(Pattern* black);
void FillRect(const Rect* rect, const Pattern* pattern);

// --- Rectangles and pixels ---

// True when the two intersect.
Boolean SectRect(const Rect* first, const Rect* second, Rect* intersection);
// Copies the source rectangle onto the destination rectangle, scaled to its size.
void CopyBits(const BitMap* source, const BitMap* destination, const Rect* sourceRect,
              const Rect* destinationRect, short mode, RgnHandle mask);

#endif  // PLUGIN_QUICKDRAW_QUICKDRAW_H_
