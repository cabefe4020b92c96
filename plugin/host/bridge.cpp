#include "plugin/host/bridge.h"

#include "plugin/host/binding.h"

REALresolver gResolver;
double rbversion;

namespace {

void (*pUnlockString)(REALstringStruct*);
void (*pUnlockObject)(REALobjectStruct*);

// Takes one more reference. False when the host can't be told to, but would take the reference back
// that was not taken; where it can do neither, both calls are left out.
template <typename Record>
bool TakeReference(void (*&lock)(Record*), const char* lockName, void (*&unlock)(Record*),
                   const char* unlockName, Record* record) {
  host::Call(lock, lockName, record);
  return lock != nullptr || host::Bind(unlock, unlockName) == nullptr;
}

}  // namespace

void REALRegisterMethod(REALmethodDefinition* method) {
  static void (*pRuntimeRegisterMethod)(REALmethodDefinition*);
  host::Call(pRuntimeRegisterMethod, "PluginRegisterMethod", method);
}

REALstringStruct* originalREALBuildString(const char* bytes, int length) {
  static REALstringStruct* (*pBuildString)(const char*, int);
  return host::Call(pBuildString, "REALBuildString", bytes, length);
}

void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding) {
  static void (*pSetStringEncoding)(REALstringStruct*, unsigned long);
  host::Call(pSetStringEncoding, "REALSetStringEncoding", string, encoding);
}

unsigned long REALGetStringEncoding(REALstringStruct* string) {
  static unsigned long (*pGetStringEncoding)(REALstringStruct*);
  return host::Call(pGetStringEncoding, "REALGetStringEncoding", string);
}

REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding) {
  static REALstringStruct* (*pConvertString)(REALstringStruct*, unsigned long);
  return host::Call(pConvertString, "REALConvertString", string, encoding);
}

bool REALLockString(REALstringStruct* string) {
  static void (*pLockString)(REALstringStruct*);
  return TakeReference(pLockString, "REALLockString", pUnlockString, "REALUnlockString", string);
}

void REALUnlockString(REALstringStruct* string) {
  host::Call(pUnlockString, "REALUnlockString", string);
}

void* REALLoadFrameworkMethod(const char* declaration) {
  static void* (*pLoadGlobalMethod)(void*, const char*);
  return host::Call(pLoadGlobalMethod, "REALLoadGlobalMethod", nullptr, declaration);
}

bool REALLockObject(REALobjectStruct* object) {
  static void (*pLockObject)(REALobjectStruct*);
  return TakeReference(pLockObject, "REALLockObject", pUnlockObject, "REALUnlockObject", object);
}

void REALUnlockObject(REALobjectStruct* object) {
  host::Call(pUnlockObject, "REALUnlockObject", object);
}

bool REALLockObject(REALpictureStruct* picture) { return REALLockObject(AsObject(picture)); }

void REALUnlockObject(REALpictureStruct* picture) { REALUnlockObject(AsObject(picture)); }

void* REALGetClassRef(const char* className) {
  static void* (*pGetClassRef)(const char*);
  return host::Call(pGetClassRef, "pluginObjectType", className);
}

REALobjectStruct* REALnewInstance(const char* className) {
  static REALobjectStruct* (*pNewInstance)(const char*);
  return host::Call(pNewInstance, "PluginNewInstance", className);
}

void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
  static void* (*pLoadObjectMethod)(REALobjectStruct*, const char*);
  return host::Call(pLoadObjectMethod, "REALLoadObjectMethod", object, declaration);
}

bool REALGetPropValueUInt8(REALobjectStruct* object, const char* propertyName, unsigned char* out) {
  static bool (*pGetPropValue)(REALobjectStruct*, const char*, unsigned char*);
  return host::Call(pGetPropValue, "REALGetPropValueBool", object, propertyName, out);
}

REALpictureStruct* REALNewPicture(long width, long height, long depth) {
  static REALpictureStruct* (*pNewPicture)(long, long, long);
  return host::Call(pNewPicture, "newPicture", width, height, depth);
}

bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* out,
                                long pixelType) {
  static bool (*pLockPictureDescription)(REALpictureStruct*, REALpictureDescription*, long);
  return host::Call(pLockPictureDescription, "REALLockPictureDescription", picture, out, pixelType);
}

void REALUnlockPictureDescription(REALpictureStruct* picture) {
  static void (*pUnlockPictureDescription)(REALpictureStruct*);
  host::Call(pUnlockPictureDescription, "unlockPictureDescription", picture);
}

void REALPictureClearCache(REALpictureStruct* picture) {
  static void (*pPictureClearCache)(REALpictureStruct*);
  host::Call(pPictureClearCache, "REALPictureClearCache", picture);
}

REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char flag) {
  static REALpictureStruct* (*pGetPictureMask)(REALpictureStruct*, unsigned char);
  return host::Call(pGetPictureMask, "REALGetPictureMask", picture, flag);
}

REALobjectStruct* REALGetPictureGraphics(REALpictureStruct* picture) {
  static REALobjectStruct* (*pGetPictureGraphics)(REALpictureStruct*);
  return host::Call(pGetPictureGraphics, "pluginPictureGraphicsGetter", picture);
}
