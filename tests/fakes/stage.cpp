#include "tests/fakes/stage.h"

#include <algorithm>

namespace qrv::fakes {
namespace {

// Objects of one family are given back in the reverse order of their creation. An OpenGL context
// goes before the buffer that is read through it, so the two are families of their own.
std::string Family(const std::string& kind) {
  static const std::map<std::string, std::string> kFamilies = {
      {"memory", "image"},  {"bitmap context", "image"}, {"image", "image"},
      {"space", "image"},   {"URL", "bundle"},           {"bundle", "bundle"},
      {"GL context", "GL"}, {"world", "QuickDraw"},      {"pixel lock", "QuickDraw"},
  };
  const auto found = kFamilies.find(kind);
  return found == kFamilies.end() ? std::string() : found->second;
}

}  // namespace

Stage& TheStage() {
  static Stage stage;
  return stage;
}

void Stage::ClearRecord() {
  calls.clear();
  refusable = 0;
  refusedCall.clear();
  faults.clear();
  held.clear();
}

void Record(std::string call) { TheStage().calls.push_back(std::move(call)); }

bool Refused(const std::string& name) {
  Stage& stage = TheStage();
  ++stage.refusable;
  if (stage.refuseAt == stage.refusable) {
    stage.refusedCall = name;
    return true;
  }
  return stage.refused.contains(name);
}

void Created(const void* object, const std::string& kind) {
  TheStage().held.emplace_back(object, kind);
}

void Released(const void* object, const std::string& kind) {
  Stage& stage = TheStage();
  auto& held = stage.held;
  const auto found = std::find(held.rbegin(), held.rend(), std::pair(object, kind));
  if (found == held.rend()) {
    stage.faults.push_back(kind + " released that is not held");
    return;
  }
  const std::string family = Family(kind);
  const bool outOfOrder =
      !family.empty() && std::any_of(held.rbegin(), found, [&family](const auto& later) {
        return Family(later.second) == family;
      });
  if (outOfOrder) stage.faults.push_back(kind + " released before what was created after it");
  held.erase(std::next(found).base());
}

uint32_t ScreenColour(int x, int y) {
  const auto ux = static_cast<uint32_t>(x + 100000);
  const auto uy = static_cast<uint32_t>(y + 100000);
  return (ux * 2654435761U ^ uy * 40503U * 65537U) >> 7 & 0xFFFFFF;
}

}  // namespace qrv::fakes
