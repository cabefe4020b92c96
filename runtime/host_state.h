// The host's state. Entry points are plain functions, and reach it through CurrentHost().
#ifndef RUNTIME_HOST_STATE_H_
#define RUNTIME_HOST_STATE_H_

#include <new>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "runtime/blocks.h"
#include "runtime/host.h"

namespace qrv::runtime {

struct HostState {
  HostOptions options;
  Ledger ledger;
  int interfaceVersion = 0;
  std::vector<RegisteredMethod> methods;
  // All that is alive, to recognise stale pointers from the plug-in.
  std::unordered_set<REALobjectStruct*> objects;
  std::unordered_set<REALstringStruct*> strings;
  std::unordered_map<char*, Block> stringData;
};

// The host of this process, or null while there is none.
HostState* CurrentHost();

// The host when the string or object is one of its own and alive; else null, and the call counts as
// a violation.
template <typename Record>
HostState* HostOf(Record* record) {
  HostState* host = CurrentHost();
  if (host == nullptr || IsAlive(*host, record)) return host;
  ++host->ledger.violations;
  return nullptr;
}

// A host that states no version counts as older than all.
inline bool IsOlderThan(const HostState& host, double version) {
  return !(host.options.version.value_or(0.0) >= version);
}

// Returns what `call` returns, or an empty value when there is no memory: no exception may reach
// the plug-in.
template <typename Call>
auto Guarded(Call call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return decltype(call())();
  }
}

}  // namespace qrv::runtime

#endif  // RUNTIME_HOST_STATE_H_
