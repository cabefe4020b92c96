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

  std::string signals;               // the disposition of every signal, and the signal mask
  std::set<std::string> threads;     // their identifiers
  std::multiset<std::string> files;  // what the descriptors stand for: names, kinds of sockets
  size_t mappings = 0;               // of files, shared memory among them
};

// How `now` differs in signals, threads and files; empty when it doesn't.
std::string Difference(const Footprint& now, const Footprint& before);

}  // namespace qrv::testing

#endif  // TESTS_INTEGRATION_FOOTPRINT_H_
