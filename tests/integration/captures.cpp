#include "tests/integration/captures.h"

namespace qrv::testing {
namespace {

using Picture = Plugin::Picture;
using Server = TwoMonitorServer;

constexpr Area kLeft = {0, 0, Server::kLeftWidth, Server::kHeight};
constexpr Area kRight = {Server::kLeftWidth, 0, Server::kWidth - Server::kLeftWidth,
                         Server::kHeight};
constexpr Area kBoth = {-10, 20, Server::kWidth + 30, 150};

Picture PictureOf(Plugin& plugin, const RawPixels& raw) {
  return raw.bytes.empty() ? std::nullopt : plugin.FromRaw(raw);
}

Picture Across(Plugin& plugin) {
  return plugin.Rect(kBoth.left, kBoth.top, kBoth.width, kBoth.height);
}

Picture Scaled(Plugin& plugin) {
  return plugin.Scaled(kBoth.left, kBoth.top, kBoth.width, kBoth.height, kBoth.width, kBoth.height);
}

std::vector<Capture> AllCaptures() {
  std::vector<Capture> all = {
      {"Scaled", kQuickDraw, Scaled, kBoth},
      {"RawMain", kOpenGL, [](Plugin& plugin) { return PictureOf(plugin, plugin.Raw()); }, kLeft},
      {"RawSecond", kOpenGL, [](Plugin& plugin) { return PictureOf(plugin, plugin.RawDisplay(1)); },
       kRight}};
  for (const char* system : kSystems) {
    all.push_back({"AcrossBoth", system, Across, kBoth});
    all.push_back({"Main", system, [](Plugin& plugin) { return plugin.Main(); }, kLeft});
    all.push_back({"Second", system, [](Plugin& plugin) { return plugin.Display(1); }, kRight});
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
  SetMonitor("*left", kLeft, "screen");
  SetMonitor("right", kRight);
  FillRandom(Seed());
}

Picture Capture::operator()(Plugin& plugin) const {
  UseSystem(system);
  return Opaque(call(plugin));
}

std::string Capture::Check(Plugin& plugin, const RgbImage& screen) const {
  return Named(DifferenceOn(
      system, [&] { return call(plugin); }, Crop(screen, part)));
}

std::string Capture::Named(const std::string& problem) const {
  return problem.empty() ? "" : std::string(name) + " on " + system + ": " + problem;
}

}  // namespace qrv::testing
