// A file that is being written and must not be seen before it is whole, nor left when it never is.
//
// Where the file system can, it has no name until then, and nothing of it is left whatever ends the
// process. Elsewhere it has a temporary name, and is removed when SIGHUP, SIGINT or SIGTERM ends
// the process. One that replaces another file has a temporary name for a moment once it is whole.
#ifndef CLI_OUTPUT_PENDING_FILE_H_
#define CLI_OUTPUT_PENDING_FILE_H_

#include <string>

namespace qrv::cli {

// Creates the pending file, one at a time, in the folder of `target`, which is to become its name,
// with the permissions of a file that has that name.
// A descriptor, or -1 and errno.
int CreatePendingFile(const std::string& target);

// Gives the pending file its name, in place of a file that has it, or removes it when `target` is
// null. Whatever becomes of it, it is no longer pending. False and errno when it can't have the
// name; it is removed then.
bool SettlePendingFile(const char* target) noexcept;

// Gives the pending file its name if no file has it. False and errno when it can't have the name;
// it stays pending then.
bool NamePendingFile(const char* target) noexcept;

}  // namespace qrv::cli

#endif  // CLI_OUTPUT_PENDING_FILE_H_
