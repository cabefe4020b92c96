// The temporary file that a signal which ends the process must not leave behind.
#ifndef CLI_PENDING_FILE_H_
#define CLI_PENDING_FILE_H_

#include <string>

namespace qrv::cli {

// Creates the file for writing, which must not exist yet; from then on it is removed when SIGHUP,
// SIGINT or SIGTERM ends the process. One at a time. A descriptor, or -1 and errno.
int CreatePendingFile(const std::string& path) noexcept;

// Renames the pending file, or removes it when `target` is null. Whatever becomes of it, it is no
// longer pending. False and errno when it can't be renamed; it is removed then.
bool SettlePendingFile(const char* target) noexcept;

}  // namespace qrv::cli

#endif  // CLI_PENDING_FILE_H_
