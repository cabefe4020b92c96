#include "tests/support/xvfb.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>

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

struct Child {
  pid_t pid;
  int output;  // the read end of a pipe that is the child's descriptor `outputFd`
};

// Starts a program that is killed when this thread ends. Its standard error goes nowhere.
Child StartChild(const std::vector<std::string>& command, int outputFd, const std::string& display,
                 bool (*prepare)() = nullptr) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) Fail("no pipe");
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);
  const pid_t parent = getpid();
  const pid_t pid = fork();
  if (pid < 0) Fail("no process");
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDERR_FILENO);
    if (outputFd != STDOUT_FILENO) dup2(nothing, STDOUT_FILENO);
    dup2(ends[1], outputFd);
    if (!display.empty()) setenv("DISPLAY", display.c_str(), 1);
    if (prepare && !prepare()) _exit(127);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  close(ends[1]);
  return {pid, ends[0]};
}

int WaitForEnd(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// A client that paints a screen's root window.
class Painter {
 public:
  explicit Painter(const std::string& display) : xcb_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb_.get())) Fail("can't paint on " + display);
    setup_ = xcb_get_setup(xcb_.get());
    screen_ = xcb_setup_roots_iterator(setup_).data;
    context_ = xcb_generate_id(xcb_.get());
    xcb_create_gc(xcb_.get(), context_, screen_->root, 0, nullptr);
  }

  int width() const { return screen_->width_in_pixels; }
  int height() const { return screen_->height_in_pixels; }

  // Gives the colour map colours that stay when this client leaves.
  void SetRandomColors(std::mt19937& random) {
    if (screen_->root_depth != 8) return;
    xcb_set_close_down_mode(xcb_.get(), XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    for (uint32_t pixel = 0; pixel < 256; ++pixel) {
      const auto cookie = xcb_alloc_color_cells(xcb_.get(), 0, screen_->default_colormap, 1, 0);
      const std::unique_ptr<xcb_alloc_color_cells_reply_t, decltype(&std::free)> cells(
          xcb_alloc_color_cells_reply(xcb_.get(), cookie, nullptr), &std::free);
      if (!cells) return;
      xcb_coloritem_t item = {};
      item.pixel = *xcb_alloc_color_cells_pixels(cells.get());
      item.red = static_cast<uint16_t>(random());
      item.green = static_cast<uint16_t>(random());
      item.blue = static_cast<uint16_t>(random());
      item.flags = XCB_COLOR_FLAG_RED | XCB_COLOR_FLAG_GREEN | XCB_COLOR_FLAG_BLUE;
      xcb_store_colors(xcb_.get(), screen_->default_colormap, 1, &item);
    }
  }

  // In bands that fit a request.
  void PutRandom(std::mt19937& random, int x, int y, int width, int height) {
    const int rowBytes = (width * BitsPerPixel() / 8 + 3) / 4 * 4;
    const int bandHeight = std::max(1, 60000 / rowBytes);
    for (int done = 0; done < height; done += bandHeight) {
      const int rows = std::min(bandHeight, height - done);
      std::vector<uint8_t> band(static_cast<size_t>(rows) * static_cast<size_t>(rowBytes));
      for (uint8_t& each : band) each = static_cast<uint8_t>(random());
      xcb_put_image(xcb_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, context_,
                    static_cast<uint16_t>(width), static_cast<uint16_t>(rows),
                    static_cast<int16_t>(x), static_cast<int16_t>(y + done), 0, screen_->root_depth,
                    static_cast<uint32_t>(band.size()), band.data());
    }
  }

  // Waits until the server has done everything.
  void Finish() {
    std::free(xcb_get_input_focus_reply(xcb_.get(), xcb_get_input_focus(xcb_.get()), nullptr));
    if (xcb_connection_has_error(xcb_.get())) Fail("the server left while painting");
  }

 private:
  int BitsPerPixel() const {
    const xcb_format_t* const formats = xcb_setup_pixmap_formats(setup_);
    for (int i = 0; i < xcb_setup_pixmap_formats_length(setup_); ++i) {
      if (formats[i].depth == screen_->root_depth) return formats[i].bits_per_pixel;
    }
    Fail("no format for the root window");
  }

  std::unique_ptr<xcb_connection_t, Disconnect> xcb_;
  const xcb_setup_t* setup_;
  const xcb_screen_t* screen_;
  xcb_gcontext_t context_;
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
  const Child child = StartChild(command, 3, "", prepare_);
  pid_ = lastPid_ = child.pid;
  // The server writes its number once it listens, and closes the descriptor.
  if (ReadAll(child.output).empty()) {
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

void Xvfb::Stop() {
  kill(pid_, SIGSTOP);
  int status = 0;
  waitpid(pid_, &status, WUNTRACED);
}

void Xvfb::Continue() { kill(pid_, SIGCONT); }

std::string Xvfb::Run(const std::vector<std::string>& command) const {
  const Child child = StartChild(command, STDOUT_FILENO, display_);
  std::string output = ReadAll(child.output);
  if (WaitForEnd(child.pid) != 0) Fail(command.front() + " failed on " + display_);
  return output;
}

void Xvfb::SetTwoMonitors(Primary primary) const {
  // A star before a monitor's name makes it primary.
  const std::string leftName = primary == Primary::kLeft ? "*left" : "left";
  const std::string rightName = primary == Primary::kRight ? "*right" : "right";
  Run({"xrandr", "--setmonitor", leftName, "1440/380x900/240+0+0", "screen"});
  Run({"xrandr", "--setmonitor", rightName, "1280/340x1024/270+1440+0", "none"});
}

void Xvfb::FillRandom(uint32_t seed) const {
  constexpr int kRectangles = 20;
  Painter painter(display_);
  std::mt19937 random(seed);
  painter.SetRandomColors(random);
  painter.PutRandom(random, 0, 0, painter.width(), painter.height());
  for (int i = 0; i < kRectangles; ++i) {
    const int x = static_cast<int>(random() % static_cast<unsigned>(painter.width()));
    const int y = static_cast<int>(random() % static_cast<unsigned>(painter.height()));
    painter.PutRandom(random, x, y, 1 + static_cast<int>(random() % 200),
                      1 + static_cast<int>(random() % 200));
  }
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
  const char* const previous = getenv(name);
  wasSet_ = previous != nullptr;
  if (previous) previous_ = previous;
  if (value) {
    setenv(name, value, 1);
  } else {
    unsetenv(name);
  }
}

ScopedVariable::~ScopedVariable() {
  if (wasSet_) {
    setenv(name_.c_str(), previous_.c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

}  // namespace qrv::testing
