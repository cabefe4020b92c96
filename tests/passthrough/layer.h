// The layer between the plug-in and all that it calls: the host runtime, the platform's frameworks
// and the C library's allocations. Each call is recorded, refused when that is asked for, kept
// account of, and else passed through to the real thing, unless a test answers in its place.
//
// What the plug-in gets new is filled with kPoison, so that what is never written shows.
#ifndef TESTS_PASSTHROUGH_LAYER_H_
#define TESTS_PASSTHROUGH_LAYER_H_

#include <ApplicationServices/ApplicationServices.h>
#include <CoreServices/CoreServices.h>
#include <OpenGL/OpenGL.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/quickdraw/quickdraw.h"
#include "runtime/entry_points.h"

namespace qrv::passthrough {

constexpr uint8_t kPoison = 0xA5;

enum Kind {
  kNothing,
  kLoose,
  kOrdered,  // of these what was created last goes first
  kPictureLock,
};

struct Record {
  std::vector<std::string> calls;     // by name; "look up X" for a look-up of X
  int refusable = 0;                  // calls that could have been refused
  std::string refusedCall;            // the one that `refuseAt` hit
  std::vector<std::string> problems;  // released twice, out of order, looked up again...
  std::vector<std::pair<const void*, Kind>> held;
};

// What is asked of it, and what happened.
struct Layer : Record {
  int refuseAt = 0;               // 1: the first call that can be refused is; 0: none
  std::set<std::string> refused;  // functions of which every call is refused
  std::set<std::string> missing;  // functions that look-ups by name don't find

  long CallsOf(const std::string& name) const;
  // True when this call is to be refused.
  bool Refuses(const std::string& name);
  void Give(const void* object, Kind kind);
  void Take(const void* object, Kind kind);
};

Layer& TheLayer();

// Forgets what happened.
inline void ClearRecord() { static_cast<Record&>(TheLayer()) = {}; }

// The resolver that the plug-in gets: the layer's entry to the current host's entry point.
void* Resolve(const char* name);

// Functions that are linked weakly are null in a process in whose environment this names them.
#define QRV_LACKING "QRV_TEST_LACKING"

constexpr long kNever = LONG_MIN;

// A function that the plug-in calls, as what it calls instead knows it.
struct SeamBase {
  SeamBase(const char* name, long refusal = kNever, Kind gives = kNothing, Kind takes = kNothing);
  virtual void SetReal(void* address) = 0;

  const std::string name;
  const long refusal;
  const Kind gives;
  const Kind takes;
  void* entry = nullptr;  // what a look-up gives the plug-in
  bool found = false;     // by a look-up of this process

 protected:
  ~SeamBase() = default;
};

// The object that a successful call has handed out: what it returns, or, when it yields true, what
// it was called on, or else what it has stored where it was told to.
template <typename Result>
const void* Given(Result result) {
  if constexpr (std::is_pointer_v<Result>) return result;
  return nullptr;
}

template <typename Result, typename First, typename... Rest>
const void* Given(Result result, First first, Rest... rest) {
  if constexpr (std::is_pointer_v<Result>) {
    return result;
  } else if constexpr (std::is_pointer_v<First> && sizeof(Result) == 1) {
    return result ? first : nullptr;
  } else if constexpr (std::is_pointer_v<std::remove_pointer_t<First>>) {
    return result == 0 ? *first : nullptr;
  } else {
    return Given(result, rest...);
  }
}

template <typename Signature>
struct Seam;

template <typename Result, typename... Parameters, bool isNoexcept>
struct Seam<Result(Parameters...) noexcept(isNoexcept)> final : SeamBase {
  using SeamBase::SeamBase;
  void SetReal(void* address) override { real = reinterpret_cast<Function>(address); }

  Result Pass(Parameters... parameters) {
    Layer& layer = TheLayer();
    layer.calls.push_back(name);
    if (refusal != kNever && layer.Refuses(name)) {
      if (refuse) return refuse(parameters...);
      if constexpr (std::is_integral_v<Result>) return static_cast<Result>(refusal);
      return Result();
    }
    if constexpr (sizeof...(Parameters) > 0) {
      if (takes != kNothing) Take(parameters...);
    }
    const auto& way = answer ? answer : habit;
    if constexpr (std::is_void_v<Result> || std::is_class_v<Result>) {
      return way ? way(parameters...) : real(parameters...);
    } else {
      const Result result = way ? way(parameters...) : real(parameters...);
      if (gives != kNothing) layer.Give(Given(result, parameters...), gives);
      return result;
    }
  }

  using Function = Result (*)(Parameters...);
  Function real = nullptr;
  std::function<Result(Parameters...)> answer;  // a test's, instead of the real one
  std::function<Result(Parameters...)> habit;   // the layer's own
  std::function<Result(Parameters...)> refuse;  // where a refusal is more than its result

 private:
  template <typename First, typename... Rest>
  void Take(First first, Rest...) {
    if constexpr (std::is_pointer_v<First>) TheLayer().Take(first, takes);
  }
};

}  // namespace qrv::passthrough

// Each function that the plug-in calls, by its name: seam::NewGWorld.answer = ...
#define LIBRARY(name, signature, ...) SEAM(name, signature, __VA_ARGS__)
#define FRAMEWORK(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define WEAK(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define QUICKDRAW(name, ...) SEAM(name, decltype(::name), __VA_ARGS__)
#define HOST(name, function, ...) SEAM(name, decltype(runtime::function), __VA_ARGS__)

namespace qrv::seam {

#define SEAM(name, signature, ...) extern passthrough::Seam<signature> name;
#include "tests/passthrough/table.inc"
#undef SEAM

}  // namespace qrv::seam

#endif  // TESTS_PASSTHROUGH_LAYER_H_
