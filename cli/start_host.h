// The host with the plug-in loaded, as the command line describes it.
#ifndef CLI_START_HOST_H_
#define CLI_START_HOST_H_

#include <memory>
#include <string_view>
#include <utility>

#include "cli/arguments.h"
#include "runtime/host.h"

namespace qrv::cli {

// Loads the plug-in that the arguments name, else the one beside this program, else the installed
// one. Throws Failure.
std::unique_ptr<runtime::Host> StartHost(const Arguments& arguments);

// A picture or string of a host, given back to it at the end.
template <typename Record>
class Owned {
 public:
  Owned(runtime::Host& host, Record* record) : host_(host), record_(record) {}
  ~Owned() { host_.Release(record_); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  Record* Get() const { return record_; }

 private:
  runtime::Host& host_;
  Record* record_;
};

// Throws Failure when the plug-in has not registered the method with that declaration.
void RequireMethod(const runtime::Host& host, std::string_view declaration);

// Calls the method. Throws Failure when the plug-in has not registered it.
template <typename Record, typename... Parameters, typename... Arguments>
Owned<Record> CallMethod(runtime::Host& host, const runtime::Method<Record*(Parameters...)>& method,
                         Arguments&&... arguments) {
  RequireMethod(host, method.declaration);
  return Owned<Record>(host, host.Call(method, std::forward<Arguments>(arguments)...));
}

}  // namespace qrv::cli

#endif  // CLI_START_HOST_H_
