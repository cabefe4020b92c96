// A session bus for tests with KWin and the portal on it, all of them one process, which does as it
// is told. The pixel (x, y) of what they show is 0x07yyxx.
#ifndef TESTS_UNIT_PLATFORM_DESKTOP_PORTAL_BUS_PEER_H_
#define TESTS_UNIT_PLATFORM_DESKTOP_PORTAL_BUS_PEER_H_

#include <atomic>
#include <string>

#include "tests/support/process.h"
#include "tests/support/xvfb.h"

namespace qrv::desktop::portal {

enum class Deed {
  kBehaves,
  // The bus:
  kNeverGreets,
  kNeverAnswersButGreets,
  kHangsUp,
  // The portal:
  kNeverAnswersRequest,
  kRefuses,  // with rude words
  kNamesNoObject,
  kNeverResponds,
  kRespondsTwice,  // no, then yes
  kRespondsInWords,
  kRespondsWithoutDictionary,
  kRespondsWithoutUri,
  kRespondsWithNumberAsUri,
  kRespondsWithEndlessUri,
  // KWin:
  kDrips,
  kStopsEarly,
  kTellsOtherSize,
  kTellsHugeStride,
  kTellsOtherFormat,
  kTellsWords,
};

// What the test's process and the peer's share.
struct PeerScript {
  std::atomic<Deed> deed;
  std::atomic<uint32_t> code;        // of the portal's response
  std::atomic<uint32_t> asked;       // requests to the portal
  std::atomic<uint32_t> closed;      // of those
  std::atomic<uint32_t> version;     // of KWin's interface; 0 for none
  std::atomic<bool> mentionsHiding;  // KWin was told whether to hide the caller's windows
  std::atomic<bool> hides;           // and how
};

// The bus of this process's environment while it lives.
class BusPeer {
 public:
  // The portal's pictures are of that size.
  BusPeer(int width, int height);
  BusPeer(const BusPeer&) = delete;
  BusPeer& operator=(const BusPeer&) = delete;
  ~BusPeer();

  PeerScript& script() { return *script_; }
  // Whether the portal's picture is still there.
  bool HasPicture() const { return std::filesystem::exists(folder_.File("shot.png")); }

 private:
  testing::ScratchFolder folder_;
  testing::ScopedVariable address_;
  PeerScript* script_;
  pid_t process_;
};

}  // namespace qrv::desktop::portal

#endif  // TESTS_UNIT_PLATFORM_DESKTOP_PORTAL_BUS_PEER_H_
