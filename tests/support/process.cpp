#include "tests/support/process.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qrv::testing {

pid_t Fork(const std::function<int()>& body) {
  const pid_t parent = getpid();
  fflush(nullptr);
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no process");
  if (process > 0) return process;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int code = getppid() == parent ? body() : 127;
  fflush(nullptr);
  _exit(code);
}

int WaitForEnd(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

pid_t StartProgram(const std::vector<std::string>& command, const std::function<bool()>& prepare) {
  std::vector<char*> words;
  words.reserve(command.size() + 1);
  for (const std::string& each : command) words.push_back(const_cast<char*>(each.c_str()));
  words.push_back(nullptr);
  return Fork([&] {
    if (prepare()) execvp(words[0], words.data());
    return 127;
  });
}

Outcome RunProgram(const std::vector<std::string>& command, const std::function<bool()>& prepare) {
  const ScratchFolder streams;
  const pid_t process = StartProgram(command, [&] {
    for (const auto& [stream, name] : {std::pair(STDOUT_FILENO, "out"), {STDERR_FILENO, "err"}}) {
      dup2(open(streams.File(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), stream);
    }
    return prepare();
  });
  const int status = WaitForEnd(process);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, streams.Read("out"), streams.Read("err")};
}

std::string OutputOf(const std::vector<std::string>& command,
                     const std::map<const char*, std::string>& variables) {
  Outcome outcome = RunProgram(command, [&] {
    for (const auto& [name, value] : variables) setenv(name, value.c_str(), 1);
    return true;
  });
  if (outcome.exitCode == 0) return std::move(outcome.output);
  throw std::runtime_error(command.front() + ": " + outcome.errors + outcome.output);
}

int ListenAt(const std::string& path) {
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {AF_UNIX, {}};
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 4) != 0) {
    throw std::runtime_error("no socket");
  }
  return listener;
}

void UseNoStreams() {
  const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, each);
}

pid_t StartUntilReady(const std::vector<std::string>& command, int stream,
                      const std::function<bool()>& prepare) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t process = StartProgram(command, [&] {
    UseNoStreams();
    return dup2(ends[1], stream) == stream && prepare();
  });
  close(ends[1]);
  bool isReady = false;
  for (char words[8]; read(ends[0], words, sizeof words) > 0;) isReady = true;
  close(ends[0]);
  if (isReady) return process;
  kill(process, SIGKILL);
  WaitForEnd(process);
  return 0;
}

std::string ReadToEnd(int fd) {
  std::string text;
  for (char byte = 0; read(fd, &byte, 1) == 1;) text += byte;
  close(fd);
  return text;
}

void Server::End(int signal) {
  if (pid_ == 0) return;
  kill(pid_, signal);
  WaitForEnd(pid_);
  pid_ = 0;
}

void Server::Stop() const {
  kill(pid_, SIGSTOP);
  waitpid(pid_, nullptr, WUNTRACED);
}

void Server::Continue() const { kill(pid_, SIGCONT); }

bool RefuseSystemCall(uint32_t number, uint16_t error, uint32_t flags) {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 4),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
      BPF_STMT(BPF_ALU | BPF_AND | BPF_K, flags),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, flags, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {std::size(filter), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

bool MountSmallDisk(const std::string& folder, const std::string& size) {
  return unshare(CLONE_NEWNS) == 0 &&
         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
}

ScratchFolder::ScratchFolder() {
  char name[] = "/tmp/qrv-test-XXXXXX";
  if (mkdtemp(name) == nullptr) throw std::runtime_error("no scratch folder");
  path_ = name;
}

ScratchFolder::~ScratchFolder() { std::filesystem::remove_all(path_); }

void ScratchFolder::Write(const std::string& name, const std::string& bytes) const {
  std::ofstream(path_ / name, std::ios::binary) << bytes;
}

std::string ScratchFolder::Read(const std::string& name) const {
  std::ifstream file(path_ / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

size_t ScratchFolder::Count() const {
  const std::filesystem::directory_iterator files(path_);
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

}  // namespace qrv::testing
