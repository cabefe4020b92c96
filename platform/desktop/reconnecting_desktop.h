// A desktop of another process: what all of those share in being connected, lost, and connected
// again.
#ifndef PLATFORM_DESKTOP_RECONNECTING_DESKTOP_H_
#define PLATFORM_DESKTOP_RECONNECTING_DESKTOP_H_

#include <unistd.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/desktop.h"
#include "platform/desktop/waiting.h"

namespace qrv::desktop {

// A connection to a desktop, with what is known of it. Its functions give up when kPatience has
// passed since BeginWaiting.
class Link {
 public:
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  virtual ~Link() = default;

  // Starts a call: drops what was sent unasked and gives the other side kPatience from now.
  virtual void BeginWaiting() = 0;

  // The connection is of no use any more: closed, or timed out.
  virtual bool IsLost() const = 0;
  virtual bool TimedOut() const = 0;
  // The other side's own words on why it closed the connection; empty when it said nothing.
  virtual const char* Complaint() const { return ""; }

  // As Desktop's; one line in `problem` when they fail on a connection that is not lost.
  virtual bool ListDisplays(std::vector<Display>& displays, std::string& problem) = 0;
  virtual Frame Capture(uint32_t displayId, const PixelRect& part, bool& isGone,
                        std::string& problem) = 0;
  virtual bool Expect(std::span<const Share>) = 0;
  virtual const char* Note() const { return ""; }
  virtual const char* Way() const = 0;

  // Whether it was opened in another process, of which this one is a fork. Its destruction leaves
  // the connection to that process then.
  bool IsInherited() const { return getpid() != process_; }

 private:
  pid_t process_ = getpid();
};

class ReconnectingDesktop : public Desktop {
 public:
  // Opens a link; the other side has until `greetBy` to greet and kPatience for all of it. Null,
  // and one line in `problem`, when it can't be done; `timedOut` says whether that was for want of
  // an answer. May throw std::bad_alloc and std::system_error (no thread to be had).
  using Opener =
      std::function<std::unique_ptr<Link>(Deadline greetBy, std::string& problem, bool& timedOut)>;

  // `name` is what a person calls the desktop, `peer` the other process. Connects on first use.
  ReconnectingDesktop(std::string name, std::string peer, Opener open);

  bool ListDisplays(std::vector<Display>& displays) override;
  Frame Capture(const Display& display, const PixelRect& part, bool& isGone) override;
  bool Expect(std::span<const Share> shares) override;
  const char* Name() const override { return name_.c_str(); }
  const char* Problem() const override { return problem_.c_str(); }
  const char* Note() const override { return link_ ? link_->Note() : ""; }
  const char* Way() const override { return link_ ? link_->Way() : ""; }

 private:
  template <typename Connector, typename Operation>
  bool Call(Connector connect, Operation operation);
  bool IsConnected();
  bool Connect();
  void Disconnect();

  std::string name_;
  std::string peer_;
  Opener open_;
  std::string problem_;
  std::unique_ptr<Link> link_;
  std::optional<Clock::time_point> lastTimeout_;  // none since the last call that succeeded
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_RECONNECTING_DESKTOP_H_
