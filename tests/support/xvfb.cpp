#include "tests/support/xvfb.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>

#include "tests/support/process.h"

namespace qrv::testing {
namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

// What is written to a pipe until all its writers have closed it.
std::string ReadAll(int fd) {
  std::string text;
  std::array<char, 65536> buffer;
  for (ssize_t got; (got = read(fd, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<size_t>(got));
  }
  close(fd);
  return text;
}

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// A client that paints a screen's root window.
class Painter {
 public:
  explicit Painter(const std::string& display) : xcb_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb_.get())) Fail("can't paint on " + display);
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(xcb_.get())).data;
  }

  // Gives the colour map other colours, which stay when this client leaves: all but the two that
  // the server itself has taken. Only the first client finds cells to take for that.
  void SetRandomColors(std::mt19937& random) {
    if (screen_->root_depth != 8) return;
    xcb_set_close_down_mode(xcb_.get(), XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    for (uint32_t pixel = 0; pixel < 256; ++pixel) {
      const auto cookie = xcb_alloc_color_cells(xcb_.get(), 0, screen_->default_colormap, 1, 0);
      std::free(xcb_alloc_color_cells_reply(xcb_.get(), cookie, nullptr));
    }
    for (uint32_t pixel = 0; pixel < 256; ++pixel) {
      const auto sample = [&random] { return static_cast<uint16_t>(random()); };
      const xcb_coloritem_t item = {pixel,
                                    sample(),
                                    sample(),
                                    sample(),
                                    XCB_COLOR_FLAG_RED | XCB_COLOR_FLAG_GREEN | XCB_COLOR_FLAG_BLUE,
                                    0};
      xcb_store_colors(xcb_.get(), screen_->default_colormap, 1, &item);
    }
  }

  // In bands that fit a request.
  void PutRandom(std::mt19937& random) {
    const xcb_gcontext_t context = xcb_generate_id(xcb_.get());
    xcb_create_gc(xcb_.get(), context, screen_->root, 0, nullptr);
    const int rowBytes = (screen_->width_in_pixels * BitsPerPixel() / 8 + 3) / 4 * 4;
    const int bandHeight = std::max(1, 60000 / rowBytes);
    for (int y = 0; y < screen_->height_in_pixels; y += bandHeight) {
      const int rows = std::min(bandHeight, screen_->height_in_pixels - y);
      std::vector<uint8_t> band(static_cast<size_t>(rows) * static_cast<size_t>(rowBytes));
      for (uint8_t& each : band) each = static_cast<uint8_t>(random());
      xcb_put_image(xcb_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, context,
                    screen_->width_in_pixels, static_cast<uint16_t>(rows), 0,
                    static_cast<int16_t>(y), 0, screen_->root_depth,
                    static_cast<uint32_t>(band.size()), band.data());
    }
  }

  // Waits until the server has done everything.
  void Finish() {
    std::free(xcb_get_input_focus_reply(xcb_.get(), xcb_get_input_focus(xcb_.get()), nullptr));
    if (xcb_connection_has_error(xcb_.get())) Fail("the server left while painting");
  }

 private:
  int BitsPerPixel() const { return screen_->root_depth > 16 ? 32 : screen_->root_depth; }

  std::unique_ptr<xcb_connection_t, Disconnect> xcb_;
  const xcb_screen_t* screen_;
};

// Each process has numbers of its own to try: a server picks a free one by itself, but then another
// test's server can pick the number of one that was killed and is to come back.
std::string NextDisplay() {
  constexpr int kFirst = 1000;
  constexpr int kProcesses = 7000;
  constexpr int kOfEach = 8;
  static int next = 0;
  return ":" + std::to_string(kFirst + getpid() % kProcesses * kOfEach + next++ % kOfEach);
}

}  // namespace

Xvfb::Xvfb(std::string screen, std::vector<std::string> arguments, bool (*prepare)())
    : screen_(std::move(screen)), arguments_(std::move(arguments)), prepare_(prepare) {
  constexpr int kAttempts = 8;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (Start(NextDisplay())) return;
  }
  Fail("Xvfb did not start");
}

