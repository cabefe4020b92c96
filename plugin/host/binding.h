// The rule by which every host entry point is bound: it is looked up by name at first use and
// cached once found. A failed lookup is not cached, so the next call looks it up again.
#ifndef PLUGIN_HOST_BINDING_H_
#define PLUGIN_HOST_BINDING_H_

#include "plugin/host/bridge.h"

namespace host {

// The entry point, or null while the host has none of that name.
template <typename Function>
Function* Bind(Function*& cache, const char* name) {
  if (cache == nullptr && gResolver != nullptr) {
    cache = reinterpret_cast<Function*>(gResolver(name));
  }
  return cache;
}

// Calls the entry point with the arguments; returns nil, 0 or false while it is not bound.
template <typename Result, typename... Parameters, typename... Arguments>
Result Call(Result (*&cache)(Parameters...), const char* name, Arguments... arguments) {
  if (Bind(cache, name) == nullptr) return Result();
  return cache(arguments...);
}

}  // namespace host

#endif  // PLUGIN_HOST_BINDING_H_
