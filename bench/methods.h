// The plug-in's seven methods in a host, each as one call that takes and gives back its result.
#ifndef BENCH_METHODS_H_
#define BENCH_METHODS_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runtime/host.h"

namespace qrv::bench {

// False when the method gives nil.
using Call = std::function<bool()>;

struct Method {
  std::string name;
  Call call;
};

// "desktop" or "console"; throws std::runtime_error for anything else and when the plug-in can't
// be loaded.
std::unique_ptr<runtime::Host> StartHost(const std::string& form);

// From now on the host finds at each call what one finds that has called nothing before.
void CaptureAsIfOnce();

Call CaptureMain(runtime::Host& host);
Call CaptureRect(runtime::Host& host, int32_t width, int32_t height);

// All seven, of a display of that size: rectangles are the whole of it, the scaled one halves it.
std::vector<Method> AllMethods(runtime::Host& host, int32_t width, int32_t height);

}  // namespace qrv::bench

#endif  // BENCH_METHODS_H_
