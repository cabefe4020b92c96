// Every example of the documents and of help, run as it stands there.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <regex>

#include "cli/image/image_file.h"
#include "tests/unit/cli/program.h"

namespace qrv::cli {
namespace {

// What a pattern's group matches in what a program writes.
Words Matches(const std::string& command, const std::string& pattern) {
  const std::string text = testing::RunProgram(Split(command)).output;
  const std::regex regex(pattern);
  Words found;
  for (std::sregex_iterator each(text.begin(), text.end(), regex), end; each != end; ++each) {
    found.push_back((*each)[1]);
  }
  return found;
}

// The blocks of a document that are for a shell.
Words ShellBlocks(const std::string& path) {
  return Matches("cat " QRV_SOURCE_DIR "/" + path, "\n```sh\n((?:(?!```)[^])*)```");
}

// What a command's help explains with lines that begin so.
Words HelpOf(const std::string& command, const std::string& beginning) {
  return Matches(QRV_BUILD_DIR "/qrvshot " + command + " --help",
                 "\n  (" + beginning + "\\S*(?: \\S+)*)");
}

// In a folder of their own that has what they mention, with programs that answer as a user might.
void ExpectToRun(const Words& examples) {
  const ScratchFolder folder;
  const std::pair<std::string, const char*> programs[] = {{"slop", "echo 100x50+-20+30"},
                                                          {"slurp", "echo '-20,30 100x50'"},
                                                          {"xclip", "cat >/dev/null"}};
  std::filesystem::create_directories(folder.File("bin"));
  std::filesystem::create_directories(folder.File("work/pictures"));
  for (const auto& [name, answer] : programs) {
    folder.Write("bin/" + name, std::string("#!/bin/sh\n") + answer + "\n");
    chmod(folder.File("bin/" + name).c_str(), 0755);
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
  for (const char* format : {"jpg", "webp"}) {
    if (FindImageFormat(format) == nullptr) GTEST_SKIP() << "this build writes no " << format;
  }
  for (const char* path : {"README.md", "docs/qrvshot.md"}) {
    const Words blocks = ShellBlocks(path);
    EXPECT_FALSE(blocks.empty()) << path;
    ExpectToRun(blocks);
  }
}

TEST(Examples, OfHelpRun) {
  for (const char* command : {"", "capture", "displays", "raw", "from-raw", "methods"}) {
    Words examples = HelpOf(command, "qrvshot ");
    EXPECT_FALSE(examples.empty()) << command;
    // The virtual desktop has no windows.
    std::erase_if(examples, [](auto& each) { return each.find("--window") != std::string::npos; });
    ExpectToRun(examples);
  }
}

// The page is made of help, whose examples it has.
TEST(Examples, AreInTheManualPageWithEveryOption) {
  std::string page = testing::RunProgram({"zcat", QRV_BUILD_DIR "/packaging/qrvshot.1.gz"}).output;
  std::erase(page, '\\');
  for (const char* beginning : {"qrvshot ", "-"}) {
    const Words explained = HelpOf("capture", beginning);
    EXPECT_FALSE(explained.empty()) << beginning;
    for (const std::string& each : explained) {
      EXPECT_NE(page.find("fB" + each + "fR"), std::string::npos) << each;
    }
  }
}

TEST(Completion, InBashKnowsTheOptionsOfHelp) {
  const ScratchFolder folder;
  folder.Write("input", "");
  const std::pair<const char*, const char*> cases[] = {
      {"cap", "capture"},
      {"capture --o", "--output"},
      {"capture --display m", "main"},
      {"capture --display ''", "main 0 VIRTUAL-1 1 VIRTUAL-2"},
      {"capture --format pn", "png"},
      {"--format = pn", "png"},
      {"--output = in", "input"},
      {"in", "input"},
      {"help d", "displays"},
      {"--desktop virtual : 9x9+0+0 --display ''", "main 0 VIRTUAL-1"},
      {"from-raw ''", "input"},
      {"displays ''", ""},
      {"capture --rect ''", ""},
      {"capture --plugin in", "input"},
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
