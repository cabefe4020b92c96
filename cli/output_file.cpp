#include "cli/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "cli/failure.h"
#include "cli/pending_file.h"

namespace qrv::cli {

namespace {

namespace fs = std::filesystem;

constexpr int kMaximumLinks = 40;
constexpr size_t kBufferSize = 1 << 18;

constexpr std::chrono::milliseconds kFirstProgress{1000};
constexpr std::chrono::milliseconds kBetweenProgress{100};
constexpr char kWipeLine[] = "\r\033[K";

// Follows symbolic links as far as they lead, to a file that need not exist.
fs::path FollowLinks(fs::path path) {
  std::error_code error;
  for (int links = 0; links < kMaximumLinks && fs::is_symlink(path, error); ++links) {
    const fs::path target = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / target;
  }
  return path;
}

const char* Advice(int error) {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return "Free some space, or choose another place with -o.";
    case EACCES:
    case EPERM:
    case EROFS:
      return "Choose a folder that you may write to with -o.";
    case ENOENT:
    case ENOTDIR:
      return "Make the folder first, or choose another one with -o.";
    case EISDIR:
      return "Name a file in it with -o.";
    case EPIPE:
      return "Its reader has gone.";
    default:
      return "Choose another place with -o.";
  }
}

}  // namespace

Progress::Progress(std::string what)
    : what_(std::move(what)),
      wanted_(isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + kFirstProgress) {}

Progress::~Progress() {
  if (shown_) fputs(kWipeLine, stderr);
}

void Progress::Show(int64_t done, int64_t total) {
  if (!wanted_ || Clock::now() < next_) return;
  next_ = Clock::now() + kBetweenProgress;
  shown_ = true;
  fprintf(stderr, "%sWriting %s: %d %%", kWipeLine, what_.c_str(),
          static_cast<int>(done * 100 / total));
}

OutputFile::OutputFile(const std::string& path)
    : shownPath_(path == "-" ? "standard output" : path), path_(path), progress_(path) {
  const int descriptor = Open();
  file_ = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
  if (file_ == nullptr) {
    const int error = errno;
    if (isPending_) SettlePendingFile(nullptr);
    Fail(error);
  }
  setvbuf(file_, nullptr, _IOFBF, kBufferSize);
}

OutputFile::~OutputFile() {
  Close();
  if (isPending_) SettlePendingFile(nullptr);
}

int OutputFile::Open() {
  if (path_ == "-") return dup(STDOUT_FILENO);
  path_ = FollowLinks(path_).string();
  struct stat status = {};
  const bool direct = stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
  return direct ? open(path_.c_str(), O_WRONLY | O_CLOEXEC) : OpenPending();
}

int OutputFile::OpenPending() {
  // A file that may not be written to is not replaced either.
  if (access(path_.c_str(), F_OK) == 0 && access(path_.c_str(), W_OK) != 0) return -1;
  const int descriptor = CreatePendingFile(path_);
  isPending_ = descriptor >= 0;
  return descriptor;
}

void OutputFile::Write(const void* bytes, size_t length) {
  if (length > 0 && fwrite(bytes, 1, length, file_) != length) Fail(errno);
}

void OutputFile::Commit() {
  const int error = Close();
  if (error != 0) Fail(error);
  if (!isPending_) return;
  isPending_ = false;
  if (!SettlePendingFile(path_.c_str())) Fail(errno);
}

void OutputFile::Fail(int error) const {
  throw Failure(kCouldNotReadOrWrite,
                shownPath_ + " could not be written: " + strerror(error) + ". " + Advice(error));
}

// 0, or the errno of what could not be stored.
int OutputFile::Close() noexcept {
  FILE* file = std::exchange(file_, nullptr);
  return file != nullptr && fclose(file) != 0 ? errno : 0;
}

FILE* ReportStream(const std::string& output) { return output == "-" ? stderr : stdout; }

}  // namespace qrv::cli
