// Which desktop the process shows.
#ifndef PLATFORM_DESKTOP_CHOICE_H_
#define PLATFORM_DESKTOP_CHOICE_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

struct DesktopKind;

// A desktop to open; or, without a kind, why there is none.
struct Choice {
  const DesktopKind* kind = nullptr;
  std::string argument;  // what follows "kind:"
  std::string problem;
  std::string note;  // what is worth knowing of the choice
  std::string advice;
  bool isWrong = false;  // it can be no desktop, here or elsewhere

  bool operator==(const Choice&) const = default;
};

// What the environment asks for now. Throws std::bad_alloc.
Choice ReadChoice();

// Opens what was chosen. Null, and one line in `problem`, when that can't be. Throws
// std::bad_alloc.
std::unique_ptr<Desktop> Open(const Choice& choice, std::string& problem);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_CHOICE_H_
