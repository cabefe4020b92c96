#include "picture/world_picture.h"

#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

using Bytes = std::vector<uint8_t>;

class WorldPicture : public PluginTest {};

TEST_F(WorldPicture, ConvertsEachDepthIntoEachLayout) {
  struct Case {
    short depth;
    Bytes source;
    Application application;
    uint32_t alphaInfo;
    Bytes pixel;
  };
  const auto desktop = Application::kDesktop;
  const auto console = Application::kConsole;
  const std::vector<Case> cases = {
      {32, {0, 16, 32, 48}, desktop, 1, {16, 32, 48, 0}},
      {32, {0, 16, 32, 48}, desktop, 6, {0, 16, 32, 48}},
      {32, {0, 16, 32, 48}, console, 0, {48, 32, 16, 0}},
      {32, {255, 16, 32, 48}, desktop, 5, {16, 32, 48, 255}},
      {32, {255, 16, 32, 48}, console, 0, {48, 32, 16, 127}},
      {24, {16, 32, 48}, desktop, 3, {16, 32, 48, 255}},
      {24, {16, 32, 48}, desktop, 2, {255, 16, 32, 48}},
      {24, {16, 32, 48}, console, 0, {48, 32, 16, 0}},
      {8, {128}, desktop, 1, {128, 128, 128, 255}},
      {8, {128}, console, 0, {128, 128, 128, 0}},
  };
  for (const Case& c : cases) {
    Use(c.application);
    stage.contextAlphaInfo = c.alphaInfo;
    stage.ClearRecord();
    GWorldPtr world = MakeWorld(3, 2, c.depth, 3 * c.depth / 8 + 5);  // rows with a gap
    const auto last = 2 * c.depth / 8 + world->rowBytes;              // the bottom-right pixel
    std::copy(c.source.begin(), c.source.end(), world->memory.begin() + last);
    REALpictureStruct* picture = REALBuildPictureFromGWorld(world);
    EXPECT_EQ(PixelBytes(picture, 2, 1), c.pixel) << c.depth << " bits, layout " << c.alphaInfo;
    ExpectSolePicture(picture);
  }
}

TEST_F(WorldPicture, IsBuiltInOrderAndTheWorldDisposedOfLast) {
  REALpictureStruct* picture = REALBuildPictureFromGWorld(MakeWorld(3, 2, 32));
  EXPECT_THAT(
      Calls(),
      ElementsAre("FSFindFolder -32767 1718772077 1", "CFURLCreateFromFSRef",
                  "CFURLCreateCopyAppendingPathComponent ApplicationServices.framework",
                  "CFBundleCreate Frameworks/ApplicationServices.framework",
                  "CFBundleLoadExecutable", "CFRelease URL", "CFRelease URL", "GetPortBounds",
                  "GetGWorldPixMap", "GetPixDepth", "LockPixels", "GetPixBaseAddr",
                  "GetPixRowBytes", "newPicture 3 2 32", "pluginObjectType Application",
                  "pluginObjectType WebApplication", "pluginObjectType ConsoleApplication",
                  "REALGetPropValueBool HasAlphaChannel", "REALLockPictureDescription 8",
                  "REALLockObject picture", "REALUnlockObject picture", "REALLockObject picture",
                  "REALPictureClearCache", "unlockPictureDescription", "REALPictureClearCache",
                  "REALUnlockObject picture", "UnlockPixels", "DisposeGWorld"));
  ExpectSolePicture(picture);
}

TEST_F(WorldPicture, DisposesOfEveryWorldThatItCannotConvert) {
  const auto expectNil = [this](GWorldPtr world, bool locked) {
    stage.calls.clear();
    EXPECT_EQ(REALBuildPictureFromGWorld(world), nullptr);
    EXPECT_EQ(!CallsOf({"UnlockPixels"}).empty(), locked);
    EXPECT_EQ(Calls().back(), "DisposeGWorld");
    ExpectNothingHeld();
  };
  expectNil(MakeWorld(3, 2, 16), false);
  for (const Rect& bounds : {Rect{0, 0, 0, 100}, Rect{0, 0, 5, 0}, Rect{0, 9, 5, 3}}) {
    GWorldPtr world = MakeWorld(3, 2, 32);
    world->bounds = bounds;
    expectNil(world, false);
  }
  for (const Rect& bounds : {Rect{-2, 0, 32766, 1}, Rect{0, -32768, 1, 32767}}) {
    GWorldPtr world = MakeWorld(3, 2, 32);
    world->bounds = bounds;
    expectNil(world, true);
  }
  for (const auto& [refused, locked] : std::map<std::string, bool>{{"GetGWorldPixMap", false},
                                                                   {"LockPixels", false},
                                                                   {"GetPixBaseAddr", true},
                                                                   {"newPicture", true}}) {
    stage.refused = {refused};
    expectNil(MakeWorld(3, 2, 32), locked);
  }
  EXPECT_EQ(REALBuildPictureFromGWorld(nullptr), nullptr);
}

TEST_F(WorldPicture, TakesAnUnboundFunctionForAFailedStep) {
  for (const char* missing : {"GetPortBounds", "GetGWorldPixMap", "GetPixDepth", "LockPixels"}) {
    stage.missing = {missing};
    EXPECT_EQ(REALBuildPictureFromGWorld(MakeWorld(3, 2, 32)), nullptr) << missing;
    ExpectNothingHeld();
  }
}

TEST_F(WorldPicture, RepeatsTheFirstRowWithoutRowBytes) {
  stage.missing = {"GetPixRowBytes"};
  GWorldPtr world = MakeWorld(1, 2, 24);
  world->memory = {1, 2, 3, 4, 5, 6};
  REALpictureStruct* picture = REALBuildPictureFromGWorld(world);
  EXPECT_EQ(Colour(picture, 0, 1), 0x010203U);
  ExpectSolePicture(picture);
}

}  // namespace
}  // namespace qrv::fakes
