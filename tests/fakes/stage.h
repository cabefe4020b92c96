// The stage on which the plug-in's unit tests run: what the fake host and the fake frameworks are
// to be, what was called on them, and what they have handed out.
//
// Every fake function records its call. A call that can fail asks Refused() first; the n-th such
// call, or every call of a name, can be told to fail. What is handed out goes into a ledger.
#ifndef TESTS_FAKES_STAGE_H_
#define TESTS_FAKES_STAGE_H_

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace qrv::fakes {

enum class Application { kNone, kDesktop, kConsole, kWeb };

// A display of the fake screen, in global coordinates.
struct FakeDisplay {
  uint32_t id;
  int x;
  int y;
  int width;
  int height;
  int bitsPerSample = 8;    // 0: the mode does not state it
  int samplesPerPixel = 3;  // 0: the mode does not state it
  int depth = 32;           // of its QuickDraw device
  int scale = 1;            // pixels per unit
};

struct Stage {
  // The system.
  std::vector<FakeDisplay> displays = {{11, 0, 0, 1440, 900}, {12, 1440, 0, 1280, 1024}};
  int systemMajor = 10;
  int systemMinor = 7;

  // The host.
  Application application = Application::kDesktop;
  double version = 2013.03;  // 0: the host reports none
  bool picturesHaveAlpha = false;
  uint32_t contextAlphaInfo = 6;  // of desktop pictures
  std::set<std::string> missing;  // host entry points and QuickDraw functions that are not there

  // Failures.
  std::set<std::string> refused;  // names whose calls always fail
  int refuseAt = 0;               // 1: the first call that can fail does; 0: none

  // What happened.
  std::vector<std::string> calls;
  int refusable = 0;                // calls that could have failed
  std::string refusedCall;          // the one that `refuseAt` hit
  std::vector<std::string> faults;  // misuse: released twice, out of order, unlocked unlocked...

  // What is held, by the object's address: its kind, in order of creation.
  std::vector<std::pair<const void*, std::string>> held;

  // Begins an empty record; keeps the settings.
  void ClearRecord();
};

// The stage of this process.
Stage& TheStage();

void Record(std::string call);
// Records nothing; true when this call is to fail.
bool Refused(const std::string& name);

void Created(const void* object, const std::string& kind);
// A fault when the object is not held, or, for kinds that are released in reverse order of
// creation, when a later one of the same family is.
void Released(const void* object, const std::string& kind);

// The screen's colour at a global position, as 0xRRGGBB; a different one at every position nearby.
uint32_t ScreenColour(int x, int y);

// Text of numbers for records: "1 2 3".
template <typename... Numbers>
std::string Join(Numbers... numbers) {
  std::string text;
  ((text += (text.empty() ? "" : " ") + std::to_string(numbers)), ...);
  return text;
}

}  // namespace qrv::fakes

#endif  // TESTS_FAKES_STAGE_H_
