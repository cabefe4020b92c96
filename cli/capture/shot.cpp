#include "cli/capture/shot.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "cli/capture/dense_rect.h"
#include "cli/capture/window_choice.h"
#include "cli/failure.h"

namespace qrv::cli {

namespace {

std::string Text(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::string Text(const Rect& rect) {
  return std::to_string(rect.left) + "," + std::to_string(rect.top) + "," +
         std::to_string(rect.width) + "," + std::to_string(rect.height);
}

Rect BoundsOf(const QRVDisplay& display) {
  return {display.x, display.y, display.width, display.height};
}

Rect BoundsOf(const Displays& displays) {
  int32_t right = INT32_MIN;
  int32_t bottom = INT32_MIN;
  Rect bounds = BoundsOf(displays.front());
  for (const QRVDisplay& each : displays) {
    bounds.left = std::min(bounds.left, each.x);
    bounds.top = std::min(bounds.top, each.y);
    right = std::max(right, each.x + each.width);
    bottom = std::max(bottom, each.y + each.height);
  }
  bounds.width = right - bounds.left;
  bounds.height = bottom - bounds.top;
  return bounds;
}

// Its width or height is 0 or less when they don't intersect.
Rect Intersection(const Rect& one, const Rect& other) {
  const int32_t left = std::max(one.left, other.left);
  const int32_t top = std::max(one.top, other.top);
  return {left, top, std::min(one.left + one.width, other.left + other.width) - left,
          std::min(one.top + one.height, other.top + other.height) - top};
}

// In the desktop's own coordinates, which have the main display at that offset.
Rect ToDesktop(Rect area, const QRVDisplay& main) {
  area.left += main.offsetX;
  area.top += main.offsetY;
  return area;
}

class Chooser {
 public:
  Chooser(const Arguments& arguments, const Displays& displays)
      : arguments_(arguments), displays_(displays) {}

  Shot Choose() {
    ChooseArea();
    MeasureDensity();
    Scale();
    RequirePossible();
    return shot_;
  }

 private:
  [[noreturn]] void Refuse(const std::string& reason) const {
    throw Failure(kNothingCaptured, Capitalized(shot_.subject) + " can't be captured: " + reason);
  }

  static std::string Capitalized(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
  }

  void ChooseArea();
  void ChooseRect(const Rect& rect);
  void ChooseWindow();
  void MeasureDensity();
  void Scale();
  void RequirePossible() const;

  const Arguments& arguments_;
  const Displays& displays_;
  Shot shot_;
};

void Chooser::ChooseArea() {
  const std::string ofDesktop = " of " + DesktopName();
  if (arguments_.rect) {
    shot_.subject = "the rectangle " + Text(*arguments_.rect) + ofDesktop;
    ChooseRect(*arguments_.rect);
  } else if (!arguments_.window.empty()) {
    ChooseWindow();
  } else if (!arguments_.display.empty()) {
    shot_.display = ResolveDisplay(displays_, arguments_.display);
    shot_.subject = "display " + arguments_.display + ofDesktop;
  } else if (displays_.size() == 1) {
    shot_.display = 0;
    shot_.subject = "the display" + ofDesktop;
  } else {
    shot_.subject = "the whole" + ofDesktop;
    shot_.area = BoundsOf(displays_);
  }
  if (shot_.display) shot_.area = BoundsOf(displays_[static_cast<size_t>(*shot_.display)]);
}

void Chooser::ChooseRect(const Rect& rect) {
  const QRVDisplay& main = displays_.front();
  const int64_t left = int64_t{rect.left} - main.offsetX;
  const int64_t top = int64_t{rect.top} - main.offsetY;
  shot_.area = {static_cast<int32_t>(std::clamp<int64_t>(left, INT32_MIN, INT32_MAX)),
                static_cast<int32_t>(std::clamp<int64_t>(top, INT32_MIN, INT32_MAX)), rect.width,
                rect.height};
  if (std::ranges::any_of(displays_, [&](auto& each) { return Meets(each, shot_.area); })) return;
  Refuse("it lies on no display; they fill " + Text(ToDesktop(BoundsOf(displays_), main)) +
         " (X,Y,W,H; see `qrvshot displays`).");
}

// The part of the window that is within the displays.
void Chooser::ChooseWindow() {
  const QRVWindow window = ResolveWindow(RequireWindows(), arguments_.window);
  shot_.subject = "the window '" + std::string(window.title) + "' of " + DesktopName();
  const Rect area = arguments_.withoutFrame ? Rect{window.contentX, window.contentY,
                                                   window.contentWidth, window.contentHeight}
                                            : Rect{window.x, window.y, window.width, window.height};
  shot_.area = Intersection(area, BoundsOf(displays_));
  if (std::ranges::any_of(displays_, [&](auto& each) { return Meets(each, shot_.area); })) return;
  Refuse("it lies outside of all displays. Move it onto one.");
}

// The size that the picture has unscaled.
void Chooser::MeasureDensity() {
  const auto whole = [&] { return Displays{displays_[static_cast<size_t>(*shot_.display)]}; };
  const PixelGrid grid(shot_.display ? whole() : displays_, shot_.area);
  shot_.density = grid.density();
  shot_.pixels = grid.SizeOf(shot_.area);
  if (arguments_.inUnits && shot_.density != 1) {
    shot_.density = 1;
    shot_.display.reset();
    shot_.pixels = {shot_.area.width, shot_.area.height};
  }
}

void Chooser::Scale() {
  const Size natural = shot_.pixels;
  const auto scaled = [](int32_t length, double factor) {
    return static_cast<int32_t>(std::clamp(std::round(length * factor), 1.0, 1.0 * INT32_MAX));
  };
  if (arguments_.percent) {
    const double factor = *arguments_.percent / 100;
    shot_.pixels = {scaled(natural.width, factor), scaled(natural.height, factor)};
  } else if (arguments_.size) {
    shot_.pixels = *arguments_.size;
    Size& size = shot_.pixels;
    if (size.width == 0) size.width = scaled(natural.width, 1.0 * size.height / natural.height);
    if (size.height == 0) size.height = scaled(natural.height, 1.0 * size.width / natural.width);
  }
  shot_.isScaled = shot_.pixels != natural;
  if (shot_.isScaled) shot_.subject += ", scaled to " + Text(shot_.pixels) + ",";
}

void Chooser::RequirePossible() const {
  const Size& size = shot_.pixels;
  constexpr int64_t kTooManyPixels = (int64_t{1} << 31) / 4;
  if (std::max(size.width, size.height) > kMaxPictureSide) {
    Refuse("a picture has 1 to 32767 pixels a side, and these are " + Text(size) +
           ". Try a smaller part" +
           (arguments_.inUnits || shot_.density == 1 ? "." : ", or --units."));
  }
  if (int64_t{size.width} * size.height >= kTooManyPixels) {
    Refuse("at 4 bytes a pixel a picture has fewer than 2^31 bytes. Try a smaller part.");
  }
  for (size_t index = size_t{kQRVMaxDisplayIndex}; index < displays_.size(); ++index) {
    if (Meets(displays_[index], shot_.area)) {
      Refuse("display " + std::to_string(index) +
             " of it is beyond the first 32, which are all "
             "that can be. Try a part without it.");
    }
  }
  // QuickDraw, which scales, counts in 16 bits.
  const int64_t right = int64_t{shot_.area.left} + shot_.area.width;
  const int64_t bottom = int64_t{shot_.area.top} + shot_.area.height;
  if ((shot_.isScaled || IsSystemVersionChosen()) &&
      (std::min(shot_.area.left, shot_.area.top) < INT16_MIN ||
       std::max(right, bottom) > INT16_MAX)) {
    Refuse(
        "it reaches farther than 32767 from the main display's corner, which neither scaled "
        "captures nor other strategies than display-image can.");
  }
}

}  // namespace

Shot ChooseShot(const Arguments& arguments, const Displays& displays) {
  return Chooser(arguments, displays).Choose();
}

}  // namespace qrv::cli
