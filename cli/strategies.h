// The ways to get at the pixels of a display, each tied to the generation of the system that
// tries it first.
#ifndef CLI_STRATEGIES_H_
#define CLI_STRATEGIES_H_

#include <string_view>

#include "runtime/displays.h"

namespace qrv::cli {

struct Strategy {
  std::string_view name;
  const char* systemVersion;
  unsigned facility;  // that delivers its pixels
};

inline constexpr Strategy kStrategies[] = {
    {"display-image", "10.7", runtime::kDisplayImages},
    {"opengl", "10.6", runtime::kOpenGL},
    {"quickdraw", "10.4", runtime::kQuickDraw},
};

}  // namespace qrv::cli

#endif  // CLI_STRATEGIES_H_
