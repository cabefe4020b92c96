// What a process holds, as the system tells.
#ifndef TESTS_SUPPORT_HOLDINGS_H_
#define TESTS_SUPPORT_HOLDINGS_H_

#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace qrv::testing {

struct Holdings {
  explicit Holdings(const std::string& process = "self") {
    const std::string folder = "/proc/" + process;
    std::ifstream(folder + "/statm") >> resident >> resident;
    resident *= sysconf(_SC_PAGESIZE) / 1024;
    for (const auto& each : std::filesystem::directory_iterator(folder + "/fd")) {
      std::error_code error;
      const std::string name = std::filesystem::read_symlink(each.path(), error).string();
      if (!error) files.insert(name.substr(0, name.find('[')));  // "socket:[4711]"
    }
    std::ifstream maps(folder + "/maps");
    for (std::string line; std::getline(maps, line); ++mappings) {
      if (line.find('/') != std::string::npos) ++mappedFiles;
    }
  }

  long resident = 0;                 // KiB
  std::multiset<std::string> files;  // what the descriptors stand for: names, kinds of sockets
  long mappings = 0;
  long mappedFiles = 0;  // mappings of files, shared memory among them
};

// The dispositions of this process's signals, the calling thread's mask of them, and the threads.
inline std::multiset<std::string> SignalsAndThreads() {
  std::multiset<std::string> state;
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    state.insert("signal " + std::to_string(number) + ": " +
                 std::to_string(reinterpret_cast<intptr_t>(action.sa_handler)) + "/" +
                 std::to_string(action.sa_flags) +
                 (sigismember(&mask, number) == 1 ? " blocked" : ""));
  }
  for (const auto& each : std::filesystem::directory_iterator("/proc/self/task")) {
    state.insert("thread " + each.path().filename().string());
  }
  return state;
}

}  // namespace qrv::testing

#endif  // TESTS_SUPPORT_HOLDINGS_H_
