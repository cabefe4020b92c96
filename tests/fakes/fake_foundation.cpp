// CoreFoundation and CoreServices of the fake platform, and its display modes.

#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <map>
#include <memory>

#include "tests/fakes/fake_quickdraw.h"
#include "tests/fakes/stage.h"

struct __CFString {
  std::string characters;
};
struct __CFNumber {
  SInt32 value;
};
struct __CFDictionary {
  qrv::fakes::FakeDisplay display;
};
struct __CFURL {
  std::string path;
};
struct __CFBundle {
  bool loaded = false;
};

using qrv::fakes::Created;
using qrv::fakes::Record;
using qrv::fakes::Refused;
using qrv::fakes::Released;
using qrv::fakes::TheStage;

extern "C" {

const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

CFStringRef __CFStringMakeConstantString(const char* literal) {
  static std::map<std::string, std::unique_ptr<__CFString>> strings;
  auto& string = strings[literal];
  if (string == nullptr) string = std::make_unique<__CFString>(__CFString{literal});
  return string.get();
}

// The plug-in releases URLs and bundles; their kinds are told by the ledger.
void CFRelease(CFTypeRef object) {
  const auto& held = TheStage().held;
  const auto entry = std::find_if(held.begin(), held.end(),
                                  [object](const auto& one) { return one.first == object; });
  const std::string kind = entry == held.end() ? "CF object" : entry->second;
  Record("CFRelease " + kind);
  Released(object, kind);
  if (kind == "URL") delete static_cast<const __CFURL*>(object);
  if (kind == "bundle") delete static_cast<const __CFBundle*>(object);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  static __CFNumber bits;
  static __CFNumber samples;
  const std::string& name = static_cast<CFStringRef>(key)->characters;
  bits.value = dictionary->display.bitsPerSample;
  samples.value = dictionary->display.samplesPerPixel;
  if (Refused("CFDictionaryGetValue")) return nullptr;
  if (name == "BitsPerSample" && bits.value != 0) return &bits;
  if (name == "SamplesPerPixel" && samples.value != 0) return &samples;
  return nullptr;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType, void* value) {
  if (Refused("CFNumberGetValue")) return false;
  *static_cast<SInt32*>(value) = number->value;
  return true;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef*) {
  Record("CFURLCreateFromFSRef");
  if (Refused("CFURLCreateFromFSRef")) return nullptr;
  auto* url = new __CFURL{"Frameworks"};
  Created(url, "URL");
  return url;
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory) {
  Record("CFURLCreateCopyAppendingPathComponent " + component->characters +
         (isDirectory ? " folder" : ""));
  if (Refused("CFURLCreateCopyAppendingPathComponent")) return nullptr;
  auto* longer = new __CFURL{url->path + "/" + component->characters};
  Created(longer, "URL");
  return longer;
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef url) {
  Record("CFBundleCreate " + url->path);
  if (Refused("CFBundleCreate")) return nullptr;
  auto* bundle = new __CFBundle;
  Created(bundle, "bundle");
  return bundle;
}

// A loaded framework stays for the life of the process, so it leaves the ledger.
Boolean CFBundleLoadExecutable(CFBundleRef bundle) {
  Record("CFBundleLoadExecutable");
  if (Refused("CFBundleLoadExecutable")) return false;
  bundle->loaded = true;
  std::erase_if(TheStage().held, [bundle](const auto& one) { return one.first == bundle; });
  static std::vector<std::unique_ptr<__CFBundle>> loadedBundles;
  loadedBundles.emplace_back(bundle);
  return true;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef, CFStringRef functionName) {
  Record("look up " + functionName->characters);
  if (TheStage().missing.contains(functionName->characters)) return nullptr;
  return qrv::fakes::QuickDrawFunction(functionName->characters);
}

CFDictionaryRef CGDisplayCurrentMode(CGDirectDisplayID id) {
  static __CFDictionary mode;
  for (const auto& display : TheStage().displays) {
    if (display.id != id) continue;
    mode.display = display;
    return Refused("CGDisplayCurrentMode") ? nullptr : &mode;
  }
  return nullptr;
}

OSErr FSFindFolder(FSVolumeRefNum volume, OSType folderType, Boolean createFolder, FSRef*) {
  Record("FSFindFolder " + qrv::fakes::Join(volume, folderType, static_cast<int>(createFolder)));
  return Refused("FSFindFolder") ? static_cast<OSErr>(fnfErr) : static_cast<OSErr>(noErr);
}

OSErr Gestalt(OSType selector, SInt32* response) {
  const bool major = selector == gestaltSystemVersionMajor;
  Record(major ? "Gestalt sys1" : "Gestalt sys2");
  if (Refused("Gestalt")) return gestaltUndefSelectorErr;
  *response = major ? TheStage().systemMajor : TheStage().systemMinor;
  return noErr;
}

}  // extern "C"
