#include "cli/output/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

#include "cli/failure.h"
#include "cli/output/pending_file.h"
#include "cli/output/terminal.h"
#include "cli/parse_values.h"

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

// The descriptor that a name stands for; nothing for the name of a file.
std::optional<int> DescriptorOf(const std::string& path) {
  if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (path.starts_with(folder)) return ParseInteger(path.substr(folder.size()));
  }
  return std::nullopt;
}

// Another descriptor for one that the process was started with, which is not closed by exec, as all
// of its own are; -1 and errno for others.
int DuplicateInherited(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFD);
  if (flags >= 0 && (flags & FD_CLOEXEC) == 0) return fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  errno = EBADF;
  return -1;
}

int OpenStream(const std::string& path) {
  static std::map<std::string, int> streams;
  const auto stream = streams.try_emplace(path, -1).first;
  int& descriptor = stream->second;
  if (descriptor < 0) descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  return descriptor < 0 ? -1 : fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

Progress::Progress(const std::string& what)
    : what_(Printable(what)),
      wanted_(IsTerminal(stderr) && !IsQuiet()),
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

OutputFile::OutputFile(const std::string& path, Existing existing)
    : name_(path == "-" ? "standard output" : path),
      path_(path),
      existing_(existing),
      progress_(path) {
  UseDescriptor(Open());
}

OutputFile::OutputFile(int descriptor, const std::string& name) : name_(name), progress_(name) {
  UseDescriptor(descriptor);
}

void OutputFile::UseDescriptor(int descriptor) {
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
  if (const std::optional<int> descriptor = DescriptorOf(path_)) {
    return DuplicateInherited(*descriptor);
  }
  if (IsStream(path_)) return OpenStream(path_);
  if (existing_ == Existing::kReplace) path_ = FollowLinks(path_).string();
  return OpenPending();
}

int OutputFile::OpenPending() {
  // A file that may not be written to is not replaced either.
  const bool replaces = existing_ == Existing::kReplace && access(path_.c_str(), F_OK) == 0;
  if (replaces && access(path_.c_str(), W_OK) != 0) return -1;
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
  if (existing_ == Existing::kKeep ? !TakeFreeName() : !SettlePendingFile(path_.c_str())) {
    Fail(errno);
  }
  isPending_ = false;
}

bool OutputFile::TakeFreeName() {
  const std::string wanted = name_;
  for (int number = 2; !NamePendingFile(name_.c_str()); ++number) {
    if (errno != EEXIST) return false;
    name_ = WithSuffix(wanted, std::to_string(number));
  }
  return true;
}

const char* OutputFile::Advice(int error) const {
  switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return "Free some space, or choose another place with -o.";
    case EACCES:
    case EPERM:
    case EROFS:
      return access(path_.c_str(), F_OK) == 0 && error == EACCES
                 ? "It is write-protected: allow it with chmod u+w, or choose another name with -o."
                 : "Choose a folder that you may write to with -o.";
    case ENOENT:
    case ENOTDIR:
      return "Make the folder first, as --mkdir does, or choose another one with -o.";
    case EISDIR:
      return "Name a file in it with -o.";
    case EPIPE:
      return "Its reader has gone.";
    case EBADF:
      return "The descriptor is not open for writing.";
    default:
      return "Choose another place with -o.";
  }
}

void OutputFile::Fail(int error) const {
  throw Failure(kCouldNotReadOrWrite,
                name_ + " could not be written: " + strerror(error) + ". " + Advice(error));
}

// 0, or the errno of what could not be stored.
int OutputFile::Close() noexcept {
  FILE* file = std::exchange(file_, nullptr);
  return file != nullptr && fclose(file) != 0 ? errno : 0;
}

bool IsStream(const std::string& path) {
  struct stat status = {};
  return DescriptorOf(path) ||
         (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode));
}

bool IsStandardOutput(const std::string& path) { return DescriptorOf(path) == STDOUT_FILENO; }

void MakeFolders(const std::string& path) {
  std::error_code error;
  const fs::path folder = fs::path(path).parent_path();
  if (!folder.empty()) fs::create_directories(folder, error);
  if (!error || fs::is_directory(folder)) return;
  throw Failure(kCouldNotReadOrWrite, "The folder " + folder.string() + " can't be made: " +
                                          error.message() + ". Choose another place with -o.");
}

void RequireNoTerminal(const std::string& output) {
  if (!IsStandardOutput(output) || !IsTerminal(stdout)) return;
  throw Failure(kWrongUsage,
                "Standard output is a terminal. Send it to a file or another program, or name a "
                "file with -o.");
}

std::string WithSuffix(const std::string& path, const std::string& suffix) {
  const fs::path whole = path;
  const std::string name = whole.stem().string() + "-" + suffix + whole.extension().string();
  return (whole.parent_path() / name).string();
}

}  // namespace qrv::cli
