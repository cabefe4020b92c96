// What qrvshot does at a terminal, and with the programs of a desktop.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

// What it writes to a terminal, and the exit code behind it.
std::string OnTerminal(const ScratchFolder& folder, const std::string& line,
                       const char* noColor = "") {
  int master = -1;
  int terminal = -1;
  EXPECT_EQ(openpty(&master, &terminal, nullptr, nullptr, nullptr), 0);
  const pid_t process = testing::StartProgram(Split(QRV_BUILD_DIR "/qrvshot " + line), [&] {
    setenv("TERM", "xterm", 1);
    setenv("NO_COLOR", noColor, 1);
    dup2(terminal, STDOUT_FILENO);
    dup2(terminal, STDERR_FILENO);
    return Prepare(folder);
  });
  close(terminal);
  const std::string text = testing::ReadToEnd(master);
  return text + "= " + std::to_string(WEXITSTATUS(testing::WaitForEnd(process)));
}

TEST(Terminal, GetsEmphasisAndACountdownButNoPicture) {
  const ScratchFolder folder;
  const std::string refused = OnTerminal(folder, "capture -o -");
  EXPECT_TRUE(refused.starts_with("\033[1;31mqrvshot:\033[0m Standard output is a terminal."));
  EXPECT_TRUE(refused.ends_with("= 2")) << refused;
  EXPECT_TRUE(OnTerminal(folder, "raw -o -", "1").starts_with("qrvshot: Standard output is a"));
  EXPECT_NE(OnTerminal(folder, "--help").find("\033[1mCommands:\033[0m"), std::string::npos);
  EXPECT_EQ(OnTerminal(folder, "capture a.ppm --rect 0,0,9,9 --delay 1.1", "1"),
            "\r\033[KCapturing in 2 ...\r\033[KCapturing in 1 ...\r\033[K"
            "a.ppm: 9x9 pixels of the virtual desktop\r\n= 0");
  EXPECT_EQ(OnTerminal(folder, "capture a.ppm -q --delay 0.1"), "= 0");
}

// With that variable set, and no other program than this script of that name.
Outcome WithProgram(const ScratchFolder& programs, const std::string& name,
                    const std::string& script, const char* variable, const char* line) {
  programs.Write(name, "#!/bin/sh\n" + script);
  chmod(programs.File(name).c_str(), 0755);
  const ScratchFolder folder;
  const Outcome outcome =
      testing::RunProgram(Split(std::string(QRV_BUILD_DIR "/qrvshot ") + line), [&] {
        const bool isPrepared = Prepare(folder);
        setenv("PATH", programs.path().c_str(), 1);
        return setenv(variable, ":9", 1) == 0 && isPrepared;
      });
  EXPECT_EQ(folder.Count(), 0U);
  return outcome;
}

// The variable that is set, the program that is there, what it does, the exit code and message.
using ProgramCase = std::tuple<const char*, std::string, const char*, int, const char*>;

// The program notes how it is called, and keeps what it is given.
TEST(Clipboard, HasThePngByTheProgramThatFits) {
  const ProgramCase cases[] = {
      {"DISPLAY", "xclip", "", 0, "the clipboard: 2720x1024"},
      {"WAYLAND_DISPLAY", "wl-copy", "", 0, "the clipboard: 2720x1024"},
      {"WAYLAND_DISPLAY", "xclip", "", 3, "install wl-clipboard"},
      {"DISPLAY", "wl-copy", "", 3, "install xclip"},
      {"DISPLAY", "xclip", "exit 1", 3, "xclip failed"},
  };
  for (const auto& [variable, program, ending, exitCode, message] : cases) {
    const ScratchFolder programs;
    const Outcome outcome = WithProgram(
        programs, program, std::string("echo $* >$0.called\n/bin/cat >$0.input\n") + ending,
        variable, "--copy");
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.errors;
    EXPECT_NE((outcome.output + outcome.errors).find(message), std::string::npos)
        << outcome.output << outcome.errors;
    if (exitCode != 0) continue;
    EXPECT_TRUE(programs.Read(program + ".input").starts_with("\x89PNG"));
    EXPECT_NE(programs.Read(program + ".called").find(" image/png"), std::string::npos);
  }
}

TEST(Select, CapturesWhatIsMarkedByTheProgramThatFits) {
  const ProgramCase cases[] = {
      {"DISPLAY", "slop", "echo 30x20+-5+6", 0, "P6\n30 20\n"},
      {"WAYLAND_DISPLAY", "slurp", "echo '5,6 30x20'", 0, "P6\n30 20\n"},
      {"WAYLAND_DISPLAY", "slop", "", 3, "install slurp"},
      {"DISPLAY", "slop", "echo 9x9+0+0; exit 1", 1, "slop was cancelled"},
      {"DISPLAY", "slop", "echo moon", 1, "slop answered \"moon\""},
  };
  for (const auto& [variable, program, script, exitCode, message] : cases) {
    const ScratchFolder programs;
    const Outcome outcome =
        WithProgram(programs, program, script, variable, "-s -q --format ppm -");
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.errors;
    EXPECT_NE((outcome.output + outcome.errors).find(message), std::string::npos) << outcome.errors;
  }
}

}  // namespace
}  // namespace qrv::cli
