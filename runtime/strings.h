// Reference-counted strings of the host: bytes with the code of their encoding.
#ifndef RUNTIME_STRINGS_H_
#define RUNTIME_STRINGS_H_

#include <string_view>

#include <screenshotqrv/host.h>

#include "runtime/blocks.h"
#include "runtime/host_state.h"

struct REALstringStruct {
  // What plug-ins read on hosts before version 2013.0. Newer hosts keep the reference count alone
  // there, so that a plug-in that still reads the bytes in place gets none.
  LegacyHostString head;
  // The host's own byte, the string's bytes, a terminating zero.
  qrv::runtime::Block block;
  int32_t length;  // bytes
  int32_t locks;
  uint32_t encoding;

  char* Bytes() const { return reinterpret_cast<char*>(block.get()) + 1; }
};

namespace qrv::runtime {

// The encoding of a string whose maker named none: the system's own.
constexpr uint32_t kSystemEncoding = 0;

// A new string with a copy of the bytes and one reference. Throws std::bad_alloc.
REALstringStruct* MakeString(HostState& host, std::string_view bytes, uint32_t encoding);

bool IsAlive(const HostState& host, const REALstringStruct* string);
// Gives a reference back; the string goes with the last one.
void DropReference(HostState& host, REALstringStruct* string);

}  // namespace qrv::runtime

#endif  // RUNTIME_STRINGS_H_
