#include "runtime/entry_points.h"

#include <string_view>

#include "runtime/classes.h"
#include "runtime/objects.h"
#include "runtime/picture_services.h"
#include "runtime/registration.h"
#include "runtime/state.h"
#include "runtime/string_services.h"

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
    if (entry.name == name) {
      return &entry;
    }
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
  if (entry == nullptr || (entry->since > 0.0 && IsOlderThan(*host, entry->since))) {
    return nullptr;
  }
  const bool statesVersion = host->options.version.has_value();
  return entry->name == "REALGetRBVersion" && !statesVersion ? nullptr : entry->address;
}

}  // namespace qrv::runtime
