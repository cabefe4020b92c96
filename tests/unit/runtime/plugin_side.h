// The host as a plug-in sees it: a resolver, and the entry points under their names.
#ifndef TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_
#define TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_

#include "runtime/host.h"

namespace qrv::runtime {

inline REALresolver receivedResolver = nullptr;

inline void ReceiveResolver(REALresolver resolver) { receivedResolver = resolver; }

inline HostOptions OptionsFor(ApplicationKind application,
                              std::optional<double> version = 2013.03) {
  HostOptions options;
  options.application = application;
  options.version = version;
  return options;
}

// A running host with the calls that a plug-in makes of it.
class PluginSide {
 public:
  explicit PluginSide(HostOptions options = {}) : host(std::move(options)) {
    host.StartPlugin(ReceiveResolver);
  }

  bool Has(const char* name) const { return receivedResolver(name) != nullptr; }

  template <typename Result, typename... Parameters>
  Result Call(const char* name, Parameters... arguments) const {
    return reinterpret_cast<Result (*)(Parameters...)>(receivedResolver(name))(arguments...);
  }

  REALpictureStruct* NewPicture(long width, long height, long depth = 32) const {
    return Call<REALpictureStruct*>("newPicture", width, height, depth);
  }
  bool Lock(REALpictureStruct* picture, REALpictureDescription* description, long type) const {
    return Call<bool>("REALLockPictureDescription", picture, description, type);
  }
  void Unlock(REALpictureStruct* picture) const { Call<void>("unlockPictureDescription", picture); }
  REALpictureStruct* MaskOf(REALpictureStruct* picture) const {
    return Call<REALpictureStruct*>("REALGetPictureMask", picture, static_cast<unsigned char>(1));
  }
  REALobjectStruct* GraphicsOf(REALpictureStruct* picture) const {
    return Call<REALobjectStruct*>("pluginPictureGraphicsGetter", picture);
  }
  void Release(void* object) const {
    Call<void>("REALUnlockObject", static_cast<REALobjectStruct*>(object));
  }
  void* ObjectMethod(void* object, const char* declaration) const {
    return Call<void*>("REALLoadObjectMethod", static_cast<REALobjectStruct*>(object), declaration);
  }
  const Ledger& Outstanding() const { return host.Outstanding(); }

  Host host;
};

}  // namespace qrv::runtime

#endif  // TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_
