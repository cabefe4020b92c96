// What the plug-in's unit tests share: a stage per test, and looks at what was recorded on it.
#ifndef TESTS_UNIT_PLUGIN_TEST_H_
#define TESTS_UNIT_PLUGIN_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "picture/picture_editor.h"
#include "tests/fakes/fake_frameworks.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/stage.h"

namespace qrv::fakes {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class PluginTest : public ::testing::Test {
 protected:
  PluginTest() { UseHost(); }

  ~PluginTest() override { EXPECT_THAT(stage.faults, IsEmpty()); }

  // Puts the plug-in into a process of another kind, with another host.
  void Use(Application application, double version = 2013.03) {
    IsDesktop = IsConsole = false;
    stage.application = application;
    stage.version = version;
    UseHost();
  }

  // The recorded calls, without the look-ups by name.
  std::vector<std::string> Calls() const {
    std::vector<std::string> calls;
    for (const std::string& call : stage.calls) {
      if (!call.starts_with("resolve ") && !call.starts_with("look up ")) calls.push_back(call);
    }
    return calls;
  }

  // Those that begin with one of the names.
  std::vector<std::string> CallsOf(const std::vector<std::string>& names) const {
    std::vector<std::string> calls;
    for (const std::string& call : stage.calls) {
      for (const std::string& name : names) {
        if (call == name || call.starts_with(name + " ")) calls.push_back(call);
      }
    }
    return calls;
  }

  std::vector<std::string> HeldKinds() const {
    std::vector<std::string> kinds;
    for (const auto& [object, kind] : stage.held) kinds.push_back(kind);
    return kinds;
  }

  void ExpectNothingHeld() const { EXPECT_THAT(HeldKinds(), IsEmpty()); }

  // The picture is all that is held, once; releases it.
  void ExpectSolePicture(REALpictureStruct* picture) const {
    ASSERT_NE(picture, nullptr);
    EXPECT_THAT(HeldKinds(), ElementsAre("picture"));
    ReleasePicture(picture);
    ExpectNothingHeld();
  }

  Stage& stage = TheStage();
};

}  // namespace qrv::fakes

#endif  // TESTS_UNIT_PLUGIN_TEST_H_
