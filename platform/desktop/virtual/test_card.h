// The test card that a virtual display shows. From the front to the back:
//
//   - a border of one pixel: the top row red FF0000, the bottom row blue 0000FF, and between them
//     the left column yellow FFFF00 and the right column green 00FF00;
//   - in the middle, white, an arrow that points up and below it the display's index in the list,
//     0 for the main display, in one or two digits. They are made of square cells with sides of
//     min(width, height) / 24 pixels: the arrow and each digit 5 cells wide and 7 high, one cell
//     between them. Displays with a side under 24 pixels have neither;
//   - a light grey C0C0C0 grid: all pixels whose x or y is a multiple of 64;
//   - red x * 128 / width and green y * 128 / height, both rounded down, and blue
//     index * 37 % 128 + (x * 5 + y * 11) % 32: darker to the top left, neighbours different
//     everywhere.
//
// Pixels are 00RRGGBB values: in memory, blue, green, red, 0.
#ifndef PLATFORM_DESKTOP_VIRTUAL_TEST_CARD_H_
#define PLATFORM_DESKTOP_VIRTUAL_TEST_CARD_H_

#include <cstdint>
#include <vector>

#include "platform/desktop/frames/pointer.h"

namespace qrv::desktop {

// The card of a display of width x height pixels, at 32 bits per pixel.
uint32_t TestCardPixel(uint32_t displayIndex, int32_t width, int32_t height, int32_t x, int32_t y);

// The pointer on the main display, when it is shown: 16 x 16 pixels, the top-left one at
// (width / 4, height / 4), black at the border and within that white of half opacity (128 of 255).
PointerImage TestPointer(int32_t width, int32_t height);

// What a screen of fewer bits per pixel shows instead of a colour.
// 16: each sample keeps its upper 5 bits v, and shows as v * 255 / 31 rounded down.
// 8: grey, (77 red + 150 green + 29 blue + 128) / 256 rounded down.
uint32_t ReduceColor(int32_t bitsPerPixel, uint32_t color);

// Writes runs of a card's pixels, much faster than one by one.
class TestCardRenderer {
 public:
  // For the columns from `left` up to and without `right`.
  TestCardRenderer(uint32_t displayIndex, int32_t width, int32_t height, int32_t bitsPerPixel,
                   int32_t left, int32_t right);

  // Those columns of row y.
  void RenderRow(int32_t y, uint32_t* row) const;

 private:
  void RenderBackground(int32_t y, uint32_t* row) const;
  void RenderGlyphs(int32_t y, uint32_t* row) const;
  void RenderBorder(int32_t y, uint32_t* row) const;
  void Fill(int32_t from, int32_t to, uint32_t color, uint32_t* row) const;

  uint32_t displayIndex_;
  int32_t width_;
  int32_t height_;
  int32_t bitsPerPixel_;
  int32_t left_;
  int32_t right_;
  std::vector<uint32_t> reds_;  // of the columns, in place
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_VIRTUAL_TEST_CARD_H_
