// The host as a plug-in sees it: a resolver, and the entry points under their names.
#ifndef TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_
#define TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_

#include "runtime/host.h"

namespace qrv::runtime {

constexpr long kBitmap = kPixelTypeBitmapContext;
constexpr long kConsole = kPixelTypeConsoleImage;

inline REALresolver receivedResolver = nullptr;

inline HostOptions OptionsFor(ApplicationKind application,
                              std::optional<double> version = 2013.03) {
  HostOptions options;
  options.application = application;
  options.version = version;
  return options;
}

inline HostOptions Version(std::optional<double> version) {
  return OptionsFor(ApplicationKind::kDesktop, version);
}

// A running host with the calls that a plug-in makes of it.
struct PluginSide {
  explicit PluginSide(HostOptions options = {}) : host(std::move(options)) {
    host.StartPlugin([](REALresolver resolver) { receivedResolver = resolver; });
  }

  static bool Has(const char* name) { return receivedResolver(name) != nullptr; }

  template <typename Result = void, typename... Parameters>
  static Result Call(const char* name, Parameters... arguments) {
    return reinterpret_cast<Result (*)(Parameters...)>(receivedResolver(name))(arguments...);
  }

  static REALpictureStruct* NewPicture(long width = 1, long height = 1, long depth = 32) {
    return Call<REALpictureStruct*>("newPicture", width, height, depth);
  }
  static bool Lock(REALpictureStruct* picture, long type = kBitmap,
                   REALpictureDescription* description = nullptr) {
    REALpictureDescription unseen = {};
    return Call<bool>("REALLockPictureDescription", picture,
                      description != nullptr ? description : &unseen, type);
  }
  static void Unlock(REALpictureStruct* picture) { Call("unlockPictureDescription", picture); }
  static REALpictureStruct* MaskOf(REALpictureStruct* picture, unsigned char create = 1) {
    return Call<REALpictureStruct*>("REALGetPictureMask", picture, create);
  }
  static REALobjectStruct* GraphicsOf(REALpictureStruct* picture) {
    return Call<REALobjectStruct*>("pluginPictureGraphicsGetter", picture);
  }
  static void Release(REALobjectStruct* object) { Call("REALUnlockObject", object); }
  static void Release(REALpictureStruct* picture) {
    Release(reinterpret_cast<REALobjectStruct*>(picture));
  }

  Host host;
};

}  // namespace qrv::runtime

#endif  // TESTS_UNIT_RUNTIME_PLUGIN_SIDE_H_
