// What the fuzz targets share.
#ifndef TESTS_FUZZ_FUZZ_H_
#define TESTS_FUZZ_FUZZ_H_

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace qrv::fuzz {

// A finding unless it holds.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "Broken: %s\n", what);
  std::abort();
}

}  // namespace qrv::fuzz

#endif  // TESTS_FUZZ_FUZZ_H_
