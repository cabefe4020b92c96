#include "runtime/registration.h"

#include "runtime/state.h"

namespace qrv::runtime {

double GetRBVersion() noexcept {
  const HostState* host = CurrentHost();
  return host == nullptr ? 0.0 : host->options.version.value_or(0.0);
}

void RegisterPluginVersion(int code) noexcept {
  if (HostState* host = CurrentHost()) {
    host->interfaceVersion = code;
  }
}

void RegisterMethod(REALmethodDefinition* definition) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr) {
    return;
  }
  if (definition == nullptr || definition->declaration == nullptr) {
    ++host->ledger.violations;
    return;
  }
  UnlessOutOfMemory(false, [=] {
    host->methods.push_back({definition->function, definition->declaration, definition->flags});
    return true;
  });
}

}  // namespace qrv::runtime
