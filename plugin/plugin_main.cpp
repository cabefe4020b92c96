// The entry point, which the host calls once, after it has loaded the plug-in and before any
// method.

#include "plugin/host/bridge.h"
#include "plugin/method_table.h"

namespace {

// The version of the plug-in interface for a host of that version.
int32_t InterfaceVersion(double hostVersion) {
  struct Threshold {
    double hostVersion;
    int32_t code;
  };
  static const Threshold kThresholds[] = {
      {2013.03, kInterfaceVersion2013_03},
      {2013.0, kInterfaceVersion2013},
      {2012.0, kInterfaceVersion2012},
  };
  for (const Threshold& threshold : kThresholds) {
    if (hostVersion >= threshold.hostVersion) return threshold.code;
  }
  return kInterfaceVersionOldest;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALresolver resolver) {
  if (resolver == nullptr) return;
  gResolver = resolver;
  const auto registerVersion =
      reinterpret_cast<REALRegisterPluginVersionFunction>(resolver(REALRegisterPluginVersionName));
  const auto hostVersion =
      reinterpret_cast<REALGetRBVersionFunction>(gResolver(REALGetRBVersionName));
  if (hostVersion != nullptr) rbversion = hostVersion();
  const int32_t interfaceVersion = InterfaceVersion(rbversion);
  if (registerVersion != nullptr) registerVersion(interfaceVersion);
  for (REALmethodDefinition& method : globalMethods) {
    method.flags = AdaptMethodFlags(method.flags, rbversion);
  }
  for (REALmethodDefinition& method : globalMethods) REALRegisterMethod(&method);
}
