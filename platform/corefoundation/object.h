// The objects behind CoreFoundation's references, which are counted; CFRelease releases one.
#ifndef PLATFORM_COREFOUNDATION_OBJECT_H_
#define PLATFORM_COREFOUNDATION_OBJECT_H_

#include <CoreFoundation/CoreFoundation.h>

namespace qrv::corefoundation {

// Begins with one reference.
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

// Display modes are not objects: a mode is valid until the next one, and is not released.
struct __CFNumber {
  SInt32 value;
};

struct __CFDictionary {
  struct Entry {
    const char* key;
    __CFNumber number;
  };
  Entry entries[2];
  int count;
};

#endif  // PLATFORM_COREFOUNDATION_OBJECT_H_
