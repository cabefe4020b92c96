// Every row kernel over whole pictures, compared with memcpy of the picture's bytes. Rates count
// the bytes of the picture that is written.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include "bench/plain_loop.h"
#include "platform/pixels/prefetch.h"
#include "platform/pixels/resample.h"
#include "platform/pixels/rows.h"
#include "plugin/picture/row_kernels.h"

namespace {

constexpr size_t kWidth = 3840;
constexpr size_t kHeight = 2160;
constexpr size_t kPixels = kWidth * kHeight;
constexpr size_t kBytes = kPixels * 4;
constexpr size_t kCachedPixels = 1 << 16;  // source and target fit a second-level cache

using Pixels = std::unique_ptr<uint8_t[]>;

// Random bytes. The colours of a premultiplied pixel are at most its alpha, the fourth byte.
Pixels MakePixels() {
  Pixels pixels(new uint8_t[kBytes]);
  std::mt19937 random(1);
  for (size_t i = 0; i < kBytes; i += 4) {
    const auto word = static_cast<uint32_t>(random());
    memcpy(pixels.get() + i, &word, 4);
    const uint8_t alpha = pixels[i + 3];
    for (size_t c = 0; c < 3; ++c) pixels[i + c] = std::min(pixels[i + c], alpha);
  }
  return pixels;
}

const uint8_t* Source() {
  static const Pixels pixels = MakePixels();
  return pixels.get();
}

// Memory that has been written before.
uint8_t* Target(int which) {
  static const auto make = [] {
    Pixels pixels(new uint8_t[kBytes]);
    memset(pixels.get(), 1, kBytes);
    return pixels;
  };
  static const Pixels targets[] = {make(), make()};
  return targets[which].get();
}

using Pass = std::function<void(const uint8_t* source, uint8_t* target, size_t pixels)>;

// `written` is the number of bytes that the pass writes per pixel.
void Measure(benchmark::State& state, const Pass& pass, size_t pixels, size_t written) {
  const uint8_t* source = Source();
  uint8_t* target = Target(0);
  for (auto _ : state) {
    pass(source, target, pixels);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(pixels * written));
}

void Register(const std::string& name, const Pass& pass, size_t pixels = kPixels,
              size_t written = 4) {
  const auto measure = [=](benchmark::State& state) { Measure(state, pass, pixels, written); };
  benchmark::RegisterBenchmark(name.c_str(), measure)->Unit(benchmark::kMicrosecond);
}

// With a large picture, and with one that stays in the cache, so that only computing counts.
void RegisterWithMask(const std::string& name, const picture::MaskRowKernel& kernel) {
  const Pass pass = [kernel](const uint8_t* from, uint8_t* to, size_t pixels) {
    kernel(from, to, Target(1), pixels);
  };
  Register(name, pass, kPixels, 8);
  Register(name + "/cached", pass, kCachedPixels, 8);
}

void RegisterPictureKernels() {
  using picture::SourceLayout;
  const struct {
    SourceLayout layout;
    const char* name;
  } sources[] = {{SourceLayout::kSkipRgb, "opaque/XRGB"},
                 {SourceLayout::kBgrSkip, "flip/BGRX"},
                 {SourceLayout::kAlphaRgb, "world32/ARGB"},
                 {SourceLayout::kRgb, "world24/RGB"},
                 {SourceLayout::kGrey, "world8/grey"},
                 {SourceLayout::kPremultipliedRgba, "unpremultiply/RGBA"}};
  const struct {
    int32_t pixelFormat;
    const char* name;
  } targets[] = {{5, "RGBA"}, {6, "ARGB"}, {8, "console"}};
  for (const auto& source : sources) {
    for (const auto& target : targets) {
      const std::string name = std::string(source.name) + "-to-" + target.name;
      Pass pass = picture::ChooseRowKernel(source.layout, target.pixelFormat, kPixels);
      if (source.layout == SourceLayout::kBgrSkip) {
        // Bottom-up rows are never joined, and are read in the order of memory.
        pass = [kernel = pass](const uint8_t* from, uint8_t* to, size_t) {
          for (size_t y = 0; y < kHeight; ++y) {
            kernel(from + y * kWidth * 4, to + (kHeight - 1 - y) * kWidth * 4, kWidth);
          }
        };
      }
      Register(name, pass);
    }
  }
  for (const auto& target : targets) {
    RegisterWithMask(std::string("unpremultiply-mask/RGBA-to-") + target.name,
                     picture::ChooseMaskRowKernel(target.pixelFormat));
  }
}

// The source's sides are `times` as long as the target's. The rate counts the source's bytes.
void RegisterScaling(const std::string& name, double times) {
  using qrv::pixels::MapAxis;
  const auto map = [times](int64_t pixels) {
    const auto scaled = std::llround(static_cast<double>(pixels) / times);
    return MapAxis({{0, pixels}, static_cast<int32_t>(pixels)}, {0, pixels}, {0, scaled},
                   {0, scaled});
  };
  Register(name,
           [columns = map(kWidth), rows = map(kHeight)](const uint8_t* from, uint8_t* to, size_t) {
             qrv::pixels::Resampler resampler(columns, rows, from, kWidth * 4);
             const size_t rowBytes = columns.size() * 4;
             for (size_t y = 0; y < rows.size(); ++y) {
               memcpy(to + y * rowBytes, resampler.Row(y), rowBytes);
             }
           });
}

void RegisterPlatformKernels() {
  using qrv::pixels::ByteOrder;
  Register("draw/BGRX-to-XRGB",
           qrv::pixels::ReorderingKernel(ByteOrder::kBGRA, ByteOrder::kARGB, false));
  Register("draw/XRGB-to-XRGB",
           qrv::pixels::ReorderingKernel(ByteOrder::kARGB, ByteOrder::kARGB, false));
  Register("screen/BGRX-to-world32", qrv::pixels::FindWorldLayout(32)->convert);
  Register("read-back/BGRX-bottom-up", [](const uint8_t* from, uint8_t* to, size_t) {
    for (size_t y = 0; y < kHeight; ++y) {
      const uint8_t* const row = from + (kHeight - 1 - y) * kWidth * 4;
      qrv::pixels::PrefetchRowAhead(row, -ptrdiff_t{kWidth * 4}, kWidth * 4);
      memcpy(to + y * kWidth * 4, row, kWidth * 4);
    }
  });
  RegisterScaling("scale/to-half", 2);
  RegisterScaling("scale/to-two-thirds", 1.5);
}

}  // namespace

int main(int argc, char** argv) {
  Register("memcpy", [](const uint8_t* from, uint8_t* to, size_t n) { memcpy(to, from, n * 4); });
  RegisterPictureKernels();
  RegisterPlatformKernels();
  RegisterWithMask("plain-unpremultiply-mask", qrv::bench::UnmultiplyWithMask);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
