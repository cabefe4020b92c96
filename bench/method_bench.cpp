// The methods from end to end, and the minimum that their work can cost, in one run.
//
//   method_bench desktop|console once|often [options of Google Benchmark]
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "bench/bare_x11.h"
#include "bench/methods.h"
#include "platform/memory/prefault.h"
#include "tests/support/xvfb.h"

namespace {

using qrv::bench::BareX11;
using qrv::bench::Call;
using qrv::bench::Method;

struct Size {
  int32_t width;
  int32_t height;
};
constexpr Size kSizes[] = {{1920, 1080}, {3840, 2160}, {7680, 4320}};
constexpr int32_t kSmallSide = 100;  // pixels
constexpr int kCallsBefore = 5;      // not measured

std::string Text(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

// Measures `call` on that desktop.
void Register(const std::string& name, const std::string& desktop, const Call& call) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [=](benchmark::State& state) {
                                 setenv("QRV_DESKTOP", desktop.c_str(), 1);
                                 for (int i = 0; i < kCallsBefore; ++i) {
                                   if (!call()) state.SkipWithError("nil");
                                 }
                                 for (auto _ : state) {
                                   if (!call()) state.SkipWithError("nil");
                                 }
                               })
      ->Unit(benchmark::kMicrosecond)
      ->UseRealTime();
}

// The cheapest memory that the system has: huge pages, prefaulted in one call.
class Block {
 public:
  explicit Block(size_t size) : size_(qrv::RoundUp(size, qrv::kHugePageBytes)) {
    memory_ = aligned_alloc(qrv::kHugePageBytes, size_);
    if (memory_ == nullptr) throw std::bad_alloc();
    madvise(memory_, size_, MADV_HUGEPAGE);
    madvise(memory_, size_, MADV_POPULATE_WRITE);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  ~Block() { free(memory_); }

  void* memory() const { return memory_; }

 private:
  void* memory_;
  size_t size_;
};

// One bare capture and two copies of the picture into fresh memory, like a method's buffer and
// picture in a program that captures once.
bool RunFloor(BareX11& bare) {
  if (!bare.Capture()) return false;
  const Block buffer(bare.size());
  const Block picture(bare.size());
  memcpy(buffer.memory(), bare.memory(), bare.size());
  benchmark::ClobberMemory();
  memcpy(picture.memory(), buffer.memory(), bare.size());
  benchmark::ClobberMemory();
  return true;
}

// One bare capture and one or two copies of it into memory that the caller keeps.
bool RunKept(BareX11& bare, const Block& first, const Block* second) {
  if (!bare.Capture()) return false;
  memcpy(first.memory(), bare.memory(), bare.size());
  benchmark::ClobberMemory();
  if (second == nullptr) return true;
  memcpy(second->memory(), first.memory(), bare.size());
  benchmark::ClobberMemory();
  return true;
}

std::shared_ptr<BareX11> MakeBare(const std::string& display, const Size& size) {
  return std::make_shared<BareX11>(display, static_cast<uint16_t>(size.width),
                                   static_cast<uint16_t>(size.height));
}

void RegisterSize(qrv::runtime::Host& host, const Size& size, const std::string& display,
                  bool isOnce) {
  const std::string desktops[][2] = {{"x11", "x11:" + display},
                                     {"virtual", "virtual:" + Text(size) + "+0+0"}};
  for (const auto& [kind, desktop] : desktops) {
    for (const Method& method : qrv::bench::AllMethods(host, size.width, size.height)) {
      // Raw pixels are read through OpenGL; every other method through display images.
      Register(kind + "/" + Text(size) + "/" + method.name, desktop, method.call);
    }
  }
  const auto bare = MakeBare(display, size);
  const auto first = std::make_shared<Block>(bare->size());
  const auto second = std::make_shared<Block>(bare->size());
  Register("x11/" + Text(size) + "/floor", desktops[0][1],
           [=] { return isOnce ? RunFloor(*bare) : RunKept(*bare, *first, second.get()); });
  Register("x11/" + Text(size) + "/least", desktops[0][1],
           [=] { return RunKept(*bare, *first, nullptr); });
  Register("x11/" + Text(size) + "/bare-capture", desktops[0][1],
           [bare] { return bare->Capture(); });
  const auto small = MakeBare(display, {kSmallSide, kSmallSide});
  Register("x11/" + Text(size) + "/bare-100x100", desktops[0][1],
           [small] { return small->Capture(); });
  Register("x11/" + Text(size) + "/ScreenshotRectQRV-100x100", desktops[0][1],
           qrv::bench::CaptureRect(host, kSmallSide, kSmallSide));
}

void Run(const std::string& form, bool isOnce) {
  const auto host = qrv::bench::StartHost(form);
  std::vector<std::unique_ptr<qrv::testing::Xvfb>> servers;
  for (const Size& size : kSizes) {
    servers.push_back(std::make_unique<qrv::testing::Xvfb>(Text(size) + "x24"));
    RegisterSize(*host, size, servers.back()->display(), isOnce);
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  benchmark::ClearRegisteredBenchmarks();
}

}  // namespace

int main(int argc, char** argv) try {
  benchmark::Initialize(&argc, argv);
  const std::string series = argc == 3 ? argv[2] : "";
  if (series != "once" && series != "often") {
    fputs("usage: method_bench desktop|console once|often [options of Google Benchmark]\n", stderr);
    return 2;
  }
  // Once: every large block is fresh, as in a program that captures once. Often: malloc keeps some,
  // as in a host that goes on capturing.
  if (series == "once") {
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    qrv::bench::CaptureAsIfOnce();
  }
  Run(argv[1], series == "once");
  return 0;
} catch (const std::exception& failure) {
  fprintf(stderr, "method_bench: %s\n", failure.what());
  return 1;
}
