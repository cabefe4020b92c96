#include "tests/integration/plugin.h"

#include <screenshotqrv/platform.h>

#include <chrono>
#include <random>

#include "tests/support/cards.h"

namespace qrv::testing {
namespace {

using runtime::Host;
using runtime::Ledger;

}  // namespace

void UseSystem(const char* version) { setenv("QRV_SYSTEM_VERSION", version, 1); }

void UseDesktop(const std::string& desktop) { setenv("QRV_DESKTOP", desktop.c_str(), 1); }

int Setting(const char* variable, int otherwise) {
  const char* const given = std::getenv(variable);
  return given != nullptr ? std::stoi(given) : otherwise;
}

unsigned Seed() {
  static const int seed = Setting("QRV_TEST_SEED", static_cast<int>(std::random_device()() / 2));
  return static_cast<unsigned>(seed);
}

pid_t ForkTest(const std::function<void()>& body) {
  return Fork([&] {
    body();
    return ::testing::Test::HasFailure() ? 1 : 0;
  });
}

std::atomic<bool> Plugin::isCalling = false;

Plugin::Plugin(runtime::HostOptions options, const std::string& file) : host_(std::move(options)) {
  std::string error;
  EXPECT_TRUE(host_.LoadPlugin(file, error)) << error;
}

Plugin& Plugin::On(const char* system) {
  UseSystem(system);
  strategies_ = system == kDisplayImage ? kQRVDisplayImage
                : system == kOpenGL     ? kQRVOpenGL
                                        : kQRVQuickDraw;
  return *this;
}

void Plugin::Begin() {
  QRVTakeStrategies();
  isCalling = true;
}

void Plugin::End() {
  isCalling = false;
  if (strategies_) {
    EXPECT_EQ(QRVTakeStrategies() & ~*strategies_, 0U) << "by another strategy";
  }
  strategies_.reset();
}

Plugin::Picture Plugin::Take(REALpictureStruct* picture) {
  Picture taken;
  if (picture != nullptr) {
    EXPECT_EQ(Host::References(picture), 1);
    EXPECT_EQ(host_.ledger().pictureLocks, 0);
    EXPECT_EQ(host_.ledger().references, 1);
    taken = Host::Read(picture);
    host_.Release(picture);
  }
  EXPECT_EQ(host_.ledger(), Ledger{});
  return taken;
}

Plugin::Picture Plugin::FromRaw(const RawPixels& raw) {
  REALstringStruct* string = host_.NewString(raw.bytes);
  auto* picture = Call(methods::kScreenshotFromString, raw.width, raw.height, raw.rowBytes, string);
  EXPECT_EQ(Host::References(string), 1);
  host_.Release(string);
  return Take(picture);
}

RawPixels Plugin::Raw(std::optional<int32_t> display) {
  RawPixels raw;
  auto* string = display ? Call(methods::kScreenshotStringDisplay, raw.width, raw.height,
                                raw.rowBytes, *display)
                         : Call(methods::kScreenshotString, raw.width, raw.height, raw.rowBytes);
  if (string != nullptr) {
    EXPECT_EQ(Host::References(string), 1);
    raw.bytes = Host::Bytes(string);
    host_.Release(string);
  }
  EXPECT_EQ(host_.ledger(), Ledger{});
  return raw;
}

Image Paint(const Area& part, const std::function<uint32_t(int x, int y)>& color) {
  Image image = {part.width, part.height, {}};
  image.rgba.reserve(static_cast<size_t>(part.width) * static_cast<size_t>(part.height) * 4);
  for (int y = part.top; y < part.top + part.height; ++y) {
    for (int x = part.left; x < part.left + part.width; ++x) {
      const uint32_t rgb = color(x, y);
      for (const int shift : {16, 8, 0}) image.rgba.push_back(static_cast<uint8_t>(rgb >> shift));
      image.rgba.push_back(255);
    }
  }
  return image;
}

Image Cards(const std::string& layout, const Area& part) {
  std::vector<desktop::Display> displays;
  std::string problem;
  EXPECT_TRUE(desktop::ParseLayout(layout, displays, problem)) << problem;
  return Paint(part, [&](int x, int y) {
    for (size_t i = 0; i < displays.size(); ++i) {
      if (const auto color = CardColor(displays, i, x, y)) return *color;
    }
    return 0U;
  });
}

std::string Difference(const Plugin::Picture& actual, const Image& expected) {
  if (!actual.has_value()) return "nil";
  if (actual->width != expected.width || actual->height != expected.height) {
    return std::to_string(actual->width) + " x " + std::to_string(actual->height);
  }
  const auto [is, wanted] =
      std::mismatch(actual->rgba.begin(), actual->rgba.end(), expected.rgba.begin());
  if (is == actual->rgba.end()) return "";
  const auto at = is - actual->rgba.begin();
  return "at " + std::to_string(at / 4 % expected.width) + ", " +
         std::to_string(at / 4 / expected.width) + ": sample " + std::to_string(at % 4) + " is " +
         std::to_string(*is) + " instead of " + std::to_string(*wanted);
}

Screen::Screen(const std::string& screen, std::vector<Area> monitors,
               std::vector<std::string> arguments)
    : Xvfb(screen, std::move(arguments)), monitors_(std::move(monitors)) {
  Prepare();
  See();
  UseDesktop("x11:" + display());
}

void Screen::Prepare() const {
  for (size_t i = 0; i < monitors_.size(); ++i) {
    SetMonitor((i == 0 ? "*" : "") + std::to_string(i), monitors_[i], i == 0 ? "screen" : "none");
  }
  FillRandom(Seed());
}

Image Screen::Part(const Area& part) const {
  return Paint(part, [this](int x, int y) {
    if (x < 0 || y < 0 || x >= seen_.width || y >= seen_.height) return 0U;
    const uint8_t* rgb = seen_.pixels.data() + (static_cast<ptrdiff_t>(y) * seen_.width + x) * 3;
    return static_cast<uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
  });
}

Image Outputs::Whole(size_t output) const {
  return Paint({0, 0, outputs()[output].PixelWidth(), outputs()[output].PixelHeight()},
               [output](int x, int y) { return FilledPixel(output, x, y); });
}

Image Outputs::Part(const Area& part) const {
  return Paint(part, [this](int x, int y) {
    for (size_t i = 0; i < outputs().size(); ++i) {
      const auto& [left, top, width, height] = outputs()[i].units;
      if (x < left || y < top || x >= left + width || y >= top + height) continue;
      return FilledPixel(i, x - left, y - top);
    }
    return 0U;
  });
}

// --- Every way to capture ---

namespace {

constexpr Area kLeft = {0, 0, 180, 200};
constexpr Area kRight = {180, 0, 140, 200};
constexpr Area kBoth = {-10, 20, 350, 150};

template <int... kDisplay>
Plugin::Picture FromRaw(Plugin& plugin) {
  const RawPixels raw = plugin.Raw(kDisplay...);
  return raw.bytes.empty() ? std::nullopt : plugin.FromRaw(raw);
}

std::vector<Capture> AllCaptures() {
  std::vector<Capture> all = {
      {"Scaled", kQuickDraw, [](Plugin& plugin) { return plugin.Scaled(kBoth, 350, 150); }, kBoth},
      {"RawMain", kOpenGL, FromRaw<>, kLeft},
      {"RawSecond", kOpenGL, FromRaw<1>, kRight}};
  for (const char* system : kSystems) {
    all.push_back({"AcrossBoth", system, [](Plugin& plugin) { return plugin.Rect(kBoth); }, kBoth});
    all.push_back({"Main", system, [](Plugin& plugin) { return plugin.Main(); }, kLeft});
    all.push_back({"Second", system, [](Plugin& plugin) { return plugin.Display(1); }, kRight});
  }
  return all;
}

}  // namespace

const std::vector<Capture> kCaptures = AllCaptures();

TwoMonitors::TwoMonitors(std::vector<std::string> arguments)
    : Screen("320x200x24", {kLeft, kRight}, std::move(arguments)) {}

TwoOutputs::TwoOutputs() : Outputs({{kLeft}, {kRight}}) {}

void Capture::ExpectRight(Plugin& plugin, const Image& expected) const {
  EXPECT_EQ(Difference(call(plugin.On(system)), expected), "") << name << " on " << system;
}

bool Capture::ExpectRightOrNil(Plugin& plugin, const Image& expected) const {
  UseSystem(system);
  const auto start = std::chrono::steady_clock::now();
  const Plugin::Picture picture = call(plugin);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  const std::string problem = picture ? Difference(picture, expected) : "";
  EXPECT_EQ(problem, "") << name << " on " << system;
  return picture.has_value();
}

}  // namespace qrv::testing
