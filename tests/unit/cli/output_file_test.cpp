#include "cli/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <signal.h>
#include <stddef.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>

#include "cli/failure.h"
#include "tests/unit/cli/scratch_folder.h"

namespace qrv::cli {
namespace {

void WriteFile(const std::string& path, const std::string& bytes) {
  OutputFile file(path);
  file.Write(bytes.data(), bytes.size());
  file.Commit();
}

// The message of the failure to write `bytes` there.
std::string FailureOf(const std::string& path, const std::string& bytes) {
  try {
    WriteFile(path, bytes);
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), kCouldNotReadOrWrite);
    return failure.what();
  }
  ADD_FAILURE() << path << " was written";
  return "";
}

// What `child` made its process end with.
template <typename Child>
int StatusOfProcess(Child child) {
  const pid_t process = fork();
  if (process == 0) {
    child();
    _exit(0);
  }
  int status = 0;
  waitpid(process, &status, 0);
  return status;
}

// Whether files are without a name while they are written, as far as the process is let.
enum class Names { kNone, kTemporary };

// Makes the file systems of this process as those that have no files without a name.
bool ForbidNamelessFiles() {
  constexpr uint32_t kNamelessFlag = O_TMPFILE & ~O_DIRECTORY;
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kNamelessFlag, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {std::size(filter), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// What a process ends with that is ended by the signal in the middle of writing to a.png.
int StatusOfInterrupted(const ScratchFolder& folder, Names names, int signal) {
  folder.Write("a.png", "old");
  return StatusOfProcess([&] {
    if (names == Names::kTemporary && !ForbidNamelessFiles()) {
      _exit(1);
    }
    OutputFile file(folder.File("a.png"));
    const std::string half(1 << 20, 'x');
    file.Write(half.data(), half.size());
    if (folder.Count() != (names == Names::kTemporary ? 2U : 1U)) {
      _exit(2);
    }
    raise(signal);
  });
}

TEST(OutputFile, AppearsUnderItsNameOnlyWhenCommitted) {
  const ScratchFolder folder;
  folder.Write("a.png", "old");
  OutputFile file(folder.File("a.png"));
  file.Write("new", 3);
  EXPECT_EQ(folder.Read("a.png"), "old");
  file.Commit();
  EXPECT_EQ(folder.Read("a.png"), "new");
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, LeavesTheOldFileAndNothingElseWhenNotCommitted) {
  const ScratchFolder folder;
  folder.Write("a.png", "old");
  {
    OutputFile file(folder.File("a.png"));
    file.Write("new", 3);
  }
  EXPECT_EQ(folder.Read("a.png"), "old");
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, LeavesTheOldFileWhenTheNewOneDoesNotFit) {
  const ScratchFolder folder;
  folder.Write("a.png", "old");
  const int status = StatusOfProcess([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::string message = FailureOf(folder.File("a.png"), std::string(1 << 20, 'x'));
    _exit(message.find("File too large") != std::string::npos ? 42 : 1);
  });
  EXPECT_EQ(WEXITSTATUS(status), 42);
  EXPECT_EQ(folder.Read("a.png"), "old");
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, LeavesNothingWhenASignalEndsTheProcess) {
  for (const Names names : {Names::kNone, Names::kTemporary}) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      const ScratchFolder folder;
      const int status = StatusOfInterrupted(folder, names, signal);
      EXPECT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
      EXPECT_EQ(WTERMSIG(status), signal);
      EXPECT_EQ(folder.Read("a.png"), "old");
      EXPECT_EQ(folder.Count(), 1U);
    }
  }
}

