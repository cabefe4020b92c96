#include "cli/dense_rect.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>

#include "cli/desktop_choice.h"
#include "cli/failure.h"
#include "cli/start_host.h"
#include "runtime/methods.h"

namespace qrv::cli {

namespace {

using runtime::Host;

bool Meets(const QRVDisplay& display, const Rect& rect) {
  const auto meet = [](int64_t start, int64_t length, int64_t otherStart, int64_t otherLength) {
    return start < otherStart + otherLength && otherStart < start + length;
  };
  return meet(display.x, display.width, rect.left, rect.width) &&
         meet(display.y, display.height, rect.top, rect.height);
}

// A display of which the rectangle shows a part.
struct Share {
  QRVDisplay display;
  std::shared_ptr<Owned<REALpictureStruct>> picture;
  double density;  // pixels of the picture a unit

  // The pixel at a place along an axis, in units; negative or too large outside of the display.
  int32_t Pixel(double place, int32_t start, int32_t units, int32_t pixels) const {
    return static_cast<int32_t>(std::floor((place - start) * pixels / units));
  }
};

class DenseRect {
 public:
  DenseRect(std::vector<Share> shares, const Rect& rect) : shares_(std::move(shares)), rect_(rect) {
    for (const Share& each : shares_) density_ = std::max(density_, each.density);
  }

  int32_t Width() const { return static_cast<int32_t>(std::lround(rect_.width * density_)); }
  int32_t Height() const { return static_cast<int32_t>(std::lround(rect_.height * density_)); }

  double Density() const { return density_; }

  // Rows are read by several threads.
  void ReadRow(int32_t y, uint8_t* rgba) const {
    static constexpr uint8_t kBlack[4] = {0, 0, 0, 255};
    for (int32_t x = 0; x < Width(); ++x) memcpy(rgba + ptrdiff_t{4} * x, kBlack, 4);
    for (const Share& each : shares_) ReadShare(each, y, rgba);
  }

 private:
  void ReadShare(const Share& share, int32_t y, uint8_t* rgba) const {
    const QRVDisplay& display = share.display;
    const int32_t width = Host::Width(share.picture->Get());
    const int32_t height = Host::Height(share.picture->Get());
    const int32_t row =
        share.Pixel(rect_.top + (y + 0.5) / density_, display.y, display.height, height);
    if (row < 0 || row >= height) return;
    std::vector<uint8_t> source(static_cast<size_t>(width) * 4);
    Host::ReadRow(share.picture->Get(), row, source.data());
    for (int32_t x = 0; x < Width(); ++x) {
      const int32_t column =
          share.Pixel(rect_.left + (x + 0.5) / density_, display.x, display.width, width);
      if (column < 0 || column >= width) continue;
      memcpy(rgba + ptrdiff_t{4} * x, source.data() + ptrdiff_t{4} * column, 4);
    }
  }

  std::vector<Share> shares_;
  Rect rect_;
  double density_ = 1;
};

}  // namespace

Rows CaptureDenseRect(Host& host, const std::vector<QRVDisplay>& displays, const Rect& rect,
                      const std::string& subject) {
  std::vector<Share> shares;
  bool hasTransparency = false;
  for (size_t index = 0; index < displays.size(); ++index) {
    const QRVDisplay& display = displays[index];
    if (!Meets(display, rect)) continue;
    const std::shared_ptr<Owned<REALpictureStruct>> picture(new Owned<REALpictureStruct>(
        CallMethod(host, runtime::methods::kScreenshotDisplay, static_cast<int32_t>(index))));
    RequirePixels(subject);
    if (picture->Get() == nullptr) {
      throw Failure(kNothingCaptured, "The capture of " + subject + " lacks display " +
                                          std::to_string(index) +
                                          ", which gave no picture. Try --units.");
    }
    hasTransparency = hasTransparency || Host::MayBeTransparent(picture->Get());
    const double density = double{1} * Host::Width(picture->Get()) / display.width;
    shares.push_back({display, picture, density});
  }
  const auto dense = std::make_shared<const DenseRect>(std::move(shares), rect);
  return {dense->Width(), dense->Height(), hasTransparency,
          [dense](int32_t y, uint8_t* rgba) { dense->ReadRow(y, rgba); }, dense->Density()};
}

}  // namespace qrv::cli
