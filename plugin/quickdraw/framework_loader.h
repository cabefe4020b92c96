// Loads a framework of the system as a bundle.
#ifndef PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_
#define PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_

#include <CoreFoundation/CoreFoundation.h>

// The framework of that name in the system's frameworks folder with its executable loaded, or null.
// The reference belongs to the caller. Nothing is kept of a failed attempt.
CFBundleRef LoadFrameworkBundle(CFStringRef name);

#endif  // PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_
