#include "runtime/strings.h"

#include <stdlib.h>
#include <string.h>

#include <limits>
#include <memory>
#include <utility>

#include "runtime/entry_points.h"

namespace qrv::runtime {

namespace {

bool CanConvert(uint32_t from, unsigned long to) {
  return from == to || from == kRawBytesEncoding || to == kRawBytesEncoding;
}

// String data to hand out; null when there is no memory. It is counted until it is disposed of; the
// plug-in frees it when the host lacks that entry point.
char* NewStringData(HostState& host, size_t length) {
  if (!HasEntryPoint(REALDisposeStringDataName)) return static_cast<char*>(malloc(length));
  return Guarded([&host, length]() -> char* {
    Block block = NewBlock(length);
    if (!block) return nullptr;
    char* const data = reinterpret_cast<char*>(block.get());
    host.stringData.emplace(data, std::move(block));
    ++host.ledger.stringDataBuffers;
    return data;
  });
}

}  // namespace

REALstringStruct* MakeString(HostState& host, std::string_view bytes, uint32_t encoding) {
  if (bytes.size() > std::numeric_limits<int32_t>::max() - 2U) throw std::bad_alloc();
  Block block = NewBlock(bytes.size() + 2);
  if (!block) throw std::bad_alloc();
  block[0] = 0;
  if (!bytes.empty()) memcpy(&block[1], bytes.data(), bytes.size());
  block[bytes.size() + 1] = 0;

  auto string = std::make_unique<REALstringStruct>();
  string->length = static_cast<int32_t>(bytes.size());
  string->encoding = encoding;
  string->head.referenceCount = 1;
  if (IsOlderThan(host, 2013.0)) {
    string->head.storage = block.get();
    string->head.length = string->length;
  }
  host.strings.insert(string.get());
  string->block = std::move(block);
  ++host.ledger.strings;
  ++host.ledger.references;
  return string.release();
}

bool IsAlive(const HostState& host, const REALstringStruct* string) {
  return host.strings.contains(const_cast<REALstringStruct*>(string));
}

void DropReference(HostState& host, REALstringStruct* string) {
  if (!IsAlive(host, string)) {
    ++host.ledger.violations;
    return;
  }
  --host.ledger.references;
  if (--string->head.referenceCount > 0) return;
  if (string->locks > 0) {  // a lock's reference was released without an unlock
    ++host.ledger.violations;
    host.ledger.stringLocks -= string->locks;
  }
  host.strings.erase(string);
  --host.ledger.strings;
  delete string;
}

REALstringStruct* BuildString(const char* bytes, int length) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr || length < 0 || (bytes == nullptr && length > 0)) return nullptr;
  return Guarded([=] {
    return MakeString(*host, {bytes, static_cast<size_t>(length)}, kSystemEncoding);
  });
}

void SetStringEncoding(REALstringStruct* string, unsigned long encoding) noexcept {
  if (HostOf(string) != nullptr) string->encoding = static_cast<uint32_t>(encoding);
}

unsigned long GetStringEncoding(REALstringStruct* string) noexcept {
  return HostOf(string) == nullptr ? 0 : string->encoding;
}

REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) noexcept {
  HostState* host = HostOf(string);
  if (host == nullptr || !CanConvert(string->encoding, encoding)) return nullptr;
  return Guarded([=] {
    return MakeString(*host, {string->Bytes(), static_cast<size_t>(string->length)},
                      static_cast<uint32_t>(encoding));
  });
}

void LockString(REALstringStruct* string) noexcept {
  HostState* host = HostOf(string);
  if (host != nullptr && HasEntryPoint(REALUnlockStringName)) {
    ++string->head.referenceCount;
    ++host->ledger.references;
    ++string->locks;
    ++host->ledger.stringLocks;
  }
}

void UnlockString(REALstringStruct* string) noexcept {
  HostState* host = HostOf(string);
  if (host == nullptr) return;
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
  if (string == nullptr) return false;  // a program's empty string, which is no violation
  HostState* host = HostOf(string);
  if (host == nullptr || !CanConvert(string->encoding, encoding)) return false;
  const auto length = static_cast<size_t>(string->length);
  char* const data = NewStringData(*host, length == 0 ? 1 : length);
  if (data == nullptr) return false;
  memcpy(data, string->Bytes(), length);
  *out = {data, static_cast<uint32_t>(length), static_cast<uint32_t>(encoding)};
  return true;
}

void DisposeStringData(REALstringData* data) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr) return;
  if (data == nullptr || host->stringData.erase(data->data) == 0) {
    ++host->ledger.violations;
    return;
  }
  --host->ledger.stringDataBuffers;
}

}  // namespace qrv::runtime
