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
  const char* Backend() const override { return "test card"; }
  const char* Name() const override { return "the virtual desktop"; }

 private:
  std::vector<Display> displays_;
  // The cards as captured so far, one per display. Frames point into them and share them, so a
  // card is not written to once it is here.
  std::vector<Frame> cards_;
};

// Throws Error when the layout doesn't parse.
std::unique_ptr<Desktop> OpenVirtualDesktop(const std::string& layout);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_
