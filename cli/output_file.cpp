#include "cli/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "cli/failure.h"
#include "cli/pending_file.h"

namespace qrv::cli {

namespace {

namespace fs = std::filesystem;

constexpr int kMaximumLinks = 40;
constexpr size_t kBufferSize = 1 << 18;

// Follows symbolic links as far as they lead, to a file that need not exist.
fs::path FollowLinks(fs::path path) {
  std::error_code error;
  for (int links = 0; links < kMaximumLinks && fs::is_symlink(path, error); ++links) {
    const fs::path target = fs::read_symlink(path, error);
    if (error) {
      break;
    }
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

OutputFile::OutputFile(const std::string& path)
    : shownPath_(path == "-" ? "standard output" : path) {
  if (path == "-") {
    file_ = fdopen(dup(STDOUT_FILENO), "wb");
  } else {
    path_ = FollowLinks(path).string();
    struct stat status = {};
    const bool direct = stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
    if (direct) {
      const int descriptor = OpenDirectly();
      file_ = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
    } else {
      OpenPending();
    }
  }
  if (file_ == nullptr) {
    error_ = errno;
    if (isPending_) {
      SettlePendingFile(nullptr);
    }
    Fail();
  }
  setvbuf(file_, nullptr, _IOFBF, kBufferSize);
}

OutputFile::~OutputFile() {
  Close();
  if (isPending_) {
    SettlePendingFile(nullptr);
  }
}

int OutputFile::OpenDirectly() const { return open(path_.c_str(), O_WRONLY | O_CLOEXEC); }

void OutputFile::OpenPending() {
  // A file that may not be written to is not replaced either.
  if (access(path_.c_str(), F_OK) == 0 && access(path_.c_str(), W_OK) != 0) {
    return;
  }
  const int descriptor = CreatePendingFile(path_);
  if (descriptor >= 0) {
    isPending_ = true;
    file_ = fdopen(descriptor, "wb");
  }
}

bool OutputFile::Write(const void* bytes, size_t length) noexcept {
  if (error_ == 0 && length > 0 && fwrite(bytes, 1, length, file_) != length) {
    error_ = errno;
  }
  return error_ == 0;
}

void OutputFile::Commit() {
  Close();
  if (error_ != 0) {
    Fail();
  }
  if (!isPending_) {
    return;
  }
  isPending_ = false;
  if (!SettlePendingFile(path_.c_str())) {
    error_ = errno;
    Fail();
  }
}

void OutputFile::Fail() const {
  throw Failure(kCouldNotReadOrWrite,
                shownPath_ + " could not be written: " + strerror(error_) + ". " + Advice(error_));
}

void OutputFile::Close() noexcept {
  if (file_ != nullptr && fclose(file_) != 0 && error_ == 0) {
    error_ = errno;
  }
  file_ = nullptr;
}

}  // namespace qrv::cli
