#include "platform/desktop/peer/reconnecting_desktop.h"

#include <utility>

#include "platform/desktop/peer/signals.h"

namespace qrv::desktop {

ReconnectingDesktop::ReconnectingDesktop(std::string name, Opener open)
    : name_(std::move(name)), open_(std::move(open)) {}

// A connection that an exception leaves in the middle of an exchange is closed; the next list opens
// another.
template <typename Operation>
auto ReconnectingDesktop::Call(Operation operation) -> decltype(operation()) {
  const SigpipeGuard noSigpipe;
  try {
    return operation();
  } catch (const Error& error) {
    if (error.reason() == Reason::kUnreachable || error.reason() == Reason::kTimeout) link_.reset();
    throw;
  } catch (...) {
    link_.reset();
    throw;
  }
}

// A connection that was lost while nothing was asked of it is replaced within the call.
std::vector<Display> ReconnectingDesktop::ListDisplays(Deadline deadline) {
  return Call([&] {
    if (link_ && link_->IsInherited()) link_.reset();
    if (link_) {
      try {
        link_->BeginCall(deadline);
      } catch (const Error&) {
        link_.reset();
      }
    }
    if (!link_) link_ = open_(deadline);
    return link_->ListDisplays();
  });
}

// The displays are those that the connection has listed. Another one would show another screen:
// that of a server that has been started again, for example.
Link& ReconnectingDesktop::ListedLink(Deadline deadline) {
  if (link_ && link_->IsInherited()) link_.reset();
  if (!link_) throw Error(Reason::kUnreachable, "the connection that listed the displays is gone");
  link_->BeginCall(deadline);
  return *link_;
}

Frame ReconnectingDesktop::Capture(const Display& display, const PixelRect& region, Pointer pointer,
                                   Deadline deadline) {
  return Call([&] { return ListedLink(deadline).Capture(display, region, pointer); });
}

std::vector<Window> ReconnectingDesktop::ListWindows(Deadline deadline) {
  return Call([&] { return ListedLink(deadline).ListWindows(); });
}

}  // namespace qrv::desktop
