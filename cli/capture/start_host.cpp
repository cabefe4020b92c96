#include "cli/capture/start_host.h"

#include <filesystem>
#include <system_error>

namespace qrv::cli {

namespace {

namespace fs = std::filesystem;

// Where it is installed: as configured, and as seen from this program, which may have been moved
// with it.
constexpr char kInstalledPlugin[] = QRV_INSTALLED_PLUGIN;
constexpr char kPluginFromProgram[] = QRV_PLUGIN_FROM_PROGRAM;

std::string DefaultPlugin() {
  std::error_code error;
  const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
  const fs::path beside = folder / "ScreenshotQRV.so";
  for (const fs::path& candidate :
       {beside, (folder / kPluginFromProgram).lexically_normal(), fs::path(kInstalledPlugin)}) {
    if (fs::exists(candidate, error)) return candidate.string();
  }
  throw Failure(kCouldNotReadOrWrite, "The plug-in is neither at " + beside.string() + " nor at " +
                                          kInstalledPlugin + ". Name it with --plugin.");
}

}  // namespace

std::unique_ptr<runtime::Host> StartHost(const Arguments& arguments) {
  auto host = std::make_unique<runtime::Host>(arguments.host);
  const std::string plugin = arguments.plugin.empty() ? DefaultPlugin() : arguments.plugin;
  std::string error;
  if (!host->LoadPlugin(plugin, error)) {
    throw Failure(kCouldNotReadOrWrite, error + ". Name another plug-in with --plugin.");
  }
  return host;
}

}  // namespace qrv::cli
