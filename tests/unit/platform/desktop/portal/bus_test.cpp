#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <thread>

#include "platform/desktop/portal/module/kwin.h"
#include "platform/desktop/portal/module/portal.h"
#include "platform/desktop/session.h"
#include "tests/unit/platform/desktop/portal/bus_peer.h"
#include "tests/wayland/server.h"

namespace qrv::desktop::portal {
namespace {

using namespace std::chrono_literals;

constexpr auto kBudget = 400ms, kPatience = 800ms;
constexpr char kNonsense[] = "the portal's answer makes no sense";
constexpr char kNoFile[] = "the portal names no local file";

wayland::PlacedOutput LeftOfTwo() {
  wayland::PlacedOutput output;
  output.display = {1, {0, 0, 61, 40}, 0, 0, 61, 40, 32, 8, 3, 32, "TEST-1"};
  output.logical = {0, 0, 61, 40};
  output.desktop = {{0, 0, 122, 40}};
  return output;
}

uint32_t PixelAt(const Frame& frame, int x, int y) {
  uint32_t pixel = 0;
  std::memcpy(&pixel, frame.pixels + static_cast<size_t>(y) * frame.rowBytes + x * 4, 3);
  return pixel;
}

Clock::duration personTime;

std::unique_ptr<wayland::Backend> OpenTestedPortal() {
  const PersonCalls person = {[](const char*) {},
                              [](int64_t time) { personTime = std::chrono::nanoseconds(time); }};
  return OpenPortalBackend(person, kPatience, Clock::now() + kBudget);
}

std::unique_ptr<wayland::Backend> OpenTestedKWin() {
  return OpenKWinBackend(LeftOfTwo(), Clock::now() + kBudget);
}

// Of a capture that must be right, or fail for that reason in time.
struct Row {
  Deed deed;
  Reason reason = Reason::kNone;
  std::string problem = {};
  uint32_t code = 0;
  uint32_t closed = 0;
};

void ExpectOutcome(const Row& row, std::unique_ptr<wayland::Backend> (*open)()) {
  SCOPED_TRACE("deed " + std::to_string(static_cast<int>(row.deed)));
  BusPeer peer(122, 40);
  peer.script().deed = row.deed;
  peer.script().code = row.code;
  const auto start = Clock::now();
  Reason reason = Reason::kNone;
  std::string problem;
  personTime = {};
  try {
    const auto backend = open();
    const Frame frame = backend->Capture(LeftOfTwo(), {3, 2, 50, 30}, Clock::now() + kBudget);
    EXPECT_EQ(PixelAt(frame, 49, 29), 0x070000 + (31 << 8) + 52);
    EXPECT_FALSE(peer.HasPicture());
  } catch (const Error& error) {
    reason = error.reason();
    problem = error.what();
  }
  EXPECT_LT(Clock::now() - start - personTime, 2 * kBudget + 300ms);
  EXPECT_EQ(personTime >= kPatience, row.deed == Deed::kNeverResponds);
  EXPECT_EQ(std::pair(reason, problem), std::pair(row.reason, row.problem));
  for (int i = 0; i < 100 && peer.script().closed < row.closed; ++i) usleep(10'000);
  EXPECT_EQ(peer.script().closed, row.closed);
}

TEST(Portal, IsRightOrNilInTimeWhateverItDoes) {
  const std::string silence = "org.freedesktop.portal.Desktop does not answer on the session bus";
  for (const Row& row : std::initializer_list<Row>{
           {Deed::kBehaves},
           {Deed::kBehaves, Reason::kRefused, "the portal's question was answered with no", 1},
           {Deed::kBehaves, Reason::kRefused, "the portal could not take a picture", 2},
           {Deed::kNeverGreets, Reason::kTimeout, "the session bus does not answer"},
           {Deed::kNeverAnswersButGreets, Reason::kTimeout, silence},
           {Deed::kHangsUp, Reason::kUnreachable, "the session bus closed the connection"},
           {Deed::kNeverAnswersRequest, Reason::kTimeout, silence, 0, 1},
           {Deed::kRefuses, Reason::kRefused, "no  [2J yas", 0, 1},
           {Deed::kNamesNoObject, Reason::kUnsupported, kNonsense, 0, 1},
           {Deed::kNeverResponds, Reason::kRefused,
            "the portal's question was not answered in time", 0, 1},
           {Deed::kRespondsTwice, Reason::kRefused, "the portal's question was answered with no"},
           {Deed::kRespondsInWords, Reason::kUnsupported, kNonsense},
           {Deed::kRespondsWithoutDictionary, Reason::kUnsupported, kNonsense},
           {Deed::kRespondsWithoutUri, Reason::kUnsupported, kNoFile},
           {Deed::kRespondsWithNumberAsUri, Reason::kUnsupported, kNoFile},
           {Deed::kRespondsWithEndlessUri, Reason::kUnsupported,
            "the portal names no picture of this user's own"}}) {
    ExpectOutcome(row, OpenTestedPortal);
  }
}

TEST(KWin, IsRightOrNilInTimeWhateverItDoes) {
  const std::string other = "the display has changed since it was listed";
  const std::string unknown = "KWin sends pixels in a format that is not known here";
  for (const Row& row : std::initializer_list<Row>{
           {Deed::kBehaves},
           {Deed::kNeverGreets, Reason::kTimeout, "the session bus does not answer"},
           {Deed::kDrips, Reason::kTimeout, "KWin does not send the pixels in time"},
           {Deed::kStopsEarly, Reason::kUnsupported, "KWin sends fewer pixels than it said"},
           {Deed::kTellsOtherSize, Reason::kDisplayChanged, other},
           {Deed::kTellsHugeStride, Reason::kUnsupported, unknown},
           {Deed::kTellsOtherFormat, Reason::kUnsupported, unknown},
           {Deed::kTellsWords, Reason::kDisplayChanged, other}}) {
    ExpectOutcome(row, OpenTestedKWin);
  }
}

TEST(KWin, IsToldToShowTheCallersWindowsWhereItWouldHideThem) {
  BusPeer peer(122, 40);
  for (const uint32_t version : {0, 4, 5, 6}) {
    peer.script().version = version;
    OpenTestedKWin();
    EXPECT_EQ(peer.script().mentionsHiding, version >= 5) << version;
    EXPECT_FALSE(peer.script().hides);
  }
}

// As the plug-in's strategies do: each lists the displays and captures them until one fails.
void ExpectOneQuestion(const Row& row, uint32_t asked) {
  SCOPED_TRACE("deed " + std::to_string(static_cast<int>(row.deed)));
  constexpr int kDisplays = 8;
  testing::CompositorSetup setup;
  setup.outputs.clear();
  for (int i = 0; i < kDisplays; ++i)
    setup.outputs.push_back({"", 20, 40, 0, 1, i * 20, 0, 20, 40});
  const testing::Compositor compositor(setup);
  BusPeer peer(kDisplays * 20, 40);
  peer.script().deed = row.deed;
  peer.script().code = row.code;
  const testing::ScopedVariable chosen("QRV_DESKTOP", ("portal:" + compositor.path()).c_str());
  const auto start = Clock::now();
  for (int strategy = 0; strategy < 3 && (strategy == 0 || HasCaptureFailed()); ++strategy) {
    const std::vector<Display>* const displays = RefreshDisplays();
    for (size_t i = 0; displays != nullptr && i < displays->size(); ++i) {
      const Frame frame = Capture(displays->at(i), {1, 2, 18, 30}, Strategy::kDisplayImage);
      if (frame) {
        EXPECT_EQ(PixelAt(frame, 3, 5), 0x070700 + i * 20 + 4);
      }
    }
    EXPECT_EQ(CurrentStatus().failure, row.reason);
    EXPECT_EQ(CurrentStatus().message, row.problem);
    // QuickDraw makes no world where displays can't be listed.
    if (strategy == 1 && displays == nullptr) break;
  }
  EXPECT_LT(Clock::now() - start, 5s);
  EXPECT_EQ(peer.script().asked, asked);
  std::this_thread::sleep_for(1s);  // a no is forgotten
  peer.script().deed = Deed::kBehaves;
  peer.script().code = 0;
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_TRUE(FrameBuffer(LatestDisplays()->front()));
  EXPECT_EQ(peer.script().asked, asked + 1) << "another capture is another picture";
}

TEST(Portal, AsksOnceForTheDisplaysAndStrategiesOfACapture) {
  ExpectOneQuestion({Deed::kBehaves}, 1);
  ExpectOneQuestion(
      {Deed::kBehaves, Reason::kRefused, "the portal's question was answered with no", 1}, 1);
  ExpectOneQuestion({Deed::kRefuses, Reason::kRefused, "no  [2J yas"}, 1);
  ExpectOneQuestion({Deed::kRespondsInWords, Reason::kUnsupported, kNonsense}, 1);
}

TEST(Portal, KeepsToTheTimeOfACallWithAllItsStrategies) {
  ExpectOneQuestion({Deed::kNeverAnswersRequest, Reason::kTimeout,
                     "org.freedesktop.portal.Desktop does not answer on the session bus"},
                    1);
  ExpectOneQuestion({Deed::kNeverGreets, Reason::kTimeout,
                     "there is no way to the compositor's pixels (the portal: the session bus does "
                     "not answer)"},
                    0);
}

}  // namespace
}  // namespace qrv::desktop::portal
