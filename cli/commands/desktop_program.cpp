#include "cli/commands/desktop_program.h"

#include <screenshotqrv/platform.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

bool IsInstalled(const char* name) {
  const char* const path = getenv("PATH");
  std::istringstream folders(path == nullptr ? "" : path);
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (access((std::filesystem::path(folder) / name).c_str(), X_OK) == 0) return true;
  }
  return false;
}

// The variable that names desktops of the kind that is captured; empty when that is virtual.
std::string_view VariableOfDesktop() {
  const int32_t kind = QRVDesktopKind();
  return kind == kQRVX11 ? "DISPLAY" : kind == kQRVWayland ? "WAYLAND_DISPLAY" : "";
}

bool Fits(const DesktopProgram& program) {
  const std::string_view variable = VariableOfDesktop();
  if (!variable.empty()) return program.variable == variable;
  const char* const value = getenv(program.variable);
  return value != nullptr && *value != '\0';
}

}  // namespace

const DesktopProgram& FindProgram(std::span<const DesktopProgram> programs,
                                  const Purpose& purpose) {
  std::string packages;
  for (const DesktopProgram& each : programs) {
    if (!Fits(each)) continue;
    if (IsInstalled(each.name)) {
      if (!VariableOfDesktop().empty()) setenv(each.variable, QRVDesktopAddress(), 1);
      return each;
    }
    packages += (packages.empty() ? "" : " or ") + std::string(each.package);
  }
  throw Failure(kCouldNotReadOrWrite,
                packages.empty()
                    ? std::string(purpose.lack) + ": neither WAYLAND_DISPLAY nor DISPLAY is set; " +
                          purpose.instead + "."
                    : "The program that " + std::string(purpose.does) + " is missing: install " +
                          packages + ", or " + purpose.instead + ".");
}

}  // namespace qrv::cli
