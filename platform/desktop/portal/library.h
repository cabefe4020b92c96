// The ways to pixels over the session bus. They are a library of their own, which is loaded when
// nothing else is left: few need what it links, and the 32-bit build has none of that.
#ifndef PLATFORM_DESKTOP_PORTAL_LIBRARY_H_
#define PLATFORM_DESKTOP_PORTAL_LIBRARY_H_

#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/wayland/pixels.h"

namespace qrv::desktop::portal {

using Outputs = std::vector<wayland::PlacedOutput>;

// What KWin offers to programs whose desktop file asks for it. Null, and a few words in `problem`,
// when the bus, KWin or the permission is missing.
std::unique_ptr<wayland::PixelSource> OpenKWin(const Outputs& outputs, std::string& problem);

// The desktop portal: a picture of the whole desktop, for which a person may be asked. Null as
// above.
std::unique_ptr<wayland::PixelSource> OpenPortal(std::string& problem);

// What the library exports, as one record under this name.
struct Module {
  decltype(&OpenKWin) openKWin;
  std::unique_ptr<wayland::PixelSource> (*openPortal)(void (*tell)(const char* words),
                                                      std::string& problem);
};
inline constexpr char kModuleSymbol[] = "QRV_portal_module";

}  // namespace qrv::desktop::portal

#endif  // PLATFORM_DESKTOP_PORTAL_LIBRARY_H_
