#include "plugin/picture/world_picture.h"

#include "platform/quickdraw/world.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class WorldPicture : public PluginTest {
 protected:
  void SetUp() override { BindQuickDraw(); }

  // A world whose bytes count upward from 0, as the plug-in would have made it.
  GWorldPtr NewWorld(const Rect& bounds, short depth) {
    GWorldPtr world = nullptr;
    EXPECT_EQ(seam::NewGWorld.Pass(&world, depth, &bounds, nullptr, nullptr, 0), noErr);
    const auto size = static_cast<size_t>(bounds.bottom - bounds.top) * world->rowBytes;
    for (size_t i = 0; i < size; ++i) world->pixels[i] = static_cast<uint8_t>(i);
    return world;
  }

  void ExpectNil(const Rect& bounds, short depth) {
    EXPECT_EQ(REALBuildPictureFromGWorld(NewWorld(bounds, depth)), nullptr);
    EXPECT_EQ(Problems(), "");
  }
};

TEST_F(WorldPicture, ConvertsEachDepth) {
  for (const short depth : {short{32}, short{24}, short{8}}) {
    // Rows of 3 pixels have a gap; the origin of the bounds is no matter.
    GWorldPtr world = NewWorld({-1, 7, 1, 10}, depth);
    const size_t red = depth == 32 ? 1 : 0;
    const size_t step = depth == 8 ? 0 : 1;
    Bytes expected;
    for (size_t i = 0; i < 6; ++i) {
      const uint8_t* p = world->At(i % 3, i / 3);
      const uint32_t colour = p[red] * 0x10000U + p[red + step] * 0x100U + p[red + 2 * step];
      for (const uint8_t byte : Stored(colour, depth == 32 ? p[0] : -1)) expected.push_back(byte);
    }
    ExpectIs(REALBuildPictureFromGWorld(world), expected);
  }
}

TEST_F(WorldPicture, DisposesOfEveryWorldThatItCannotConvert) {
  EXPECT_EQ(REALBuildPictureFromGWorld(nullptr), nullptr);
  ExpectNil({0, 0, 3, 2}, 16);
  EXPECT_EQ(layer.CallsOf("LockPixels"), 0);
  ExpectNil({-2, 0, 32766, 1}, 32);
  EXPECT_EQ(layer.CallsOf("newPicture"), 0);
  for (const Rect& bounds : {Rect{0, 0, 0, 100}, Rect{0, 0, 5, 0}, Rect{0, 9, 5, 3}}) {
    seam::GetPortBounds.answer = [bounds](GrafPtr, Rect* out) { return &(*out = bounds); };
    ExpectNil({0, 0, 3, 2}, 32);
    EXPECT_EQ(layer.CallsOf("GetPixDepth"), 2);
  }
}

}  // namespace
}  // namespace qrv::passthrough
