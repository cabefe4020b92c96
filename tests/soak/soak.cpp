// Captures over and over in one process, and at the end it holds what it held after the first
// hundred: memory, open files and mappings, its own and the X server's.
//
//   soak CAPTURES desktop|console|web
//
// All seven methods by all three strategies, in turn, now on the virtual desktop and now on an X
// server of the program's own, whose connection is opened anew every few hundred captures. The
// number of captures is rounded up so that both looks fall on an open connection, the last one
// on one that has served longer. Whether a method delivers must not change from turn to turn.

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "runtime/host.h"
#include "tests/support/xvfb.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;
using runtime::Host;
using std::chrono::steady_clock;

constexpr const char* kSystems[] = {"10.7", "10.6", "10.4"};  // one a strategy
constexpr long kMethods = 7;
constexpr long kTurn = kMethods * static_cast<long>(std::size(kSystems));
constexpr long kVirtualTurns = 2;  // of each round, the first ones
constexpr long kRound = 20 * kTurn;
constexpr long kFirstLook = 5 * kTurn;

// What may be more at the end than at the first look. Memory: pages of code that ran for the first
// time, and what the allocator keeps in pieces. Mappings: an X connection keeps its two largest
// segments, and the allocator gives large blocks mappings of their own.
constexpr long kMoreResident = 1024;  // KiB
constexpr long kMoreMappings = 4;

struct Holdings {
  long resident = 0;  // KiB
  long files = 0;
  long mappings = 0;
};

Holdings HoldingsOf(const std::string& process) {
  const std::string folder = "/proc/" + process;
  Holdings holdings;
  std::ifstream status(folder + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) holdings.resident = std::stol(line.substr(6));
  }
  const std::filesystem::directory_iterator files(folder + "/fd");
  holdings.files = std::distance(begin(files), end(files));
  std::ifstream maps(folder + "/maps");
  for (std::string line; std::getline(maps, line);) ++holdings.mappings;
  return holdings;
}

struct Look {
  Holdings own;
  Holdings server;
};

// Memory that is free but kept by the allocator is not counted.
Look TakeLook(const Xvfb& server) {
  malloc_trim(0);
  return {HoldingsOf("self"), HoldingsOf(std::to_string(server.pid()))};
}

// Prints both, and says whether the second is within the bounds.
bool Compare(const char* whose, const Holdings& first, const Holdings& last) {
  std::printf("  %-13s %ld -> %ld KiB resident, %ld -> %ld open files, %ld -> %ld mappings\n",
              whose, first.resident, last.resident, first.files, last.files, first.mappings,
              last.mappings);
  return last.resident <= first.resident + kMoreResident && last.files == first.files &&
         last.mappings <= first.mappings + kMoreMappings;
}

class Soak {
 public:
  Soak(ApplicationKind application, const std::string& plugin) : host_(Options(application)) {
    std::string error;
    if (!host_.LoadPlugin(plugin, error)) throw std::runtime_error(error);
    server_.FillRandom(1);
    delivers_.assign(static_cast<size_t>(2 * kTurn), kUnknown);
  }

  void Capture(long number) {
    const bool isVirtual = number % kRound < kVirtualTurns * kTurn;
    const std::string desktop =
        isVirtual ? "virtual:640x480+0+0,320x240+-320+100" : "x11:" + server_.display();
    setenv("QRV_DESKTOP", desktop.c_str(), 1);
    setenv("QRV_SYSTEM_VERSION", kSystems[number % kTurn / kMethods], 1);
    const bool delivered = CallMethod(number % kMethods);
    int& delivers = delivers_[static_cast<size_t>(number % kTurn + (isVirtual ? kTurn : 0))];
    if (delivers == kUnknown) delivers = delivered ? 1 : 0;
    if ((delivers == 1) != delivered) throw std::runtime_error("a method delivers now and then");
    if (host_.Outstanding() != runtime::Ledger{}) throw std::runtime_error("something is held");
    if (delivered) ++delivered_;
  }

  const Xvfb& server() const { return server_; }
  long delivered() const { return delivered_; }

 private:
  static constexpr int kUnknown = -1;

  static runtime::HostOptions Options(ApplicationKind application) {
    runtime::HostOptions options;
    options.application = application;
    return options;
  }

  int32_t Pick(int32_t least, int32_t most) {
    return std::uniform_int_distribution<int32_t>(least, most)(random_);
  }

  template <typename Result>
  bool Took(Result* result) {
    host_.Release(result);
    return result != nullptr;
  }

