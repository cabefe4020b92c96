// What the virtual desktop shows, pixel by pixel.
#ifndef TESTS_SUPPORT_CARDS_H_
#define TESTS_SUPPORT_CARDS_H_

#include <optional>

#include "platform/desktop/virtual/layout.h"
#include "platform/desktop/virtual/test_card.h"

namespace qrv::testing {

// The colour that a display shows at a place of the global space, with as many pixels as units;
// nothing where it isn't.
inline std::optional<uint32_t> CardColor(const std::vector<desktop::Display>& displays,
                                         size_t index, int x, int y) {
  const desktop::Display& display = displays[index];
  x -= display.bounds.x;
  y -= display.bounds.y;
  if (x < 0 || y < 0 || x >= display.bounds.width || y >= display.bounds.height) return {};
  return desktop::ReduceColor(
      display.bitsPerPixel, desktop::TestCardPixel(static_cast<uint32_t>(index), display.pixelWidth,
                                                   display.pixelHeight, x, y));
}

}  // namespace qrv::testing

#endif  // TESTS_SUPPORT_CARDS_H_
