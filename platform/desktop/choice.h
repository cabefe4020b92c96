// Which desktop the process captures.
#ifndef PLATFORM_DESKTOP_CHOICE_H_
#define PLATFORM_DESKTOP_CHOICE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

struct DesktopKind;

// A desktop to open; or, without a kind, why there is none.
struct Choice {
  const DesktopKind* kind = nullptr;
  std::string argument;  // what follows "kind:"
  Reason reason = Reason::kNone;
  std::string message;
  std::string note;  // what is worth knowing about the choice
  std::string advice;

  bool operator==(const Choice&) const = default;
};

// Reads the choice from the environment. Throws std::bad_alloc.
Choice ReadChoice();

// Opens what was chosen. Throws Error and std::bad_alloc.
std::unique_ptr<Desktop> Open(const Choice& choice);

// The kind of the chosen desktop as hosts know it: kQRVX11 and so on.
int32_t KindOf(const Choice& choice);

// The choices, for messages: "x11, x11:DISPLAY, virtual or virtual:LAYOUT".
const char* DesktopChoices() noexcept;

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_CHOICE_H_
