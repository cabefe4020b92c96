// A desktop that exists only in memory: displays laid out at will, each showing its test card.
#ifndef PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_
#define PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

class VirtualDesktop : public Desktop {
 public:
  explicit VirtualDesktop(std::vector<Display> displays);

  bool ListDisplays(std::vector<Display>& displays) override;
  Frame Capture(const Display& display, const PixelRect& part, bool& isGone) override;
  const char* Way() const override { return "test card"; }
  const char* Name() const override { return "the virtual desktop"; }
  // Nothing else goes wrong here.
  const char* Problem() const override { return "there is no memory for the test card"; }

 private:
  std::vector<Display> displays_;
  // The cards as captured so far, one a display. Frames point into them and share them, so nobody
  // writes to a card once it is here.
  std::vector<Frame> cards_;
};

// Null when the layout doesn't parse, with one line about it in `problem`.
std::unique_ptr<Desktop> OpenVirtualDesktop(std::string_view layout, std::string& problem);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_VIRTUAL_DESKTOP_H_
