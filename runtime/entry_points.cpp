#include "runtime/entry_points.h"

#include <string_view>

#include "runtime/host_state.h"

namespace qrv::runtime {

namespace {

struct EntryPoint {
  std::string_view name;
  void* address;
  double since = 0.0;  // the first host version that has it
};

template <typename Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

const EntryPoint* Find(std::string_view name) {
  static const EntryPoint kEntryPoints[] = {
      {"RegisterPluginVersion", Address(RegisterPluginVersion)},
      {"REALGetRBVersion", Address(GetRBVersion)},
      {"PluginRegisterMethod", Address(RegisterMethod)},
      {"REALBuildString", Address(BuildString)},
      {"REALSetStringEncoding", Address(SetStringEncoding)},
      {"REALGetStringEncoding", Address(GetStringEncoding)},
      {"REALConvertString", Address(ConvertString)},
      {"REALLockString", Address(LockString)},
      {"REALUnlockString", Address(UnlockString)},
      {"StringGetCString", Address(StringGetCString)},
      {"PluginGetStringData", Address(GetStringData), 2013.0},
      {"PluginDisposeStringData", Address(DisposeStringData), 2013.0},
      {"REALLoadGlobalMethod", Address(LoadGlobalMethod)},
      {"REALLockObject", Address(LockObject)},
      {"REALUnlockObject", Address(UnlockObject)},
      {"newPicture", Address(NewPicture)},
      {"REALLockPictureDescription", Address(LockPictureDescription)},
      {"unlockPictureDescription", Address(UnlockPictureDescription)},
      {"REALPictureClearCache", Address(PictureClearCache)},
      {"REALGetPictureMask", Address(GetPictureMask)},
      {"pluginPictureGraphicsGetter", Address(GetPictureGraphics)},
      {"REALGetPropValueBool", Address(GetPropValueBool)},
      {"pluginObjectType", Address(GetClassRef)},
      {"PluginNewInstance", Address(NewInstance)},
      {"REALLoadObjectMethod", Address(LoadObjectMethod)},
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
  return entry->name == "REALGetRBVersion" && !statesVersion ? nullptr : entry->address;
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
