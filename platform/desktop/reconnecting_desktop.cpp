#include "platform/desktop/reconnecting_desktop.h"

#include <exception>
#include <system_error>
#include <utility>

#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

// A program's capture makes several calls. The first one that meets a hung desktop waits kPatience;
// those that follow within kSuspicion of a call that timed out give it only kShortPatience to
// greet, so that all of them together stay within a few seconds. One that runs again greets in that
// time, and then has kPatience as ever.
constexpr std::chrono::milliseconds kSuspicion{1000};
constexpr std::chrono::milliseconds kShortPatience{150};

}  // namespace

ReconnectingDesktop::ReconnectingDesktop(std::string name, std::string peer, Opener open)
    : name_(std::move(name)), peer_(std::move(peer)), open_(std::move(open)) {}

bool ReconnectingDesktop::ListDisplays(std::vector<Display>& displays) {
  return Call([this] { return Connect(); },
              [&](Link& link) { return link.ListDisplays(displays, problem_); });
}

// The displays are those that the connection has listed. Another one would show another screen:
// that of a server that has been started anew, for example.
Frame ReconnectingDesktop::Capture(const Display& display, const PixelRect& part, bool& isGone) {
  Frame frame;
  Call([this] { return IsConnected(); },
       [&](Link& link) {
         frame = link.Capture(display.id, part, isGone, problem_);
         return static_cast<bool>(frame);
       });
  return frame;
}

bool ReconnectingDesktop::Expect(std::span<const Share> shares) {
  return Call([this] { return IsConnected(); }, [&](Link& link) { return link.Expect(shares); });
}

// Runs an operation on a live connection. A connection that is lost meanwhile is closed, and the
// next list opens another; so is one that an exception left in the middle of its replies.
template <typename Connector, typename Operation>
bool ReconnectingDesktop::Call(Connector connect, Operation operation) {
  const SigpipeGuard noSigpipe;
  try {
    if (!connect()) return false;
    const bool isDone = operation(*link_);
    if (link_->IsLost()) {
      Disconnect();
      return false;
    }
    lastTimeout_.reset();
    return isDone;
  } catch (const std::system_error&) {
    link_.reset();
    problem_ = "no thread can be started to watch over " + peer_;
    return false;
  } catch (const std::exception&) {
    link_.reset();
    problem_ = kNoMemory;
    return false;
  }
}

// Whether the connection that listed the displays is there.
bool ReconnectingDesktop::IsConnected() {
  if (!link_) return false;  // the call that lost it has said why
  if (link_->IsInherited()) {
    link_.reset();
    problem_ = "the displays were listed by another process";
    return false;
  }
  problem_.clear();
  link_->BeginWaiting();
  if (!link_->IsLost()) return true;
  Disconnect();
  return false;
}

bool ReconnectingDesktop::Connect() {
  if (IsConnected()) return true;
  problem_.clear();
  const Clock::time_point now = Clock::now();
  const bool isSuspect = lastTimeout_ && now - *lastTimeout_ < kSuspicion;
  bool timedOut = false;
  link_ = open_(now + (isSuspect ? kShortPatience : kPatience), problem_, timedOut);
  if (timedOut) lastTimeout_ = Clock::now();
  return link_ != nullptr;
}

void ReconnectingDesktop::Disconnect() {
  const bool timedOut = link_->TimedOut();
  const std::string complaint = link_->Complaint();
  problem_ = peer_ + (timedOut ? " does not answer" : " closed the connection");
  if (!complaint.empty()) problem_ += ": " + complaint;
  link_.reset();
  if (timedOut) lastTimeout_ = Clock::now();
}

}  // namespace qrv::desktop
