#include "tests/integration/captures.h"

#include <algorithm>

namespace qrv::testing {
namespace {

using Picture = Plugin::Picture;
using Server = TwoMonitorServer;

constexpr int kRightWidth = Server::kWidth - Server::kLeftWidth;

// The unused byte of a QuickDraw world is 0, and a picture keeps it; opacity is not compared.
Picture Opaque(Picture picture) {
  if (picture.has_value()) {
    for (size_t i = 3; i < picture->rgba.size(); i += 4) picture->rgba[i] = 255;
  }
  return picture;
}

Picture Main(Plugin& plugin) { return plugin.Main(); }
Picture Second(Plugin& plugin) { return plugin.Display(1); }
Picture AcrossBoth(Plugin& plugin) { return plugin.Rect(-10, 20, Server::kWidth + 30, 150); }
Picture Scaled(Plugin& plugin) {
  return plugin.Scaled(-10, 20, Server::kWidth + 30, 150, Server::kWidth + 30, 150);
}

Picture PictureOf(Plugin& plugin, const RawPixels& raw) {
  return raw.bytes.empty() ? std::nullopt : plugin.FromRaw(raw);
}
Picture RawMain(Plugin& plugin) { return PictureOf(plugin, plugin.Raw()); }
Picture RawSecond(Plugin& plugin) { return PictureOf(plugin, plugin.RawDisplay(1)); }

std::vector<Capture> AllCaptures() {
  std::vector<Capture> all;
  for (const char* system : {kDisplayImage, kOpenGL, kQuickDraw}) {
    all.push_back({"Main", system, Main, 0, 0, Server::kLeftWidth, Server::kHeight});
    all.push_back({"Second", system, Second, Server::kLeftWidth, 0, kRightWidth, Server::kHeight});
    all.push_back({"AcrossBoth", system, AcrossBoth, -10, 20, Server::kWidth + 30, 150});
    all.push_back({"Scaled", system, Scaled, -10, 20, Server::kWidth + 30, 150});
    if (system == kQuickDraw) continue;  // a system without OpenGL has no raw pixels
    all.push_back({"RawMain", system, RawMain, 0, 0, Server::kLeftWidth, Server::kHeight});
    all.push_back(
        {"RawSecond", system, RawSecond, Server::kLeftWidth, 0, kRightWidth, Server::kHeight});
  }
  return all;
}

}  // namespace

const std::vector<Capture> kCaptures = AllCaptures();

TwoMonitorServer::TwoMonitorServer(std::vector<std::string> arguments)
    : Xvfb(std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24", std::move(arguments)) {
  Prepare();
  screen_ = ImportScreen();
}

void TwoMonitorServer::Prepare() const {
  const std::string height = "x" + std::to_string(kHeight) + "/50+";
  Run({"xrandr", "--setmonitor", "*left", std::to_string(kLeftWidth) + "/50" + height + "0+0",
       "screen"});
  Run({"xrandr", "--setmonitor", "right",
       std::to_string(kRightWidth) + "/50" + height + std::to_string(kLeftWidth) + "+0", "none"});
  FillRandom(Seed());
}

Picture Capture::operator()(Plugin& plugin) const {
  UseSystem(system);
  return Opaque(call(plugin));
}

runtime::Image Capture::Expected(const RgbImage& screen) const {
  return Crop(screen, left, top, width, height);
}

bool IsRightOrMissing(const runtime::Image& picture, const runtime::Image& expected) {
  if (picture.rgba.size() != expected.rgba.size()) return false;
  for (size_t i = 0; i < picture.rgba.size(); i += 4) {
    const uint8_t* pixel = picture.rgba.data() + i;
    const bool isBlack = std::all_of(pixel, pixel + 3, [](uint8_t each) { return each == 0; });
    if (!isBlack && !std::equal(pixel, pixel + 4, expected.rgba.data() + i)) return false;
  }
  return true;
}

}  // namespace qrv::testing
