// The objects behind CoreFoundation's references: counted, and given back with CFRelease.
#ifndef PLATFORM_COREFOUNDATION_OBJECT_H_
#define PLATFORM_COREFOUNDATION_OBJECT_H_

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <utility>
#include <vector>

namespace qrv::corefoundation {

// Begins with one reference. Every reference type of CoreFoundation but the
// constant strings points to one of these.
class Object {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  void Release() const {
    if (--references_ == 0) delete this;
  }

 private:
  mutable long references_ = 1;
};

}  // namespace qrv::corefoundation

struct __CFNumber final : qrv::corefoundation::Object {
  explicit __CFNumber(SInt32 number) : value(number) {}
  const SInt32 value;
};

// Numbers by string keys; owns both.
struct __CFDictionary final : qrv::corefoundation::Object {
  void Add(std::string key, SInt32 value) {
    entries.emplace_back(std::move(key), new __CFNumber(value));
  }
  ~__CFDictionary() override {
    for (const auto& entry : entries) entry.second->Release();
  }
  std::vector<std::pair<std::string, const __CFNumber*>> entries;
};

#endif  // PLATFORM_COREFOUNDATION_OBJECT_H_
