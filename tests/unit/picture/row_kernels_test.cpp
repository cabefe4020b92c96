#include "plugin/picture/row_kernels.h"

#include <random>

#include <gtest/gtest.h>
#include "plugin/picture/picture_editor.h"

namespace picture {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int32_t kFormats[] = {1, 2, 3, 4, 5, 6, kConsolePixelFormat};

struct Layout {
  SourceLayout layout;
  int red, green, blue, alpha;  // offsets in a pixel; alpha -1: opaque
};

const Layout kLayouts[] = {
    {SourceLayout::kSkipRgb, 1, 2, 3, -1}, {SourceLayout::kBgrSkip, 2, 1, 0, -1},
    {SourceLayout::kAlphaRgb, 1, 2, 3, 0}, {SourceLayout::kRgb, 0, 1, 2, -1},
    {SourceLayout::kGrey, 0, 0, 0, -1},
};

// Appends the bytes of a pixel as the editor stores it, with the alpha in its place.
void Append(Bytes& row, int32_t format, uint8_t red, uint8_t green, uint8_t blue, int alpha = -1) {
  row.resize(row.size() + 4);
  PictureWriter writer;
  writer.pixelFormat = format;
  writer.cursor = row.data() + row.size() - 4;
  writer.WritePixel(red, green, blue);
  if (alpha < 0) return;
  const bool isConsole = format == kConsolePixelFormat;
  const size_t place = !isConsole && format % 2 == 0 ? 4 : 1;
  row[row.size() - place] = static_cast<uint8_t>(isConsole ? alpha / 2 : alpha);
}

TEST(RowKernel, StoresWhatTheEditorWouldAtOddWidthsAndPlaces) {
  std::mt19937 random;
  for (const Layout& from : kLayouts) {
    const size_t size = BytesPerPixel(from.layout);
    for (const int32_t format : kFormats) {
      const RowKernel kernel = ChooseRowKernel(from.layout, format, 1);
      for (const size_t width : {1U, 2U, 3U, 7U, 8U, 15U, 16U, 17U, 31U, 33U, 64U, 101U}) {
        for (const size_t offset : {0U, 1U, 3U}) {
          Bytes source(width * size + offset);
          for (uint8_t& byte : source) byte = static_cast<uint8_t>(random());
          Bytes destination(width * 4 + offset + 4, 0xEE);
          kernel(source.data() + offset, destination.data() + offset, width);
          Bytes expected(offset, 0xEE);
          for (size_t x = 0; x < width; ++x) {
            const uint8_t* pixel = source.data() + offset + x * size;
            Append(expected, format, pixel[from.red], pixel[from.green], pixel[from.blue],
                   from.alpha < 0 ? -1 : pixel[from.alpha]);
          }
          expected.resize(destination.size(), 0xEE);
          ASSERT_EQ(destination, expected)
              << "layout " << static_cast<int>(from.layout) << " format " << format;
        }
      }
    }
  }
}

// At any length of a row, and wherever it lies.
TEST(RowKernel, StoresLargePicturesAsItStoresSmallOnes) {
  constexpr size_t kLarge = size_t{100} << 20;
  std::mt19937 random;
  Bytes source(1100 * 4);
  for (uint8_t& byte : source) byte = static_cast<uint8_t>(random());
  for (const Layout& from : kLayouts) {
    for (const int32_t format : {5, 6, kConsolePixelFormat}) {
      for (const size_t offset : {0U, 1U, 4U, 12U}) {
        for (const size_t pixels : {0U, 1U, 3U, 4U, 5U, 9U, 256U, 1027U}) {
          Bytes small(pixels * 4 + 16, 0xEE), large = small;
          ChooseRowKernel(from.layout, format, pixels)(source.data(), &small[offset], pixels);
          ChooseRowKernel(from.layout, format, kLarge)(source.data(), &large[offset], pixels);
          FinishRows();
          ASSERT_EQ(large, small) << format << ": " << pixels << " at " << offset;
        }
      }
    }
  }
}

// Every colour over every alpha, also those that no premultiplied pixel has.
Bytes AllColoursOverAllAlphas() {
  Bytes source;
  for (int alpha = 0; alpha < 256; ++alpha) {
    for (int colour = 0; colour < 256; ++colour) {
      for (const int byte : {colour, 255 - colour, colour ^ 0x55, alpha}) {
        source.push_back(static_cast<uint8_t>(byte));
      }
    }
  }
  return source;
}

uint8_t Divide(uint8_t colour, uint8_t alpha) {
  return alpha == 0 ? colour : static_cast<uint8_t>(colour * 255 / alpha);
}

TEST(RowKernel, DividesEveryColourByEveryAlphaExactly) {
  const Bytes source = AllColoursOverAllAlphas();
  const size_t pixels = source.size() / 4;
  Bytes opaque(source.size()), colour(source.size()), mask(source.size());
  for (const int32_t format : kFormats) {
    ChooseRowKernel(SourceLayout::kPremultipliedRgba, format, pixels)(source.data(), opaque.data(),
                                                                      pixels);
    ChooseMaskRowKernel(format)(source.data(), colour.data(), mask.data(), pixels);
    Bytes expected, expectedMask;
    for (const uint8_t* p = source.data(); p != source.data() + source.size(); p += 4) {
      const auto level = static_cast<uint8_t>(255 - p[3]);
      Append(expected, format, Divide(p[0], p[3]), Divide(p[1], p[3]), Divide(p[2], p[3]));
      Append(expectedMask, format, level, level, level);
    }
    ASSERT_TRUE(opaque == expected && colour == expected && mask == expectedMask) << format;
  }
}

TEST(RowKernel, IsNoneForALayoutThatNoPictureHasAndNoPixelIsStoredInIt) {
  for (const int32_t format : {0, 7, 9, -1}) {
    EXPECT_EQ(ChooseRowKernel(SourceLayout::kSkipRgb, format, 1), nullptr);
    EXPECT_EQ(ChooseMaskRowKernel(format), nullptr);
    PictureWriter writer;  // without a place to store it
    writer.pixelFormat = format;
    writer.WritePixel(1, 2, 3);
    EXPECT_EQ(writer.cursor, nullptr);
  }
}

}  // namespace
}  // namespace picture
