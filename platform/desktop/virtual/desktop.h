// A desktop that exists only in memory: displays laid out at will, each showing its test card.
#ifndef PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_
#define PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_

#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

class VirtualDesktop : public Desktop {
 public:
  explicit VirtualDesktop(std::vector<Display> displays);

  std::vector<Display> ListDisplays(Deadline) override { return displays_; }
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer,
                Deadline) override;
  const char* name() const override { return "the virtual desktop"; }
  const char* backend() const override { return "test card"; }

 private:
  std::vector<Display> displays_;
  // The cards rendered so far, one per display. Frames share their memory, so a card is never
  // written to again.
  std::vector<Frame> cards_;
};

// The virtual desktop of that layout. Throws Error when it breaks the grammar.
std::unique_ptr<Desktop> OpenVirtualDesktop(const std::string& layout);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_
