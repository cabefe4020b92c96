#include "runtime/entry_points.h"

#include <string_view>
#include <type_traits>

#include "runtime/host_state.h"

namespace qrv::runtime {

namespace {

struct EntryPoint {
  std::string_view name;
  void* address;
  double since = 0.0;  // the first host version that has it
};

// The address of a function that is of the type by which plug-ins call it.
template <typename Function>
void* Address(std::type_identity_t<Function> function) {
  return reinterpret_cast<void*>(function);
}

#define QRV_ENTRY_POINT(name, function) name##Name, Address<name##Function>(function)

const EntryPoint* Find(std::string_view name) {
  static const EntryPoint kEntryPoints[] = {
      {QRV_ENTRY_POINT(REALRegisterPluginVersion, RegisterPluginVersion)},
      {QRV_ENTRY_POINT(REALGetRBVersion, GetRBVersion)},
      {QRV_ENTRY_POINT(REALRegisterMethod, RegisterMethod)},
      {QRV_ENTRY_POINT(REALBuildString, BuildString)},
      {QRV_ENTRY_POINT(REALSetStringEncoding, SetStringEncoding)},
      {QRV_ENTRY_POINT(REALGetStringEncoding, GetStringEncoding)},
      {QRV_ENTRY_POINT(REALConvertString, ConvertString)},
      {QRV_ENTRY_POINT(REALLockString, LockString)},
      {QRV_ENTRY_POINT(REALUnlockString, UnlockString)},
      {QRV_ENTRY_POINT(REALStringGetCString, StringGetCString)},
      {QRV_ENTRY_POINT(REALGetStringData, GetStringData), 2013.0},
      {QRV_ENTRY_POINT(REALDisposeStringData, DisposeStringData), 2013.0},
      {QRV_ENTRY_POINT(REALLoadGlobalMethod, LoadGlobalMethod)},
      {QRV_ENTRY_POINT(REALLockObject, LockObject)},
      {QRV_ENTRY_POINT(REALUnlockObject, UnlockObject)},
      {QRV_ENTRY_POINT(REALNewPicture, NewPicture)},
      {QRV_ENTRY_POINT(REALLockPictureDescription, LockPictureDescription)},
      {QRV_ENTRY_POINT(REALUnlockPictureDescription, UnlockPictureDescription)},
      {QRV_ENTRY_POINT(REALPictureClearCache, PictureClearCache)},
      {QRV_ENTRY_POINT(REALGetPictureMask, GetPictureMask)},
      {QRV_ENTRY_POINT(REALGetPictureGraphics, GetPictureGraphics)},
      {QRV_ENTRY_POINT(REALGetPropValueBool, GetPropValueBool)},
      {QRV_ENTRY_POINT(REALGetClassRef, GetClassRef)},
      {QRV_ENTRY_POINT(REALNewInstance, NewInstance)},
      {QRV_ENTRY_POINT(REALLoadObjectMethod, LoadObjectMethod)},
  };
  for (const EntryPoint& entry : kEntryPoints) {
    if (entry.name == name) return &entry;
  }
  return nullptr;
}

}  // namespace

void* ResolveEntryPoint(const char* name) noexcept {
  const HostState* host = CurrentHost();
  if (host == nullptr || name == nullptr ||
      host->options.missing.contains(std::string_view(name))) {
    return nullptr;
  }
  const EntryPoint* entry = Find(name);
  if (entry == nullptr || (entry->since > 0.0 && IsOlderThan(*host, entry->since))) return nullptr;
  const bool statesVersion = host->options.version.has_value();
  return entry->name == REALGetRBVersionName && !statesVersion ? nullptr : entry->address;
}

double GetRBVersion() noexcept {
  const HostState* host = CurrentHost();
  return host == nullptr ? 0.0 : host->options.version.value_or(0.0);
}

void RegisterPluginVersion(int code) noexcept {
  if (HostState* host = CurrentHost()) host->interfaceVersion = code;
}

void RegisterMethod(REALmethodDefinition* definition) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr) return;
  if (definition == nullptr || definition->declaration == nullptr) {
    ++host->ledger.violations;
    return;
  }
  Guarded([=] {
    host->methods.push_back({definition->function, definition->declaration, definition->flags});
  });
}

}  // namespace qrv::runtime
