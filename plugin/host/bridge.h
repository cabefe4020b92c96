// The bridge to the host: one wrapper per host entry point. The plug-in links against nothing of
// the host; each wrapper looks its entry point up by name at first use.
//
// A host may lack any entry point. The wrapper then does nothing and returns nil, 0 or false, which
// the caller treats like a failure of the host.
//
// References: what a creating call returns (REALNewPicture, REALnewInstance,
// originalREALBuildString, REALConvertString, REALGetPictureMask, REALGetPictureGraphics) carries
// one host reference, which the receiver releases with the matching unlock call or passes on.
// A lock call adds one. It is false when it added none and the host has the unlock call, which must
// not be called for it then. A host with neither call needs neither.
#ifndef PLUGIN_HOST_BRIDGE_H_
#define PLUGIN_HOST_BRIDGE_H_

#include <screenshotqrv/host.h>

// The host's resolver; null until the host has started the plug-in.
extern REALresolver gResolver;

// The host's version number, for example 2012.0; 0.0 when the host reports none. Variants of the
// host's interface are chosen by it only.
extern double rbversion;

void REALRegisterMethod(REALmethodDefinition* method);

// --- Strings ---

// A new string holding a copy of the bytes, or nil.
REALstringStruct* originalREALBuildString(const char* bytes, int length);
void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding);
unsigned long REALGetStringEncoding(REALstringStruct* string);
// A new string of the same text in another encoding, or nil.
REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding);
bool REALLockString(REALstringStruct* string);
void REALUnlockString(REALstringStruct* string);

// Describes the string's bytes in the requested encoding; kRawBytesEncoding requests them as they
// are stored. When true, the record belongs to the caller, who releases it once with
// REALDisposeStringData: by the host's own function if the host filled the record and has that
// function, else with free(). When false, there is nothing to release: the host refused, the string
// is nil, its bytes are unavailable or can't be converted, or there is no memory.
bool REALGetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out);
void REALDisposeStringData(REALstringData* data);

// The address of a global function of the host's language, by its declaration, or null.
void* REALLoadFrameworkMethod(const char* declaration);

// --- Objects ---

bool REALLockObject(REALobjectStruct* object);
void REALUnlockObject(REALobjectStruct* object);
bool REALLockObject(REALpictureStruct* picture);
void REALUnlockObject(REALpictureStruct* picture);
// The class of that name, or nil when the application has none.
void* REALGetClassRef(const char* className);
REALobjectStruct* REALnewInstance(const char* className);
// The address of the object's method, by its declaration; called with the object first.
void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration);
// True when the property was read; `out` is untouched otherwise.
bool REALGetPropValueUInt8(REALobjectStruct* object, const char* propertyName, unsigned char* out);

// --- Pictures ---

// A new picture of that size in pixels, or nil.
REALpictureStruct* REALNewPicture(long width, long height, long depth);
// Locks the picture's pixels in the form that `pixelType` names and describes them.
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* out,
                                long pixelType);
void REALUnlockPictureDescription(REALpictureStruct* picture);
// Tells the host that the picture's pixels have changed.
void REALPictureClearCache(REALpictureStruct* picture);
REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char flag);
REALobjectStruct* REALGetPictureGraphics(REALpictureStruct* picture);

// A picture is an object.
inline REALobjectStruct* AsObject(REALpictureStruct* picture) {
  return reinterpret_cast<REALobjectStruct*>(picture);
}

#endif  // PLUGIN_HOST_BRIDGE_H_
