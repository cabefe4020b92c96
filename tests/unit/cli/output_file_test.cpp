#include "cli/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>

#include "cli/failure.h"
#include "tests/support/process.h"

namespace qrv::cli {
namespace {

using testing::Fork;
using testing::ScratchFolder;
using testing::WaitForEnd;

const std::string kLarge(1 << 20, 'x');

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
  return path + " was written";
}

// Whether files are without a name while they are written, as far as the process is let.
enum class Names { kNone, kTemporary };

// For a process of a test's own.
bool Allow(Names names) {
  return names == Names::kNone ||
         testing::RefuseSystemCall(SYS_openat, EOPNOTSUPP, O_TMPFILE & ~O_DIRECTORY);
}

class OutputFileOf : public ::testing::TestWithParam<Names> {
 protected:
  OutputFileOf() { folder_.Write("a.png", "old"); }

  std::string File() const { return folder_.File("a.png"); }

  // What a process ends with that the signal reaches in the middle of writing.
  int StatusOfInterrupted(int signal) const {
    return WaitForEnd(Fork([&] {
      if (!Allow(GetParam())) return 1;
      OutputFile file(File());
      file.Write(kLarge.data(), kLarge.size());
      if (folder_.Count() != (GetParam() == Names::kTemporary ? 2U : 1U)) return 2;
      raise(signal);
      return 3;
    }));
  }

  void ExpectOld() const {
    EXPECT_EQ(folder_.Read("a.png"), "old");
    EXPECT_EQ(folder_.Count(), 1U);
  }

  const ScratchFolder folder_;
};

TEST_P(OutputFileOf, AppearsOnlyWhenCommitted) {
  EXPECT_EQ(WaitForEnd(Fork([&] {
              if (!Allow(GetParam())) return 1;
              { OutputFile(File()).Write("lost", 4); }
              OutputFile file(File());
              file.Write("new", 3);
              const bool isOld = folder_.Read("a.png") == "old";
              file.Commit();
              WriteFile(folder_.File("b.png"), "more");
              return isOld ? 0 : 2;
            })),
            0);
  EXPECT_EQ(folder_.Read("a.png") + folder_.Read("b.png"), "newmore");
  EXPECT_EQ(folder_.Count(), 2U);
}

TEST_P(OutputFileOf, LeavesNothingWhenASignalEndsTheProcess) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    if (signal == SIGKILL && GetParam() == Names::kTemporary) continue;
    const int status = StatusOfInterrupted(signal);
    EXPECT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
    EXPECT_EQ(WTERMSIG(status), signal);
    ExpectOld();
  }
}

TEST_P(OutputFileOf, LeavesTheOldFileAndNothingElseOnAFullDisk) {
  constexpr int kMayNotMount = 77;
  const int status = WaitForEnd(Fork([&] {
    if (!testing::MountSmallDisk(folder_.path(), "64k")) return kMayNotMount;
    if (!Allow(GetParam())) return 1;
    folder_.Write("a.png", "old");
    const bool isFull = FailureOf(File(), kLarge).find("No space left") != std::string::npos;
    return isFull && folder_.Read("a.png") == "old" && folder_.Count() == 1 ? 42 : 2;
  }));
  if (WEXITSTATUS(status) == kMayNotMount) {
    GTEST_SKIP() << "needs the right to mount a small file system";
  }
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

INSTANTIATE_TEST_SUITE_P(Without, OutputFileOf, ::testing::Values(Names::kNone, Names::kTemporary),
                         [](const auto& instance) {
                           return instance.param == Names::kNone ? "AName" : "NamelessFiles";
                         });

TEST(OutputFile, LeavesTheOldFileWhenTheNewOneDoesNotFit) {
  const ScratchFolder folder;
  folder.Write("a.png", "old");
  const int status = WaitForEnd(Fork([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
    const std::string message = FailureOf(folder.File("a.png"), kLarge);
    return message.find("File too large") != std::string::npos ? 42 : 1;
  }));
  EXPECT_EQ(WEXITSTATUS(status), 42);
  EXPECT_EQ(folder.Read("a.png"), "old");
  EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, LeavesAnIgnoredSignalIgnored) {
  const ScratchFolder folder;
  EXPECT_EQ(WaitForEnd(Fork([&] {
              signal(SIGHUP, SIG_IGN);
              OutputFile file(folder.File("a.png"));
              raise(SIGHUP);
              file.Commit();
              return 0;
            })),
            0);
  EXPECT_EQ(folder.Count(), 1U);
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
  const auto expect = [](const std::string& path, const std::string& bytes, const char* why) {
    EXPECT_EQ(FailureOf(path, bytes), path + " could not be written: " + why);
  };
  for (const std::string& bytes : {kLarge, std::string("still buffered")}) {
    expect("/dev/full", bytes,
           "No space left on device. Free some space, or choose another place with -o.");
  }
  expect(folder.File("none/a.png"), "new",
         "No such file or directory. Make the folder first, or choose another one with -o.");
  expect(folder.path(), "new", "Is a directory. Name a file in it with -o.");
  std::filesystem::create_directory(folder.File("closed"));
  chmod(folder.File("closed").c_str(), 0555);
  chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(WaitForEnd(Fork([&] {
              if (getuid() == 0 && setuid(65534) != 0) return 2;
              expect(folder.File("closed/a.png"), "new",
                     "Permission denied. Choose a folder that you may write to with -o.");
              return ::testing::Test::HasFailure() ? 1 : 0;
            })),
            0);
}

// What a progress with these pauses before two looks at it writes to a terminal, or to a pipe.
std::string ProgressOn(bool isTerminal, useconds_t pause) {
  int ends[2];
  EXPECT_EQ(isTerminal ? openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) : pipe(ends), 0);
  WaitForEnd(Fork([&] {
    dup2(ends[1], STDERR_FILENO);
    Progress progress("a.png");
    progress.Show(1, 4);
    usleep(pause);
    progress.Show(2, 4);
    progress.Show(3, 4);  // too soon after the one before
    return 0;
  }));
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  char text[256];
  const ssize_t length = read(ends[0], text, sizeof text);
  close(ends[0]);
  close(ends[1]);
  return {text, length < 0 ? 0 : static_cast<size_t>(length)};
}

TEST(Progress, IsShownOnATerminalAfterASecondAndWiped) {
  EXPECT_EQ(ProgressOn(true, 1100000), "\r\033[KWriting a.png: 50 %\r\033[K");
  EXPECT_EQ(ProgressOn(true, 100000), "");
  EXPECT_EQ(ProgressOn(false, 1100000), "");
}

}  // namespace
}  // namespace qrv::cli
