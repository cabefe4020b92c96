#include "platform/desktop/session.h"

#include <cxxabi.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <memory>
#include <new>
#include <utility>

#include "platform/desktop/choice.h"
#include "platform/desktop/desktop.h"
#include "platform/desktop/peer/signals.h"
#include "platform/desktop/timeout.h"
#include "platform/one_line.h"

namespace qrv::desktop {
namespace {

class Session {
 public:
  const std::vector<Display>* Refresh();
  const std::vector<Display>* Latest();
  std::optional<Display> Find(uint32_t id);
  std::vector<Window> ListWindows();
  Frame Capture(const Display& display, const PixelRect& region);
  Frame FrameBuffer(const Display& display);
  void DropFrameBuffer(uint32_t id);

  void Record(Strategy strategy) { strategies_ |= static_cast<uint32_t>(strategy); }
  void ShowPointer(Pointer pointer) { pointer_ = pointer; }
  uint32_t TakeStrategies() { return std::exchange(strategies_, 0U); }
  void Fail(Reason reason, const char* message);
  bool hasFailed() const { return hasFailed_; }
  Status GetStatus() const;

 private:
  struct DisplayFrame {
    uint32_t id;
    Frame frame;
  };

  void Choose();
  void Report(Reason reason, const char* message);

  Choice choice_;
  std::unique_ptr<Desktop> desktop_;
  std::vector<Display> displays_;
  bool isListed_ = false;
  std::vector<DisplayFrame> frameBuffers_;
  Pointer pointer_ = Pointer::kHidden;
  uint32_t strategies_ = 0;
  CallBudget budget_;
  bool hasFailed_ = false;
  Reason failure_ = Reason::kNone;
  char message_[320] = "";  // in place, so that recording a lack of memory allocates none
};

void Session::Choose() {
  Choice choice = ReadChoice();
  if (desktop_ && choice == choice_) return;
  desktop_.reset();
  choice_ = std::move(choice);
  desktop_ = Open(choice_);
}

const std::vector<Display>* Session::Refresh() {
  budget_.Begin();
  isListed_ = false;
  hasFailed_ = false;
  Report(Reason::kNone, "");
  frameBuffers_.clear();
  displays_.clear();
  Choose();
  displays_ = budget_.Spend([this](Deadline deadline) { return desktop_->ListDisplays(deadline); });
  isListed_ = true;
  return &displays_;
}

// A lookup does not retry a list that has failed.
const std::vector<Display>* Session::Latest() {
  if (!isListed_ && !hasFailed_) return Refresh();
  return isListed_ ? &displays_ : nullptr;
}

std::optional<Display> Session::Find(uint32_t id) {
  if (Latest() == nullptr) return std::nullopt;
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [id](const Display& each) { return each.id == id; });
  if (found == displays_.end()) return std::nullopt;
  return *found;
}

std::vector<Window> Session::ListWindows() {
  Refresh();
  return budget_.Spend([this](Deadline deadline) { return desktop_->ListWindows(deadline); });
}

// Once a capture has failed, the desktop is not asked again.
Frame Session::Capture(const Display& display, const PixelRect& region) {
  if (hasFailed_ || !desktop_) return {};
  if (!Contains(display.pixelWidth, display.pixelHeight, region)) {
    throw Error(Reason::kDisplayChanged, "the region lies outside the display");
  }
  try {
    return budget_.Spend(
        [&](Deadline deadline) { return desktop_->Capture(display, region, pointer_, deadline); });
  } catch (const DisplayGone& error) {
    Report(error.reason(), error.what());
    return {};
  }
}

Frame Session::FrameBuffer(const Display& display) {
  if (hasFailed_) return {};
  const auto found = std::find_if(frameBuffers_.begin(), frameBuffers_.end(),
                                  [&](const DisplayFrame& each) { return each.id == display.id; });
  if (found != frameBuffers_.end()) return found->frame;
  Frame frame = Capture(display, AllPixels(display));
  if (frame) frameBuffers_.push_back({display.id, frame});
  return frame;
}

void Session::DropFrameBuffer(uint32_t id) {
  std::erase_if(frameBuffers_, [id](const DisplayFrame& each) { return each.id == id; });
}

void Session::Report(Reason reason, const char* message) {
  failure_ = reason;
  CopyText(message_, message);
}

// Keeps the first reason.
void Session::Fail(Reason reason, const char* message) {
  if (!hasFailed_) Report(reason, message);
  hasFailed_ = true;
  if (reason == Reason::kTimeout) budget_.RecordTimeout();
}

Status Session::GetStatus() const {
  Status status;
  if (desktop_) {
    status.kind = KindOf(choice_);
    status.name = desktop_->name();
    status.address = choice_.argument.c_str();
    status.backend = desktop_->backend();
    status.note = choice_.note.empty() ? desktop_->note() : choice_.note.c_str();
  }
  status.failure = failure_;
  status.message = message_;
  if (!isListed_) status.advice = choice_.advice.c_str();
  return status;
}

Session* TheSession() {
  alignas(Session) static unsigned char memory[sizeof(Session)];
  static Session* const session = new (memory) Session;
  return session;
}

// The calls in progress on all threads; negative while the session is closed.
std::atomic<int> calls{0};
constexpr int kClosing = INT_MIN / 2;

class CallInProgress {
 public:
  CallInProgress() : isOpen_(calls.fetch_add(1) >= 0) {}
  CallInProgress(const CallInProgress&) = delete;
  CallInProgress& operator=(const CallInProgress&) = delete;
  ~CallInProgress() { calls.fetch_sub(1); }

