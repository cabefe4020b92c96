#include "platform/desktop/virtual/desktop.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/frame.h"
#include "platform/desktop/virtual/layout.h"
#include "platform/desktop/virtual/test_card.h"

namespace qrv::desktop {
namespace {

// Cards above this size, more than a display of 7680 x 4320 needs, are rendered part by part
// instead of being kept.
constexpr uint64_t kMaxKeptBytes = uint64_t{256} << 20;

Frame RenderCard(size_t index, const Display& display, const PixelRect& part) {
  Frame frame = NewFrame(part.width, part.height);
  if (!frame) return {};
  const TestCardRenderer renderer(static_cast<uint32_t>(index), display.pixelWidth,
                                  display.pixelHeight, display.bitsPerPixel, part.x,
                                  part.x + part.width);
  for (int32_t y = 0; y < part.height; ++y) renderer.RenderRow(part.y + y, FrameRow(frame, y));
  return frame;
}

}  // namespace

VirtualDesktop::VirtualDesktop(std::vector<Display> displays)
    : displays_(std::move(displays)), cards_(displays_.size()) {}

bool VirtualDesktop::ListDisplays(std::vector<Display>& displays) {
  displays = displays_;
  return true;
}

Frame VirtualDesktop::Capture(const Display& display, const PixelRect& part, bool& isGone) {
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [&](const Display& each) { return each.id == display.id; });
  isGone = found == displays_.end() || !Contains(found->pixelWidth, found->pixelHeight, part);
  if (isGone) return {};
  const auto index = static_cast<size_t>(found - displays_.begin());
  const PixelRect whole = {0, 0, found->pixelWidth, found->pixelHeight};
  if (FrameBytes(whole.width, whole.height) > kMaxKeptBytes) {
    return RenderCard(index, *found, part);
  }
  if (!cards_[index]) cards_[index] = RenderCard(index, *found, whole);
  return cards_[index] ? PartOf(cards_[index], part) : Frame{};
}

std::unique_ptr<Desktop> OpenVirtualDesktop(std::string_view layout, std::string& problem) {
  std::vector<Display> displays;
  if (!ParseLayout(layout, displays, problem)) return nullptr;
  return std::make_unique<VirtualDesktop>(std::move(displays));
}

}  // namespace qrv::desktop