TEST(OutputFile, LeavesNothingEvenWhenTheProcessIsKilled) {
  const ScratchFolder folder;
  const int descriptor = open(folder.File("").c_str(), O_TMPFILE | O_WRONLY, 0600);
  if (descriptor < 0) {
    GTEST_SKIP() << "this file system has no files without a name";
  }
  close(descriptor);
  const int status = StatusOfInterrupted(folder, Names::kNone, SIGKILL);
  EXPECT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
  EXPECT_EQ(folder.Read("a.png"), "old");
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, TakesItsNameFromATemporaryOneWhereItMustHaveOne) {
  for (const char* old : {"", "old"}) {
    const ScratchFolder folder;
    if (*old != '\0') {
      folder.Write("a.png", old);
    }
    const int status = StatusOfProcess([&] {
      if (!ForbidNamelessFiles()) {
        _exit(1);
      }
      WriteFile(folder.File("a.png"), "new");
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder.Read("a.png"), "new");
    EXPECT_EQ(folder.Count(), 1U);
  }
}

TEST(OutputFile, LeavesTheOldFileAndNothingElseOnAFullDisk) {
  constexpr int kMayNotMount = 77;
  for (const Names names : {Names::kNone, Names::kTemporary}) {
    const ScratchFolder disk;
    const int status = StatusOfProcess([&] {
      if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) ||
          mount("tmpfs", disk.File("").c_str(), "tmpfs", 0, "size=64k") != 0) {
        _exit(kMayNotMount);
      }
      if (names == Names::kTemporary && !ForbidNamelessFiles()) {
        _exit(1);
      }
      disk.Write("a.png", "old");
      const std::string message = FailureOf(disk.File("a.png"), std::string(1 << 20, 'x'));
      const bool isOld = disk.Read("a.png") == "old" && disk.Count() == 1;
      _exit(isOld && message.find("No space left") != std::string::npos ? 42 : 1);
    });
    if (WEXITSTATUS(status) == kMayNotMount) {
      GTEST_SKIP() << "needs the right to mount a small file system";
    }
    EXPECT_EQ(WEXITSTATUS(status), 42);
  }
}

TEST(OutputFile, LeavesAnIgnoredSignalIgnored) {
  const ScratchFolder folder;
  const int status = StatusOfProcess([&] {
    signal(SIGHUP, SIG_IGN);
    OutputFile file(folder.File("a.png"));
    file.Write("new", 3);
    raise(SIGHUP);
    file.Commit();
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(folder.Read("a.png"), "new");
}

TEST(OutputFile, HasThePermissionsThatTheUmaskLeaves) {
  const ScratchFolder folder;
  const mode_t before = umask(027);
  WriteFile(folder.File("a.png"), "new");
  umask(before);
  struct stat status = {};
  ASSERT_EQ(stat(folder.File("a.png").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(OutputFile, ReplacesTheTargetOfALinkAndKeepsTheLink) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.File("kept"));
  std::filesystem::create_symlink("kept/real.png", folder.File("link.png"));
  for (const char* bytes : {"first", "second"}) {  // the target is made, then replaced
    WriteFile(folder.File("link.png"), bytes);
    EXPECT_EQ(folder.Read("kept/real.png"), bytes);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link.png")));
  }
}

TEST(OutputFile, IsWrittenDirectlyWhenItIsAPipe) {
  const ScratchFolder folder;
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  auto reader = std::async(std::launch::async, [&] { return folder.Read("pipe"); });
  WriteFile(folder.File("pipe"), "new");
  EXPECT_EQ(reader.get(), "new");
  EXPECT_TRUE(std::filesystem::is_fifo(folder.File("pipe")));
}

TEST(OutputFile, SaysWhyItCanNotBeWrittenAndWhatToTry) {
  const ScratchFolder folder;
  const std::string full = FailureOf("/dev/full", std::string(1 << 20, 'x'));
  EXPECT_EQ(full,
            "/dev/full could not be written: No space left on device. Free some space, or choose "
            "another place with -o.");
  const std::string missing = folder.File("none/a.png");
  EXPECT_EQ(FailureOf(missing, "new"),
            missing +
                " could not be written: No such file or directory. Make the folder first, or "
                "choose another one with -o.");
  EXPECT_EQ(FailureOf(folder.File(""), "new"),
            folder.File("") + " could not be written: Is a directory. Name a file in it with -o.");
}

TEST(OutputFile, ReportsAFullDeviceAlsoWhenTheBytesWereStillBuffered) {
  EXPECT_NE(FailureOf("/dev/full", "new"), "");
}

TEST(OutputFile, IsRefusedInAFolderThatMayNotBeWrittenTo) {
  const ScratchFolder folder;
  std::filesystem::create_directory(folder.File("closed"));
  chmod(folder.File("closed").c_str(), 0555);
  chmod(folder.File("").c_str(), 0755);
  const int status = StatusOfProcess([&] {
    if (getuid() == 0 && setuid(65534) != 0) {
      _exit(2);
    }
    const std::string message = FailureOf(folder.File("closed/a.png"), "new");
    _exit(message.find("Permission denied") != std::string::npos ? 42 : 1);
  });
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

}  // namespace
}  // namespace qrv::cli
