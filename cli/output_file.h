// A file that appears whole or not at all.
#ifndef CLI_OUTPUT_FILE_H_
#define CLI_OUTPUT_FILE_H_

#include <cstddef>
#include <cstdio>
#include <string>

namespace qrv::cli {

// Bytes go to a file in the target's folder that takes the target's name in Commit. Until then the
// old file stays as it is; without Commit nothing is left of the new one, also when a signal ends
// the process. A symbolic link stays, and its target is replaced.
// Standard output ("-") and whatever exists and is not a regular file are written directly.
class OutputFile {
 public:
  // Throws Failure when it can't be made.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // False when the bytes can't be written; what is written afterwards is lost too. `bytes` may be
  // null when `length` is 0.
  bool Write(const void* bytes, size_t length) noexcept;

  // Throws Failure when anything written could not be stored.
  void Commit();

  // Throws what Commit would, for a writer that has seen Write fail.
  [[noreturn]] void Fail() const;

 private:
  void OpenPending();
  int OpenDirectly() const;
  void Close() noexcept;

  std::string shownPath_;   // as the user wrote it
  std::string path_;        // with links resolved
  bool isPending_ = false;  // else written directly
  FILE* file_ = nullptr;
  int error_ = 0;  // the first errno
};

}  // namespace qrv::cli

#endif  // CLI_OUTPUT_FILE_H_