  template <typename... Arguments>
  bool Picture(const char* declaration, Arguments... arguments) {
    return Took(host_.Call<REALpictureStruct*>(declaration, arguments...));
  }

  template <typename... Arguments>
  bool String(const char* declaration, Arguments... arguments) {
    int32_t width = 0, height = 0, rowBytes = 0;
    return Took(
        host_.Call<REALstringStruct*>(declaration, &width, &height, &rowBytes, arguments...));
  }

  bool FromString() {
    const int32_t width = Pick(1, 300);
    const int32_t height = Pick(1, 200);
    const std::string bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 'x');
    REALstringStruct* string = host_.NewString(bytes);
    const bool delivered = Picture(
        "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, data as "
        "string) as picture",
        width, height, width * 4, string);
    host_.Release(string);
    return delivered;
  }

  bool CallMethod(long method) {
    const int32_t left = Pick(-400, 700), top = Pick(-100, 500);
    const int32_t width = Pick(1, 900), height = Pick(1, 700);
    switch (method) {
      case 0:
        return Picture("ScreenshotQRV as picture");
      case 1:
        return Picture("ScreenshotDisplayQRV(index as integer) as picture", 0);
      case 2:
        return Picture(
            "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
            "integer) as picture",
            left, top, width, height);
      case 3:
        return Picture(
            "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
            "integer, destwidth as integer, destheight as integer) as picture",
            left, top, width, height, Pick(1, 500), Pick(1, 500));
      case 4:
        return String(
            "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes "
            "as integer) as string");
      case 5:
        return String(
            "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref "
            "RowBytes as integer, index as integer) as string",
            0);
      default:
        return FromString();
    }
  }

  Host host_;
  Xvfb server_{"800x600x24"};
  std::mt19937 random_{1};
  std::vector<int> delivers_;  // by turn and desktop: 0, 1 or not known yet
  long delivered_ = 0;
};

// A line every few seconds.
class Progress {
 public:
  explicit Progress(long total) : total_(total) {}

  void Reach(long done) {
    const auto now = steady_clock::now();
    if (now < next_) return;
    next_ = now + kBetween;
    std::fprintf(stderr, "  %ld of %ld captures\n", done, total_);
  }

 private:
  static constexpr std::chrono::seconds kBetween{5};

  long total_;
  steady_clock::time_point next_ = steady_clock::now() + kBetween;
};

bool Run(long captures, ApplicationKind application, const char* name, const std::string& plugin) {
  const auto started = steady_clock::now();
  Soak soak(application, plugin);
  Progress progress(captures);
  Look first;
  for (long done = 0; done < captures; ++done) {
    if (done == kFirstLook) first = TakeLook(soak.server());
    soak.Capture(done);
    progress.Reach(done);
  }
  const Look last = TakeLook(soak.server());
  const std::chrono::duration<double> took = steady_clock::now() - started;
  std::printf("%s: %ld captures, %ld delivered, in %.1f seconds; after %ld and at the end:\n", name,
              captures, soak.delivered(), took.count(), kFirstLook);
  const bool own = Compare("this process:", first.own, last.own);
  const bool server = Compare("the X server:", first.server, last.server);
  if (!own || !server) {
    std::printf("  more than %ld KiB, %ld mappings or any open file are too much\n", kMoreResident,
                kMoreMappings);
  }
  return own && server;
}

int Main(int argc, char** argv) {
  const std::string name = argc == 3 ? argv[2] : "";
  const std::pair<const char*, ApplicationKind> kinds[] = {{"desktop", ApplicationKind::kDesktop},
                                                           {"console", ApplicationKind::kConsole},
                                                           {"web", ApplicationKind::kWeb}};
  const auto* const kind = std::find_if(std::begin(kinds), std::end(kinds),
                                        [&name](const auto& each) { return each.first == name; });
  const long wanted = argc == 3 ? std::strtol(argv[1], nullptr, 10) : 0;
  if (kind == std::end(kinds) || wanted < 1) {
    std::fprintf(stderr, "usage: soak CAPTURES desktop|console|web\n");
    return 2;
  }
  const long captures = (wanted + kRound - 1) / kRound * kRound;
  const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  return Run(captures, kind->second, kind->first, beside / "ScreenshotQRV.so") ? 0 : 1;
}

}  // namespace
}  // namespace qrv::testing

int main(int argc, char** argv) {
  try {
    return qrv::testing::Main(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soak: %s\n", error.what());
    return 1;
  }
}
