// Which generation of the system the platform plays.
//
// QRV_SYSTEM_VERSION names it, as in "10.6" or "10.10"; 10.7 when it is unset or empty. It is read
// at every use, and never in a process with raised privileges.
#ifndef PLATFORM_SYSTEM_VERSION_H_
#define PLATFORM_SYSTEM_VERSION_H_

#include <optional>

namespace qrv {

struct Version {
  int major;
  int minor;

  constexpr bool IsAtLeast(const Version& other) const {
    return major > other.major || (major == other.major && minor >= other.minor);
  }
};

// Nothing when the variable names no version.
std::optional<Version> SystemVersion() noexcept;

// Whether there is a version and it is that one or later.
bool SystemIsAtLeast(const Version& wanted) noexcept;

}  // namespace qrv

#endif  // PLATFORM_SYSTEM_VERSION_H_
