// Wayland compositors for tests: a sway of the test's own without a screen, whose outputs show the
// picture of fill_outputs. It ends with the object that started it or with the test's process.
//
// Everything here throws std::runtime_error when it can't do what it is asked.
#ifndef TESTS_SUPPORT_SWAY_H_
#define TESTS_SUPPORT_SWAY_H_

#include "tests/support/process.h"
#include "tests/support/xvfb.h"

namespace qrv::testing {

struct Output {
  Area units;  // where it is in the compositor's space
  double density = 1;
  std::string transform = "normal";

  int PixelWidth() const { return static_cast<int>(units.width * density); }
  int PixelHeight() const { return static_cast<int>(units.height * density); }

  // A command of sway's for the output.
  std::string Command(size_t number) const;
};

// sway's name of an output, whose number is its place in a list of outputs, from 0. The order in
// which outputs are announced is another.
std::string OutputName(size_t number);

// What fill_outputs shows on the output of that number, as 0xRRGGBB.
inline uint32_t FilledPixel(size_t output, int x, int y) {
  const int blue = x / 256 + 16 * (y / 256) + 128 * static_cast<int>(output);
  return static_cast<uint32_t>((x & 255) << 16 | (y & 255) << 8 | (blue & 255));
}

class Sway : public Server {
 public:
  // Returns when these outputs show the picture.
  explicit Sway(const std::vector<Output>& outputs);
  ~Sway();

  // The path of its socket. Stays the same when it is restarted.
  const std::string& socket() const { return socket_; }

  // After Kill: a new one with the same outputs, that shows the picture.
  void Restart();

  // Shows the picture on these, which are the outputs that there are by now.
  void Fill(const std::vector<Output>& outputs);
  const std::vector<Output>& outputs() const { return outputs_; }

  // Runs a program for this compositor and returns what it wrote to its standard output. Throws
  // when it doesn't end with status 0.
  std::string Run(const std::vector<std::string>& command) const;
  void Command(const std::string& words) const { Run({"swaymsg", "--", words}); }

 private:
  bool StartFilling();
  void EndFilling();

  ScratchFolder folder_;
  std::string socket_;
  std::vector<Output> outputs_;
  pid_t filling_ = 0;
};

}  // namespace qrv::testing

#endif  // TESTS_SUPPORT_SWAY_H_
