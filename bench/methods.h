// The plug-in's seven methods in a host, each as one call that also releases its result.
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

// Makes each call from now on run like the first one in the host.
void CaptureAsIfOnce();

Call CaptureMain(runtime::Host& host);
Call CaptureRect(runtime::Host& host, int32_t width, int32_t height);

// All seven, for a display of that size: rectangles cover all of it, and the scaled one halves it.
std::vector<Method> AllMethods(runtime::Host& host, int32_t width, int32_t height);

}  // namespace qrv::bench

#endif  // BENCH_METHODS_H_
