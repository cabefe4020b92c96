// Shared libraries as files, looked at before the loader maps them.
#ifndef PLATFORM_LIBRARY_FILE_H_
#define PLATFORM_LIBRARY_FILE_H_

namespace qrv {

// Whether the file is a library for this process with all of its segments: mapping one that was cut
// short would raise a signal later.
bool IsWholeLibrary(const char* path) noexcept;

}  // namespace qrv

#endif  // PLATFORM_LIBRARY_FILE_H_
