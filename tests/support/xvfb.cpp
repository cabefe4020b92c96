#include "tests/support/xvfb.h"

#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>

namespace qrv::testing {
namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

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

Xvfb::Xvfb(std::string screen, std::vector<std::string> arguments)
    : screen_(std::move(screen)), arguments_(std::move(arguments)) {
  constexpr int kAttempts = 8;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (Start(NextDisplay())) return;
  }
  Fail("Xvfb did not start");
}

Xvfb::~Xvfb() {
  if (pid_ != 0) {
    Continue();
    End(SIGTERM);
    return;
  }
  // A killed server leaves its lock and its socket behind.
  unlink(("/tmp/.X" + display_.substr(1) + "-lock").c_str());
  unlink(("/tmp/.X11-unix/X" + display_.substr(1)).c_str());
}

// False when it doesn't start, as when the display is taken.
bool Xvfb::Start(const std::string& display) {
  std::vector<std::string> command = {"Xvfb", display, "-displayfd", "3",         "-screen",
                                      "0",    screen_, "-noreset",   "-nolisten", "tcp"};
  command.insert(command.end(), arguments_.begin(), arguments_.end());
  // The server writes its number once it listens.
  pid_ = StartUntilReady(command, 3);
  if (pid_ != 0) display_ = display;
  return pid_ != 0;
}

void Xvfb::Restart() {
  if (!Start(display_)) Fail("Xvfb did not start again");
}

void Xvfb::SetMonitor(const std::string& name, const Area& area, const char* output) const {
  const std::string size = std::to_string(area.width) + "/50x" + std::to_string(area.height);
  const std::string place = std::to_string(area.left) + "+" + std::to_string(area.top);
  Run({"xrandr", "--setmonitor", name, size + "/50+" + place, output});
}

// In rows, which fit a request. The colours of a colour map stay when this client leaves: all but
// the two that the server itself has taken. Only the first client finds cells to take for that.
void Xvfb::FillRandom(uint32_t seed) const {
  std::mt19937 random(seed);
  const std::unique_ptr<xcb_connection_t, void (*)(xcb_connection_t*)> owner(
      xcb_connect(display_.c_str(), nullptr), xcb_disconnect);
  xcb_connection_t* const xcb = owner.get();
  if (xcb_connection_has_error(xcb)) Fail("can't paint on " + display_);
  const xcb_screen_t* const screen = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data;
  if (screen->root_depth == 8) {
    xcb_set_close_down_mode(xcb, XCB_CLOSE_DOWN_RETAIN_PERMANENT);
    xcb_alloc_color_cells(xcb, 0, screen->default_colormap, 254, 0);
    for (uint32_t pixel = 0; pixel < 256; ++pixel) {
      const auto any = [&random] { return static_cast<uint16_t>(random()); };
      const xcb_coloritem_t item = {pixel, any(), any(), any(), 7, 0};  // red, green and blue
      xcb_store_colors(xcb, screen->default_colormap, 1, &item);
    }
  }
  const xcb_gcontext_t context = xcb_generate_id(xcb);
  xcb_create_gc(xcb, context, screen->root, 0, nullptr);
  const uint32_t bitsPerPixel = screen->root_depth > 16 ? 32 : screen->root_depth;
  std::vector<uint32_t> row((screen->width_in_pixels * bitsPerPixel + 31) / 32);
  for (int16_t y = 0; y < screen->height_in_pixels; ++y) {
    for (uint32_t& each : row) each = static_cast<uint32_t>(random());
    xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, context, screen->width_in_pixels, 1,
                  0, y, 0, screen->root_depth, static_cast<uint32_t>(row.size() * sizeof row[0]),
                  reinterpret_cast<const uint8_t*>(row.data()));
  }
  // Waits until the server has done everything.
  std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
  if (xcb_connection_has_error(xcb)) Fail("the server left while painting");
}

RgbImage Xvfb::ImportScreen() const {
  std::istringstream ppm(Run({"import", "-silent", "-window", "root", "-depth", "8", "ppm:-"}));
  std::string header;
  int maximum = 0;
  RgbImage image;
  ppm >> header >> image.width >> image.height >> maximum;
  image.pixels.resize(static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 3);
  ppm.ignore().read(reinterpret_cast<char*>(image.pixels.data()),
                    static_cast<std::streamsize>(image.pixels.size()));
  if (!ppm || header != "P6" || maximum != 255) Fail("import wrote no whole 8-bit colour image");
  return image;
}

}  // namespace qrv::testing
