// Every way in which a call can fail, one by one: each method runs once to count the calls that can
// be refused, then once for each of them with exactly that one refused, and once for each entry
// point and function that can be missing. Every run ends in nil or in a picture that is right, and
// with nothing held.

#include <functional>
#include <iostream>
#include <memory>

#include "capture/methods.h"
#include "picture/image_picture.h"
#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

// A method's result: nil, a picture or a string.
struct Result {
  REALpictureStruct* picture = nullptr;
  REALstringStruct* string = nullptr;
};

struct Method {
  std::string name;
  std::function<Result()> call;
  // The part of the screen that the picture shows, in global coordinates and display pixels.
  int left, top, width, height;
};

const std::string& RawBytes() {
  static const std::string bytes = [] {
    std::string text;
    for (int y = 5; y >= 0; --y) {
      for (int x = 0; x < 8; ++x) {
        const uint32_t colour = ScreenColour(x, y);
        text += {static_cast<char>(colour), static_cast<char>(colour >> 8),
                 static_cast<char>(colour >> 16), 0};
      }
    }
    return text;
  }();
  return bytes;
}

std::vector<Method> Methods() {
  static int32_t width, height, rowBytes;
  // An image with alpha, all of it opaque, so that the colours are the screen's.
  const auto fromImage = [] {
    const std::unique_ptr<CGImage> image(MakeImage(8, 6, kCGImageAlphaPremultipliedFirst));
    for (size_t i = 0; i < image->rgba.size(); i += 4) {
      const uint32_t colour = ScreenColour(static_cast<int>(i / 4 % 8), static_cast<int>(i / 32));
      image->rgba[i] = static_cast<uint8_t>(colour >> 16);
      image->rgba[i + 1] = static_cast<uint8_t>(colour >> 8);
      image->rgba[i + 2] = static_cast<uint8_t>(colour);
      image->rgba[i + 3] = 255;
    }
    return Result{GetCGImagePicture(image.get())};
  };
  const auto fromString = [] {
    REALstringStruct* string = NewHostString(RawBytes());
    const Result result = {ScreenshotFromStringQRV(8, 6, 32, string)};
    ReleaseString(string);
    return result;
  };
  return {
      {"main display", [] { return Result{ScreenshotQRV()}; }, 0, 0, 12, 9},
      {"display 1", [] { return Result{ScreenshotDisplayQRV(1)}; }, 12, -3, 10, 14},
      {"display 7", [] { return Result{ScreenshotDisplayQRV(7)}; }, 0, 0, 0, 0},
      {"rectangle", [] { return Result{ScreenshotRectQRV(-2, -4, 26, 17)}; }, -2, -4, 26, 17},
      {"scaled", [] { return Result{ScreenshotRectDestQRV(-2, -4, 26, 17, 26, 17)}; }, -2, -4, 26,
       17},
      {"string",
       [] {
         return Result{nullptr, ScreenshotStringQRV(width, height, rowBytes)};
       },
       0, 0, 0, 0},
      {"string of 1",
       [] {
         return Result{nullptr, ScreenshotStringDisplayQRV(width, height, rowBytes, 1)};
       },
       0, 0, 0, 0},
      {"from string", fromString, 0, 0, 8, 6},
      {"image with alpha", fromImage, 0, 0, 8, 6},
  };
}

class Sweep : public PluginTest {
 protected:
  Sweep() { stage.displays = {{11, 0, 0, 12, 9}, {12, 12, -3, 10, 14}}; }

  // What is wrong after a run; both empty when all is as it should be.
  struct Problems {
    std::string picture;
    std::string ledger;
  };

  Problems Run(const Method& method) {
    ++runs;
    stage.ClearRecord();
    IsDesktop = IsConsole = false;
    const Result result = method.call();
    Problems problems;
    if (result.picture != nullptr) {
      problems.picture = PictureProblem(method, result.picture);
      ReleasePicture(result.picture);
    }
    if (result.string != nullptr) ReleaseString(result.string);
    for (const std::string& fault : stage.faults) problems.ledger += fault + "; ";
    for (const std::string& kind : HeldKinds()) problems.ledger += kind + " still held; ";
    if (CurrentPort()->pixMapPointer != nullptr) problems.ledger += "a world is the current port";
    stage.faults.clear();
    return problems;
  }

  // Right: of the size asked for, and each pixel the screen's, or black where a display has
  // contributed nothing.
  std::string PictureProblem(const Method& method, REALpictureStruct* picture) const {
    const REALobjectStruct* object = ObjectOf(picture);
    if (object->width != method.width && method.width != 0) return "wrong width;";
    if (object->height != method.height && method.height != 0) return "wrong height;";
    for (int y = 0; y < object->height; ++y) {
      for (int x = 0; x < object->width; ++x) {
        const uint32_t colour = Colour(picture, x, y);
        if (colour != 0 && colour != ScreenColour(method.left + x, method.top + y)) {
          return "wrong pixel at " + Join(x, y) + ";";
        }
      }
    }
    return "";
  }

