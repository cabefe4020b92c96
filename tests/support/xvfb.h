// X servers for tests: an Xvfb of the test's own, that listens on this machine only, on a free
// display number, and ends with the object that started it or with the test's process.
//
// Everything here throws std::runtime_error when it can't do what it is asked.
#ifndef TESTS_SUPPORT_XVFB_H_
#define TESTS_SUPPORT_XVFB_H_

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace qrv::testing {

// Rows from top to bottom, three bytes a pixel: red, green, blue.
struct RgbImage {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;
};

struct Area {
  int left, top, width, height;
};

class Xvfb : public Server {
 public:
  // A server with one screen, WIDTHxHEIGHTxDEPTH, and further arguments such as
  // {"-extension", "MIT-SHM"}. Returns when the server answers.
  explicit Xvfb(std::string screen = "800x600x24", std::vector<std::string> arguments = {});
  ~Xvfb();

  // Its display's name, ":7". Stays the same when it is restarted.
  const std::string& display() const { return display_; }

  void Restart();  // after Kill: a new server at the same display

  // Runs a program with DISPLAY set to this server and returns what it wrote to its standard
  // output. Throws when it doesn't end with status 0.
  std::string Run(const std::vector<std::string>& command) const {
    return OutputOf(command, {{"DISPLAY", display_}});
  }

  // Makes a part of the screen a monitor, the primary one with a star before its name. The first
  // takes the server's one output, "screen".
  void SetMonitor(const std::string& name, const Area& area, const char* output = "none") const;

  // Covers the root window with random pixels, the same for the same seed. Gives a screen with a
  // colour map random colours first.
  void FillRandom(uint32_t seed) const;

  // The root window as an independent program sees it.
  RgbImage ImportScreen() const;

 private:
  bool Start(const std::string& display);

  std::string screen_;
  std::vector<std::string> arguments_;
  std::string display_;
};

// Sets an environment variable for the lifetime of the object; unsets it when `value` is null.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* const previous = getenv(name)) previous_ = previous;
    Set(value);
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;
  ~ScopedVariable() { Set(previous_ ? previous_->c_str() : nullptr); }

 private:
  void Set(const char* value) const { value ? setenv(name_, value, 1) : unsetenv(name_); }

  const char* name_;
  std::optional<std::string> previous_;
};

}  // namespace qrv::testing

#endif  // TESTS_SUPPORT_XVFB_H_
