#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "cli/arguments.h"
#include "cli/capture/file_names.h"
#include "cli/capture/start_host.h"
#include "cli/commands/report.h"
#include "cli/failure.h"
#include "cli/image/image_file.h"

namespace qrv::cli {

namespace {

constexpr int64_t kMaximumBytes = std::numeric_limits<int32_t>::max();  // of a string

[[noreturn]] void FailNumber(const std::string& message) { throw Failure(kWrongUsage, message); }

[[noreturn]] void FailFile(const std::string& message) {
  throw Failure(kCouldNotReadOrWrite,
                message + ". Name a file with raw pixels, as `qrvshot raw` writes it.");
}

// The whole rows in that many bytes, in words.
std::string CountRows(int64_t bytes, int32_t rowBytes) {
  const int64_t rows = bytes / rowBytes;
  return std::to_string(rows) + (rows == 1 ? " row of " : " rows of ") + std::to_string(rowBytes) +
         " bytes";
}

// The bytes that the three numbers ask for.
int64_t RequireNumbers(const Arguments& arguments) {
  if (arguments.rowBytes < arguments.width * 4) {
    FailNumber("--row-bytes " + std::to_string(arguments.rowBytes) + " is too small: a row of " +
               std::to_string(arguments.width) + " pixels takes at least " +
               std::to_string(arguments.width * 4) + " bytes.");
  }
  const int64_t needed = int64_t{arguments.rowBytes} * arguments.height;
  if (needed > kMaximumBytes) {
    FailNumber("--height " + std::to_string(arguments.height) + " is too large: a string holds " +
               CountRows(kMaximumBytes, arguments.rowBytes) + " at most.");
  }
  return needed;
}

// The first `wanted` bytes of the file, or all that it has.
std::string ReadBytes(const std::string& path, const std::string& name, size_t wanted) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(
      path == "-" ? fdopen(dup(STDIN_FILENO), "rb") : fopen(path.c_str(), "rb"), fclose);
  std::string bytes;
  for (size_t count = 1; file && count > 0 && bytes.size() < wanted;) {
    char block[1 << 16];
    count = fread(block, 1, std::min(sizeof block, wanted - bytes.size()), file.get());
    bytes.append(block, count);
  }
  if (!file || ferror(file.get()) != 0) FailFile(name + " could not be read: " + strerror(errno));
  return bytes;
}

[[noreturn]] void FailTooShort(const std::string& name, int64_t length,
                               const Arguments& arguments) {
  if (length == 0) FailFile(name + " is empty");
  const std::string start = name + " holds only " + std::to_string(length) + " bytes: ";
  if (length < arguments.rowBytes) {
    FailNumber(start + "--row-bytes " + std::to_string(arguments.rowBytes) +
               " is too large, not even one row fits.");
  }
  FailNumber(start + "--height " + std::to_string(arguments.height) + " is too large, " +
             CountRows(length, arguments.rowBytes) + " would fit.");
}

}  // namespace

void ConvertRaw(const Arguments& arguments) {
  RequireNoTerminal(arguments.output);
  const int64_t needed = RequireNumbers(arguments);
  const std::string name = arguments.input == "-" ? "standard input" : arguments.input;
  const std::string bytes = ReadBytes(arguments.input, name, static_cast<size_t>(needed));
  const auto length = static_cast<int64_t>(bytes.size());
  if (length < needed) FailTooShort(name, length, arguments);
  const auto host = StartHost(arguments);
  const Owned<REALstringStruct> data(host->NewString(bytes), {host.get()});
  const SharedPicture picture =
      CallMethod(*host, runtime::methods::kScreenshotFromString, arguments.width, arguments.height,
                 arguments.rowBytes, data.get());
  if (picture == nullptr) {
    throw Failure(kNothingCaptured, "The raw pixels of " + name +
                                        " yielded no picture. There may be too little memory; "
                                        "try fewer rows.");
  }
  const Rows rows = RowsOf(picture);
  const FileName file = ChooseFileName(arguments, 1);
  if (arguments.makesFolders) MakeFolders(file.path);
  const std::string written = WriteImage(rows, arguments.encoding, file.path, file.existing);
  ReportImage(written, rows, name + FormatNote(file.path, arguments.encoding),
              ReportStream(file.path));
}

}  // namespace qrv::cli
