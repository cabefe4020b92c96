#include "runtime/string_services.h"

#include <stdlib.h>
#include <string.h>

#include "runtime/strings.h"

namespace qrv::runtime {

namespace {

// The host when the string is one of its own; else null, and the call is held against the plug-in.
HostState* HostOf(const REALstringStruct* string) {
  HostState* host = CurrentHost();
  if (host == nullptr || IsAlive(*host, string)) {
    return host;
  }
  ++host->ledger.violations;
  return nullptr;
}

bool CanConvert(uint32_t from, unsigned long to) {
  return from == to || from == kRawBytesEncoding || to == kRawBytesEncoding;
}

}  // namespace

REALstringStruct* BuildString(const char* bytes, int length) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr || length < 0 || (bytes == nullptr && length > 0)) {
    return nullptr;
  }
  return UnlessOutOfMemory<REALstringStruct*>(nullptr, [=] {
    return MakeString(*host, {bytes, static_cast<size_t>(length)}, kSystemEncoding);
  });
}

void SetStringEncoding(REALstringStruct* string, unsigned long encoding) noexcept {
  if (HostOf(string) != nullptr) {
    string->encoding = static_cast<uint32_t>(encoding);
  }
}

unsigned long GetStringEncoding(REALstringStruct* string) noexcept {
  return HostOf(string) == nullptr ? 0 : string->encoding;
}

REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) noexcept {
  HostState* host = HostOf(string);
  if (host == nullptr || !CanConvert(string->encoding, encoding)) {
    return nullptr;
  }
  return UnlessOutOfMemory<REALstringStruct*>(nullptr, [=] {
    return MakeString(*host, {string->Bytes(), static_cast<size_t>(string->length)},
                      static_cast<uint32_t>(encoding));
  });
}

void LockString(REALstringStruct* string) noexcept {
  if (HostState* host = HostOf(string)) {
    AddReference(*host, string);
    ++string->locks;
    ++host->ledger.stringLocks;
  }
}

void UnlockString(REALstringStruct* string) noexcept {
  HostState* host = HostOf(string);
  if (host == nullptr) {
    return;
  }
  if (string->locks > 0) {
    --string->locks;
    --host->ledger.stringLocks;
  }
  DropReference(*host, string);
}

const char* StringGetCString(REALstringStruct* string) noexcept {
  return HostOf(string) == nullptr ? nullptr : string->Bytes();
}

int LenB(REALstringStruct* string) noexcept {
  return HostOf(string) == nullptr ? 0 : string->length;
}

bool GetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) noexcept {
  if (string == nullptr) {  // a nil string is a program's empty string, no fault of the plug-in
    return false;
  }
  HostState* host = HostOf(string);
  if (host == nullptr || !CanConvert(string->encoding, encoding)) {
    return false;
  }
  const auto length = static_cast<size_t>(string->length);
  char* copy = static_cast<char*>(malloc(length == 0 ? 1 : length));
  if (copy == nullptr) {
    return false;
  }
  const bool recorded =
      UnlessOutOfMemory(false, [=] { return host->stringData.insert(copy).second; });
  if (!recorded) {
    free(copy);
    return false;
  }
  memcpy(copy, string->Bytes(), length);
  ++host->ledger.stringDataBuffers;
  *out = {copy, static_cast<uint32_t>(length), static_cast<uint32_t>(encoding)};
  return true;
}

void DisposeStringData(REALstringData* data) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr) {
    return;
  }
  if (data == nullptr || host->stringData.erase(data->data) == 0) {
    ++host->ledger.violations;
    return;
  }
  free(data->data);
  --host->ledger.stringDataBuffers;
}

}  // namespace qrv::runtime
