// A desktop in another process: connecting to it, losing the connection, and connecting again.
#ifndef PLATFORM_DESKTOP_PEER_RECONNECTING_DESKTOP_H_
#define PLATFORM_DESKTOP_PEER_RECONNECTING_DESKTOP_H_

#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// A connection to a desktop, with what is known about that desktop. Its functions throw Error;
// Error::LosesConnection says whether the link is still usable then.
class Link {
 public:
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  virtual ~Link() = default;

  // Begins a call: whatever is awaited from now on must arrive by the deadline. Throws when the
  // connection was lost since the last call.
  virtual void BeginCall(Deadline deadline) = 0;

  // As Desktop's.
  virtual std::vector<Display> ListDisplays() = 0;
  virtual Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) = 0;
  virtual std::vector<Window> ListWindows() = 0;
  virtual const char* backend() const = 0;
  virtual const char* note() const { return ""; }

  // Whether the process that opened it is another one, of which this one is a fork. That process
  // keeps the connection when this link is destroyed.
  bool IsInherited() const { return getpid() != process_; }

 private:
  pid_t process_ = getpid();
};

class ReconnectingDesktop : public Desktop {
 public:
  // Opens a link and begins a call with that deadline. Throws as a link's functions do.
  using Opener = std::function<std::unique_ptr<Link>(Deadline deadline)>;

  // Connects on first use.
  ReconnectingDesktop(std::string name, Opener open);

  std::vector<Display> ListDisplays(Deadline deadline) override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer,
                Deadline deadline) override;
  std::vector<Window> ListWindows(Deadline deadline) override;
  const char* name() const override { return name_.c_str(); }
  const char* backend() const override { return link_ ? link_->backend() : ""; }
  const char* note() const override { return link_ ? link_->note() : ""; }

 private:
  // The connection that listed the displays, on which a call with that deadline has begun.
  Link& ListedLink(Deadline deadline);
  template <typename Operation>
  auto Call(Operation operation) -> decltype(operation());

  std::string name_;
  Opener open_;
  std::unique_ptr<Link> link_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_RECONNECTING_DESKTOP_H_
