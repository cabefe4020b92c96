// Raw pixels into a picture: any numbers, any string, any host. The picture is nil or exactly what
// the string says. Built once with the string services of newer hosts and once with those of older
// ones, because the plug-in keeps what it has bound.

#include <algorithm>
#include <string>
#include <vector>

#include "plugin/capture/methods.h"
#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

constexpr size_t kMaxRepeatedLength = 1 << 18;

struct Numbers {
  int32_t width, height, rowBytes;
};

int32_t PickNumber(FuzzedDataProvider& input) {
  const int kind = input.ConsumeIntegralInRange(0, 3);
  if (kind == 0) return input.ConsumeIntegral<int32_t>();
  return kind == 1 ? input.ConsumeIntegralInRange(-1, 40000) : input.ConsumeIntegralInRange(1, 64);
}

Numbers PickNumbers(FuzzedDataProvider& input) {
  Numbers numbers = {PickNumber(input), PickNumber(input), 0};
  // Or rows that fit, with a gap.
  const int64_t rowBytes = input.ConsumeBool() ? PickNumber(input)
                                               : int64_t{numbers.width} * 4 +
                                                     input.ConsumeIntegralInRange<int64_t>(-1, 16);
  numbers.rowBytes = static_cast<int32_t>(static_cast<uint32_t>(rowBytes));
  return numbers;
}

// The rest of the input, or that over and over up to a length of its own.
std::string PickBytes(FuzzedDataProvider& input) {
  const bool isRepeated = input.ConsumeIntegralInRange(0, 7) == 0;
  const size_t length =
      isRepeated ? input.ConsumeIntegralInRange<size_t>(0, kMaxRepeatedLength) : 0;
  std::string bytes = input.ConsumeRemainingBytesAsString();
  if (!isRepeated || bytes.empty()) return bytes;
  while (bytes.size() < length) bytes += std::string(bytes);
  bytes.resize(length);
  return bytes;
}

bool Fits(const Numbers& n, const std::string& bytes) {
  return std::min(n.width, n.height) >= 1 && std::max(n.width, n.height) <= kMaxPictureSide &&
         n.rowBytes >= int64_t{n.width} * 4 &&
         int64_t{n.rowBytes} * n.height <= static_cast<int64_t>(bytes.size());
}

void CheckPixels(const REALpictureStruct* picture, const Numbers& n, const std::string& bytes) {
  Require(runtime::Host::Width(picture) == n.width && runtime::Host::Height(picture) == n.height,
          "the size of the picture");
  std::vector<uint8_t> row(static_cast<size_t>(n.width) * 4);
  for (int32_t y = 0; y < n.height; ++y) {
    runtime::Host::ReadRow(picture, y, row.data());
    const auto* bgr = reinterpret_cast<const uint8_t*>(bytes.data()) +
                      static_cast<size_t>(n.height - 1 - y) * static_cast<size_t>(n.rowBytes);
    for (size_t i = 0; i < row.size(); i += 4, bgr += 4) {
      Require(row[i] == bgr[2] && row[i + 1] == bgr[1] && row[i + 2] == bgr[0] && row[i + 3] == 255,
              "a pixel");
    }
  }
}

void Run(FuzzedDataProvider input) {
  runtime::HostOptions options = PickHost(input);
#ifdef QRV_OLDER_STRING_SERVICES
  options.missing = {"PluginGetStringData", "PluginDisposeStringData"};
#endif
  runtime::Host host(options);
  StartAnew(host);
  const Numbers n = PickNumbers(input);
  const bool isNil = input.ConsumeIntegralInRange(0, 31) == 0;
  const uint32_t encoding =
      input.ConsumeBool() ? kRawBytesEncoding : input.ConsumeIntegral<uint32_t>();
  const std::string bytes = PickBytes(input);
  REALstringStruct* string = isNil ? nullptr : host.NewString(bytes, encoding);
  currentCase = std::to_string(n.width) + "x" + std::to_string(n.height) + " in rows of " +
                std::to_string(n.rowBytes) + " from " + std::to_string(bytes.size()) + " bytes";
  REALpictureStruct* picture = ScreenshotFromStringQRV(n.width, n.height, n.rowBytes, string);
  Require((picture != nullptr) == (!isNil && Fits(n, bytes)), "nil exactly when nothing fits");
  if (picture != nullptr) CheckPixels(picture, n, bytes);
  Require(runtime::Host::References(string) == (isNil ? 0 : 1), "the string's references");
  host.Release(string);
  Finish(host, picture);
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run(FuzzedDataProvider(data, size));
  return 0;
}
