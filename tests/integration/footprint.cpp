#include "tests/integration/footprint.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;

std::string Signals() {
  std::ostringstream text;
  sigset_t mask;
  pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    text << number << ":" << reinterpret_cast<const void*>(action.sa_handler) << "/"
         << action.sa_flags << (sigismember(&mask, number) == 1 ? " blocked\n" : "\n");
  }
  return text.str();
}

std::set<std::string> Threads() {
  std::set<std::string> threads;
  for (const auto& each : fs::directory_iterator("/proc/self/task")) {
    threads.insert(each.path().filename().string());
  }
  return threads;
}

std::multiset<std::string> Files() {
  std::multiset<std::string> files;
  for (const auto& each : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string name = fs::read_symlink(each.path(), error).string();
    // "socket:[4711]"
    if (!error) files.insert(name.substr(0, name.find('[')));
  }
  return files;
}

size_t Mappings() {
  std::ifstream maps("/proc/self/maps");
  size_t count = 0;
  for (std::string line; std::getline(maps, line);) {
    if (line.find('/') != std::string::npos) ++count;
  }
  return count;
}

std::string Text(const std::set<std::string>& all) {
  std::string text;
  for (const std::string& each : all) text += " " + each;
  return text;
}

std::string Text(const std::multiset<std::string>& all) {
  std::string text;
  for (const std::string& each : all) text += " " + each;
  return text;
}

}  // namespace

Footprint Footprint::Now() { return {Signals(), Threads(), Files(), Mappings()}; }

std::string Difference(const Footprint& now, const Footprint& before) {
  std::string text;
  if (now.signals != before.signals) {
    text += "signals:\n" + now.signals + "instead of:\n" + before.signals;
  }
  if (now.threads != before.threads) {
    text += "threads:" + Text(now.threads) + " instead of:" + Text(before.threads) + "\n";
  }
  if (now.files != before.files) {
    text += "files:" + Text(now.files) + " instead of:" + Text(before.files) + "\n";
  }
  return text;
}

}  // namespace qrv::testing
