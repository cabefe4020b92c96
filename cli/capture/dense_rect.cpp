#include "cli/capture/dense_rect.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "cli/capture/start_host.h"
#include "cli/failure.h"
#include "runtime/methods.h"

namespace qrv::cli {

namespace {

using runtime::Host;

// A display of which the rectangle shows a part.
struct Share {
  QRVDisplay display;
  SharedPicture picture;
};

// The pixel at a place along an axis of a display, in units; negative or too large outside of it.
int32_t PixelAt(double place, int32_t start, int32_t units, int32_t pixels) {
  return static_cast<int32_t>(std::floor((place - start) * pixels / units));
}

struct DenseRect {
  int32_t Pixels(int32_t units) const { return static_cast<int32_t>(std::lround(units * density)); }

  // Rows are read by several threads.
  void ReadRow(int32_t y, uint8_t* rgba) const {
    static constexpr uint8_t kBlack[4] = {0, 0, 0, 255};
    for (int32_t x = 0; x < Pixels(area.width); ++x) memcpy(rgba + ptrdiff_t{4} * x, kBlack, 4);
    for (const Share& each : shares) ReadShare(each, y, rgba);
  }

  void ReadShare(const Share& share, int32_t y, uint8_t* rgba) const {
    const QRVDisplay& display = share.display;
    const int32_t width = Host::Width(share.picture.get());
    const int32_t height = Host::Height(share.picture.get());
    const int32_t row = PixelAt(area.top + (y + 0.5) / density, display.y, display.height, height);
    if (row < 0 || row >= height) return;
    std::vector<uint8_t> source(static_cast<size_t>(width) * 4);
    Host::ReadRow(share.picture.get(), row, source.data());
    for (int32_t x = 0; x < Pixels(area.width); ++x) {
      const int32_t column =
          PixelAt(area.left + (x + 0.5) / density, display.x, display.width, width);
      if (column < 0 || column >= width) continue;
      memcpy(rgba + ptrdiff_t{4} * x, source.data() + ptrdiff_t{4} * column, 4);
    }
  }

  Rect area;
  std::vector<Share> shares;
  double density = 1;  // pixels a unit
};

}  // namespace

Rows CaptureDenseRect(Host& host, const Displays& displays, const Rect& rect,
                      const std::string& subject) {
  const auto dense = std::make_shared<DenseRect>();
  dense->area = rect;
  bool hasTransparency = false;
  for (size_t index = 0; index < displays.size(); ++index) {
    const QRVDisplay& display = displays[index];
    if (!Meets(display, rect)) continue;
    const SharedPicture picture =
        CallMethod(host, runtime::methods::kScreenshotDisplay, static_cast<int32_t>(index));
    RequirePixels(subject);
    if (picture == nullptr) {
      throw Failure(kNothingCaptured, "The capture of " + subject + " lacks display " +
                                          std::to_string(index) +
                                          ", which gave no picture. Try --units.");
    }
    hasTransparency = hasTransparency || Host::MayBeTransparent(picture.get());
    dense->density = std::max(dense->density, 1.0 * Host::Width(picture.get()) / display.width);
    dense->shares.push_back({display, picture});
  }
  return {dense->Pixels(rect.width), dense->Pixels(rect.height), hasTransparency,
          [dense](int32_t y, uint8_t* rgba) { dense->ReadRow(y, rgba); }, dense->density};
}

}  // namespace qrv::cli
