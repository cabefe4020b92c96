#include "plugin/host/bridge.h"

#include "plugin/host/binding.h"

REALresolver gResolver;
double rbversion;

namespace {

REALUnlockStringFunction pUnlockString;
REALUnlockObjectFunction pUnlockObject;

// Adds a reference. False when the host has no lock call but has the unlock call, which would then
// release a reference that was never added. A host with neither needs neither.
template <typename Record>
bool AddReference(void (*&lock)(Record*), const char* lockName, void (*&unlock)(Record*),
                  const char* unlockName, Record* record) {
  host::Call(lock, lockName, record);
  return lock != nullptr || host::Bind(unlock, unlockName) == nullptr;
}

}  // namespace

void REALRegisterMethod(REALmethodDefinition* method) {
  static REALRegisterMethodFunction pRuntimeRegisterMethod;
  host::Call(pRuntimeRegisterMethod, REALRegisterMethodName, method);
}

REALstringStruct* originalREALBuildString(const char* bytes, int length) {
  static REALBuildStringFunction pBuildString;
  return host::Call(pBuildString, REALBuildStringName, bytes, length);
}

void REALSetStringEncoding(REALstringStruct* string, unsigned long encoding) {
  static REALSetStringEncodingFunction pSetStringEncoding;
  host::Call(pSetStringEncoding, REALSetStringEncodingName, string, encoding);
}

unsigned long REALGetStringEncoding(REALstringStruct* string) {
  static REALGetStringEncodingFunction pGetStringEncoding;
  return host::Call(pGetStringEncoding, REALGetStringEncodingName, string);
}

REALstringStruct* REALConvertString(REALstringStruct* string, unsigned long encoding) {
  static REALConvertStringFunction pConvertString;
  return host::Call(pConvertString, REALConvertStringName, string, encoding);
}

bool REALLockString(REALstringStruct* string) {
  static REALLockStringFunction pLockString;
  return AddReference(pLockString, REALLockStringName, pUnlockString, REALUnlockStringName, string);
}

void REALUnlockString(REALstringStruct* string) {
  host::Call(pUnlockString, REALUnlockStringName, string);
}

void* REALLoadFrameworkMethod(const char* declaration) {
  static REALLoadGlobalMethodFunction pLoadGlobalMethod;
  return host::Call(pLoadGlobalMethod, REALLoadGlobalMethodName, nullptr, declaration);
}

bool REALLockObject(REALobjectStruct* object) {
  static REALLockObjectFunction pLockObject;
  return AddReference(pLockObject, REALLockObjectName, pUnlockObject, REALUnlockObjectName, object);
}

void REALUnlockObject(REALobjectStruct* object) {
  host::Call(pUnlockObject, REALUnlockObjectName, object);
}

bool REALLockObject(REALpictureStruct* picture) { return REALLockObject(AsObject(picture)); }

void REALUnlockObject(REALpictureStruct* picture) { REALUnlockObject(AsObject(picture)); }

void* REALGetClassRef(const char* className) {
  static REALGetClassRefFunction pGetClassRef;
  return host::Call(pGetClassRef, REALGetClassRefName, className);
}

REALobjectStruct* REALnewInstance(const char* className) {
  static REALNewInstanceFunction pNewInstance;
  return host::Call(pNewInstance, REALNewInstanceName, className);
}

void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
  static REALLoadObjectMethodFunction pLoadObjectMethod;
  return host::Call(pLoadObjectMethod, REALLoadObjectMethodName, object, declaration);
}

bool REALGetPropValueUInt8(REALobjectStruct* object, const char* propertyName, unsigned char* out) {
  static REALGetPropValueBoolFunction pGetPropValue;
  return host::Call(pGetPropValue, REALGetPropValueBoolName, object, propertyName, out);
}

REALpictureStruct* REALNewPicture(long width, long height, long depth) {
  static REALNewPictureFunction pNewPicture;
  return host::Call(pNewPicture, REALNewPictureName, width, height, depth);
}

bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* out,
                                long pixelType) {
  static REALLockPictureDescriptionFunction pLockPictureDescription;
  return host::Call(pLockPictureDescription, REALLockPictureDescriptionName, picture, out,
                    pixelType);
}

void REALUnlockPictureDescription(REALpictureStruct* picture) {
  static REALUnlockPictureDescriptionFunction pUnlockPictureDescription;
  host::Call(pUnlockPictureDescription, REALUnlockPictureDescriptionName, picture);
}

void REALPictureClearCache(REALpictureStruct* picture) {
  static REALPictureClearCacheFunction pPictureClearCache;
  host::Call(pPictureClearCache, REALPictureClearCacheName, picture);
}

REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char flag) {
  static REALGetPictureMaskFunction pGetPictureMask;
  return host::Call(pGetPictureMask, REALGetPictureMaskName, picture, flag);
}

REALobjectStruct* REALGetPictureGraphics(REALpictureStruct* picture) {
  static REALGetPictureGraphicsFunction pGetPictureGraphics;
  return host::Call(pGetPictureGraphics, REALGetPictureGraphicsName, picture);
}
