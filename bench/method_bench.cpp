// The methods from end to end, and the least that their work can cost, in one run.
//
//   method_bench desktop|console [options of Google Benchmark]
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "bench/bare_x11.h"
#include "bench/methods.h"
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

std::string Text(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

// Runs `call` on that desktop, which the platform takes from the environment.
void Register(const std::string& name, const std::string& desktop, const Call& call) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [=](benchmark::State& state) {
                                 setenv("QRV_DESKTOP", desktop.c_str(), 1);
                                 if (!call()) state.SkipWithError("nil");
                                 for (auto _ : state) {
                                   if (!call()) state.SkipWithError("nil");
                                 }
                               })
      ->Unit(benchmark::kMicrosecond)
      ->UseRealTime();
}

// Zeroed memory, each page of it touched. Its address goes where the compiler can't see.
uint8_t* AllocateTouched(size_t size) {
  auto* const memory = static_cast<uint8_t*>(calloc(1, size));
  for (size_t i = 0; i < size; i += 4096) static_cast<volatile uint8_t*>(memory)[i] = 0;
  benchmark::DoNotOptimize(memory);
  return memory;
}

// One bare capture, two zeroed allocations of the picture's size, two copies of it.
bool RunFloor(BareX11& bare) {
  if (!bare.Capture()) return false;
  uint8_t* const buffer = AllocateTouched(bare.size());
  uint8_t* const picture = AllocateTouched(bare.size());
  memcpy(buffer, bare.memory(), bare.size());
  benchmark::ClobberMemory();
  memcpy(picture, buffer, bare.size());
  benchmark::ClobberMemory();
  free(picture);
  free(buffer);
  return true;
}

std::shared_ptr<BareX11> MakeBare(const std::string& display, const Size& size) {
  return std::make_shared<BareX11>(display, static_cast<uint16_t>(size.width),
                                   static_cast<uint16_t>(size.height));
}

void RegisterSize(qrv::runtime::Host& host, const Size& size, const std::string& display) {
  const std::string desktops[][2] = {{"x11", "x11:" + display},
                                     {"virtual", "virtual:" + Text(size) + "+0+0"}};
  for (const auto& [kind, desktop] : desktops) {
    for (const Method& method : qrv::bench::AllMethods(host, size.width, size.height)) {
      // Raw pixels are read through OpenGL; every other method through display images.
      Register(kind + "/" + Text(size) + "/" + method.name, desktop, method.call);
    }
  }
  const auto bare = MakeBare(display, size);
  Register("x11/" + Text(size) + "/floor", desktops[0][1], [bare] { return RunFloor(*bare); });
  Register("x11/" + Text(size) + "/bare-capture", desktops[0][1],
           [bare] { return bare->Capture(); });
  const auto small = MakeBare(display, {kSmallSide, kSmallSide});
  Register("x11/" + Text(size) + "/bare-100x100", desktops[0][1],
           [small] { return small->Capture(); });
  Register("x11/" + Text(size) + "/ScreenshotRectQRV-100x100", desktops[0][1],
           qrv::bench::CaptureRect(host, kSmallSide, kSmallSide));
}

void Run(const std::string& form) {
  const auto host = qrv::bench::StartHost(form);
  std::vector<std::unique_ptr<qrv::testing::Xvfb>> servers;
  for (const Size& size : kSizes) {
    servers.push_back(std::make_unique<qrv::testing::Xvfb>(Text(size) + "x24"));
    RegisterSize(*host, size, servers.back()->display());
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  benchmark::ClearRegisteredBenchmarks();
}

}  // namespace

int main(int argc, char** argv) try {
  // Large blocks are fresh from the system each time, as in a program that captures once. Left
  // alone, malloc would keep some of them, and which ones would depend on what ran before.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  benchmark::Initialize(&argc, argv);
  if (argc != 2) {
    fputs("usage: method_bench desktop|console [options of Google Benchmark]\n", stderr);
    return 2;
  }
  Run(argv[1]);
  return 0;
} catch (const std::exception& failure) {
  fprintf(stderr, "method_bench: %s\n", failure.what());
  return 1;
}
