#include "platform/desktop/virtual/test_card.h"

#include <algorithm>

namespace qrv::desktop {
namespace {

constexpr uint32_t kTopColor = 0xFF0000;
constexpr uint32_t kBottomColor = 0x0000FF;
constexpr uint32_t kLeftColor = 0xFFFF00;
constexpr uint32_t kRightColor = 0x00FF00;
constexpr uint32_t kGlyphColor = 0xFFFFFF;
constexpr uint32_t kGridColor = 0xC0C0C0;
constexpr int32_t kGridSpacing = 64;

constexpr int32_t kGlyphColumns = 5;
constexpr int32_t kGlyphRows = 7;
constexpr int32_t kCellsPerSide = 24;

// Rows from top to bottom; the highest of the five bits is the leftmost cell.
struct Glyph {
  uint8_t rows[kGlyphRows];
};
constexpr Glyph kArrow = {{0x04, 0x0E, 0x1F, 0x04, 0x04, 0x04, 0x04}};
constexpr Glyph kDigits[] = {
    {{0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}}, {{0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {{0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}}, {{0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {{0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}}, {{0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {{0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}}, {{0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {{0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}}, {{0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}}};

struct PlacedGlyph {
  const Glyph* glyph = nullptr;
  int32_t x = 0;
  int32_t y = 0;
};

// The arrow and the digits of a card, with their top-left corners in pixels.
struct Glyphs {
  Glyphs(uint32_t displayIndex, int32_t width, int32_t height)
      : cell(std::min(width, height) / kCellsPerSide) {
    if (cell == 0) return;
    const int32_t middle = width / 2;
    const int32_t top = (height - (2 * kGlyphRows + 1) * cell) / 2;
    const int32_t below = top + (kGlyphRows + 1) * cell;
    const int32_t halfGlyph = kGlyphColumns * cell / 2;
    placed[count++] = {&kArrow, middle - halfGlyph, top};
    const Glyph* const lastDigit = &kDigits[displayIndex % 10];
    if (displayIndex < 10) {
      placed[count++] = {lastDigit, middle - halfGlyph, below};
      return;
    }
    const int32_t pairLeft = middle - (2 * kGlyphColumns + 1) * cell / 2;
    placed[count++] = {&kDigits[displayIndex / 10 % 10], pairLeft, below};
    placed[count++] = {lastDigit, pairLeft + (kGlyphColumns + 1) * cell, below};
  }

  bool Cover(int32_t x, int32_t y) const {
    for (int i = 0; i < count; ++i) {
      const int32_t dx = x - placed[i].x;
      const int32_t dy = y - placed[i].y;
      if (dx < 0 || dy < 0 || dx >= kGlyphColumns * cell || dy >= kGlyphRows * cell) continue;
      return (placed[i].glyph->rows[dy / cell] >> (kGlyphColumns - 1 - dx / cell) & 1) != 0;
    }
    return false;
  }

  int32_t cell;
  PlacedGlyph placed[3];
  int count = 0;
};

uint32_t Tint(uint32_t displayIndex) { return displayIndex * 37 % 128; }

uint32_t Ramp(int32_t position, int32_t size) {
  return static_cast<uint32_t>(position * 128 / size);
}

uint32_t Texture(uint32_t x, uint32_t y) { return (x * 5 + y * 11) % 32; }

uint32_t ReduceSample(uint32_t sample) { return (sample >> 3) * 255 / 31; }

}  // namespace

uint32_t TestCardPixel(uint32_t displayIndex, int32_t width, int32_t height, int32_t x, int32_t y) {
  if (y == 0) return kTopColor;
  if (y == height - 1) return kBottomColor;
  if (x == 0) return kLeftColor;
  if (x == width - 1) return kRightColor;
  if (Glyphs(displayIndex, width, height).Cover(x, y)) return kGlyphColor;
  if (x % kGridSpacing == 0 || y % kGridSpacing == 0) return kGridColor;
  return Ramp(x, width) << 16 | Ramp(y, height) << 8 |
         (Tint(displayIndex) + Texture(static_cast<uint32_t>(x), static_cast<uint32_t>(y)));
}

PointerImage TestPointer(int32_t width, int32_t height) {
  constexpr int32_t kSide = 16;
  constexpr uint32_t kBlack = 0xFF000000;
  constexpr uint32_t kHalfWhite = 0x80808080;
  PointerImage pointer = {{width / 4, height / 4, kSide, kSide}, {}};
  for (int32_t i = 0; i < kSide * kSide; ++i) {
    const int32_t x = i % kSide;
    const int32_t y = i / kSide;
    const bool isBorder = x == 0 || y == 0 || x == kSide - 1 || y == kSide - 1;
    pointer.pixels.push_back(isBorder ? kBlack : kHalfWhite);
  }
  return pointer;
}

uint32_t ReduceColor(int32_t bitsPerPixel, uint32_t color) {
  const uint32_t red = color >> 16 & 0xFF;
  const uint32_t green = color >> 8 & 0xFF;
  const uint32_t blue = color & 0xFF;
  if (bitsPerPixel == 16) {
    return ReduceSample(red) << 16 | ReduceSample(green) << 8 | ReduceSample(blue);
  }
  if (bitsPerPixel == 8) return (77 * red + 150 * green + 29 * blue + 128) / 256 * 0x010101;
  return color;
}

TestCardRenderer::TestCardRenderer(uint32_t displayIndex, int32_t width, int32_t height,
                                   int32_t bitsPerPixel, int32_t left, int32_t right)
    : displayIndex_(displayIndex),
      width_(width),
      height_(height),
      bitsPerPixel_(bitsPerPixel),
      left_(left),
      right_(right),
      reds_(static_cast<size_t>(right - left)) {
  for (int32_t x = left; x < right; ++x) {
    reds_[static_cast<size_t>(x - left)] = Ramp(x, width) << 16;
  }
}

void TestCardRenderer::RenderRow(int32_t y, uint32_t* row) const {
  RenderBackground(y, row);
  RenderGlyphs(y, row);
  RenderBorder(y, row);
  if (bitsPerPixel_ == 32) return;
  for (int32_t i = 0; i < right_ - left_; ++i) row[i] = ReduceColor(bitsPerPixel_, row[i]);
}

void TestCardRenderer::RenderBackground(int32_t y, uint32_t* row) const {
  if (y % kGridSpacing == 0) {
    Fill(left_, right_, kGridColor, row);
    return;
  }
  const uint32_t base = (Ramp(y, height_) << 8) + Tint(displayIndex_);
  const uint32_t columns = static_cast<uint32_t>(right_ - left_);
  for (uint32_t i = 0; i < columns; ++i) {
    row[i] = reds_[i] + base + Texture(static_cast<uint32_t>(left_) + i, static_cast<uint32_t>(y));
  }
  const int32_t firstLine = (left_ + kGridSpacing - 1) / kGridSpacing * kGridSpacing;
  for (int32_t x = firstLine; x < right_; x += kGridSpacing) row[x - left_] = kGridColor;
}

void TestCardRenderer::RenderGlyphs(int32_t y, uint32_t* row) const {
  const Glyphs glyphs(displayIndex_, width_, height_);
  for (int i = 0; i < glyphs.count; ++i) {
    const PlacedGlyph& placed = glyphs.placed[i];
    const int32_t dy = y - placed.y;
    if (dy < 0 || dy >= kGlyphRows * glyphs.cell) continue;
    const unsigned cells = placed.glyph->rows[dy / glyphs.cell];
    for (int32_t column = 0; column < kGlyphColumns; ++column) {
      if ((cells >> (kGlyphColumns - 1 - column) & 1) == 0) continue;
      const int32_t x = placed.x + column * glyphs.cell;
      Fill(x, x + glyphs.cell, kGlyphColor, row);
    }
  }
}

void TestCardRenderer::RenderBorder(int32_t y, uint32_t* row) const {
  Fill(width_ - 1, width_, kRightColor, row);
  Fill(0, 1, kLeftColor, row);
  if (y == height_ - 1) Fill(0, width_, kBottomColor, row);
  if (y == 0) Fill(0, width_, kTopColor, row);
}

void TestCardRenderer::Fill(int32_t from, int32_t to, uint32_t color, uint32_t* row) const {
  const int32_t begin = std::max(from, left_);
  const int32_t end = std::min(to, right_);
  if (begin < end) std::fill(row + (begin - left_), row + (end - left_), color);
}

}  // namespace qrv::desktop
