// What the running host knows: shared by the entry points, which are plain functions and so find
// it through CurrentHost().
#ifndef RUNTIME_STATE_H_
#define RUNTIME_STATE_H_

#include <new>
#include <unordered_set>
#include <vector>

#include "runtime/host.h"

namespace qrv::runtime {

struct HostState {
  HostOptions options;
  Ledger ledger;
  int interfaceVersion = 0;
  std::vector<RegisteredMethod> methods;
  // Everything alive, so that a pointer from the plug-in can be told from a stale one.
  std::unordered_set<REALobjectStruct*> objects;
  std::unordered_set<REALstringStruct*> strings;
  std::unordered_set<char*> stringData;
};

// The host of this process, or null while there is none.
HostState* CurrentHost();

// A host that states no version counts as older than all.
inline bool IsOlderThan(const HostState& host, double version) {
  return !(host.options.version.value_or(0.0) >= version);
}

// Runs the body of an entry point; its result is `failure` when the host is out of memory, because
// no exception may reach the plug-in.
template <typename Result, typename Work>
Result UnlessOutOfMemory(Result failure, Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return failure;
  }
}

}  // namespace qrv::runtime

#endif  // RUNTIME_STATE_H_
