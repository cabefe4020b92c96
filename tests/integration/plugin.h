// The built plug-in in a host of the test's choice, its methods as functions, and what they are to
// show.
#ifndef TESTS_INTEGRATION_PLUGIN_H_
#define TESTS_INTEGRATION_PLUGIN_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runtime/host.h"
#include "tests/support/process.h"
#include "tests/support/sway.h"
#include "tests/support/xvfb.h"

namespace qrv::testing {

using runtime::Image;
namespace methods = runtime::methods;

// The strategies, by the system versions that choose them.
inline constexpr char kDisplayImage[] = "10.7";
inline constexpr char kOpenGL[] = "10.6";
inline constexpr char kQuickDraw[] = "10.4";
inline constexpr const char* kSystems[] = {kDisplayImage, kOpenGL, kQuickDraw};

// Which generation of the system the platform plays from now on, and which desktop it shows.
void UseSystem(const char* version);
void UseDesktop(const std::string& desktop);

// Of what is random in this process: QRV_TEST_SEED when it is set.
unsigned Seed();
// A number that an environment variable may set.
int Setting(const char* variable, int otherwise);

// A process of its own for a part of a test, that exits with 0 unless an expectation fails in it.
pid_t ForkTest(const std::function<void()>& body);

struct RawPixels {
  std::string bytes;
  int32_t width = -7, height = -7, rowBytes = -7;
};

// Every method checks that the host has got back all that it handed out but the result, that the
// result carries one reference, and that nothing is left once that is given back. Nil is nothing.
class Plugin {
 public:
  using Picture = std::optional<Image>;

  explicit Plugin(runtime::HostOptions options = {},
                  const std::string& file = QRV_BUILD_DIR "/ScreenshotQRV.so");

  // Uses a system; the next method may deliver by its strategy and no other.
  Plugin& On(const char* system);

  Picture Main() { return Take(Call(methods::kScreenshot)); }
  Picture Display(int32_t index) { return Take(Call(methods::kScreenshotDisplay, index)); }
  Picture Rect(const Area& r) {
    return Take(Call(methods::kScreenshotRect, r.left, r.top, r.width, r.height));
  }
  Picture Scaled(const Area& r, int32_t width, int32_t height) {
    return Take(
        Call(methods::kScreenshotRectScaled, r.left, r.top, r.width, r.height, width, height));
  }
  Picture FromRaw(const RawPixels& raw);

  // Of a display, or by the method for the main one. The bytes are empty for nil; the numbers are
  // what the method left in them.
  RawPixels Raw(std::optional<int32_t> display = {});

  runtime::Host& host() { return host_; }

  static std::atomic<bool> isCalling;  // while a method runs

 private:
  template <typename Result, typename... Parameters, typename... Arguments>
  Result Call(const runtime::Method<Result(Parameters...)>& method, Arguments&&... arguments) {
    Begin();
    const Result result = host_.Call(method, std::forward<Arguments>(arguments)...);
    End();
    return result;
  }
  void Begin();
  void End();
  Picture Take(REALpictureStruct* picture);

  runtime::Host host_;
  std::optional<unsigned> strategies_;  // that may deliver
};

// A picture of these colours, 0xRRGGBB.
Image Paint(const Area& part, const std::function<uint32_t(int x, int y)>& color);

// A picture of a part of the virtual desktop of that layout, whose displays don't overlap: black
// beyond.
Image Cards(const std::string& layout, const Area& part);

// Where two pictures differ first in colour or in opacity; empty when they don't.
std::string Difference(const Plugin::Picture& actual, const Image& expected);

// An X server that shows random pixels and is the desktop from now on.
class Screen : public Xvfb {
 public:
  // The screen's parts that are monitors, the primary one first; if none, all of it is one.
  explicit Screen(const std::string& screen, std::vector<Area> monitors = {},
                  std::vector<std::string> arguments = {});

  // Gives a new server its monitors and its pixels, which are the same every time.
  void Prepare() const;

  // What a picture of a part is to be, as an independent program saw it last: black beyond.
  Image Part(const Area& part) const;
  void See() { seen_ = ImportScreen(); }
  Image Whole() const { return Part({0, 0, seen_.width, seen_.height}); }

 private:
  std::vector<Area> monitors_;
  RgbImage seen_;
};

// A compositor whose outputs' picture is known, and that is the desktop from now on.
class Outputs : public Sway {
 public:
  // The first one is at the origin.
  explicit Outputs(const std::vector<Output>& outputs) : Sway(outputs) {
    UseDesktop("wayland:" + socket());
  }

  // What a picture of an output's pixels is to be; and of a part of the space, where outputs have
  // as many pixels as units: black beyond.
  Image Whole(size_t output) const;
  Image Part(const Area& part) const;
};

// Every way to capture, over a server with two monitors, for tests that interfere meanwhile.

struct TwoMonitors : Screen {
  explicit TwoMonitors(std::vector<std::string> arguments = {});
};

struct TwoOutputs : Outputs {
  TwoOutputs();
};

// A method, the strategy that it goes through, and the part of the screen that it shows.
struct Capture {
  const char* name;
  const char* system;
  Plugin::Picture (*call)(Plugin& plugin);
  Area part;

  // Captures by that strategy alone.
  void ExpectRight(Plugin& plugin, const Image& expected) const;
  // Captures by whatever strategy, which takes 5 seconds at most. Whether there is a picture.
  bool ExpectRightOrNil(Plugin& plugin, const Image& expected) const;
};

extern const std::vector<Capture> kCaptures;

template <typename Shown>
void ExpectAllRight(Plugin& plugin, const Shown& screen) {
  for (const Capture& each : kCaptures) each.ExpectRight(plugin, screen.Part(each.part));
}

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_PLUGIN_H_
