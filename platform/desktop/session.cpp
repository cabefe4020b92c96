#include <QRV/Desktop.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "platform/desktop/choice.h"
#include "platform/desktop/desktop.h"
#include "platform/desktop/frame.h"
#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

constexpr char kNoDesktop[] = "no desktop";

class Session {
 public:
  const std::vector<Display>* Refresh();
  const std::vector<Display>* Latest() { return isListed_ ? &displays_ : Refresh(); }
  std::optional<Display> Find(uint32_t id);
  Frame Capture(const Display& display, const PixelRect& part, Strategy strategy);
  bool Expect(std::span<const Share> shares) {
    return desktop_ && held_.empty() && desktop_->Expect(shares);
  }
  bool Hold(const Display& display);
  void Release(uint32_t id);
  void Lose(const char* reason);

  bool hasLostPixels() const { return hasLostPixels_; }
  unsigned TakeStrategies() { return std::exchange(strategies_, 0U); }
  const char* problem() const { return problem_; }
  bool isChoiceWrong() const { return !desktop_ && (choice_.isWrong || choice_.kind != nullptr); }
  const char* advice() const { return choice_.advice.c_str(); }
  const char* note() const {
    return desktop_ && choice_.note.empty() ? desktop_->Note() : choice_.note.c_str();
  }
  const char* name() const { return desktop_ ? desktop_->Name() : kNoDesktop; }
  const char* way() const { return desktop_ ? desktop_->Way() : ""; }

 private:
  // A whole display's pixels, captured ahead.
  struct HeldDisplay {
    uint32_t id;
    Frame frame;
  };

  void Choose();
  std::vector<HeldDisplay>::iterator FindHeld(uint32_t id);
  Frame Fetch(const Display& display, const PixelRect& part);
  // Kept in place: telling that memory ran out needs none.
  void SetProblem(const char* problem) { std::snprintf(problem_, sizeof problem_, "%s", problem); }

  Choice choice_;
  std::unique_ptr<Desktop> desktop_;
  std::vector<Display> displays_;
  bool isListed_ = false;
  std::vector<HeldDisplay> held_;
  bool hasLostPixels_ = false;
  unsigned strategies_ = 0;
  char problem_[320] = "";
};

void Session::Choose() {
  Choice choice = ReadChoice();
  if (desktop_ && choice == choice_) return;
  desktop_.reset();
  choice_ = std::move(choice);
  std::string problem;
  desktop_ = Open(choice_, problem);
  SetProblem(problem.c_str());
}

const std::vector<Display>* Session::Refresh() {
  isListed_ = false;
  hasLostPixels_ = false;
  held_.clear();
  Choose();
  if (!desktop_) {
    displays_.clear();
    return nullptr;
  }
  isListed_ = desktop_->ListDisplays(displays_);
  SetProblem(isListed_ ? "" : desktop_->Problem());
  if (!isListed_) displays_.clear();
  return isListed_ ? &displays_ : nullptr;
}

std::optional<Display> Session::Find(uint32_t id) {
  if (Latest() == nullptr) return std::nullopt;
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [id](const Display& each) { return each.id == id; });
  if (found == displays_.end()) return std::nullopt;
  return *found;
}

std::vector<Session::HeldDisplay>::iterator Session::FindHeld(uint32_t id) {
  return std::find_if(held_.begin(), held_.end(),
                      [id](const HeldDisplay& each) { return each.id == id; });
}

Frame Session::Capture(const Display& display, const PixelRect& part, Strategy strategy) {
  const auto held = FindHeld(display.id);
  Frame frame;
  if (!Contains(display.pixelWidth, display.pixelHeight, part)) {
    Lose("pixels outside of the display were asked for");
  } else if (held != held_.end()) {
    frame = PartOf(held->frame, part);
  } else {
    frame = Fetch(display, part);
  }
  if (frame) strategies_ |= static_cast<unsigned>(strategy);
  return frame;
}

Frame Session::Fetch(const Display& display, const PixelRect& part) {
  if (!desktop_) {
    hasLostPixels_ = true;  // the last refresh has said why
    return {};
  }
  bool isGone = false;
  Frame frame = desktop_->Capture(display, part, isGone);
  if (frame) return frame;
  if (!isGone) {
    Lose(desktop_->Problem());
  } else if (!hasLostPixels_) {
    SetProblem(desktop_->Problem());
  }
  return {};
}

bool Session::Hold(const Display& display) {
  if (hasLostPixels_) return false;
  if (FindHeld(display.id) != held_.end()) return true;
  held_.reserve(held_.size() + 1);
  Frame frame = Fetch(display, {0, 0, display.pixelWidth, display.pixelHeight});
  if (!frame) return false;
  held_.push_back({display.id, std::move(frame)});
  return true;
}

void Session::Release(uint32_t id) {
  std::erase_if(held_, [id](const HeldDisplay& each) { return each.id == id; });
}

// The first reason is the one to tell.
void Session::Lose(const char* reason) {
  if (!hasLostPixels_) SetProblem(reason);
  hasLostPixels_ = true;
}

Session* TheSession() {
  alignas(Session) static unsigned char memory[sizeof(Session)];
  static Session* const session = new (memory) Session;
  return session;
}

// When the library is unloaded, or the process ends, everything is given back. A thread of the
// process that captures until the very end finds a session that is new.
[[gnu::destructor]] void CloseSession() {
  TheSession()->~Session();
  new (TheSession()) Session;
}

// Whatever is thrown here is for want of memory, and then there is nothing to show.
template <typename Call>
auto Guarded(Call call) noexcept -> decltype(call()) {
  const NoCancellation noCancellation;
  try {
    return call();
  } catch (const std::exception&) {
    TheSession()->Lose(kNoMemory);
    return decltype(call())();
  }
}

}  // namespace

const std::vector<Display>* RefreshDisplays() noexcept {
  return Guarded([] { return TheSession()->Refresh(); });
}

const std::vector<Display>* LatestDisplays() noexcept {
  return Guarded([] { return TheSession()->Latest(); });
}

std::optional<Display> FindDisplay(uint32_t id) noexcept {
  return Guarded([=] { return TheSession()->Find(id); });
}

Frame Capture(const Display& display, const PixelRect& part, Strategy strategy) noexcept {
  return Guarded([&] { return TheSession()->Capture(display, part, strategy); });
}

bool ExpectCaptures(std::span<const Share> shares) noexcept {
  return Guarded([&] { return TheSession()->Expect(shares); });
}

bool HoldPixels(const Display& display) noexcept {
  return Guarded([&] { return TheSession()->Hold(display); });
}

void ReleasePixels(uint32_t displayId) noexcept { TheSession()->Release(displayId); }

void LosePixels(const char* reason) noexcept { TheSession()->Lose(reason); }

bool HasLostPixels() noexcept { return TheSession()->hasLostPixels(); }

unsigned TakeStrategies() noexcept { return TheSession()->TakeStrategies(); }

const char* DesktopName() noexcept { return TheSession()->name(); }

const char* DesktopWay() noexcept { return TheSession()->way(); }

const char* DesktopProblem() noexcept { return TheSession()->problem(); }

const char* DesktopAdvice() noexcept { return TheSession()->advice(); }

bool DesktopChoiceIsWrong() noexcept { return TheSession()->isChoiceWrong(); }

const char* DesktopNote() noexcept { return TheSession()->note(); }

}  // namespace qrv::desktop
