// Every way to capture, over a server with two monitors, for tests that interfere meanwhile.
#ifndef TESTS_INTEGRATION_CAPTURES_H_
#define TESTS_INTEGRATION_CAPTURES_H_

#include "tests/integration/plugin.h"

namespace qrv::testing {

// A server whose screen, of random pixels, is two monitors side by side.
class TwoMonitorServer : public Xvfb {
 public:
  static constexpr int kWidth = 320;
  static constexpr int kHeight = 200;
  static constexpr int kLeftWidth = 180;

  explicit TwoMonitorServer(std::vector<std::string> arguments = {});

  // Gives a new server its monitors and its pixels, which are the same every time.
  void Prepare() const;

  // Its pixels as an independent program sees them.
  const RgbImage& screen() const { return screen_; }

 private:
  RgbImage screen_;
};

// A method, the strategy that it goes through, and the part of the screen that it shows.
struct Capture {
  const char* name;
  const char* system;
  Plugin::Picture (*call)(Plugin& plugin);
  Area part;

  Plugin::Picture operator()(Plugin& plugin) const;  // opaque
  // What is wrong with another one; empty when nothing is.
  std::string Check(Plugin& plugin, const RgbImage& screen) const;
  std::string Named(const std::string& problem) const;
};

extern const std::vector<Capture> kCaptures;

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_CAPTURES_H_
