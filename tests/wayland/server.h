// A Wayland compositor for tests, in a process of its own: outputs that show a known picture, both
// capture protocols, and faults on command.
#ifndef TESTS_WAYLAND_SERVER_H_
#define TESTS_WAYLAND_SERVER_H_

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace qrv::testing {

// wl_shm's formats. Their channels are named from the highest bits down, each with its number of
// bits: "x2r10g10b10".
extern const std::map<uint32_t, const char*> kShmFormats;

// The 8-bit colour 00RRGGBB that the picture has at a place once it has gone through a format.
uint32_t ColorAt(uint32_t format, uint32_t picture, int x, int y);

struct OutputSetup {
  std::string name = "TEST-1";
  int width = 61;  // of its mode; 0 when it is off
  int height = 40;
  int transform = 0;  // wl_output's
  int scale = 1;
  int x = 0;
  int y = 0;
  int logicalWidth = 61;  // as xdg-output tells
  int logicalHeight = 40;
};

struct CompositorSetup {
  std::vector<OutputSetup> outputs = {OutputSetup()};
  std::vector<uint32_t> formats = {1};  // screencopy sends the first, the other protocol offers all
  int screencopy = 3;                   // the versions that are offered; 0 for none
  int imageCopy = 0;
  int outputVersion = 4;
  int xdgOutput = 3;
  int padding = 0;  // bytes at a row's end, where the compositor states the stride
  bool isInverted = false;
};

enum class Fault {
  kNone,
  kRefuses,          // to capture
  kRefusesBuffer,    // that it has been given
  kTells,            // another format and width of the image, and stride where it states that
  kChangesMode,      // when it tells of the image
  kSendsEventEarly,  // of the frame, words[0], without arguments: before a copy is asked for
  kAnswersTwice,     // each round trip
  kFallsSilent,      // at that round trip, words[0]
  kDrips,            // so, a byte a second
  // When it has been given a buffer:
  kNewFormat,       // refuses the buffer, then tells of another format
  kNewFormatEarly,  // the other way round
  kNeverSettles,    // so every time
  kNeverReady,
  kHangsUp,
  kComplains,   // a protocol error
  kSendsWords,  // in pieces
  kFloods,
  kRemovesOutput,
  kTurnsOutput,  // by half a turn
  kTurnsThere,   // so, and back
  kSendsEvent    // as above, once the frame is ready
};

inline constexpr uint32_t kFramesNumber = 0xF0F0F0F0;  // among the words to send

// What the test's process and the compositor's share.
struct Script {
  std::atomic<Fault> fault;
  uint32_t words[5];              // what kTells tells and kSendsWords sends
  std::atomic<uint32_t> picture;  // which one the outputs show
  std::atomic<uint32_t> regions;  // captures of a region that were asked for
  std::atomic<bool> withPointer;  // whether the last capture was to show it
  std::atomic<uint32_t> highest;  // number of an object
  std::atomic<int> truncated;     // errno of an attempt on the last pool's memory
};

class Compositor : public Server {
 public:
  explicit Compositor(const CompositorSetup& setup = {});
  ~Compositor() { Kill(); }

  std::string path() const { return folder_.File("wayland"); }
  Script& script() { return *script_; }

 private:
  ScratchFolder folder_;
  const Shared<Script> script_;
};

}  // namespace qrv::testing

#endif  // TESTS_WAYLAND_SERVER_H_
