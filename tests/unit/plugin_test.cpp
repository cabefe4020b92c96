#include "tests/unit/plugin_test.h"

#include "platform/desktop/virtual/test_card.h"
#include "plugin/host/bridge.h"
#include "plugin/picture/picture_editor.h"
#include "runtime/pictures.h"

namespace qrv::passthrough {
const Bytes kImagePixels = {10, 20, 30, 255, 64, 32, 0, 128, 0, 0, 0, 0,
                            0,  0,  0,  0,   64, 32, 0, 128, 7, 8, 9, 255};
const Bytes kDivided = {10, 20, 30, 255, 127, 63, 0, 128, 0, 0, 0, 0,
                        0,  0,  0,  0,   127, 63, 0, 128, 7, 8, 9, 255};

CGImage ImageOf(CGImageAlphaInfo alphaInfo, bool hasAlpha, size_t width, size_t height) {
  return {nullptr,
          kImagePixels.data(),
          width,
          height,
          width * 4,
          {alphaInfo, pixels::ByteOrder::kRGBA, hasAlpha},
          CGColorSpaceCreateDeviceRGB()};
}

Bytes Opaque(Bytes rgba) {
  for (size_t i = 3; i < rgba.size(); i += 4) rgba[i] = 255;
  return rgba;
}

PluginTest::PluginTest() {
  UseDesktop({{0, 0, 13, 9}, {13, -3, 9, 14}});
  UseSystem(kDisplayImage);
  Use({});
}

PluginTest::~PluginTest() { EXPECT_EQ(Problems(), ""); }

void PluginTest::UseDesktop(const std::vector<Box>& itsDisplays) {
  displays = itsDisplays;
  std::ostringstream layout;
  for (const Box& box : displays) {
    layout << (layout.tellp() == 0 ? "virtual:" : ",") << box.width << "x" << box.height
           << std::showpos << box.left << box.top << std::noshowpos;
  }
  setenv("QRV_DESKTOP", layout.str().c_str(), 1);
}

void PluginTest::UseSystem(const std::string& version) {
  setenv("QRV_SYSTEM_VERSION", version.c_str(), 1);
}

void PluginTest::Use(const HostOptions& itsOptions) {
  host.reset();
  options = itsOptions;
  host = std::make_unique<runtime::Host>(options);
  IsDesktop = IsConsole = false;
  rbversion = 0;
  REALPluginMain(Resolve);
  TakeStrategies();
  ClearRecord();
}

void PluginTest::ChangeLocks(int first, bool isAll, const Change& change) {
  seam::REALLockPictureDescription.answer = [=, this, lock = 0](auto* picture, auto* out,
                                                                long type) mutable {
    if (!runtime::LockPictureDescription(picture, out, type)) return false;
    ++lock;
    if (lock != first && !(isAll && lock > first)) return true;
    auto& [image, rows] = changedImages.emplace_back();
    if (type == kPixelTypeConsoleImage) {
      image = *static_cast<ConsoleImage*>(out->container);
      rows.assign(image.tpixels, image.tpixels + image.sy);
      image.tpixels = rows.data();
      out->container = &image;
    }
    change(*out, image);
    return true;
  };
}

void PluginTest::BindQuickDraw() {
  UseSystem(kQuickDraw);
  host->Release(host->Call(runtime::methods::kScreenshotDisplay, int32_t{1}));
  host->Release(host->Call(runtime::methods::kScreenshotRectScaled, 0, 0, 1, 1, 1, 1));
  ClearRecord();
  TakeStrategies();
}

uint32_t PluginTest::Card(size_t display, int x, int y) const {
  const Box& box = displays[display];
  return desktop::TestCardPixel(static_cast<uint32_t>(display), box.width, box.height, x - box.left,
                                y - box.top);
}

Bytes PluginTest::Stored(uint32_t colour, int alpha) const {
  const auto red = static_cast<uint8_t>(colour >> 16);
  const auto green = static_cast<uint8_t>(colour >> 8);
  const auto blue = static_cast<uint8_t>(colour);
  const auto opacity = static_cast<uint8_t>(alpha < 0 ? 255 : alpha);
  if (options.application != ApplicationKind::kDesktop) {
    return {blue, green, red, static_cast<uint8_t>(alpha < 0 ? 0 : alpha / 2)};
  }
  const uint32_t info = options.bitmapAlphaInfo.value_or(options.picturesHaveAlpha ? 2 : 6);
  if (info % 2 == 1) return {red, green, blue, opacity};
  return {opacity, red, green, blue};
}

Bytes PluginTest::StoredRawPixels() const {
  Bytes bytes;
  for (const uint32_t colour : {0x526762U, 0x526742U, 0x726762U, 0x524742U}) {
    for (const uint8_t byte : Stored(colour)) bytes.push_back(byte);
  }
  return bytes;
}

Bytes PluginTest::BytesOf(const REALpictureStruct* picture) {
  Bytes bytes;
  for (int32_t y = 0; y < picture->height; ++y) {
    bytes.insert(bytes.end(), picture->Row(y), picture->Row(y) + picture->width * 4);
  }
  return bytes;
}

Bytes PluginTest::Expected(const Box& part, const Bytes& outside, int alpha,
                           unsigned without) const {
  Bytes bytes;
  for (int y = part.top; y < part.top + part.height; ++y) {
    for (int x = part.left; x < part.left + part.width; ++x) {
      Bytes pixel = outside;
      for (size_t i = 0; i < displays.size(); ++i) {
        const bool isShown = (without >> i & 1) == 0 && displays[i].Holds(x, y);
        if (isShown) pixel = Stored(Card(i, x, y), alpha);
      }
      bytes.insert(bytes.end(), pixel.begin(), pixel.end());
    }
  }
  return bytes;
}

// Display images are opaque, and so is what has no display; what OpenGL has not read, the host has
// made; QuickDraw leaves the alpha 0 everywhere.
Bytes PluginTest::Expected(Strategy strategy, const Box& part, unsigned without) const {
  if (strategy == kQuickDraw) return Expected(part, Stored(0, 0), 0, without);
  return Expected(part, strategy == kOpenGL ? Bytes(4, kPoison) : Stored(0), -1, without);
}

void PluginTest::ExpectShows(REALpictureStruct* picture, Strategy strategy, const Box& part) {
  EXPECT_EQ(TakeStrategies(), strategy);
  ASSERT_EQ(runtime::Host::Width(picture), part.width);
  ExpectIs(picture, Expected(strategy, part));
}

void PluginTest::ExpectIs(REALpictureStruct* picture, const Bytes& bytes) {
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(runtime::Host::References(picture), 1);
  EXPECT_TRUE(BytesOf(picture) == bytes);
  host->Release(picture);
  EXPECT_EQ(Problems(), "");
}

int32_t PluginTest::Pick(int32_t least, int32_t most) {
  return std::uniform_int_distribution(least, most)(random);
}

int32_t PluginTest::PickAny(int32_t least, int32_t most) {
  const int kind = Pick(0, 15);
  if (kind == 0) return Pick(INT32_MIN, INT32_MAX);
  if (kind == 1) return Pick(INT16_MIN, 40000);
  return Pick(least, most) + (kind == 2 ? Pick(-2, 2) * 0x10000 : 0);
}

std::string PluginTest::Problems() const {
  std::string problems;
  for (const std::string& problem : layer.problems) problems += problem + "; ";
  for (const auto& [object, kind] : layer.held) problems += std::to_string(kind) + " is held; ";
  if (!(host->ledger() == runtime::Ledger{})) problems += "the host misses something";
  return problems;
}

}  // namespace qrv::passthrough
