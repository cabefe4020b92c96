// What the plug-in's unit tests share: a host of the test's choice over a virtual desktop, behind
// the pass-through layer, and what pictures are to hold there.
#ifndef TESTS_UNIT_PLUGIN_TEST_H_
#define TESTS_UNIT_PLUGIN_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <screenshotqrv/platform.h>

#include <list>
#include <random>

#include "platform/coregraphics/bitmap.h"
#include "runtime/host.h"
#include "tests/passthrough/layer.h"

namespace qrv::passthrough {

inline uint32_t TakeStrategies() { return QRVTakeStrategies(); }

using runtime::ApplicationKind;
using runtime::HostOptions;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<uint8_t>;

// The strategies, as the platform counts them, and a system that chooses each.
enum Strategy : unsigned { kNone = 0, kDisplayImage = 1, kOpenGL = 2, kQuickDraw = 4 };
constexpr const char* kSystems[] = {"", "10.7", "10.6", "", "10.4"};

// Raw pixels of 2 x 2 with a gap at the end of each row: bottom row, then top row.
constexpr std::string_view kRawPixels = "bgr.BGR.gap.bgR.BgR.gap.";

// An image of 3 x 2 premultiplied pixels, opaque, half transparent, transparent, and then the other
// way round; what a picture of it and its mask hold, and any pixels without their alpha.
extern const Bytes kImagePixels;
extern const Bytes kDivided;
CGImage ImageOf(CGImageAlphaInfo alphaInfo, bool hasAlpha, size_t width = 3, size_t height = 2);
Bytes Opaque(Bytes rgba);

struct Box {
  int left, top, width, height;

  bool Holds(int x, int y) const {
    return x >= left && y >= top && x < left + width && y < top + height;
  }
};

class PluginTest : public ::testing::Test {
 protected:
  PluginTest();
  ~PluginTest() override;

  void UseDesktop(const std::vector<Box>& itsDisplays);
  static void UseSystem(const std::string& version);
  static void UseSystem(Strategy strategy) { UseSystem(kSystems[strategy]); }
  // Lets the plug-in bind QuickDraw's functions.
  void BindQuickDraw();
  // Starts the plug-in in a process of another kind, with another host.
  void Use(const HostOptions& options);
  void Use(ApplicationKind application) {
    HostOptions kind;
    kind.application = application;
    Use(kind);
  }

  // Changes what the host tells when it locks pictures, of this lock and, where `isAll`, of those
  // after it. The console image is a copy that has a copy of the row table.
  using Change = std::function<void(REALpictureDescription&, ConsoleImage&)>;
  void ChangeLocks(int first, bool isAll, const Change& change);

  // The four bytes of a pixel in the host's pictures; alpha -1: opaque.
  Bytes Stored(uint32_t colour, int alpha = -1) const;
  Bytes StoredRawPixels() const;
  // The pixels of the picture, row by row, as they are in memory.
  static Bytes BytesOf(const REALpictureStruct* picture);
  // What a part of the desktop is to be by the strategy; without the displays whose bits are set in
  // `without`, whose place shows what the strategy's picture is before anything is drawn.
  Bytes Expected(Strategy strategy, const Box& part, unsigned without = 0) const;
  Bytes Expected(const Box& part, const Bytes& outside, int alpha, unsigned without = 0) const;

  // The picture is exactly that, is all that is held, and was captured by the strategy. Releases
  // it.
  void ExpectShows(REALpictureStruct* picture, Strategy strategy, const Box& part);
  void ExpectIs(REALpictureStruct* picture, const Bytes& bytes);
  // The plug-in has given all back. Empty, or what is still held or went wrong.
  std::string Problems() const;

  uint32_t Card(size_t display, int x, int y) const;

  // A random number in the range; now and then any, or one that is in it in 16 bits.
  int32_t Pick(int32_t least, int32_t most);
  int32_t PickAny(int32_t least, int32_t most);

  std::vector<Box> displays;
  HostOptions options;
  std::unique_ptr<runtime::Host> host;
  Layer& layer = TheLayer();

 private:
  std::list<std::pair<ConsoleImage, std::vector<int32_t*>>> changedImages;
  std::mt19937 random{std::random_device()()};
};

}  // namespace qrv::passthrough

#endif  // TESTS_UNIT_PLUGIN_TEST_H_
