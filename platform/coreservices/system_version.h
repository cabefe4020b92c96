// Which generation of the system the platform plays.
//
// QRV_SYSTEM_VERSION names it, as in "10.6" or "10.10"; 10.7 when it is unset or says anything
// else. It is read at every use, and never in a process with raised privileges.
#ifndef PLATFORM_CORESERVICES_SYSTEM_VERSION_H_
#define PLATFORM_CORESERVICES_SYSTEM_VERSION_H_

namespace qrv::coreservices {

struct Version {
  int major;
  int minor;

  constexpr bool IsAtLeast(const Version& other) const {
    return major > other.major || (major == other.major && minor >= other.minor);
  }
};

Version SystemVersion() noexcept;

}  // namespace qrv::coreservices

#endif  // PLATFORM_CORESERVICES_SYSTEM_VERSION_H_
