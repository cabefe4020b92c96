#include "tests/support/sway.h"

#include <grp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
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

std::string Output::Command(size_t number) const {
  const bool isTurned = transform.ends_with("90") || transform.ends_with("270");
  std::ostringstream words;
  words << "output HEADLESS-" << number << " resolution "
        << (isTurned ? PixelHeight() : PixelWidth()) << "x"
        << (isTurned ? PixelWidth() : PixelHeight()) << " position " << units.left << " "
        << units.top << " scale " << density << " transform " << transform;
  return words.str();
}

uint32_t FilledPixel(size_t output, int x, int y) {
  const int blue = x / 256 + 16 * (y / 256) + 128 * static_cast<int>(output);
  return static_cast<uint32_t>((x & 255) << 16 | (y & 255) << 8 | (blue & 255));
}

Sway::Sway(const std::vector<Output>& outputs)
    : socket_(folder_.File("wayland-1")), outputs_(outputs.size()) {
  std::string lines = "xwayland disable\n";
  for (size_t i = 0; i < outputs_; ++i) lines += outputs[i].Command(i + 1) + "\n";
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
       "WLR_BACKENDS=headless", "WLR_HEADLESS_OUTPUTS=" + std::to_string(outputs_),
       "WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1", "sway", "-Dnoscanout", "-c",
       folder_.File("config")},
      [] {
        UseNoStreams();
        return BecomeUser();
      });
  Fill();
}

// Tries until the compositor listens.
void Sway::Fill() {
  constexpr std::chrono::seconds kPatience{30};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!StartFilling()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("sway did not start");
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

bool Sway::StartFilling() {
  EndFilling();
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
  fillingStreams_ = desktop::UniqueFd(ends[0]);
  filling_ = StartProgram({QRV_BUILD_DIR "/fill_outputs"}, [&] {
    UseNoStreams();
    setenv("WAYLAND_DISPLAY", socket_.c_str(), 1);
    return dup2(ends[1], STDIN_FILENO) >= 0 && dup2(ends[1], STDOUT_FILENO) >= 0;
  });
  close(ends[1]);
  char shown[8];
  return read(ends[0], shown, sizeof shown) > 0;
}

void Sway::EndFilling() {
  if (filling_ == 0) return;
  kill(filling_, SIGKILL);
  WaitForEnd(filling_);
  filling_ = 0;
}

std::string Sway::Run(const std::vector<std::string>& command) const {
  const std::string commands =
      folder_.File("sway-ipc." + std::to_string(User()) + "." + std::to_string(pid_) + ".sock");
  Outcome outcome = RunProgram(command, [&] {
    return setenv("WAYLAND_DISPLAY", socket_.c_str(), 1) == 0 &&
           setenv("SWAYSOCK", commands.c_str(), 1) == 0;
  });
  if (outcome.exitCode != 0) {
    throw std::runtime_error(command.front() + ": " + outcome.errors + outcome.output);
  }
  return std::move(outcome.output);
}

}  // namespace qrv::testing
