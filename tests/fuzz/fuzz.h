// What the fuzz targets share.
#ifndef TESTS_FUZZ_FUZZ_H_
#define TESTS_FUZZ_FUZZ_H_

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "plugin/host/bridge.h"
#include "plugin/picture/picture_editor.h"
#include "runtime/host.h"

namespace qrv::fuzz {

// What the target tries, for a person who looks at a finding.
inline std::string currentCase;

// A finding unless it holds.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Broken: %s; %s\n", what, currentCase.c_str());
  std::abort();
}

// A rectangle as an entry of a layout.
template <typename Rectangle>
std::string Entry(const Rectangle& r) {
  const auto place = [](int32_t at) { return (at < 0 ? "" : "+") + std::to_string(at); };
  return std::to_string(r.width) + "x" + std::to_string(r.height) + place(r.x) + place(r.y);
}

// A host of any kind, with any version, or none.
inline runtime::HostOptions PickHost(FuzzedDataProvider& input) {
  using runtime::ApplicationKind;
  runtime::HostOptions options;
  options.application = input.PickValueInArray(
      {ApplicationKind::kDesktop, ApplicationKind::kConsole, ApplicationKind::kWeb});
  options.picturesHaveAlpha = input.ConsumeBool();
  options.version =
      input.PickValueInArray({0.0, 2010.0, 2011.04, 2012.0, 2012.99, 2013.0, 2013.03});
  const int kind = input.ConsumeIntegralInRange(0, 7);
  if (kind == 0) options.version.reset();
  if (kind == 1) options.version = input.ConsumeFloatingPoint<double>();
  return options;
}

// Starts the plug-in, which is linked into this program, as if it were new in the process. What it
// has bound it keeps.
inline void StartAnew(runtime::Host& host) {
  IsDesktop = IsConsole = false;
  rbversion = 0;
  host.StartPlugin(REALPluginMain);
}

// The end of a try, with the picture that it made or none.
inline void Finish(runtime::Host& host, REALpictureStruct* picture) {
  host.Release(picture);
  Require(host.Outstanding() == runtime::Ledger{}, "nothing held");
}

}  // namespace qrv::fuzz

#endif  // TESTS_FUZZ_FUZZ_H_
