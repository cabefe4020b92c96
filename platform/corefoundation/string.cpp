// Constant strings. One object stands for each literal text; they stay in the table and are never
// given back, also not when the process ends, because a caller may hold one until the very end.
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

#include "platform/corefoundation/object.h"

namespace {

using ConstantStrings = std::map<std::string, CFStringRef, std::less<>>;

CFStringRef FindOrAdd(ConstantStrings& strings, std::string_view text) {
  const auto found = strings.find(text);
  if (found != strings.end()) return found->second;
  auto string = std::make_unique<const __CFString>(std::string(text));
  strings.emplace(text, string.get());
  return string.release();
}

}  // namespace

CFStringRef __CFStringMakeConstantString(const char* literal) try {
  static std::mutex mutex;
  static auto& strings = *new ConstantStrings;
  if (literal == nullptr) return nullptr;
  const std::lock_guard lock(mutex);
  return FindOrAdd(strings, literal);
} catch (const std::exception&) {
  return nullptr;
}
