#include "runtime/strings.h"

#include <stdlib.h>
#include <string.h>

#include <limits>
#include <memory>

namespace qrv::runtime {

REALstringStruct* MakeString(HostState& host, std::string_view bytes, uint32_t encoding) {
  if (bytes.size() > std::numeric_limits<int32_t>::max() - 2U) {
    throw std::bad_alloc();
  }
  std::unique_ptr<unsigned char, void (*)(void*)> block(
      static_cast<unsigned char*>(malloc(bytes.size() + 2)), free);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  block.get()[0] = 0;
  if (!bytes.empty()) {
    memcpy(block.get() + 1, bytes.data(), bytes.size());
  }
  block.get()[bytes.size() + 1] = 0;

  auto string = std::make_unique<REALstringStruct>();
  string->length = static_cast<int32_t>(bytes.size());
  string->encoding = encoding;
  string->head.referenceCount = 1;
  if (IsOlderThan(host, 2013.0)) {
    string->head.storage = block.get();
    string->head.length = string->length;
  }
  host.strings.insert(string.get());
  string->block = block.release();
  ++host.ledger.strings;
  ++host.ledger.references;
  return string.release();
}

bool IsAlive(const HostState& host, const REALstringStruct* string) {
  return host.strings.contains(const_cast<REALstringStruct*>(string));
}

void AddReference(HostState& host, REALstringStruct* string) {
  if (!IsAlive(host, string)) {
    ++host.ledger.violations;
    return;
  }
  ++string->head.referenceCount;
  ++host.ledger.references;
}

void DropReference(HostState& host, REALstringStruct* string) {
  if (!IsAlive(host, string)) {
    ++host.ledger.violations;
    return;
  }
  --host.ledger.references;
  if (--string->head.referenceCount > 0) {
    return;
  }
  if (string->locks > 0) {  // somebody gave back a reference that wasn't theirs
    ++host.ledger.violations;
    host.ledger.stringLocks -= string->locks;
  }
  host.strings.erase(string);
  --host.ledger.strings;
  DestroyString(string);
}

void DestroyString(REALstringStruct* string) {
  free(string->block);
  delete string;
}

}  // namespace qrv::runtime
