// Why a desktop failed: the platform's only exception besides std::bad_alloc. Neither leaves the
// frameworks' functions.
#ifndef PLATFORM_DESKTOP_ERROR_H_
#define PLATFORM_DESKTOP_ERROR_H_

#include <screenshotqrv/platform.h>

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace qrv::desktop {

// The values are those that hosts get.
enum class Reason : int32_t {
  kNone = kQRVNoFailure,
  kNoDesktop = kQRVNoDesktop,
  kBadChoice = kQRVBadChoice,
  kUnreachable = kQRVUnreachable,
  kTimeout = kQRVTimeout,
  kRefused = kQRVRefused,
  kDisplayChanged = kQRVDisplayChanged,
  kUnsupported = kQRVUnsupported,
  kNoMemory = kQRVOutOfMemory,
};

inline constexpr char kNoMemoryMessage[] = "out of memory";

class Error : public std::exception {
 public:
  // The message is one line for a person, without a full stop.
  Error(Reason reason, std::string message) : reason_(reason), message_(std::move(message)) {}

  Reason reason() const { return reason_; }
  const char* what() const noexcept override { return message_.c_str(); }

  // Whether the connection to the desktop can't be used again.
  bool LosesConnection() const {
    return reason_ == Reason::kUnreachable || reason_ == Reason::kTimeout;
  }

 private:
  Reason reason_;
  std::string message_;
};

inline Error DisplayChanged() {
  return {Reason::kDisplayChanged, "the display has changed since it was listed"};
}

// The display no longer exists; it was unplugged, for example. A rectangle over several displays
// still shows the others.
class DisplayGone : public Error {
 public:
  DisplayGone() : Error(Reason::kDisplayChanged, "the display is gone") {}
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_ERROR_H_
