// The bytes of strings, by either generation of the host's string services.

#include <stdlib.h>
#include <string.h>

#include "plugin/host/binding.h"
#include "plugin/host/bridge.h"

namespace {

REALGetStringDataFunction pGetStringData;

// The services of older hosts.
struct StringServices {
  REALStringGetCStringFunction bytes;
  REALLenBFunction length;
};

// False when the host lacks either service.
bool BindStringServices(StringServices& services) {
  static REALStringGetCStringFunction pCString;
  static REALLenBFunction pLenB;
  host::Bind(pCString, REALStringGetCStringName);
  if (pLenB == nullptr) {
    pLenB = reinterpret_cast<REALLenBFunction>(REALLoadFrameworkMethod(REALLenBDeclaration));
  }
  services = {pCString, pLenB};
  return pCString != nullptr && pLenB != nullptr;
}

// Fills the record with a copy of the string's bytes, followed by four zero bytes.
bool CopyBytes(const StringServices& services, REALstringStruct* string, unsigned long encoding,
               REALstringData* out) {
  constexpr char kTerminator[4] = {};
  const int length = services.length(string);
  const char* bytes = services.bytes(string);
  if (length < 0 || (length > 0 && bytes == nullptr)) return false;
  const size_t size = static_cast<size_t>(length);
  char* copy = static_cast<char*>(malloc(size + sizeof(kTerminator)));
  if (copy == nullptr) return false;
  if (size > 0) memcpy(copy, bytes, size);
  memcpy(copy + size, kTerminator, sizeof(kTerminator));
  *out = {copy, static_cast<uint32_t>(length), static_cast<uint32_t>(encoding)};
  return true;
}

}  // namespace

bool REALGetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  if (host::Bind(pGetStringData, REALGetStringDataName) != nullptr) {
    return pGetStringData(string, encoding, out);
  }
  StringServices services;
  if (!BindStringServices(services) || string == nullptr) return false;
  if (encoding == kRawBytesEncoding || REALGetStringEncoding(string) == encoding) {
    return CopyBytes(services, string, encoding, out);
  }
  REALstringStruct* converted = REALConvertString(string, encoding);
  if (converted == nullptr) return false;
  const bool copied = CopyBytes(services, converted, encoding, out);
  REALUnlockString(converted);
  return copied;
}

void REALDisposeStringData(REALstringData* data) {
  static REALDisposeStringDataFunction pDisposeStringData;
  host::Bind(pDisposeStringData, REALDisposeStringDataName);
  // A host may have this function without the one that fills records. Then the plug-in allocated
  // the bytes itself, and frees them.
  if (pDisposeStringData != nullptr && pGetStringData != nullptr) {
    pDisposeStringData(data);
  } else {
    free(data->data);
  }
}
