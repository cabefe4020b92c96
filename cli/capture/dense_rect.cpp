#include "cli/capture/dense_rect.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "cli/capture/start_host.h"
#include "cli/failure.h"
#include "runtime/methods.h"

namespace qrv::cli {

namespace {

using runtime::Host;

// Sides of displays are whole pixels, so that the same density differs from display to display.
constexpr double kSameDensity = 1.005;

// The pixel edge nearest to a position in units, on an axis where `units` from `start` on have
// `pixels`.
int64_t NearestEdge(int64_t position, int32_t start, int32_t units, int32_t pixels) {
  const int64_t doubled = 2 * (position - start) * pixels + units;
  const int64_t divisor = int64_t{2} * units;
  return doubled / divisor - (doubled % divisor < 0 ? 1 : 0);
}

// Two neighbours of a display's pixels along an axis, and the weight of the second, of 256.
struct Sample {
  int32_t first;
  int32_t second;
  int32_t weight;
};

// One axis of a display in the picture.
class Axis {
 public:
  // The display's `pixels` fill the picture's from `begin` up to, but without, `end`; the picture
  // has those from 0 to `size`.
  Axis(int64_t begin, int64_t end, int32_t pixels, int32_t size)
      : first_(static_cast<int32_t>(std::clamp<int64_t>(begin, 0, size))),
        end_(static_cast<int32_t>(std::clamp<int64_t>(end, 0, size))),
        begin_(begin),
        length_(end - begin),
        pixels_(pixels) {}

  int32_t first() const { return first_; }
  int32_t end() const { return end_; }

  // What the picture's pixel `at`, one of the display's, is made of.
  Sample At(int32_t at) const {
    const int64_t last = pixels_ - 1;
    if (static_cast<double>(length_) <= pixels_ * kSameDensity) {
      const auto same = static_cast<int32_t>(std::min(at - begin_, last));
      return {same, same, 0};
    }
    const int64_t center = (2 * (at - begin_) + 1) * pixels_ * 128 / length_ - 128;
    const int64_t position = std::clamp<int64_t>(center, 0, last * 256);
    const auto first = static_cast<int32_t>(position / 256);
    return {first, static_cast<int32_t>(std::min(first + int64_t{1}, last)),
            static_cast<int32_t>(position % 256)};
  }

 private:
  int32_t first_;
  int32_t end_;
  int64_t begin_;
  int64_t length_;
  int32_t pixels_;
};

void Blend(const uint8_t* first, const uint8_t* second, int32_t weight, size_t count,
           uint8_t* target) {
  for (size_t i = 0; i < count; ++i) {
    target[i] = static_cast<uint8_t>((first[i] * (256 - weight) + second[i] * weight + 128) / 256);
  }
}

// A display that the rectangle shows a part of.
struct Part {
  // A row of the display's pixels.
  std::vector<uint8_t> SourceRow(const Sample& sample) const {
    std::vector<uint8_t> row(static_cast<size_t>(Host::Width(picture.get())) * 4);
    Host::ReadRow(picture.get(), sample.first, row.data());
    if (sample.weight != 0) {
      std::vector<uint8_t> second(row.size());
      Host::ReadRow(picture.get(), sample.second, second.data());
      Blend(row.data(), second.data(), sample.weight, row.size(), row.data());
    }
    return row;
  }

  void ReadRow(int32_t y, uint8_t* rgba) const {
    if (y < rows.first() || y >= rows.end()) return;
    const std::vector<uint8_t> source = SourceRow(rows.At(y));
    for (int32_t x = columns.first(); x < columns.end(); ++x) {
      const Sample sample = columns.At(x);
      Blend(source.data() + ptrdiff_t{4} * sample.first,
            source.data() + ptrdiff_t{4} * sample.second, sample.weight, 4,
            rgba + ptrdiff_t{4} * x);
    }
  }

  SharedPicture picture;
  Axis columns;
  Axis rows;
};

Part CapturePart(Host& host, const Displays& displays, size_t index, const PixelGrid& grid,
                 const Rect& rect, const std::string& subject) {
  const SharedPicture picture =
      CallMethod(host, runtime::methods::kScreenshotDisplay, static_cast<int32_t>(index));
  RequirePixels(subject);
  if (picture == nullptr) {
    throw Failure(kNothingCaptured, "The capture of " + subject + " lacks display " +
                                        std::to_string(index) +
                                        ", which gave no picture. Try --units.");
  }
  const QRVDisplay& display = displays[index];
  const int64_t left = grid.X(rect.left);
  const int64_t top = grid.Y(rect.top);
  const Size size = grid.SizeOf(rect);
  return {picture,
          {grid.X(display.x) - left, grid.X(int64_t{display.x} + display.width) - left,
           Host::Width(picture.get()), size.width},
          {grid.Y(display.y) - top, grid.Y(int64_t{display.y} + display.height) - top,
           Host::Height(picture.get()), size.height}};
}

}  // namespace

PixelGrid::PixelGrid(const Displays& displays, const Rect& area) {
  double most = 0;
  for (const QRVDisplay& each : displays) {
    const double density = 1.0 * each.pixelWidth / each.width;
    if (density <= most * kSameDensity || !Meets(each, area)) continue;
    most = density;
    display_ = each;
  }
}

int64_t PixelGrid::X(int64_t units) const {
  return NearestEdge(units, display_.x, display_.width, display_.pixelWidth);
}

int64_t PixelGrid::Y(int64_t units) const {
  return NearestEdge(units, display_.y, display_.height, display_.pixelHeight);
}

Size PixelGrid::SizeOf(const Rect& area) const {
  return {static_cast<int32_t>(X(int64_t{area.left} + area.width) - X(area.left)),
          static_cast<int32_t>(Y(int64_t{area.top} + area.height) - Y(area.top))};
}

Rows CaptureDenseRect(Host& host, const Displays& displays, const Rect& rect,
                      const std::string& subject) {
  const PixelGrid grid(displays, rect);
  const Size size = grid.SizeOf(rect);
  std::vector<Part> parts;
  bool hasTransparency = false;
  for (size_t index = 0; index < displays.size(); ++index) {
    if (!Meets(displays[index], rect)) continue;
    parts.push_back(CapturePart(host, displays, index, grid, rect, subject));
    hasTransparency = hasTransparency || Host::MayBeTransparent(parts.back().picture.get());
  }
  // Rows are read by several threads.
  const auto readRow = [parts = std::move(parts), size](int32_t y, uint8_t* rgba) {
    static constexpr uint8_t kBlack[4] = {0, 0, 0, 255};
    for (int32_t x = 0; x < size.width; ++x) std::memcpy(rgba + ptrdiff_t{4} * x, kBlack, 4);
    for (const Part& each : parts) each.ReadRow(y, rgba);
  };
  return {size.width, size.height, hasTransparency, readRow, grid.density()};
}

}  // namespace qrv::cli
