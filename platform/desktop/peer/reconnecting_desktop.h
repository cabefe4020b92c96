// A desktop of another process: what all of those share in being connected, lost, and connected
// again.
#ifndef PLATFORM_DESKTOP_PEER_RECONNECTING_DESKTOP_H_
#define PLATFORM_DESKTOP_PEER_RECONNECTING_DESKTOP_H_

#include <unistd.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// A connection to a desktop, with what is known of it. Its functions throw Error: with
// Reason::kUnreachable or kTimeout when the connection is of no use any more, with another reason
// when it is.
class Link {
 public:
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  virtual ~Link() = default;

  // Starts a call: all that is awaited from now on must come by the deadline. Throws when the
  // connection was lost since the last call.
  virtual void BeginCall(Deadline deadline) = 0;

  // As Desktop's.
  virtual std::vector<Display> ListDisplays() = 0;
  virtual Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) = 0;
  virtual std::vector<Window> ListWindows() = 0;
  virtual const char* Backend() const = 0;
  virtual const char* Note() const { return ""; }

  // Whether it was opened in another process, of which this one is a fork. Its destruction leaves
  // the connection to that process then.
  bool IsInherited() const { return getpid() != process_; }

 private:
  pid_t process_ = getpid();
};

class ReconnectingDesktop : public Desktop {
 public:
  // Opens a link, on which a call with that deadline has begun. Throws as a link's functions do.
  using Opener = std::function<std::unique_ptr<Link>(Deadline deadline)>;

  // `name` is what a person calls the desktop. Connects on first use.
  ReconnectingDesktop(std::string name, Opener open);

  std::vector<Display> ListDisplays(Deadline deadline) override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer,
                Deadline deadline) override;
  std::vector<Window> ListWindows(Deadline deadline) override;
  const char* Name() const override { return name_.c_str(); }
  const char* Note() const override { return link_ ? link_->Note() : ""; }
  const char* Backend() const override { return link_ ? link_->Backend() : ""; }

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
