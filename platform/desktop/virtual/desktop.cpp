#include "platform/desktop/virtual/desktop.h"

#include <algorithm>
#include <utility>

#include "platform/desktop/frames/frame.h"
#include "platform/desktop/virtual/layout.h"
#include "platform/desktop/virtual/test_card.h"

namespace qrv::desktop {
namespace {

// Cards above this size, more than a display of 7680 x 4320 needs, are rendered part by part
// instead of being kept.
constexpr uint64_t kMaxKeptBytes = uint64_t{256} << 20;

Frame RenderCard(size_t index, const Display& display, const PixelRect& part) {
  Frame frame = NewFrame(part.width, part.height);
  const TestCardRenderer renderer(static_cast<uint32_t>(index), display.pixelWidth,
                                  display.pixelHeight, display.bitsPerPixel, part.x,
                                  part.x + part.width);
  for (int32_t y = 0; y < part.height; ++y) renderer.RenderRow(part.y + y, FrameRow(frame, y));
  return frame;
}

}  // namespace

VirtualDesktop::VirtualDesktop(std::vector<Display> displays)
    : displays_(std::move(displays)), cards_(displays_.size()) {}

Frame VirtualDesktop::Capture(const Display& display, const PixelRect& region, Pointer pointer,
                              Deadline) {
  const auto found = std::find_if(displays_.begin(), displays_.end(),
                                  [&](const Display& each) { return each.id == display.id; });
  if (found == displays_.end()) throw DisplayGone();
  if (!Contains(found->pixelWidth, found->pixelHeight, region)) throw DisplayChanged();
  const auto index = static_cast<size_t>(found - displays_.begin());
  const bool hasPointer = pointer == Pointer::kShown && index == 0;
  if (hasPointer || FrameBytes(found->pixelWidth, found->pixelHeight) > kMaxKeptBytes) {
    Frame frame = RenderCard(index, *found, region);
    if (hasPointer) DrawPointer(TestPointer(found->pixelWidth, found->pixelHeight), region, frame);
    return frame;
  }
  if (!cards_[index]) cards_[index] = RenderCard(index, *found, AllPixels(*found));
  return PartOf(cards_[index], region);
}

std::unique_ptr<Desktop> OpenVirtualDesktop(const std::string& layout) {
  std::vector<Display> displays;
  std::string problem;
  if (!ParseLayout(layout, displays, problem)) throw Error(Reason::kBadChoice, problem);
  return std::make_unique<VirtualDesktop>(std::move(displays));
}

}  // namespace qrv::desktop
