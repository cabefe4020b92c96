// The host's entry points: plain functions that the plug-in finds by name, each in the source file
// of what it is about. They act on CurrentHost(), and nothing that is thrown leaves them.
#ifndef RUNTIME_ENTRY_POINTS_H_
#define RUNTIME_ENTRY_POINTS_H_

#include <screenshotqrv/host.h>

namespace qrv::runtime {

// The resolver that the host gives to its plug-in: the address of the entry point of exactly that
// name, or null when the current host lacks it.
void* ResolveEntryPoint(const char* name) noexcept;

// Whether what the host hands out can come back to it by the entry point of that name. What can't
// is not counted as handed out.
inline bool TakesBackBy(const char* name) { return ResolveEntryPoint(name) != nullptr; }

// With which a plug-in introduces itself: the host's version, such as 2013.03; the code of the
// interface version that the plug-in speaks; a method of it, whose record is copied.
double GetRBVersion() noexcept;
void RegisterPluginVersion(int code) noexcept;
void RegisterMethod(REALmethodDefinition* definition) noexcept;

REALstringStruct* BuildString(const char* bytes, int length) noexcept;
void SetStringEncoding(REALstringStruct* string, unsigned long encoding) noexcept;
unsigned long GetStringEncoding(REALstringStruct* string) noexcept;
// A new string with the same bytes under another encoding. This host converts only from and to raw
// bytes, which leaves the bytes as they are; nil for any other pair of different encodings.
REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) noexcept;
// A lock is one more reference. Unlocking also gives back a reference that came with the string.
void LockString(REALstringStruct* string) noexcept;
void UnlockString(REALstringStruct* string) noexcept;
const char* StringGetCString(REALstringStruct* string) noexcept;
// Hands out a copy of the bytes, which the host frees when the record is disposed of. It is
// allocated with malloc: of a host that does not dispose of records, the plug-in frees it.
bool GetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) noexcept;
void DisposeStringData(REALstringData* data) noexcept;

void LockObject(REALobjectStruct* object) noexcept;
void UnlockObject(REALobjectStruct* object) noexcept;

// A new black picture with one reference; nil unless the depth is 32 and each side 1 ... 32767.
REALpictureStruct* NewPicture(long width, long height, long depth) noexcept;
// Grants the pixel type of the application's kind, once at a time, and describes the pixels.
bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                            long pixelType) noexcept;
// Hosts before version 2012.0 expect it after a refused lock too; a lock that they lack is refused.
void UnlockPictureDescription(REALpictureStruct* picture) noexcept;
void PictureClearCache(REALpictureStruct* picture) noexcept;
// The picture's mask with a new reference, made on demand when `create` is not 0: black, opaque.
REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char create) noexcept;
// What the picture can be drawn into with, with one reference; nil in console and web applications.
REALobjectStruct* GetPictureGraphics(REALpictureStruct* picture) noexcept;
// The property "HasAlphaChannel" of a picture; false for any other.
bool GetPropValueBool(REALobjectStruct* object, const char* name, unsigned char* out) noexcept;

// A reference to the class of that name, or nil when this kind of application has none.
void* GetClassRef(const char* name) noexcept;
// A new instance with one reference, whose constructor has not run; only class "Picture" has them.
REALobjectStruct* NewInstance(const char* className) noexcept;
// The address of the method that the object has under exactly that declaration, or nil; of the host
// language's global function. Below are those that there are, but for the picture's constructor.
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
