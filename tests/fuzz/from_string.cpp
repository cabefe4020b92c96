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

constexpr int32_t kMaxRepeatedLength = 1 << 18;

struct Numbers {
  int32_t width, height, rowBytes;
};

int32_t PickNumber(FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      return input.ConsumeIntegral<int32_t>();
    case 1:
      return input.ConsumeIntegralInRange(-1, 40000);
    default:
      return input.ConsumeIntegralInRange(1, 64);
  }
}

Numbers PickNumbers(FuzzedDataProvider& input) {
  Numbers numbers = {PickNumber(input), PickNumber(input), 0};
  if (input.ConsumeBool()) {
    numbers.rowBytes = PickNumber(input);
  } else {  // rows that fit, with a gap
    const int64_t rowBytes =
        int64_t{numbers.width} * 4 + input.ConsumeIntegralInRange<int64_t>(-1, 16);
    numbers.rowBytes = static_cast<int32_t>(static_cast<uint32_t>(rowBytes));
  }
  return numbers;
}

// The rest of the input, or that over and over up to a length of its own.
std::string PickBytes(FuzzedDataProvider& input) {
  const bool repeated = input.ConsumeIntegralInRange(0, 7) == 0;
  const int32_t length = repeated ? input.ConsumeIntegralInRange(0, kMaxRepeatedLength) : -1;
  std::string rest = input.ConsumeRemainingBytesAsString();
  if (length < 0 || rest.empty()) return rest;
  std::string bytes;
  bytes.reserve(static_cast<size_t>(length) + rest.size());
  while (bytes.size() < static_cast<size_t>(length)) bytes += rest;
  bytes.resize(static_cast<size_t>(length));
  return bytes;
}

bool Fits(const Numbers& n, const std::string& bytes) {
  const bool sides =
      n.width >= 1 && n.height >= 1 && n.width <= kMaxPictureSide && n.height <= kMaxPictureSide;
  return sides && n.rowBytes >= int64_t{n.width} * 4 &&
         int64_t{n.rowBytes} * n.height <= static_cast<int64_t>(bytes.size());
}

void CheckPixels(const REALpictureStruct* picture, const Numbers& n, const std::string& bytes) {
  Require(runtime::Host::Width(picture) == n.width && runtime::Host::Height(picture) == n.height,
          "the size of the picture");
  std::vector<uint8_t> row(static_cast<size_t>(n.width) * 4);
  for (int32_t y = 0; y < n.height; ++y) {
    runtime::Host::ReadRow(picture, y, row.data());
    const auto start = static_cast<size_t>(n.height - 1 - y) * static_cast<size_t>(n.rowBytes);
    for (size_t i = 0; i < row.size(); i += 4) {
      const auto byte = [&](size_t at) { return static_cast<uint8_t>(bytes[start + i + at]); };
      Require(
          row[i] == byte(2) && row[i + 1] == byte(1) && row[i + 2] == byte(0) && row[i + 3] == 255,
          "a pixel");
    }
  }
}

void Run(FuzzedDataProvider& input) {
  runtime::HostOptions options = PickHost(input);
#ifdef QRV_OLDER_STRING_SERVICES
  options.missing = {"PluginGetStringData", "PluginDisposeStringData"};
#endif
  runtime::Host host(options);
  StartAnew(host);
  const Numbers n = PickNumbers(input);
  const bool nil = input.ConsumeIntegralInRange(0, 31) == 0;
  const uint32_t encoding =
      input.ConsumeBool() ? kRawBytesEncoding : input.ConsumeIntegral<uint32_t>();
  const std::string bytes = PickBytes(input);
  REALstringStruct* string = nil ? nullptr : host.NewString(bytes, encoding);
  currentCase = std::to_string(n.width) + "x" + std::to_string(n.height) + " in rows of " +
                std::to_string(n.rowBytes) + " from " + std::to_string(bytes.size()) + " bytes";
  REALpictureStruct* picture = ScreenshotFromStringQRV(n.width, n.height, n.rowBytes, string);
  Require((picture != nullptr) == (!nil && Fits(n, bytes)), "nil exactly when nothing fits");
  if (picture != nullptr) CheckPixels(picture, n, bytes);
  Require(runtime::Host::References(string) == (nil ? 0 : 1), "the string's references");
  host.Release(picture);
  host.Release(string);
  Require(host.Outstanding() == runtime::Ledger{}, "nothing held");
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  qrv::fuzz::Run(input);
  return 0;
}
