#include "plugin/quickdraw/quickdraw.h"

#include "plugin/quickdraw/framework_loader.h"

namespace {

// Null until the framework is loaded. Never released.
CFBundleRef ApplicationServicesFramework;

// The function, or null. A failed lookup is not cached.
template <typename Function>
Function* Bind(Function*& cache, CFStringRef name) {
  if (cache != nullptr) return cache;
  if (ApplicationServicesFramework == nullptr) {
    ApplicationServicesFramework = LoadFrameworkBundle(CFSTR("ApplicationServices.framework"));
  }
  if (ApplicationServicesFramework != nullptr) {
    cache = reinterpret_cast<Function*>(
        CFBundleGetFunctionPointerForName(ApplicationServicesFramework, name));
  }
  return cache;
}

template <typename Result, typename... Parameters, typename... Arguments>
Result Call(Result (*&cache)(Parameters...), CFStringRef name, Arguments... arguments) {
  if (Bind(cache, name) == nullptr) return Result();
  return cache(arguments...);
}

}  // namespace

GDHandle GetDeviceList() {
  static GDHandle (*_GetDeviceList)();
  return Call(_GetDeviceList, CFSTR("GetDeviceList"));
}

GDHandle GetNextDevice(GDHandle device) {
  static GDHandle (*_GetNextDevice)(GDHandle);
  return Call(_GetNextDevice, CFSTR("GetNextDevice"), device);
}

GDHandle GetMainDevice() {
  static GDHandle (*_GetMainDevice)();
  return Call(_GetMainDevice, CFSTR("GetMainDevice"));
}

QDErr NewGWorld(GWorldPtr* world, short pixelDepth, const Rect* bounds, CTabHandle colorTable,
                GDHandle device, GWorldFlags flags) {
  static QDErr (*_NewGWorld)(GWorldPtr*, short, const Rect*, CTabHandle, GDHandle, GWorldFlags);
  return Call(_NewGWorld, CFSTR("NewGWorld"), world, pixelDepth, bounds, colorTable, device, flags);
}

void DisposeGWorld(GWorldPtr world) {
  static void (*_DisposeGWorld)(GWorldPtr);
  Call(_DisposeGWorld, CFSTR("DisposeGWorld"), world);
}

PixMapHandle GetGWorldPixMap(GWorldPtr world) {
  static PixMapHandle (*_GetGWorldPixMap)(GWorldPtr);
  return Call(_GetGWorldPixMap, CFSTR("GetGWorldPixMap"), world);
}

const BitMap* GetPortBitMapForCopyBits(GWorldPtr world) {
  static const BitMap* (*_GetPortBitMapForCopyBits)(GWorldPtr);
  return Call(_GetPortBitMapForCopyBits, CFSTR("GetPortBitMapForCopyBits"), world);
}

Rect* GetPortBounds(GWorldPtr world, Rect* bounds) {
  static Rect* (*_GetPortBounds)(GWorldPtr, Rect*);
  return Call(_GetPortBounds, CFSTR("GetPortBounds"), world, bounds);
}

Boolean LockPixels(PixMapHandle pixMap) {
  static Boolean (*_LockPixels)(PixMapHandle);
  return Call(_LockPixels, CFSTR("LockPixels"), pixMap);
}

void UnlockPixels(PixMapHandle pixMap) {
  static void (*_UnlockPixels)(PixMapHandle);
  Call(_UnlockPixels, CFSTR("UnlockPixels"), pixMap);
}

Ptr GetPixBaseAddr(PixMapHandle pixMap) {
  static Ptr (*_GetPixBaseAddr)(PixMapHandle);
  return Call(_GetPixBaseAddr, CFSTR("GetPixBaseAddr"), pixMap);
}

long GetPixRowBytes(PixMapHandle pixMap) {
  static long (*_GetPixRowBytes)(PixMapHandle);
  return Call(_GetPixRowBytes, CFSTR("GetPixRowBytes"), pixMap);
}

short GetPixDepth(PixMapHandle pixMap) {
  static short (*_GetPixDepth)(PixMapHandle);
  return Call(_GetPixDepth, CFSTR("GetPixDepth"), pixMap);
}

void GetPort(GrafPtr* port) {
  static void (*_GetPort)(GrafPtr*);
  Call(_GetPort, CFSTR("GetPort"), port);
}

void SetPort(GrafPtr port) {
  static void (*_SetPort)(GrafPtr);
  Call(_SetPort, CFSTR("SetPort"), port);
}

void SetGWorld(GWorldPtr world, GDHandle device) {
  static void (*_SetGWorld)(GWorldPtr, GDHandle);
  Call(_SetGWorld, CFSTR("SetGWorld"), world, device);
}

void ForeColor(long color) {
  static void (*_ForeColor)(long);
  Call(_ForeColor, CFSTR("ForeColor"), color);
}

void BackColor(long color) {
  static void (*_BackColor)(long);
  Call(_BackColor, CFSTR("BackColor"), color);
}

Pattern* GetQDGlobalsBlack(Pattern* black) {
  static Pattern* (*_GetQDGlobalsBlack)(Pattern*);
  return Call(_GetQDGlobalsBlack, CFSTR("GetQDGlobalsBlack"), black);
}

void FillRect(const Rect* rect, const Pattern* pattern) {
  static void (*_FillRect)(const Rect*, const Pattern*);
  Call(_FillRect, CFSTR("FillRect"), rect, pattern);
}

Boolean SectRect(const Rect* first, const Rect* second, Rect* intersection) {
  static Boolean (*_SectRect)(const Rect*, const Rect*, Rect*);
  return Call(_SectRect, CFSTR("SectRect"), first, second, intersection);
}

void CopyBits(const BitMap* source, const BitMap* destination, const Rect* sourceRect,
              const Rect* destinationRect, short mode, RgnHandle mask) {
  static void (*_CopyBits)(const BitMap*, const BitMap*, const Rect*, const Rect*, short,
                           RgnHandle);
  Call(_CopyBits, CFSTR("CopyBits"), source, destination, sourceRect, destinationRect, mode, mask);
}
