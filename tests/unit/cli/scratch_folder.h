// A folder for a test's files, removed at the end.
#ifndef TESTS_UNIT_CLI_SCRATCH_FOLDER_H_
#define TESTS_UNIT_CLI_SCRATCH_FOLDER_H_

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qrv::cli {

class ScratchFolder {
 public:
  ScratchFolder() {
    char name[] = "/tmp/qrvshot-test-XXXXXX";
    path_ = mkdtemp(name);
  }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }

  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  size_t Count() const {
    const std::filesystem::directory_iterator files(path_);
    return static_cast<size_t>(std::distance(begin(files), end(files)));
  }

 private:
  std::filesystem::path path_;
};

}  // namespace qrv::cli

#endif  // TESTS_UNIT_CLI_SCRATCH_FOLDER_H_
