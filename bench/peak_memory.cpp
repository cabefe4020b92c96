// Prints the peak memory of one capture of a 3840 x 2160 X screen, in bytes.
//
//   peak_memory desktop|console
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

#include "bench/methods.h"
#include "tests/support/xvfb.h"

namespace {

long PeakKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stol(line.substr(strlen("VmHWM:")));
  }
  throw std::runtime_error("/proc/self/status has no VmHWM");
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    fputs("usage: peak_memory desktop|console\n", stderr);
    return 2;
  }
  const qrv::testing::Xvfb server("3840x2160x24");
  setenv("QRV_DESKTOP", ("x11:" + server.display()).c_str(), 1);
  const auto host = qrv::bench::StartHost(argv[1]);
  if (!qrv::bench::CaptureMain(*host)()) throw std::runtime_error("nothing was captured");
  printf("%ld\n", PeakKilobytes() * 1024);
  return 0;
} catch (const std::exception& failure) {
  fprintf(stderr, "peak_memory: %s\n", failure.what());
  return 1;
}
