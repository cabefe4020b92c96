// The host with the plug-in loaded, as the command line describes it.
#ifndef CLI_CAPTURE_START_HOST_H_
#define CLI_CAPTURE_START_HOST_H_

#include <memory>
#include <string>
#include <utility>

#include "cli/arguments.h"
#include "cli/failure.h"
#include "runtime/host.h"

namespace qrv::cli {

// Loads the plug-in that the arguments name, else the one beside this program, else the installed
// one. Throws Failure.
std::unique_ptr<runtime::Host> StartHost(const Arguments& arguments);

struct Releaser {
  runtime::Host* host;

  template <typename Record>
  void operator()(Record* record) const {
    host->Release(record);
  }
};

// A picture or string of a host, given back to it at the end.
template <typename Record>
using Owned = std::unique_ptr<Record, Releaser>;

// Calls the method. Throws Failure when the plug-in has not registered it.
template <typename Record, typename... Parameters, typename... Arguments>
Owned<Record> CallMethod(runtime::Host& host, const runtime::Method<Record*(Parameters...)>& method,
                         Arguments&&... arguments) {
  if (!host.Offers(method.declaration)) {
    throw Failure(kNothingCaptured, "This plug-in does not offer \"" +
                                        std::string(method.declaration) +
                                        "\". `qrvshot methods` lists what it offers.");
  }
  return {host.Call(method, std::forward<Arguments>(arguments)...), Releaser{&host}};
}

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_START_HOST_H_
