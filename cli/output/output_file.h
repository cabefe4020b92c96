// A file that appears whole or not at all, and what is said beside it.
#ifndef CLI_OUTPUT_OUTPUT_FILE_H_
#define CLI_OUTPUT_OUTPUT_FILE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace qrv::cli {

// Writes to standard error, only when that is a terminal and after the first second. The line is
// wiped at the end.
class Progress {
 public:
  explicit Progress(const std::string& what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(int64_t done, int64_t total);

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  bool wanted_;
  bool shown_ = false;
  Clock::time_point next_;  // when to show it
};

// What becomes of a file that has the name already: it is replaced, or the new one takes the next
// free name, as name-2.png.
enum class Existing { kReplace, kKeep };

// "a-2.png" of "a.png" and "2".
std::string WithSuffix(const std::string& path, const std::string& suffix);

// Standard output ("-"), an inherited descriptor ("/dev/stdout", "/dev/fd/3"), or what exists and
// is neither a regular file nor a folder, such as a pipe. One that was opened stays open until the
// process ends, so that several files in it reach its reader as one stream.
bool IsStream(const std::string& path);
bool IsStandardOutput(const std::string& path);

// Bytes go to a file in the target's folder that takes the target's name in Commit. Until then the
// old file stays as it is; without Commit nothing is left of the new one, also when a signal ends
// the process. A symbolic link stays, and its target is replaced.
// A stream is written directly.
class OutputFile {
 public:
  // Throws Failure when it can't be made.
  explicit OutputFile(const std::string& path, Existing existing = Existing::kReplace);
  // Writes to a descriptor, which it closes.
  OutputFile(int descriptor, const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Throws Failure when the bytes can't be written. `bytes` may be null when `length` is 0.
  void Write(const void* bytes, size_t length);

  // Throws Failure when anything written could not be stored.
  void Commit();

  // The file's name, as the user wrote it or as it became.
  const std::string& Name() const { return name_; }

  // How much of all that is to be written has been, for a person who waits.
  void ShowProgress(int64_t done, int64_t total) { progress_.Show(done, total); }

 private:
  [[noreturn]] void Fail(int error) const;
  const char* Advice(int error) const;
  int Open();
  int OpenPending();
  void UseDescriptor(int descriptor);
  bool TakeFreeName();
  int Close() noexcept;

  std::string name_;
  std::string path_;  // with links resolved
  Existing existing_ = Existing::kReplace;
  bool isPending_ = false;  // else written directly
  FILE* file_ = nullptr;
  Progress progress_;
};

// Makes the folder of the file where it is missing. Throws Failure.
void MakeFolders(const std::string& path);

// Throws Failure when the output is standard output and that is a terminal, to which bytes say
// nothing.
void RequireNoTerminal(const std::string& output);

}  // namespace qrv::cli

#endif  // CLI_OUTPUT_OUTPUT_FILE_H_
