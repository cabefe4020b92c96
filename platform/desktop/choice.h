// Which desktop the process shows.
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
  std::string problem;
  std::string note;  // what is worth knowing of the choice
  std::string advice;

  bool operator==(const Choice&) const = default;
};

// What the environment asks for now. Throws std::bad_alloc.
Choice ReadChoice();

// Opens what was chosen. Throws Error and std::bad_alloc.
std::unique_ptr<Desktop> Open(const Choice& choice);

// What hosts know the chosen kind of desktop as.
int32_t KindOf(const Choice& choice);

// The choices, for a person: "x11, x11:DISPLAY, virtual or virtual:LAYOUT".
const char* DesktopChoices() noexcept;

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_CHOICE_H_
