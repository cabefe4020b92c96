#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cli/arguments.h"
#include "cli/capture/dense_rect.h"
#include "cli/capture/desktop_choice.h"
#include "cli/capture/file_names.h"
#include "cli/capture/shot.h"
#include "cli/capture/start_host.h"
#include "cli/commands/clipboard.h"
#include "cli/commands/report.h"
#include "cli/commands/select.h"
#include "cli/failure.h"
#include "cli/image/image_file.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

using Clock = std::chrono::steady_clock;
using runtime::Host;
namespace methods = runtime::methods;

std::string WhyNothing(const Shot& shot, const Displays& displays) {
  const std::string problem = QRVFailureMessage();
  if (!problem.empty()) return "The reason: " + problem + ". Try again.";
  const auto odd =
      std::ranges::find_if(displays, [](auto& each) { return each.bitsPerPixel < 24; });
  if (odd != displays.end() && IsSystemVersionChosen()) {
    return "A display of it has " + std::to_string(odd->bitsPerPixel) +
           " bits per pixel, which OpenGL does not read, and QuickDraw only at 8, 24 and 32; try "
           "--strategy display-image.";
  }
  if (shot.isScaled || IsSystemVersionChosen()) {
    return "QuickDraw may be missing, the file "
           "Frameworks/ApplicationServices.framework/ApplicationServices beside "
           "libScreenshotPlatform.so, or there is too little memory; install it again, or try a "
           "smaller part of the desktop.";
  }
  return "There may be too little memory; try a smaller part of the desktop.";
}

// The names of the strategies in a mask, but for one.
std::string StrategyNames(unsigned used, const Strategy* other = nullptr) {
  std::string names;
  for (const Strategy& each : kStrategies) {
    if (&each == other || (used & each.bit) == 0) continue;
    names += (names.empty() ? "" : ", ") + std::string(each.name);
  }
  return names;
}

// Throws when another strategy than the wanted one has delivered pixels.
void RequireStrategy(const Strategy* wanted, unsigned used, const Shot& shot) {
  if (wanted == nullptr || (used & ~wanted->bit) == 0) return;
  throw Failure(kNothingCaptured, "The strategy " + std::string(wanted->name) + " can't capture " +
                                      shot.subject + "; " + StrategyNames(used, wanted) +
                                      " can. Try that, or leave --strategy out.");
}

struct Captured {
  Rows rows;
  std::string method;
};

template <typename Method, typename... Values>
Captured Call(Host& host, const Shot& shot, const Displays& displays, const Method& method,
              Values... values) {
  const SharedPicture picture = CallMethod(host, method, values...);
  if (picture == nullptr) {
    throw Failure(kNothingCaptured, "The capture of " + shot.subject + " yielded nothing. " +
                                        WhyNothing(shot, displays));
  }
  RequirePixels(shot.subject);
  const std::string declaration = method.declaration;
  return {RowsOf(picture), declaration.substr(0, declaration.find_first_of("( "))};
}

Captured Take(Host& host, const Shot& shot, const Displays& displays) {
  const Rect& area = shot.area;
  if (shot.isScaled) {
    return Call(host, shot, displays, methods::kScreenshotRectScaled, area.left, area.top,
                area.width, area.height, shot.pixels.width, shot.pixels.height);
  }
  if (shot.display) {
    Captured captured = Call(host, shot, displays, methods::kScreenshotDisplay, *shot.display);
    captured.rows.density = shot.density;
    return captured;
  }
  if (shot.density != 1) {
    return {CaptureDenseRect(host, displays, area, shot.subject), "ScreenshotDisplayQRV"};
  }
  return Call(host, shot, displays, methods::kScreenshotRect, area.left, area.top, area.width,
              area.height);
}

void Deliver(const Arguments& arguments, const Captured& captured, const FileName& name,
             double milliseconds, unsigned used) {
  const Rows& rows = captured.rows;
  CaptureReport report{"", DesktopName(), captured.method, StrategyNames(used), milliseconds};
  FILE* const stream = ReportStream(name.path);
  if (arguments.copies) {
    CopyImage(rows, FindClipboardProgram());
    if (!arguments.json) ReportImage("the clipboard", rows, report.desktop, stream);
  }
  if (!arguments.copies || !arguments.output.empty()) {
    if (arguments.makesFolders) MakeFolders(name.path);
    report.file = WriteImage(rows, arguments.encoding, name.path, name.existing);
    const std::string note = FormatNote(name.path, arguments.encoding);
    if (!arguments.json) ReportImage(report.file, rows, report.desktop + note, stream);
  }
  if (arguments.json) ReportCapture(report, rows, stream);
  FlushReports();  // A line is out when its file is.
}

// Another program's -o chooses a display.
void RequireNoDisplay(const std::string& output, const Displays& displays) {
  if (output.empty() ||
      std::ranges::none_of(displays, [&](auto& each) { return each.name == output; }))
    return;
  throw Failure(kWrongUsage, "-o " + output +
                                 " names a file, and a display is called so; that is --display " +
                                 output + ".");
}

void CaptureInto(Host& host, const Arguments& arguments, const FileName& name) {
  const Clock::time_point start = Clock::now();
  const Displays displays = RequireDisplays();
  RequireNoDisplay(arguments.overruled, displays);
  RequireNoDisplay(arguments.output, displays);
  const Shot shot = ChooseShot(arguments, displays);
  QRVTakeStrategies();
  const Captured captured = Take(host, shot, displays);
  const std::chrono::duration<double, std::milli> duration = Clock::now() - start;
  const unsigned used = QRVTakeStrategies();
  RequireStrategy(arguments.strategy, used, shot);
  Deliver(arguments, captured, name, duration.count(), used);
}

// What can be known to be wrong is told of before anybody waits.
void RequireAll(const Arguments& arguments) {
  const Displays displays = RequireDisplays();
  if (!arguments.selects) ChooseShot(arguments, displays);
  if (arguments.copies) FindClipboardProgram();
}

}  // namespace

void Capture(const Arguments& given) {
  Arguments arguments = given;
  RequireNoTerminal(arguments.output);
  const auto host = StartHost(arguments);
  if (arguments.delay > 0 || arguments.selects) RequireAll(arguments);
  if (arguments.selects) arguments.rect = SelectRect(FindSelectProgram());
  Wait(arguments.delay);
  QRVShowPointer(arguments.withPointer ? 1 : 0);
  const int32_t count = arguments.count.value_or(1);
  const auto interval = std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(arguments.interval));
  Clock::time_point next = Clock::now();
  for (int32_t number = 1; count == 0 || number <= count; ++number) {
    std::this_thread::sleep_until(next);
    next = std::max(next + interval, Clock::now());
    CaptureInto(*host, arguments, ChooseFileName(arguments, number));
  }
}

}  // namespace qrv::cli
