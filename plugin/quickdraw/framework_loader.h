// Loading a framework of the system as a bundle.
#ifndef PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_
#define PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_

#include <CoreFoundation/CoreFoundation.h>

// Loads the framework of that name from the system's frameworks folder, or returns null. The
// reference belongs to the caller.
CFBundleRef LoadFrameworkBundle(CFStringRef name);

#endif  // PLUGIN_QUICKDRAW_FRAMEWORK_LOADER_H_
