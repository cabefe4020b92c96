#include "cli/commands/clipboard.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/failure.h"
#include "cli/image/image_file.h"

namespace qrv::cli {

namespace {

constexpr DesktopProgram kPrograms[] = {
    {"wl-copy", "wl-clipboard", "WAYLAND_DISPLAY", {"--type", "image/png"}},
    {"xclip", "xclip", "DISPLAY", {"-selection", "clipboard", "-target", "image/png", "-in"}},
};
constexpr Purpose kCopying = {"There is no clipboard", "copies", "choose a file with -o"};

// Starts the program with the end of a pipe to read from. It keeps the picture in the background,
// and must keep no stream of this process.
pid_t Start(const DesktopProgram& program, int input) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_WRONLY, 0);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  char* arguments[7] = {const_cast<char*>(program.name)};
  for (size_t i = 0; i < 5; ++i) arguments[i + 1] = const_cast<char*>(program.arguments[i]);
  pid_t process = -1;
  const int error = posix_spawnp(&process, program.name, &files, &attributes, arguments, environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error == 0 ? process : -1;
}

[[noreturn]] void Fail(const std::string& name, const std::string& reason) {
  throw Failure(kCouldNotReadOrWrite, "The clipboard has no picture: " + name + " " + reason + ".");
}

}  // namespace

const DesktopProgram& FindClipboardProgram() { return FindProgram(kPrograms, kCopying); }

void CopyImage(const Rows& rows, const DesktopProgram& program) {
  const std::string name = program.name;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) Fail(name, strerror(errno));
  const pid_t process = Start(program, ends[0]);
  close(ends[0]);
  std::string failure;
  try {
    OutputFile file(ends[1], "the clipboard");
    kPng.write(rows, {}, file);
    file.Commit();
  } catch (const Failure& each) {
    failure = each.what();
  }
  int status = 0;
  if (process < 0) Fail(name, "can't be started");
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) Fail(name, "failed; it may not reach the desktop");
  if (!failure.empty()) throw Failure(kCouldNotReadOrWrite, failure);
}

}  // namespace qrv::cli
