// Processes of a test's own, which are killed when the thread that started them ends, and folders.
#ifndef TESTS_SUPPORT_PROCESS_H_
#define TESTS_SUPPORT_PROCESS_H_

#include <sys/mman.h>
#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace qrv::testing {

// A process that runs `body` and exits with what it returns.
pid_t Fork(const std::function<int()>& body);

// What waitpid says of the process's end.
int WaitForEnd(pid_t process);

// Starts a program. `prepare` runs in its process before, which exits with 127 if that fails.
pid_t StartProgram(
    const std::vector<std::string>& command,
    const std::function<bool()>& prepare = [] { return true; });

struct Outcome {
  int exitCode = -1;  // -1 when a signal ended it
  std::string output;
  std::string errors;
};

Outcome RunProgram(
    const std::vector<std::string>& command,
    const std::function<bool()>& prepare = [] { return true; });

// What processes that are forked from here share.
template <typename T>
class Shared {
 public:
  Shared()
      : shared_(new (mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                          -1, 0)) T()) {}
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;
  ~Shared() { munmap(shared_, sizeof(T)); }

  T* get() const { return shared_; }
  T& operator*() const { return *shared_; }

 private:
  T* const shared_;
};

// A socket at that path that clients may connect to.
int ListenAt(const std::string& path);

// What a program writes to its standard output with these variables set. Throws when it doesn't end
// with status 0.
std::string OutputOf(const std::vector<std::string>& command,
                     const std::map<const char*, std::string>& variables);

// For such a process: nothing comes from its standard streams, and nothing is left of what it
// writes.
void UseNoStreams();

// Starts a program without its standard streams, and waits until it has written to that descriptor
// and closed it. 0 when it ends before.
pid_t StartUntilReady(
    const std::vector<std::string>& command, int stream,
    const std::function<bool()>& prepare = [] { return true; });

// For such a process: from here on a system call fails with that error, if its third argument has
// these flags; a folder is a disk of that size, such as 64k. False without the right to.
bool RefuseSystemCall(uint32_t number, uint16_t error, uint32_t flags = 0);
bool MountSmallDisk(const std::string& folder, const std::string& size);

// What comes from there until its last writer ends. Closes it.
std::string ReadToEnd(int fd);

// A server of a test's own, which ends with the object that started it or with the test's process.
class Server {
 public:
  Server() = default;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // 0 while it isn't running.
  pid_t pid() const { return pid_; }

  void Kill() { End(SIGKILL); }  // ends it without notice
  void Stop() const;             // it no longer answers, as a hung server
  void Continue() const;         // after Stop

 protected:
  ~Server() = default;
  void End(int signal);

  pid_t pid_ = 0;
};

// A folder for a test's files, removed at the end.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }
  const std::filesystem::path& path() const { return path_; }
  void Write(const std::string& name, const std::string& bytes) const;
  std::string Read(const std::string& name) const;
  size_t Count() const;

 private:
  std::filesystem::path path_;
};

}  // namespace qrv::testing

#endif  // TESTS_SUPPORT_PROCESS_H_
