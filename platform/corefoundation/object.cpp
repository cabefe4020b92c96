#include "platform/corefoundation/object.h"

#include <string_view>

// There is only one allocator, and functions ignore the one that is passed.
const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

void CFRelease(CFTypeRef object) {
  if (object != nullptr) static_cast<const qrv::corefoundation::Object*>(object)->Release();
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  if (dictionary == nullptr || key == nullptr) return nullptr;
  const std::string_view text = static_cast<CFStringRef>(key)->characters;
  for (int i = 0; i < dictionary->count; ++i) {
    if (text == dictionary->entries[i].key) return &dictionary->entries[i].number;
  }
  return nullptr;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
  if (number == nullptr || value == nullptr || type != kCFNumberSInt32Type) return false;
  *static_cast<SInt32*>(value) = number->value;
  return true;
}