  // The methods in every kind of host, as often as `each` says.
  template <typename Each>
  void InEveryHost(const Each& each) {
    for (const Application application :
         {Application::kDesktop, Application::kConsole, Application::kWeb, Application::kNone}) {
      for (const bool alpha : {false, true}) {
        for (const double version : {0.0, 2011.03, 2011.04, 2011.99, 2012.0, 2012.99, 2013.0}) {
          for (const int minor : {7, 6, 4}) {
            Use(application, version);
            stage.picturesHaveAlpha = alpha;
            stage.contextAlphaInfo = alpha ? 2 : 6;
            stage.systemMinor = minor;
            for (FakeDisplay& display : stage.displays) display.samplesPerPixel = minor < 5 ? 0 : 3;
            for (const Method& method : Methods()) {
              each(method);
              if (HasFailure()) return;
            }
          }
        }
      }
    }
  }

  std::string Setting(const Method& method) const {
    return method.name + " in application " + Join(static_cast<int>(stage.application)) +
           (stage.picturesHaveAlpha ? " with alpha" : "") + ", host " +
           std::to_string(stage.version) + ", system 10." + Join(stage.systemMinor);
  }

  long runs = 0;
};

TEST_F(Sweep, EndsWellWhicheverCallIsRefused) {
  InEveryHost([this](const Method& method) {
    stage.refuseAt = 0;
    const Problems whole = Run(method);
    ASSERT_EQ(whole.picture + whole.ledger, "") << Setting(method) << ", nothing refused";
    const int refusable = stage.refusable;
    for (stage.refuseAt = 1; stage.refuseAt <= refusable; ++stage.refuseAt) {
      const Problems problems = Run(method);
      ASSERT_EQ(problems.picture + problems.ledger, "")
          << Setting(method) << ", call " << stage.refuseAt << " of " << refusable
          << " refused: " << stage.refusedCall;
    }
    stage.refuseAt = 0;
  });
  std::cout << runs << " runs with one call refused at most\n";
  EXPECT_GT(runs, 5000);
}

// What is bound stays bound, so each missing name needs a process of its own.
class SweepWithout : public Sweep, public ::testing::WithParamInterface<const char*> {};

TEST_P(SweepWithout, EndsWellInEveryHost) {
  stage.missing = {GetParam()};
  // Without one of these nothing of its kind can be given back; what is left behind stays
  // reachable here, and only the picture is looked at.
  static const std::set<std::string> kReleases = {
      "REALUnlockObject", "REALUnlockString", "DisposeGWorld", "unlockPictureDescription",
      "UnlockPixels",     "SetPort",          "GetPort"};
  static auto& leftBehind = *new std::vector<std::pair<const void*, std::string>>;
  const std::string missing = GetParam();
  const bool releases = kReleases.contains(missing);
  // String data that the host makes and does not dispose of is no case: it lacks both.
  if (missing == "PluginDisposeStringData") stage.missing.insert("PluginGetStringData");
  InEveryHost([this, missing, releases](const Method& method) {
    Problems problems = Run(method);
    // Without row bytes every row is the first one.
    if (missing == "GetPixRowBytes") problems.picture.clear();
    ASSERT_EQ(problems.picture, "") << Setting(method) << " without " << GetParam();
    if (!releases) {
      ASSERT_EQ(problems.ledger, "") << Setting(method) << " without " << GetParam();
    }
    leftBehind.insert(leftBehind.end(), stage.held.begin(), stage.held.end());
    SetCurrentPort(nullptr);
  });
  std::cout << runs << " runs without " << GetParam() << "\n";
}

INSTANTIATE_TEST_SUITE_P(
    Missing, SweepWithout,
    ::testing::Values("REALBuildString", "REALSetStringEncoding", "REALLockString",
                      "REALUnlockString", "REALLoadGlobalMethod", "StringGetCString",
                      "PluginGetStringData", "PluginDisposeStringData", "REALLockObject",
                      "REALUnlockObject", "newPicture", "REALLockPictureDescription",
                      "unlockPictureDescription", "REALPictureClearCache", "pluginObjectType",
                      "REALGetPropValueBool", "PluginNewInstance", "REALLoadObjectMethod",
                      "REALGetPictureMask", "pluginPictureGraphicsGetter", "GetDeviceList",
                      "GetNextDevice", "GetMainDevice", "NewGWorld", "DisposeGWorld", "GetPort",
                      "SetPort", "SetGWorld", "GetQDGlobalsBlack", "FillRect", "ForeColor",
                      "BackColor", "SectRect", "GetPortBitMapForCopyBits", "CopyBits",
                      "GetGWorldPixMap", "LockPixels", "UnlockPixels", "GetPixBaseAddr",
                      "GetPixRowBytes", "GetPixDepth", "GetPortBounds"));

}  // namespace
}  // namespace qrv::fakes
