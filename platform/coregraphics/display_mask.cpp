#include "platform/coregraphics/display_mask.h"

#include <algorithm>
#include <array>

#include "platform/desktop/session.h"

namespace qrv::coregraphics {
namespace {

std::array<uint32_t, 32> displayOfBit;  // identifiers; 0 is a bit that stands for no display

}  // namespace

uint32_t MaskOfDisplay(uint32_t id) noexcept {
  if (!desktop::FindDisplay(id)) return 0;
  auto bit = std::find(displayOfBit.begin(), displayOfBit.end(), id);
  if (bit == displayOfBit.end()) bit = std::find(displayOfBit.begin(), displayOfBit.end(), 0U);
  if (bit == displayOfBit.end()) {
    bit = std::find_if(displayOfBit.begin(), displayOfBit.end(),
                       [](uint32_t holder) { return !desktop::FindDisplay(holder); });
  }
  if (bit == displayOfBit.end()) return 0;
  *bit = id;
  return 1U << (bit - displayOfBit.begin());
}

std::optional<desktop::Display> DisplayOfMask(uint32_t mask) noexcept {
  for (size_t bit = 0; bit < displayOfBit.size(); ++bit) {
    if ((mask >> bit & 1U) == 0 || displayOfBit[bit] == 0) continue;
    if (auto display = desktop::FindDisplay(displayOfBit[bit])) return display;
  }
  return std::nullopt;
}

}  // namespace qrv::coregraphics
