#include "tests/integration/footprint.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;

std::string Missing(const std::multiset<std::string>& from, const std::multiset<std::string>& all) {
  std::vector<std::string> missing;
  std::set_difference(all.begin(), all.end(), from.begin(), from.end(),
                      std::back_inserter(missing));
  std::string text;
  for (const std::string& each : missing) text += each + "\n";
  return text;
}

}  // namespace

Footprint Footprint::Now() {
  Footprint now;
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    std::ostringstream text;
    text << "signal " << number << ": " << reinterpret_cast<const void*>(action.sa_handler) << "/"
         << action.sa_flags << (sigismember(&mask, number) == 1 ? " blocked" : "");
    now.state.insert(text.str());
  }
  for (const auto& each : fs::directory_iterator("/proc/self/task")) {
    now.state.insert("thread " + each.path().filename().string());
  }
  for (const auto& each : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string name = fs::read_symlink(each.path(), error).string();
    if (!error) now.files.insert("file " + name.substr(0, name.find('[')));  // "socket:[4711]"
  }
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find('/') != std::string::npos) ++now.mappings;
  }
  return now;
}

std::string Difference(const Footprint& now, const Footprint& before) {
  const std::string more = Missing(before.state, now.state) + Missing(before.files, now.files);
  const std::string less = Missing(now.state, before.state) + Missing(now.files, before.files);
  return more.empty() && less.empty() ? "" : "now:\n" + more + "before:\n" + less;
}

}  // namespace qrv::testing
