#include "platform/corefoundation/url.h"

#include <new>

#include "platform/corefoundation/file_reference.h"

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* reference) try {
  if (reference == nullptr) return nullptr;
  std::string path = qrv::corefoundation::PathOf(*reference);
  return path.empty() ? nullptr : new __CFURL(std::move(path));
} catch (const std::bad_alloc&) {
  return nullptr;
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean) try {
  if (url == nullptr || component == nullptr) return nullptr;
  return new __CFURL(url->path + "/" + component->characters);
} catch (const std::bad_alloc&) {
  return nullptr;
}