  bool isOpen() const { return isOpen_; }

 private:
  bool isOpen_;
};

// Releases everything when the library is unloaded. It also runs at the end of the process, where
// other threads may still capture: a call in progress keeps the session, and a later one finds a
// new session, in which every capture that began before has failed.
[[gnu::destructor]] void CloseSession() {
  int none = 0;
  if (!calls.compare_exchange_strong(none, kClosing)) return;
  TheSession()->~Session();
  new (TheSession()) Session;
  TheSession()->Fail(Reason::kUnreachable, "the process ends");
  calls.fetch_sub(kClosing);
}

// The C++ runtime keeps a record for each thread that throws. In a process that was not linked with
// it, the system allocates that at first use, and ends the process where there is no memory: so the
// thread that loads this library has it from the start, and another one from its first call on.
[[gnu::constructor]] void PrepareToThrow() {
  // A call whose result is not used would be left out.
  [[maybe_unused]] const void* volatile record = abi::__cxa_get_globals();
}

// Returns what `call` returns. When it throws, the capture fails and this returns an empty value.
template <typename Call>
auto InSession(Call call) noexcept -> decltype(call(*TheSession())) {
  PrepareToThrow();
  const CancellationGuard noCancellation;
  const CallInProgress inProgress;
  if (!inProgress.isOpen()) return {};
  try {
    return call(*TheSession());
  } catch (const Error& error) {
    TheSession()->Fail(error.reason(), error.what());
  } catch (const std::exception&) {
    TheSession()->Fail(Reason::kNoMemory, kNoMemoryMessage);
  }
  return {};
}

}  // namespace

const std::vector<Display>* RefreshDisplays() noexcept {
  return InSession([](Session& session) { return session.Refresh(); });
}

const std::vector<Display>* LatestDisplays() noexcept {
  return InSession([](Session& session) { return session.Latest(); });
}

std::optional<Display> FindDisplay(uint32_t id) noexcept {
  return InSession([=](Session& session) { return session.Find(id); });
}

std::optional<std::vector<Window>> ListWindows() noexcept {
  return InSession([](Session& session) { return std::optional(session.ListWindows()); });
}

Frame Capture(const Display& display, const PixelRect& region, Strategy strategy) noexcept {
  return InSession([&](Session& session) {
    Frame frame = session.Capture(display, region);
    if (frame) session.Record(strategy);
    return frame;
  });
}

Frame FrameBuffer(const Display& display) noexcept {
  return InSession([&](Session& session) { return session.FrameBuffer(display); });
}

void DropFrameBuffer(uint32_t displayId) noexcept {
  InSession([=](Session& session) {
    session.DropFrameBuffer(displayId);
    return true;
  });
}

void RecordReadBack() noexcept { TheSession()->Record(Strategy::kOpenGL); }

void FailCapture(Reason reason, const char* message) noexcept {
  TheSession()->Fail(reason, message);
}

void ShowPointer(Pointer pointer) noexcept { TheSession()->ShowPointer(pointer); }

bool HasCaptureFailed() noexcept {
  return !InSession([](Session& session) { return !session.hasFailed(); });
}

Status CurrentStatus() noexcept { return TheSession()->GetStatus(); }

uint32_t TakeStrategies() noexcept { return TheSession()->TakeStrategies(); }

}  // namespace qrv::desktop
