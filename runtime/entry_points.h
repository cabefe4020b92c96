// The host's entry points: plain functions that the plug-in finds by name, each in the source file
// of its subject. They act on CurrentHost(), and no exception leaves them.
#ifndef RUNTIME_ENTRY_POINTS_H_
#define RUNTIME_ENTRY_POINTS_H_

#include <screenshotqrv/host.h>

namespace qrv::runtime {

// The resolver that the plug-in gets: returns the address of the entry point of exactly that name,
// or null when the current host lacks it.
void* ResolveEntryPoint(const char* name) noexcept;

// Whether the host has the entry point of that name. What a host hands out is counted only if it
// has the entry point that takes it back.
inline bool HasEntryPoint(const char* name) { return ResolveEntryPoint(name) != nullptr; }

// The host's version, such as 2013.03.
double GetRBVersion() noexcept;
// `code` is the version of the interface that the plug-in uses.
void RegisterPluginVersion(int code) noexcept;
// Copies the record.
void RegisterMethod(REALmethodDefinition* definition) noexcept;

REALstringStruct* BuildString(const char* bytes, int length) noexcept;
void SetStringEncoding(REALstringStruct* string, unsigned long encoding) noexcept;
unsigned long GetStringEncoding(REALstringStruct* string) noexcept;
// A new string with the same bytes under another encoding. This host converts only from and to raw
// bytes, which leaves the bytes as they are; nil for any other pair of different encodings.
REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) noexcept;
// A lock adds a reference. Unlocking also releases the reference that a new string carries.
void LockString(REALstringStruct* string) noexcept;
void UnlockString(REALstringStruct* string) noexcept;
const char* StringGetCString(REALstringStruct* string) noexcept;
// Hands out a copy of the bytes, which DisposeStringData frees. When the host lacks that, the
// plug-in frees the copy, which then comes from malloc.
bool GetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) noexcept;
void DisposeStringData(REALstringData* data) noexcept;

void LockObject(REALobjectStruct* object) noexcept;
void UnlockObject(REALobjectStruct* object) noexcept;

// A new black picture with one reference; nil unless the depth is 32 and each side 1 ... 32767.
REALpictureStruct* NewPicture(long width, long height, long depth) noexcept;
// Locks the pixels once at a time, in the pixel type of the application's kind, and describes them.
bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                            long pixelType) noexcept;
// Hosts before version 2012.0 expect it even after a refused lock, or when they have no lock call.
void UnlockPictureDescription(REALpictureStruct* picture) noexcept;
void PictureClearCache(REALpictureStruct* picture) noexcept;
// The picture's mask with a new reference, made on demand when `create` is not 0: black, opaque.
REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char create) noexcept;
// The object that draws into the picture, with one reference; nil in console and web applications.
REALobjectStruct* GetPictureGraphics(REALpictureStruct* picture) noexcept;
// Reads the property "HasAlphaChannel" of a picture; false for any other.
bool GetPropValueBool(REALobjectStruct* object, const char* name, unsigned char* out) noexcept;

// A reference to the class of that name, or nil when this kind of application has none.
void* GetClassRef(const char* name) noexcept;
// A new instance with one reference, whose constructor has not run; nil unless of class "Picture".
REALobjectStruct* NewInstance(const char* className) noexcept;
// The address of the object's method, or of the global function, of exactly that declaration; nil
// when there is none. These are a picture's constructor and the functions below.
void* LoadObjectMethod(REALobjectStruct* object, const char* declaration) noexcept;
void* LoadGlobalMethod(void* reserved, const char* declaration) noexcept;

// The source rectangle, in pixels of `image` from its top-left corner, replaces the target
// rectangle, scaled to it by nearest neighbour and clipped to both pictures. A source width or
// height of -10000 stands for the whole image's.
void DrawPicture(REALobjectStruct* graphics, REALpictureStruct* image, int x, int y, int width,
                 int height, int sourceX, int sourceY, int sourceWidth, int sourceHeight) noexcept;
// Bytes in the string.
int LenB(REALstringStruct* string) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_ENTRY_POINTS_H_
