// Reference-counted strings of the host: bytes with the code of their encoding.
#ifndef RUNTIME_STRINGS_H_
#define RUNTIME_STRINGS_H_

#include <string_view>

#include <screenshotqrv/host.h>

#include "runtime/blocks.h"
#include "runtime/host_state.h"

struct REALstringStruct {
  // Plug-ins read this on hosts before version 2013.0. Newer hosts fill in only the reference
  // count, so that a plug-in that still reads the bytes in place finds none.
  LegacyHostString head;
  // The host's own byte, the string's bytes, a terminating zero.
  qrv::runtime::Block block;
  int32_t length;  // bytes
  int32_t locks;
  uint32_t encoding;

  char* Bytes() const { return reinterpret_cast<char*>(block.get()) + 1; }
};

namespace qrv::runtime {

// The encoding of a string that was built without one: the system's own.
constexpr uint32_t kSystemEncoding = 0;

// A new string with a copy of the bytes and one reference. Throws std::bad_alloc.
REALstringStruct* MakeString(HostState& host, std::string_view bytes, uint32_t encoding);

bool IsAlive(const HostState& host, const REALstringStruct* string);
// Drops a reference; destroys the string with the last one.
void DropReference(HostState& host, REALstringStruct* string);

}  // namespace qrv::runtime

#endif  // RUNTIME_STRINGS_H_
