// What a host finds when it loads the plug-in: `found_probe PLUGIN` prints whether the process has
// raised privileges, the desktop, the system's version and the files of the product, sorted, one a
// line.

#include <CoreServices/CoreServices.h>
#include <link.h>
#include <screenshotqrv/platform.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <cstdio>

#include "runtime/host.h"

namespace {

int AddIfOurs(dl_phdr_info* library, size_t, void* files) {
  const std::string name = library->dlpi_name;
  if (name.find("Screenshot") != name.npos || name.find("ApplicationServices") != name.npos) {
    static_cast<std::multiset<std::string>*>(files)->insert(name);
  }
  return 0;
}

}  // namespace

int main(int, char** arguments) {
  qrv::runtime::Host host({});
  std::string error;
  if (!host.LoadPlugin(arguments[1], error)) {
    std::puts(error.c_str());
    return 1;
  }
  // This method needs QuickDraw on every system.
  auto* picture = host.Call(qrv::runtime::methods::kScreenshotRectScaled, 0, 0, 1, 1, 1, 1);
  if (picture != nullptr) host.Release(picture);
  SInt32 minor = 0;
  Gestalt(gestaltSystemVersionMinor, &minor);
  std::printf("secure %lu\n%s\n10.%d\n", getauxval(AT_SECURE), QRVDesktopName(),
              static_cast<int>(minor));
  std::multiset<std::string> files;
  dl_iterate_phdr(AddIfOurs, &files);
  for (const std::string& each : files) std::puts(each.c_str());
  std::fflush(stdout);
  _exit(0);  // a leak check may not look into a process with raised privileges
}
