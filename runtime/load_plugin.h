// Loading a plug-in's library into this process.
#ifndef RUNTIME_LOAD_PLUGIN_H_
#define RUNTIME_LOAD_PLUGIN_H_

#include <string>

#include "host/host_types.h"

namespace qrv::runtime {

using PluginMain = void (*)(REALresolver);

// The entry point of the plug-in in that file, which stays loaded for good. Null on failure, and
// `error` names the file and says why: not found, not a plug-in, or what the loader reports. The
// path is a file's, never searched for in library folders.
PluginMain LoadPlugin(const std::string& path, std::string& error);

}  // namespace qrv::runtime

#endif  // RUNTIME_LOAD_PLUGIN_H_
