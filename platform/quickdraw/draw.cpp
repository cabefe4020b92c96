// Colours, patterns and fills.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/quickdraw/guarded.h"
#include "platform/quickdraw/port.h"
#include "platform/quickdraw/quickdraw.h"
#include "platform/quickdraw/rectangle.h"

namespace qrv::quickdraw {
namespace {

constexpr int kPatternSize = 8;

bool IsKnownColor(long color) { return color == blackColor || color == whiteColor; }

// Pixels of a row in the layout kArgb32. Patterns are fixed to the port's coordinates.
void DrawPatternRow(std::vector<uint8_t>& row, int left, uint8_t bits, const OpaqueGrafPtr& port) {
  for (size_t i = 0; i < row.size() / 4; ++i) {
    const unsigned column = (static_cast<unsigned>(left) + static_cast<unsigned>(i)) % kPatternSize;
    const bool set = (bits << column & 0x80) != 0;
    const bool white = (set ? port.foreColor : port.backColor) == whiteColor;
    memset(&row[i * 4 + 1], white ? 0xFF : 0, 3);
  }
}

// Converts the first rows, then repeats what lies one pattern higher.
void Fill(OpaqueGrafPtr& world, const Rect& rect, const Pattern& pattern) {
  const Rect& bounds = world.map.record().bounds;
  const auto width = static_cast<size_t>(rect.right - rect.left);
  const int height = rect.bottom - rect.top;
  const size_t pixelBytes = BytesPerPixel(world.layout);
  uint8_t* target = world.pixels.get() +
                    static_cast<size_t>(rect.top - bounds.top) * world.rowBytes +
                    static_cast<size_t>(rect.left - bounds.left) * pixelBytes;

  const RowCopier copyRow = RowCopierFor(Layout::kArgb32, world.layout);
  std::vector<uint8_t> patternRow(width * 4);
  for (int row = 0; row < height; ++row, target += world.rowBytes) {
    if (row >= kPatternSize) {
      memcpy(target, target - kPatternSize * world.rowBytes, width * pixelBytes);
      continue;
    }
    const unsigned patternLine = static_cast<unsigned>(rect.top + row) % kPatternSize;
    DrawPatternRow(patternRow, rect.left, pattern.pat[patternLine], world);
    copyRow(patternRow.data(), target, width);
  }
}

}  // namespace
}  // namespace qrv::quickdraw

Pattern* GetQDGlobalsBlack(Pattern* black) {
  if (black != nullptr) std::fill(std::begin(black->pat), std::end(black->pat), 0xFF);
  return black;
}

void ForeColor(long color) {
  using namespace qrv::quickdraw;
  Guarded([=] {
    if (IsKnownColor(color)) CurrentPort()->foreColor = color;
  });
}

void BackColor(long color) {
  using namespace qrv::quickdraw;
  Guarded([=] {
    if (IsKnownColor(color)) CurrentPort()->backColor = color;
  });
}

void FillRect(const Rect* rect, const Pattern* pattern) {
  using namespace qrv::quickdraw;
  if (rect == nullptr || pattern == nullptr) return;
  Guarded([=] {
    const PortReference port = CurrentPort();
    Rect visible;
    if (port->hasPixels() && Intersect(*rect, port->map.record().bounds, visible)) {
      Fill(*port, visible, *pattern);
    }
  });
}
