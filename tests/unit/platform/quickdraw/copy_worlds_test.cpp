#include <gtest/gtest.h>

#include "tests/unit/platform/quickdraw/copy_model.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(CopyBetweenWorlds, AgreesWithItsDefinitionForAnyRectanglesAndDepths) {
  Chance chance(1);
  for (int round = 0; round < 3000; ++round) {
    const World source(chance.Depth(), chance.Bounds(40));
    const World target(chance.Depth(), chance.Bounds(40));
    chance.Scribble(source);
    chance.Scribble(target);
    const Rect from = chance.RectNear(source.bounds());
    const Rect to = chance.RectNear(target.bounds());
    const Bytes expected = ModelCopy(ColorsOf(source), target, from, to);
    CopyBits(source.bitMap(), target.bitMap(), &from, &to, srcCopy, nullptr);
    ASSERT_EQ(target.Bytes(), expected) << "round " << round;
  }
}

TEST(CopyBetweenWorlds, AgreesWithItsDefinitionUnscaled) {
  Chance chance(2);
  for (int round = 0; round < 2000; ++round) {
    const World source(chance.Depth(), chance.Bounds(70));
    const World target(chance.Depth(), chance.Bounds(70));
    chance.Scribble(source);
    const Rect from = source.bounds();
    Rect to = target.bounds();
    to.right = static_cast<short>(to.left + from.right - from.left);
    to.bottom = static_cast<short>(to.top + from.bottom - from.top);
    const Bytes expected = ModelCopy(ColorsOf(source), target, from, to);
    CopyBits(source.bitMap(), target.bitMap(), &from, &to, srcCopy, nullptr);
    ASSERT_EQ(target.Bytes(), expected) << "round " << round;
  }
}

TEST(CopyWithinAWorld, ReadsAllBeforeItWrites) {
  Chance chance(3);
  for (int round = 0; round < 500; ++round) {
    const World world(chance.Depth(), chance.Bounds(30));
    chance.Scribble(world);
    const Rect from = chance.RectNear(world.bounds());
    const Rect to = chance.RectNear(world.bounds());
    const Bytes expected = ModelCopy(ColorsOf(world), world, from, to);
    CopyBits(world.bitMap(), world.bitMap(), &from, &to, srcCopy, nullptr);
    ASSERT_EQ(world.Bytes(), expected) << "round " << round;
  }
}

TEST(CopyBetweenWorlds, KeepsTheAlphaByteOf32BitPixels) {
  const Rect one = {0, 0, 1, 1};
  const World source(32, one);
  const World target(32, one);
  source.At(0, 0)[0] = 0x7F;
  CopyBits(source.bitMap(), target.bitMap(), &one, &one, srcCopy, nullptr);
  EXPECT_EQ(target.Pixel(0, 0), (Bytes{0x7F, 0, 0, 0}));
}

TEST(Copy, TracesCopiesOfAPixelMapToItsWorld) {
  const Rect one = {0, 0, 1, 1};
  const World source(24, one);
  const World target(24, one);
  source.At(0, 0)[1] = 9;
  const PixMap copy = **GetGWorldPixMap(source.port());
  CopyBits(reinterpret_cast<const BitMap*>(&copy), target.bitMap(), &one, &one, srcCopy, nullptr);
  EXPECT_EQ(target.Pixel(0, 0), (Bytes{0, 9, 0}));
}

class RefusedCopy : public testing::Test {
 protected:
  RefusedCopy() { *source_.At(0, 0) = 1; }
  void ExpectNothing() const { EXPECT_EQ(*target_.At(0, 0), 0); }

  const Rect one_ = {0, 0, 1, 1};
  const World source_{8, one_};
  const World target_{8, one_};
};

TEST_F(RefusedCopy, InAnotherMode) {
  CopyBits(source_.bitMap(), target_.bitMap(), &one_, &one_, 1, nullptr);
  ExpectNothing();
}

TEST_F(RefusedCopy, WithAMask) {
  CopyBits(source_.bitMap(), target_.bitMap(), &one_, &one_, srcCopy,
           reinterpret_cast<RgnHandle>(this));
  ExpectNothing();
}

TEST_F(RefusedCopy, WithoutAMapOrARectangle) {
  CopyBits(nullptr, target_.bitMap(), &one_, &one_, srcCopy, nullptr);
  CopyBits(source_.bitMap(), nullptr, &one_, &one_, srcCopy, nullptr);
  CopyBits(source_.bitMap(), target_.bitMap(), nullptr, &one_, srcCopy, nullptr);
  CopyBits(source_.bitMap(), target_.bitMap(), &one_, nullptr, srcCopy, nullptr);
  ExpectNothing();
}

TEST_F(RefusedCopy, FromAMapThatIsNotOurs) {
  PixMap strange = **GetGWorldPixMap(source_.port());
  strange.pmExt = &strange;
  CopyBits(reinterpret_cast<const BitMap*>(&strange), target_.bitMap(), &one_, &one_, srcCopy,
           nullptr);
  BitMap plain = *source_.bitMap();
  plain.rowBytes = 16;
  CopyBits(&plain, target_.bitMap(), &one_, &one_, srcCopy, nullptr);
  ExpectNothing();
}

TEST_F(RefusedCopy, FromAWorldThatWasDisposedOf) {
  PixMap map;
  {
    const World gone(8, one_);
    *gone.At(0, 0) = 1;
    map = **GetGWorldPixMap(gone.port());
  }
  CopyBits(reinterpret_cast<const BitMap*>(&map), target_.bitMap(), &one_, &one_, srcCopy, nullptr);
  ExpectNothing();
}

}  // namespace