Xvfb::~Xvfb() {
  if (pid_ != 0) {
    kill(pid_, SIGCONT);
    End(SIGTERM);
  }
  RemoveLeftovers();
}

// False when it doesn't start, as when the display is taken.
bool Xvfb::Start(const std::string& display) {
  std::vector<std::string> command = {"Xvfb", display, "-displayfd", "3",         "-screen",
                                      "0",    screen_, "-noreset",   "-nolisten", "tcp"};
  command.insert(command.end(), arguments_.begin(), arguments_.end());
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) Fail("no pipe");
  pid_ = lastPid_ = StartProgram(command, [&] {
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, each);
    dup2(ends[1], 3);
    return prepare_ == nullptr || prepare_();
  });
  close(ends[1]);
  // The server writes its number once it listens, and closes the descriptor.
  if (ReadAll(ends[0]).empty()) {
    End(SIGKILL);
    return false;
  }
  display_ = display;
  return true;
}

void Xvfb::End(int signal) {
  kill(pid_, signal);
  WaitForEnd(pid_);
  pid_ = 0;
}

// A killed server leaves its lock and its socket behind.
void Xvfb::RemoveLeftovers() const {
  const std::string number = display_.substr(std::min<size_t>(display_.size(), 1));
  const std::string lock = "/tmp/.X" + number + "-lock";
  pid_t owner = 0;
  if (!(std::ifstream(lock) >> owner) || owner != lastPid_) return;
  unlink(("/tmp/.X11-unix/X" + number).c_str());
  unlink(lock.c_str());
}

void Xvfb::Kill() { End(SIGKILL); }

void Xvfb::Restart() {
  if (!Start(display_)) Fail("Xvfb did not start again");
}

void Xvfb::Stop() const {
  kill(pid_, SIGSTOP);
  int status = 0;
  waitpid(pid_, &status, WUNTRACED);
}

void Xvfb::Continue() const { kill(pid_, SIGCONT); }

std::string Xvfb::Run(const std::vector<std::string>& command) const {
  Outcome outcome =
      RunProgram(command, [this] { return setenv("DISPLAY", display_.c_str(), 1) == 0; });
  if (outcome.exitCode != 0) Fail(command.front() + " on " + display_ + ": " + outcome.errors);
  return std::move(outcome.output);
}

void Xvfb::SetMonitor(const std::string& name, const Area& area, const char* output) const {
  const std::string size = std::to_string(area.width) + "/50x" + std::to_string(area.height);
  const std::string place = std::to_string(area.left) + "+" + std::to_string(area.top);
  Run({"xrandr", "--setmonitor", name, size + "/50+" + place, output});
}

void Xvfb::SetTwoMonitors(Primary primary) const {
  SetMonitor(primary == Primary::kLeft ? "*left" : "left", {0, 0, 1440, 900}, "screen");
  SetMonitor(primary == Primary::kRight ? "*right" : "right", {1440, 0, 1280, 1024});
}

void Xvfb::FillRandom(uint32_t seed) const {
  Painter painter(display_);
  std::mt19937 random(seed);
  painter.SetRandomColors(random);
  painter.PutRandom(random);
  painter.Finish();
}

RgbImage Xvfb::ImportScreen() const {
  std::istringstream ppm(Run({"import", "-silent", "-window", "root", "-depth", "8", "ppm:-"}));
  std::string magic;
  int maximum = 0;
  RgbImage image;
  ppm >> magic >> image.width >> image.height >> maximum;
  ppm.get();
  if (magic != "P6" || maximum != 255) Fail("import wrote no 8-bit colour image");
  image.pixels.resize(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 3);
  ppm.read(reinterpret_cast<char*>(image.pixels.data()),
           static_cast<std::streamsize>(image.pixels.size()));
  if (!ppm) Fail("import wrote too little");
  return image;
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) {
  if (const char* const previous = getenv(name)) previous_ = previous;
  Set(value);
}

ScopedVariable::~ScopedVariable() { Set(previous_ ? previous_->c_str() : nullptr); }

void ScopedVariable::Set(const char* value) const {
  if (value != nullptr) {
    setenv(name_.c_str(), value, 1);
  } else {
    unsetenv(name_.c_str());
  }
}

}  // namespace qrv::testing
