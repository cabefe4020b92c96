#include "platform/desktop/session.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "platform/desktop/layout.h"
#include "platform/desktop/pixel_buffer.h"
#include "platform/desktop/virtual.h"
#include "platform/desktop/x11.h"

namespace qrv::desktop {
namespace {

constexpr char kNoDesktop[] = "no desktop";
constexpr char kNoMemory[] = "out of memory";

// What the environment asks for.
struct Choice {
  enum class Kind { kNone, kX11, kVirtual };

  Kind kind = Kind::kNone;
  std::string argument;  // the X display's name, the layout, or why there is none

  bool operator==(const Choice&) const = default;
};

std::string_view Variable(const char* name) {
  const char* const value = secure_getenv(name);
  return value ? value : "";
}

Choice ChooseX11Display(std::string_view displayName, const char* problem) {
  if (displayName.empty()) return {Choice::Kind::kNone, problem};
  return {Choice::Kind::kX11, std::string(displayName)};
}

Choice ReadChoice() {
  constexpr std::string_view kX11Prefix = "x11:";
  constexpr std::string_view kVirtualPrefix = "virtual:";
  const std::string_view wanted = Variable("QRV_DESKTOP");
  if (wanted.empty()) {
    return ChooseX11Display(Variable("DISPLAY"),
                            "DISPLAY is not set and QRV_DESKTOP chooses no desktop");
  }
  if (wanted == "x11") {
    return ChooseX11Display(Variable("DISPLAY"), "QRV_DESKTOP is x11, but DISPLAY is not set");
  }
  if (wanted.starts_with(kX11Prefix)) {
    return ChooseX11Display(wanted.substr(kX11Prefix.size()),
                            "QRV_DESKTOP is x11: without a display");
  }
  if (wanted == "virtual") return {Choice::Kind::kVirtual, std::string(kDefaultLayout)};
  if (wanted.starts_with(kVirtualPrefix)) {
    return {Choice::Kind::kVirtual, std::string(wanted.substr(kVirtualPrefix.size()))};
  }
  return {Choice::Kind::kNone,
          "QRV_DESKTOP is none of x11, x11:DISPLAY, virtual and virtual:LAYOUT"};
}

class Session {
 public:
  const std::vector<Display>* Refresh();
  std::optional<Display> Find(uint32_t id);
  Frame Capture(const Display& display, const PixelRect& part, Reader reader);

  unsigned TakeReaders() { return std::exchange(readers_, 0U); }
  const char* problem() const { return problem_; }
  const char* name() const { return desktop_ ? desktop_->Name() : kNoDesktop; }

  // Kept in place: telling that memory ran out needs none.
  void SetProblem(const char* problem) { std::snprintf(problem_, sizeof problem_, "%s", problem); }

 private:
  void Choose();

  Choice choice_;
  std::unique_ptr<Desktop> desktop_;
  std::vector<Display> displays_;
  bool listed_ = false;
  unsigned readers_ = 0;
  char problem_[256] = "";
};

void Session::Choose() {
  Choice choice = ReadChoice();
  if (desktop_ && choice == choice_) return;
  desktop_.reset();
  choice_ = std::move(choice);
  std::string problem = choice_.argument;
  if (choice_.kind == Choice::Kind::kX11) desktop_ = OpenX11Desktop(choice_.argument);
  if (choice_.kind == Choice::Kind::kVirtual) {
    desktop_ = OpenVirtualDesktop(choice_.argument, problem);
  }
  SetProblem(desktop_ ? "" : problem.c_str());
}

const std::vector<Display>* Session::Refresh() {
  listed_ = false;
  Choose();
  if (!desktop_) {
    displays_.clear();
    return nullptr;
  }
  listed_ = desktop_->ListDisplays(displays_);
  SetProblem(listed_ ? "" : desktop_->Problem());
  if (!listed_) displays_.clear();
  return listed_ ? &displays_ : nullptr;
}

std::optional<Display> Session::Find(uint32_t id) {
  if (!listed_ && !Refresh()) return std::nullopt;
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [id](const Display& each) { return each.id == id; });
  if (found == displays_.end()) return std::nullopt;
  return *found;
}

Frame Session::Capture(const Display& display, const PixelRect& part, Reader reader) {
  if (!desktop_ || !Contains(display.pixelWidth, display.pixelHeight, part)) return {};
  Frame frame = desktop_->Capture(display, part);
  SetProblem(frame ? "" : desktop_->Problem());
  if (frame) readers_ |= static_cast<unsigned>(reader);
  return frame;
}

// Never destroyed: at the process's end there may be frames in use, and in a forked child the
// connection is its parent's.
Session* TheSession() {
  alignas(Session) static unsigned char memory[sizeof(Session)];
  static Session* const session = new (memory) Session;
  return session;
}

}  // namespace

const std::vector<Display>* RefreshDisplays() noexcept {
  try {
    return TheSession()->Refresh();
  } catch (...) {
    TheSession()->SetProblem(kNoMemory);
    return nullptr;
  }
}

std::optional<Display> FindDisplay(uint32_t id) noexcept {
  try {
    return TheSession()->Find(id);
  } catch (...) {
    TheSession()->SetProblem(kNoMemory);
    return std::nullopt;
  }
}

Frame Capture(const Display& display, const PixelRect& part, Reader reader) noexcept {
  try {
    return TheSession()->Capture(display, part, reader);
  } catch (...) {
    TheSession()->SetProblem(kNoMemory);
    return {};
  }
}

}  // namespace qrv::desktop

using qrv::desktop::TheSession;

unsigned QRVTakeReaders(void) { return TheSession()->TakeReaders(); }

const char* QRVDesktopProblem(void) { return TheSession()->problem(); }

const char* QRVDesktopName(void) { return TheSession()->name(); }
