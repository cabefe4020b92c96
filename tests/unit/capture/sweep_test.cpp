// Every way in which a call can fail, one by one: each method runs once to count the calls that can
// be refused, then once for each of them with exactly that one refused. A run in which nothing is
// refused gives the exact picture by the strategy that is to be; one with a refusal the exact
// picture by any, or nil. The same for each function that a system can lack.

#include <sys/wait.h>
#include <unistd.h>

#include "plugin/picture/image_picture.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

namespace methods = runtime::methods;

constexpr Box kPart = {-2, -5, 27, 19};
constexpr Strategy kStrategies[] = {kDisplayImage, kOpenGL, kQuickDraw};

enum Method { kMain, kSecond, kRect, kScaled, kString, kSecondString, kFromString, kImage };

#define SEAM(...)
#undef WEAK
#define WEAK(name, ...) #name,
const char* const kWeak[] = {
#include "tests/passthrough/table.inc"
};
#undef WEAK
#undef QUICKDRAW
#define WEAK(...)
#define QUICKDRAW(name, ...) #name,
const std::set<std::string> kQuickDrawFunctions = {
#include "tests/passthrough/table.inc"
};

// The strategies by which a rectangle may leave displays out when that function fails.
const std::map<std::string, unsigned> kLeavesDisplaysOut = {
    {"CGDisplayCreateImageForRect", kDisplayImage},
    {"CGLChoosePixelFormat", kOpenGL},
    {"CGLCreateContext", kOpenGL},
    {"calloc", kOpenGL},
    {"GetDeviceList", kQuickDraw},
    {"GetNextDevice", kQuickDraw},
};
// Functions without which a world shows what it held before it was to be drawn in, and those
// without which what they release can't be given back.
const std::set<std::string> kLeavesWorldsAsTheyAre = {
    "CopyBits", "GetPortBitMapForCopyBits", "ForeColor", "BackColor", "SectRect", "SetGWorld",
    "FillRect", "GetQDGlobalsBlack"};
const std::set<std::string> kReleases = {"DisposeGWorld", "UnlockPixels", "GetPort", "SetPort"};
// Refused functions by which a picture of an image may get its mask, or not.
const std::set<std::string> kMakesTheMask = {"newPicture",
                                             "PluginNewInstance",
                                             "REALLoadObjectMethod",
                                             "REALGetPictureMask",
                                             "pluginPictureGraphicsGetter",
                                             "REALLockPictureDescription",
                                             "REALGetPropValueBool",
                                             "CGBitmapContextGetData",
                                             "CGBitmapContextGetBitsPerPixel",
                                             "CGBitmapContextGetAlphaInfo"};

struct Result {
  REALpictureStruct* picture = nullptr;
  REALstringStruct* string = nullptr;
};

class Sweep : public PluginTest {
 protected:
  void SetUp() override {
    if (const char* name = getenv(QRV_LACKING)) lacking = name;
    isQuickDrawMissing = kQuickDrawFunctions.contains(lacking);
    layer.missing = {lacking};
    BindQuickDraw();
    // A port that is not the default one.
    const Rect bounds = {0, 0, 1, 1};
    if (seam::SetPort.real != nullptr && seam::DisposeGWorld.real != nullptr) {
      seam::NewGWorld.real(&port, 32, &bounds, nullptr, nullptr, 0);
    }
    ASSERT_TRUE(isQuickDrawMissing || port != nullptr);
  }
  void TearDown() override {
    if (port != nullptr) seam::DisposeGWorld.real(port);
  }

  bool HasOpenGL() const {
    return system != kQuickDraw && !lacking.starts_with("CGL") && !lacking.starts_with("gl");
  }

  // The strategy of the method when nothing fails.
  Strategy Ought(Method method) const {
    if (method == kScaled) return kQuickDraw;
    if (method == kString || method == kSecondString) return HasOpenGL() ? kOpenGL : kNone;
    if (method >= kFromString) return kNone;
    const char* images = method == kRect ? "CGDisplayCreateImageForRect" : "CGDisplayCreateImage";
    if (system == kDisplayImage && lacking != images) return kDisplayImage;
    return HasOpenGL() ? kOpenGL : kQuickDraw;
  }

