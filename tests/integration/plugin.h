// The built plug-in in a host of the test's choice, and its methods as functions.
#ifndef TESTS_INTEGRATION_PLUGIN_H_
#define TESTS_INTEGRATION_PLUGIN_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "runtime/host.h"
#include "tests/support/process.h"
#include "tests/support/xvfb.h"

namespace qrv::testing {

// The strategies, by the system versions that choose them.
constexpr const char* kDisplayImage = "10.7";
constexpr const char* kOpenGL = "10.6";
constexpr const char* kQuickDraw = "10.4";
constexpr const char* kSystems[] = {kDisplayImage, kOpenGL, kQuickDraw};

// Which generation of the system the platform plays from now on.
void UseSystem(const char* version);
// Which desktop it shows from now on.
void UseDesktop(const std::string& desktop);
void UseDesktop(const Xvfb& server);

// Of what is random in this process: QRV_TEST_SEED when it is set.
unsigned Seed();

// A process of its own for a part of a test, that exits with 0 unless an expectation fails in it.
pid_t ForkTest(const std::function<void()>& body);

struct RawPixels {
  std::string bytes;
  uint32_t encoding = 0;
  int32_t width = 0, height = 0, rowBytes = 0;
};

// Every method checks that the host has got back all that it handed out but the result, that the
// result carries one reference, and that nothing is left once that is given back. Nil is nothing.
class Plugin {
 public:
  explicit Plugin(runtime::HostOptions options = {});

  using Picture = std::optional<runtime::Image>;

  Picture Main();
  Picture Display(int32_t index);
  Picture Rect(int32_t left, int32_t top, int32_t width, int32_t height);
  Picture Scaled(int32_t left, int32_t top, int32_t width, int32_t height, int32_t destinationWidth,
                 int32_t destinationHeight);
  Picture FromRaw(const RawPixels& raw);

  // The bytes are empty for nil; the numbers are what the method left in them.
  RawPixels Raw();
  RawPixels RawDisplay(int32_t index);

  runtime::Host& host() { return host_; }

 private:
  template <typename Function, typename... Arguments>
  auto Call(const runtime::Method<Function>& method, Arguments&&... arguments);
  Picture Take(REALpictureStruct* picture);
  RawPixels Take(REALstringStruct* string, RawPixels numbers);

  runtime::Host host_;
};

// A part of a screen, as a picture of it is to be: black beyond. The same of the virtual desktop of
// that layout, whose displays don't overlap.
runtime::Image Crop(const RgbImage& screen, const Area& part);
runtime::Image Cards(const std::string& layout, const Area& part);

// The unused byte of a QuickDraw world is 0, and a picture keeps it: without it.
Plugin::Picture Opaque(Plugin::Picture picture);

// Where two pictures differ first in colour or in opacity; empty when they don't.
std::string Difference(const Plugin::Picture& actual, const runtime::Image& expected);

// The same in colour alone of what `capture` makes on that system, by whose strategy and no other.
std::string DifferenceOn(const char* system, const std::function<Plugin::Picture()>& capture,
                         const runtime::Image& expected);

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_PLUGIN_H_
