#include <cstdio>

#include "cli/arguments.h"
#include "cli/start_host.h"

namespace qrv::cli {

void ShowMethods(const Arguments& arguments) {
  const auto host = StartHost(arguments);
  printf("interface version %d\n", host->InterfaceVersion());
  for (const runtime::RegisteredMethod& method : host->Methods()) {
    printf("flags 0x%x  %s\n", method.flags, method.declaration.c_str());
  }
}

}  // namespace qrv::cli
