// The part of CoreFoundation that the plug-in and the host runtime use, under the framework's own
// names, types and constants.
//
// Ownership follows the framework's rule: what a function with "Create" or "Copy" in its name
// returns belongs to the caller, who releases it with CFRelease; what a "Get" function returns
// belongs to the object that it comes from.
#ifndef COREFOUNDATION_COREFOUNDATION_H_
#define COREFOUNDATION_COREFOUNDATION_H_

#include <stdint.h>

#include <QRV/Symbol.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Boolean;
typedef uint8_t UInt8;
typedef int16_t SInt16;
typedef uint16_t UInt16;
typedef int32_t SInt32;
typedef uint32_t UInt32;
typedef SInt16 OSErr;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;

typedef long CFIndex;
typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;
typedef struct __CFBundle* CFBundleRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef const struct __CFNumber* CFNumberRef;

typedef CFIndex CFNumberType;
enum { kCFNumberSInt32Type = 3 };

// A reference to a file or folder that exists. Opaque; made by FSFindFolder.
typedef struct FSRef {
  UInt8 hidden[80];
} FSRef;

extern const CFAllocatorRef kCFAllocatorSystemDefault QRV_SYMBOL("kCFAllocatorSystemDefault");

// A constant string of 7-bit ASCII characters. It lives as long as the code that names it and is
// never released. It can't fail, because it allocates nothing.
#if defined(__MACH__)
#define CFSTR(literal) ((CFStringRef)__builtin___CFStringMakeConstantString("" literal ""))
#else
struct __CFString {
  const char* characters;
};
#define CFSTR(literal)                                           \
  ([]() noexcept -> CFStringRef {                                \
    static constexpr struct __CFString kConstant = {"" literal}; \
    return &kConstant;                                           \
  }())
#endif

// Releases one reference. `object` must not be null.
void CFRelease(CFTypeRef object) QRV_SYMBOL("CFRelease");

// The value stored under `key`, not owned, or null when there is none.
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key)
    QRV_SYMBOL("CFDictionaryGetValue");

// Stores the number at `value` in the representation that `type` names; false when the number does
// not fit it or the type is not supported.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value)
    QRV_SYMBOL("CFNumberGetValue");

// The URL of the file or folder that the reference stands for, or null when it stands for none.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* reference)
    QRV_SYMBOL("CFURLCreateFromFSRef");

// `url` with one more path component; null when memory runs out.
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef component, Boolean isDirectory)
    QRV_SYMBOL("CFURLCreateCopyAppendingPathComponent");

// The bundle whose folder is at `url`, or null when there is no such folder.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url) QRV_SYMBOL("CFBundleCreate");

// Loads the bundle's executable into the process: true when it is loaded.
Boolean CFBundleLoadExecutable(CFBundleRef bundle) QRV_SYMBOL("CFBundleLoadExecutable");

// The address of an exported function of a loaded bundle, or null.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef functionName)
    QRV_SYMBOL("CFBundleGetFunctionPointerForName");

#ifdef __cplusplus
}
#endif

#endif  // COREFOUNDATION_COREFOUNDATION_H_
