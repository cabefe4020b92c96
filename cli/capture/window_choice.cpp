#include "cli/capture/window_choice.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

// Decimal, or hexadecimal after 0x.
std::optional<uint64_t> ParseId(const std::string& text) {
  char* end = nullptr;
  const uint64_t id = std::strtoull(text.c_str(), &end, 0);
  const bool isNumber = text[0] >= '0' && text[0] <= '9' && *end == '\0';
  return isNumber ? std::optional(id) : std::nullopt;
}

bool HasText(const QRVWindow& window, const std::string& text) {
  return strcasestr(window.title, text.c_str()) != nullptr ||
         strcasestr(window.program, text.c_str()) != nullptr;
}

template <typename Fits>
Windows Filter(const Windows& windows, Fits fits) {
  Windows found;
  std::ranges::copy_if(windows, std::back_inserter(found), fits);
  return found;
}

// Those with that id, else with that title, else with that text in the title or the program's name.
Windows Find(const Windows& windows, const std::string& name) {
  if (name == "active") {
    return Filter(windows, [](const QRVWindow& each) { return each.isActive != 0; });
  }
  const std::optional<uint64_t> id = ParseId(name);
  Windows found = Filter(windows, [&](const QRVWindow& each) { return id && each.id == *id; });
  if (found.empty()) {
    found = Filter(windows, [&](const QRVWindow& each) { return name == each.title; });
  }
  if (found.empty()) {
    found = Filter(windows, [&](const QRVWindow& each) { return HasText(each, name); });
  }
  return found;
}

}  // namespace

Windows RequireWindows() {
  Windows windows(64);
  for (;;) {
    const int32_t count =
        QRVListWindows(windows.data(), sizeof(QRVWindow), static_cast<int32_t>(windows.size()));
    if (count < 0) {
      throw Failure(kNothingCaptured, std::string("The windows of ") + QRVDesktopName() +
                                          " can't be listed: " + QRVFailureMessage() +
                                          ". Mark what you want with the mouse instead, by -s.");
    }
    const bool isAll = static_cast<size_t>(count) <= windows.size();
    windows.resize(static_cast<size_t>(count));
    if (isAll) return windows;
  }
}

QRVWindow ResolveWindow(const Windows& windows, const std::string& name) {
  const Windows found = Find(windows, name);
  if (found.empty()) {
    throw Failure(kNothingCaptured,
                  (name == "active" ? "No window is active" : "There is no window '" + name + "'") +
                      ". `qrvshot windows` lists those that there are.");
  }
  if (found.size() > 1) {
    throw Failure(kNothingCaptured,
                  "'" + name + "' fits " + std::to_string(found.size()) +
                      " windows. Name one by its id, as `qrvshot windows` lists it.");
  }
  const QRVWindow& window = found.front();
  if (window.state == kQRVWindowShown) return window;
  throw Failure(kNothingCaptured, std::string("The window '") + window.title + "' " +
                                      (window.state == kQRVWindowMinimized
                                           ? "is minimized"
                                           : "is on another workspace, or behind a tab") +
                                      ". Bring it to the screen first.");
}

}  // namespace qrv::cli