  Result Call(Method method) {
    const auto& [left, top, across, down] = kPart;
    switch (method) {
      case kMain:
        return {host->Call(methods::kScreenshot)};
      case kSecond:
        return {host->Call(methods::kScreenshotDisplay, int32_t{1})};
      case kRect:
        return {host->Call(methods::kScreenshotRect, left, top, across, down)};
      case kScaled:
        return {host->Call(methods::kScreenshotRectScaled, left, top, across, down, across, down)};
      case kString:
        return {nullptr, host->Call(methods::kScreenshotString, width, height, rowBytes)};
      case kSecondString:
        return {nullptr,
                host->Call(methods::kScreenshotStringDisplay, width, height, rowBytes, int32_t{1})};
      case kFromString: {
        REALstringStruct* string = host->NewString(kRawPixels);
        const Result result = {host->Call(methods::kScreenshotFromString, 2, 2, 12, string)};
        host->Release(string);
        return result;
      }
      default:
        CGImage image = ImageOf(kCGImageAlphaPremultipliedLast, true);
        return {GetCGImagePicture(&image)};
    }
  }

  // Empty when the result is what it is to be.
  std::string ResultProblem(Method method, const Result& result, unsigned strategies) {
    const bool isWhole = layer.refusedCall.empty() && !isQuickDrawMissing;
    if (isWhole && strategies != Ought(method)) return "by another strategy;";
    if (result.picture == nullptr && result.string == nullptr) {
      if (Failed() == "REALBuildString") return SizeProblem(method);
      if ((width | height | rowBytes) != 0) return "a size of nothing;";
      const bool isNil = Ought(method) == kNone && method < kFromString;
      return isNil || !isWhole ? "" : "nil;";
    }
    const Box parts[] = {displays[0], displays[1], kPart, kPart};
    if (method <= kScaled) return PartProblem(parts[method], result.picture, strategies);
    if (method < kFromString) return StringProblem(method, result.string);
    if (method == kImage) return ImageProblem(runtime::Host::Read(result.picture).rgba);
    return BytesOf(result.picture) == StoredRawPixels() ? "" : "another picture;";
  }

  // The function that was refused or is lacking.
  const std::string& Failed() const {
    return layer.refusedCall.empty() ? lacking : layer.refusedCall;
  }

  std::string PartProblem(const Box& part, REALpictureStruct* picture, unsigned strategies) {
    const Bytes bytes = BytesOf(picture);
    const auto leaves = kLeavesDisplaysOut.find(Failed());
    for (const Strategy strategy : kStrategies) {
      const bool mayLeaveOut = leaves != kLeavesDisplaysOut.end() && leaves->second == strategy;
      for (unsigned without = 0; without < (mayLeaveOut ? 4U : 1U); ++without) {
        if ((strategies & strategy) == 0 && without != 3) continue;
        if (bytes == Expected(strategy, part, without)) return "";
      }
    }
    for (const Bytes& outside : {Stored(kPoison * 0x10101U, kPoison), Stored(0, 0)}) {
      if (!isQuickDrawMissing || !kLeavesWorldsAsTheyAre.contains(Failed())) break;
      for (const unsigned without : {0U, 3U}) {
        if (bytes == Expected(part, outside, 0, without)) return "";
      }
    }
    if (Failed() == "GetPixRowBytes") {
      // Every row is the first one.
      const Bytes row = Expected(kQuickDraw, {part.left, part.top, part.width, 1});
      Bytes rows;
      for (int y = 0; y < part.height; ++y) rows.insert(rows.end(), row.begin(), row.end());
      if (bytes == rows) return "";
    }
    return "another picture;";
  }

  std::string SizeProblem(Method method) const {
    const auto& [left, top, across, down] = displays[method - kString];
    return std::tuple(width, height, rowBytes) == std::tuple(across, down, across * 4)
               ? ""
               : "another size;";
  }

  // The rows of a display from the bottom upward.
  std::string StringProblem(Method method, const REALstringStruct* string) const {
    std::string bytes;
    const auto& [left, top, across, down] = displays[method - kString];
    for (int i = 0; i < across * down; ++i) {
      const int y = top + down - 1 - i / across;
      const uint32_t colour = Card(method - kString, left + i % across, y);
      for (const int shift : {0, 8, 16, 24}) bytes += static_cast<char>(colour >> shift);
    }
    const bool isIt = bytes == runtime::Host::Bytes(string) &&
                      runtime::Host::Encoding(string) == kRawBytesEncoding;
    return isIt ? SizeProblem(method) : "another string;";
  }

