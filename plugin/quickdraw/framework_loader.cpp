#include "plugin/quickdraw/framework_loader.h"

#include <CoreServices/CoreServices.h>

namespace {

CFBundleRef LoadBundleAt(CFURLRef url) {
  CFBundleRef bundle = CFBundleCreate(kCFAllocatorSystemDefault, url);
  if (bundle == nullptr || CFBundleLoadExecutable(bundle)) return bundle;
  CFRelease(bundle);
  return nullptr;
}

CFBundleRef LoadBundleIn(CFURLRef folder, CFStringRef name) {
  CFURLRef url =
      CFURLCreateCopyAppendingPathComponent(kCFAllocatorSystemDefault, folder, name, false);
  if (url == nullptr) return nullptr;
  CFBundleRef bundle = LoadBundleAt(url);
  CFRelease(url);
  return bundle;
}

}  // namespace

CFBundleRef LoadFrameworkBundle(CFStringRef name) {
  FSRef frameworks;
  if (FSFindFolder(kOnAppropriateDisk, kFrameworksFolderType, true, &frameworks) != noErr) {
    return nullptr;
  }
  CFURLRef folder = CFURLCreateFromFSRef(kCFAllocatorSystemDefault, &frameworks);
  if (folder == nullptr) return nullptr;
  CFBundleRef bundle = LoadBundleIn(folder, name);
  CFRelease(folder);
  return bundle;
}
