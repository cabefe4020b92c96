#include <string>

#include "cli/arguments.h"
#include "cli/dense_rect.h"
#include "cli/desktop_choice.h"
#include "cli/failure.h"
#include "cli/image_file.h"
#include "cli/start_host.h"
#include "runtime/desktop_view.h"

namespace qrv::cli {

namespace {

using runtime::DisplayInfo;
using runtime::Host;
namespace methods = runtime::methods;

Owned<REALpictureStruct> TakePicture(Host& host, const Arguments& arguments) {
  if (arguments.rect) {
    const Rect& rect = *arguments.rect;
    if (arguments.size) {
      return CallMethod(host, methods::kScreenshotRectScaled, rect.left, rect.top, rect.width,
                        rect.height, arguments.size->width, arguments.size->height);
    }
    return CallMethod(host, methods::kScreenshotRect, rect.left, rect.top, rect.width, rect.height);
  }
  if (arguments.display) return CallMethod(host, methods::kScreenshotDisplay, *arguments.display);
  return CallMethod(host, methods::kScreenshot);
}

std::string Subject(const Arguments& arguments) {
  std::string subject = "the main display";
  if (arguments.rect) {
    const Rect& rect = *arguments.rect;
    subject = "the rectangle " + std::to_string(rect.left) + "," + std::to_string(rect.top) + "," +
              std::to_string(rect.width) + "," + std::to_string(rect.height);
    if (arguments.size) {
      subject += " (scaled to " + std::to_string(arguments.size->width) + "x" +
                 std::to_string(arguments.size->height) + ")";
    }
  } else if (arguments.display) {
    subject = "display " + std::to_string(*arguments.display);
  }
  return subject + " of " + DesktopName();
}

bool IsUsableSize(int32_t width, int32_t height) {
  constexpr int64_t kTooManyPixels = (int64_t{1} << 31) / 4;
  return width >= 1 && height >= 1 && width <= runtime::kMaximumPictureSide &&
         height <= runtime::kMaximumPictureSide && int64_t{width} * height < kTooManyPixels;
}

// The strategy whose functions are a library of its own.
bool NeedsQuickDraw(const Arguments& arguments) {
  return arguments.size ||
         (arguments.strategy != nullptr && arguments.strategy->bit == runtime::kQuickDraw);
}

// The first display whose pixels only a display image can deliver, or null.
const DisplayInfo* DisplayOfOddDepth(const std::vector<DisplayInfo>& displays) {
  for (const DisplayInfo& display : displays) {
    if (display.bitsPerPixel < 24) return &display;
  }
  return nullptr;
}

std::string WhyNothing(const Arguments& arguments, const std::vector<DisplayInfo>& displays) {
  const std::string limits =
      "width and height must lie in 1 to 32767, and 4 bytes a pixel be less than 2^31 bytes; "
      "correct ";
  if (arguments.size && !IsUsableSize(arguments.size->width, arguments.size->height)) {
    return "The new " + limits + "--size.";
  }
  if (arguments.rect && !arguments.size &&
      !IsUsableSize(arguments.rect->width, arguments.rect->height)) {
    return "Its " + limits + "--rect.";
  }
  const std::string problem = runtime::DesktopProblem();
  if (!problem.empty()) return "The reason: " + problem + ". Try again.";
  const DisplayInfo* odd = DisplayOfOddDepth(displays);
  if (odd != nullptr && IsSystemVersionChosen()) {
    return "A display of it has " + std::to_string(odd->bitsPerPixel) +
           " bits per pixel, which OpenGL does not read, and QuickDraw only at 8, 24 and 32; try "
           "--strategy display-image.";
  }
  if (NeedsQuickDraw(arguments)) {
    return "QuickDraw may be missing, the file "
           "Frameworks/ApplicationServices.framework/ApplicationServices beside "
           "libScreenshotPlatform.so, or there is too little memory; install it again, or try a "
           "smaller part of the desktop.";
  }
  return "There may be too little memory; try a smaller part of the desktop.";
}

// Throws when another strategy than the wanted one has delivered pixels. None has when the
// rectangle meets no display.
void RequireStrategy(const Arguments& arguments) {
  const unsigned used = runtime::TakeStrategiesUsed();
  const Strategy* wanted = arguments.strategy;
  if (wanted == nullptr || (used & ~wanted->bit) == 0) return;
  std::string others;
  for (const Strategy& strategy : kStrategies) {
    if (&strategy != wanted && (used & strategy.bit) != 0) {
      others += (others.empty() ? "" : ", ") + std::string(strategy.name);
    }
  }
  throw Failure(kNothingCaptured, "The strategy " + std::string(wanted->name) + " can't capture " +
                                      Subject(arguments) + "; " + others +
                                      " can. Try that, or leave --strategy out.");
}

void Write(const Rows& rows, const Arguments& arguments) {
  WriteImage(rows, arguments.output, arguments.format, arguments.compression);
  ReportImage(arguments.output, rows, DesktopName());
}

}  // namespace

void Capture(const Arguments& arguments) {
  const auto host = StartHost(arguments);
  const std::vector<DisplayInfo> displays = RequireDisplays();
  if (!arguments.rect) RequireDisplay(displays, arguments.display);
  runtime::TakeStrategiesUsed();
  if (arguments.rect && !arguments.size && !arguments.inUnits &&
      MeetsDenseDisplay(displays, *arguments.rect)) {
    const Rows rows = CaptureDenseRect(*host, displays, *arguments.rect, Subject(arguments));
    RequireStrategy(arguments);
    Write(rows, arguments);
    return;
  }
  const Owned picture = TakePicture(*host, arguments);
  if (picture.Get() == nullptr) {
    throw Failure(kNothingCaptured, "The capture of " + Subject(arguments) + " yielded nothing. " +
                                        WhyNothing(arguments, displays));
  }
  RequirePixels(Subject(arguments));
  RequireStrategy(arguments);
  Write(RowsOf(picture.Get()), arguments);
}

}  // namespace qrv::cli