  std::string ImageProblem(const Bytes& rgba) const {
    const bool hasMask = !options.picturesHaveAlpha || options.version.value_or(0) >= 2011.04;
    const Bytes opaque = Opaque(kDivided);
    if (rgba == (hasMask ? kDivided : opaque)) return "";
    const bool isOther = kMakesTheMask.contains(Failed()) && rgba == (hasMask ? opaque : kDivided);
    return isOther ? "" : "another picture of the image;";
  }

  void Run(Method method) {
    ++runs;
    ClearRecord();
    TakeStrategies();
    if (port != nullptr) seam::SetPort.real(port);
    width = height = rowBytes = method == kString || method == kSecondString ? 7 : 0;
    const Result result = Call(method);
    std::string problems = ResultProblem(method, result, TakeStrategies());
    host->Release(result.picture);
    host->Release(result.string);
    if (!kReleases.contains(lacking)) {
      GrafPtr current = port;
      if (port != nullptr) seam::GetPort.real(&current);
      problems += Problems() + (current == port ? "" : "another port is current");
    }
    ASSERT_EQ(problems, "") << "method " << method << " in application "
                            << static_cast<int>(options.application) << ", alpha info "
                            << options.bitmapAlphaInfo.value_or(0) << ", host "
                            << options.version.value_or(0) << ", system " << kSystems[system]
                            << ", call " << layer.refuseAt << ": " << layer.refusedCall;
  }

  void InEveryHost(const std::function<void(Method)>& each) {
    for (const uint32_t alphaInfo : {1U, 2U, 5U, 6U, 0U, 7U}) {
      HostOptions kind;
      kind.bitmapAlphaInfo = alphaInfo;
      kind.picturesHaveAlpha = alphaInfo == 1 || alphaInfo == 2;
      if (alphaInfo == 0) kind.application = ApplicationKind::kConsole;
      if (alphaInfo == 7) kind.application = ApplicationKind::kWeb;
      for (const double version : {0.0, 2011.03, 2011.04, 2012.0, 2012.99, 2013.0}) {
        if (!lacking.empty() && version < 2013.0) continue;  // the host's version is no matter
        kind.version = version;
        Use(kind);
        for (const Strategy strategy : kStrategies) {
          UseSystem(system = strategy);
          for (int method = kMain; method <= kImage && !HasFailure(); ++method) {
            each(static_cast<Method>(method));
          }
        }
      }
    }
  }

  Strategy system = kDisplayImage;
  std::string lacking;
  bool isQuickDrawMissing = false;
  GWorldPtr port = nullptr;
  int32_t width = 0, height = 0, rowBytes = 0;
  long runs = 0;
};

TEST_F(Sweep, EndsWellWhicheverCallIsRefused) {
  InEveryHost([this](Method method) {
    layer.refuseAt = 0;
    Run(method);
    const int refusable = layer.refusable;
    for (layer.refuseAt = 1; layer.refuseAt <= refusable && !HasFailure(); ++layer.refuseAt) {
      Run(method);
    }
    layer.refuseAt = 0;
  });
  std::cout << runs << " runs with one call refused at most\n";
  EXPECT_GT(runs, 10000);
}

// In a process of its own for each: what is linked weakly is there or not from its start, and what
// is bound stays bound.
TEST_F(Sweep, EndsWellWhicheverFunctionTheSystemLacks) {
  if (!lacking.empty()) return InEveryHost([this](Method method) { Run(method); });
  std::vector<std::string> names(std::begin(kWeak), std::end(kWeak));
  names.insert(names.end(), kQuickDrawFunctions.begin(), kQuickDrawFunctions.end());
  EXPECT_EQ(names.size(), 35U);
  for (const std::string& name : names) {
    setenv(QRV_LACKING, name.c_str(), 1);
    const pid_t pid = fork();
    if (pid == 0) {
      execl("/proc/self/exe", "", "--gtest_filter=Sweep.EndsWellWhicheverFunction*", nullptr);
      _exit(127);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0) << "without " << name;
  }
}

}  // namespace
}  // namespace qrv::passthrough
