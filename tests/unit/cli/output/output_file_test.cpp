#include "cli/output/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
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

// The name that the file got.
std::string WriteFile(const std::string& path, const std::string& bytes,
                      Existing existing = Existing::kReplace) {
  OutputFile file(path, existing);
  file.Write(bytes.data(), bytes.size());
  file.Commit();
  return file.Name();
}

// The folder of a.png, and a process in it that writes; where files without a name can't be made,
// with the parameter.
class OutputFileOf : public ::testing::TestWithParam<bool> {
 protected:
  OutputFileOf() { folder_.Write("a.png", "old"); }

  // What the process ends with.
  int StatusOf(const std::function<int()>& body) const {
    return WaitForEnd(Fork([&] {
      if (GetParam() &&
          !testing::RefuseSystemCall(SYS_openat, EOPNOTSUPP, O_TMPFILE & ~O_DIRECTORY))
        return 1;
      return body();
    }));
  }
  bool IsOld() const { return folder_.Read("a.png") == "old" && folder_.Count() == 1; }

  const ScratchFolder folder_;
  const std::string file_ = folder_.File("a.png");
};

TEST_P(OutputFileOf, AppearsOnlyWhenCommitted) {
  EXPECT_EQ(StatusOf([&] {
              { OutputFile(file_).Write("lost", 4); }
              OutputFile file(file_);
              file.Write("new", 3);
              const bool isOld = folder_.Read("a.png") == "old";
              file.Commit();
              WriteFile(folder_.File("b.png"), "more");
              return isOld ? 0 : 2;
            }),
            0);
  EXPECT_EQ(folder_.Read("a.png") + folder_.Read("b.png"), "newmore");
  EXPECT_EQ(folder_.Count(), 2U);
}

TEST_P(OutputFileOf, TakesTheNextFreeNameWhereItReplacesNothing) {
  EXPECT_EQ(StatusOf([&] {
              for (const char* name : {"a-2.png", "a-3.png"}) {
                if (WriteFile(file_, "new", Existing::kKeep) != folder_.File(name)) return 2;
              }
              return 0;
            }),
            0);
  EXPECT_EQ(folder_.Read("a.png") + folder_.Read("a-3.png"), "oldnew");
  EXPECT_EQ(folder_.Count(), 3U);
}

TEST_P(OutputFileOf, LeavesNothingWhenASignalEndsTheProcess) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    if (signal == SIGKILL && GetParam()) continue;
    const int status = StatusOf([&] {
      OutputFile file(file_);
      file.Write(kLarge.data(), kLarge.size());
      return folder_.Count() == (GetParam() ? 2U : 1U) ? raise(signal) : 2;
    });
    EXPECT_EQ(WTERMSIG(status), signal) << WEXITSTATUS(status);
    EXPECT_TRUE(IsOld());
  }
}

TEST_P(OutputFileOf, LeavesTheOldFileAndNothingElseOnAFullDisk) {
  constexpr int kMayNotMount = 77;
  const int status = WaitForEnd(Fork([&] {
    if (!testing::MountSmallDisk(folder_.path(), "64k")) return kMayNotMount;
    folder_.Write("a.png", "old");
    return WEXITSTATUS(StatusOf([&] {
      try {
        WriteFile(file_, kLarge);
      } catch (const Failure& failure) {
        return strstr(failure.what(), "No space left") != nullptr && IsOld() ? 42 : 3;
      }
      return 2;
    }));
  }));
  if (WEXITSTATUS(status) == kMayNotMount) GTEST_SKIP() << "needs the right to mount a disk";
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

INSTANTIATE_TEST_SUITE_P(Without, OutputFileOf, ::testing::Bool(), [](const auto& instance) {
  return instance.param ? "NamelessFiles" : "AName";
});

// What the target is, and what it is to stay.
TEST(OutputFile, KeepsPermissionsLinksAndPipesAndLeavesAnIgnoredSignalIgnored) {
  const ScratchFolder folder;
  const mode_t before = umask(027);
  std::filesystem::create_directory(folder.File("kept"));
  std::filesystem::create_symlink("kept/real.png", folder.File("link.png"));
  for (const char* bytes : {"first", "second"}) {  // the target is made, then replaced
    WriteFile(folder.File("link.png"), bytes);
    EXPECT_EQ(folder.Read("kept/real.png"), bytes);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("link.png")));
    const auto permissions = std::filesystem::status(folder.File("link.png")).permissions();
    EXPECT_EQ(static_cast<int>(permissions), bytes[0] == 'f' ? 0640 : 0604);
    chmod(folder.File("link.png").c_str(), 0604);
  }
  umask(before);
  ASSERT_EQ(mkfifo(folder.File("pipe").c_str(), 0600), 0);
  auto reader = std::async(std::launch::async, [&] { return folder.Read("pipe"); });
  EXPECT_EQ(WaitForEnd(Fork([&] {
              for (const char* bytes : {"one", "two"}) WriteFile(folder.File("pipe"), bytes);
              return 0;
            })),
            0);
  EXPECT_EQ(reader.get(), "onetwo");
  EXPECT_TRUE(std::filesystem::is_fifo(folder.File("pipe")));
  EXPECT_EQ(WaitForEnd(Fork([&] {
              signal(SIGHUP, SIG_IGN);
              OutputFile file(folder.File("a.png"));
              return raise(SIGHUP);
            })),
            0);
}

// What a progress with this pause between two looks at it writes to a terminal, or to a pipe.
std::string ProgressOn(bool isTerminal, useconds_t pause) {
  int ends[2];
  EXPECT_EQ(isTerminal ? openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) : pipe(ends), 0);
  const pid_t process = Fork([&] {
    dup2(ends[1], STDERR_FILENO);
    Progress progress("a.png");
    progress.Show(1, 4);
    usleep(pause);
    progress.Show(2, 4);
    progress.Show(3, 4);  // too soon after the one before
    return 0;
  });
  close(ends[1]);
  std::string text = testing::ReadToEnd(ends[0]);
  WaitForEnd(process);
  return text;
}

TEST(Progress, IsShownOnATerminalAfterASecondAndWiped) {
  EXPECT_EQ(ProgressOn(true, 1100000), "\r\033[KWriting a.png: 50 %\r\033[K");
  EXPECT_EQ(ProgressOn(true, 100000) + ProgressOn(false, 1100000), "");
}

}  // namespace
}  // namespace qrv::cli
