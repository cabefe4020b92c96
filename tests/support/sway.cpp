#include "tests/support/sway.h"

#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace qrv::testing {
namespace {

constexpr uid_t kNobody = 65534;

// sway doesn't run as root.
uid_t User() { return geteuid() == 0 ? kNobody : geteuid(); }

bool BecomeUser() {
  if (geteuid() != 0) return true;
  return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0 &&
         prctl(PR_SET_PDEATHSIG, SIGKILL) == 0;  // another user's process has lost it
}

}  // namespace

std::string OutputName(size_t number) { return "HEADLESS-" + std::to_string(number + 1); }

std::string Output::Command(size_t number) const {
  const bool isTurned = transform.ends_with("90") || transform.ends_with("270");
  std::ostringstream words;
  words << "output " << OutputName(number) << " resolution "
        << (isTurned ? PixelHeight() : PixelWidth()) << "x"
        << (isTurned ? PixelWidth() : PixelHeight()) << " position " << units.left << " "
        << units.top << " scale " << density << " transform " << transform;
  return words.str();
}

Sway::Sway(const std::vector<Output>& outputs)
    : socket_(folder_.File("wayland-1")), outputs_(outputs) {
  std::string lines = "xwayland disable\n";
  for (size_t i = 0; i < outputs.size(); ++i) lines += outputs[i].Command(i) + "\n";
  folder_.Write("config", lines);
  if (chown(folder_.path().c_str(), User(), getegid()) != 0) {
    throw std::runtime_error("no folder for sway");
  }
  Restart();
}

Sway::~Sway() {
  Kill();
  EndFilling();
}

// Without -Dnoscanout it shows a full-screen window's own memory, and forgets what it has yet to
// draw where somebody captures: that sees what was there before.
void Sway::Restart() {
  const std::string folder = folder_.path().string();
  pid_ = StartProgram(
      {"env", "-i", "HOME=" + folder, "XDG_RUNTIME_DIR=" + folder, "PATH=/usr/bin:/bin",
       "WLR_BACKENDS=headless", "WLR_HEADLESS_OUTPUTS=" + std::to_string(outputs_.size()),
       "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1", "sway", "-Dnoscanout", "-c",
       folder_.File("config")},
      [] {
        UseNoStreams();
        return BecomeUser();
      });
  Fill(outputs_);
}

// Tries until the compositor listens.
void Sway::Fill(const std::vector<Output>& outputs) {
  outputs_ = outputs;
  constexpr std::chrono::seconds kPatience{30};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!StartFilling()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("sway did not start");
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

bool Sway::StartFilling() {
  EndFilling();
  std::vector<std::string> command = {QRV_BUILD_DIR "/fill_outputs"};
  for (size_t i = 0; i < outputs_.size(); ++i) {
    const Output& each = outputs_[i];
    command.push_back(OutputName(i));
    for (const int number :
         {each.PixelWidth(), each.PixelHeight(), each.units.width, each.units.height}) {
      command.push_back(std::to_string(number));
    }
  }
  filling_ = StartUntilReady(command, STDOUT_FILENO,
                             [this] { return setenv("WAYLAND_DISPLAY", socket_.c_str(), 1) == 0; });
  return filling_ != 0;
}

void Sway::EndFilling() {
  if (filling_ == 0) return;
  kill(filling_, SIGKILL);
  WaitForEnd(filling_);
  filling_ = 0;
}

std::string Sway::Run(const std::vector<std::string>& command) const {
  const std::string name = "sway-ipc." + std::to_string(User()) + "." + std::to_string(pid_);
  return OutputOf(command,
                  {{"WAYLAND_DISPLAY", socket_}, {"SWAYSOCK", folder_.File(name + ".sock")}});
}

}  // namespace qrv::testing
