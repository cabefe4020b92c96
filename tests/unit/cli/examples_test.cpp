// Every example of the documents and of help, run as it stands there.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

// The blocks of a document that are for a shell.
Words ShellBlocks(const std::string& path) {
  std::ifstream file(std::string(QRV_SOURCE_DIR "/") + path);
  Words blocks;
  bool isInside = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("```")) {
      isInside = line == "```sh";
      if (isInside) blocks.emplace_back();
    } else if (isInside) {
      blocks.back() += line + "\n";
    }
  }
  return blocks;
}

// The lines of a command's help that begin with the program, without what explains them.
Words HelpExamples(const std::string& command) {
  const ScratchFolder folder;
  std::istringstream help(Qrvshot(folder, command + " --help").output);
  Words examples;
  for (std::string line; std::getline(help, line);) {
    if (line.starts_with("  qrvshot ")) examples.push_back(line.substr(2, line.find("  ", 2) - 2));
  }
  return examples;
}

// In a folder of their own that has what they mention, with programs that answer as a user might.
void ExpectToRun(const Words& examples) {
  const ScratchFolder folder;
  const std::pair<const char*, const char*> programs[] = {
      {"slop", "echo 100x50+-20+30"},
      {"slurp", "echo '-20,30 100x50'"},
      {"xdotool", "echo WINDOW=7; echo X=-20; echo Y=30; echo WIDTH=100; echo HEIGHT=50"},
      {"xclip", "cat >/dev/null"}};
  std::filesystem::create_directories(folder.File("bin"));
  std::filesystem::create_directories(folder.File("work/pictures"));
  for (const auto& [name, answer] : programs) {
    folder.Write(std::string("bin/") + name, std::string("#!/bin/sh\n") + answer + "\n");
    chmod(folder.File(std::string("bin/") + name).c_str(), 0755);
  }
  folder.Write("work/pixels", std::string(1440 * 900 * 4, 'x'));
  for (const std::string& example : examples) {
    const Outcome outcome = testing::RunProgram({"bash", "-euo", "pipefail", "-c", example}, [&] {
      const std::string path = folder.File("bin") + ":" QRV_BUILD_DIR ":" + getenv("PATH");
      setenv("PATH", path.c_str(), 1);
      setenv("HOME", folder.File("work").c_str(), 1);
      const bool isPrepared = Prepare(folder);
      setenv("QRV_DESKTOP", "virtual:320x200+0+0,1280x1024+320+0", 1);
      setenv("DISPLAY", ":9", 1);  // of the clipboard
      return isPrepared && chdir(folder.File("work").c_str()) == 0;
    });
    EXPECT_EQ(outcome.exitCode, 0) << example << outcome.errors;
  }
}

TEST(Examples, OfTheDocumentsRun) {
  for (const char* path : {"README.md", "docs/qrvshot.md"}) {
    const Words blocks = ShellBlocks(path);
    EXPECT_FALSE(blocks.empty()) << path;
    ExpectToRun(blocks);
  }
}

TEST(Examples, OfHelpRun) {
  for (const char* command : {"", "capture", "displays", "raw", "from-raw", "methods"}) {
    const Words examples = HelpExamples(command);
    EXPECT_FALSE(examples.empty()) << command;
    ExpectToRun(examples);
  }
}

// The page is made of help, whose examples it has.
TEST(Examples, AreInTheManualPageWithEveryOption) {
  const std::string page =
      testing::RunProgram({"zcat", QRV_BUILD_DIR "/packaging/qrvshot.1.gz"}).output;
  std::string text;
  for (const char letter : page) {
    if (letter != '\\') text += letter;
  }
  for (const std::string& example : HelpExamples("capture")) {
    EXPECT_NE(text.find("fB" + example + "fR"), std::string::npos) << example;
  }
  const ScratchFolder folder;
  std::istringstream help(Qrvshot(folder, "capture --help").output);
  for (std::string line; std::getline(help, line);) {
    if (!line.starts_with("  -")) continue;
    const std::string option = line.substr(2, line.find("  ", 2) - 2);
    EXPECT_NE(text.find("fB" + option + "fR"), std::string::npos) << option;
  }
}

TEST(Completion, InBashKnowsTheOptionsOfHelp) {
  const ScratchFolder folder;
  const std::pair<const char*, const char*> cases[] = {{"cap", "capture"},
                                                       {"capture --o", "--output"},
                                                       {"capture --display m", "main"},
                                                       {"capture --display ''", "main 0 1"},
                                                       {"raw --format j", "jpg"},
                                                       {"displays --j", "--json"}};
  for (const auto& [line, completed] : cases) {
    const std::string script =
        std::string(". " QRV_SOURCE_DIR
                    "/packaging/completions/qrvshot.bash; COMP_WORDS=(" QRV_BUILD_DIR "/qrvshot ") +
        line +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qrvshot "
        "${COMP_WORDS[0]}; echo ${COMPREPLY[*]}";
    const Outcome outcome =
        testing::RunProgram({"bash", "-c", script}, [&] { return Prepare(folder); });
    EXPECT_EQ(outcome.output, std::string(completed) + "\n") << line << outcome.errors;
  }
}

}  // namespace
}  // namespace qrv::cli
