// What a host notices of a plug-in beside its results.
#ifndef TESTS_INTEGRATION_FOOTPRINT_H_
#define TESTS_INTEGRATION_FOOTPRINT_H_

#include <cstddef>
#include <set>
#include <string>

namespace qrv::testing {

struct Footprint {
  // As they are now, in this process and the calling thread.
  static Footprint Now();

  std::multiset<std::string> state;  // signals' dispositions, the signal mask, and threads
  std::multiset<std::string> files;  // what the descriptors stand for: names, kinds of sockets
  size_t mappings = 0;               // of files, shared memory among them
};

// How `now` differs in state and files; empty when it doesn't.
std::string Difference(const Footprint& now, const Footprint& before);

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_FOOTPRINT_H_
