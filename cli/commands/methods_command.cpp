#include <cstdio>

#include "cli/arguments.h"
#include "cli/capture/start_host.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

void ShowMethods(const Arguments& arguments) {
  const auto host = StartHost(arguments);
  printf("interface version %d\n", host->interfaceVersion());
  for (const runtime::RegisteredMethod& method : host->methods()) {
    printf("flags 0x%x  ", method.flags);
    PrintLine(stdout, method.declaration);
  }
}

}  // namespace qrv::cli
