// Shared libraries as files, looked at before the loader maps them.
#ifndef PLATFORM_LIBRARY_FILE_H_
#define PLATFORM_LIBRARY_FILE_H_

namespace qrv {

// Whether the file is a library for this process with all of its segments: mapping one that was cut
// short would raise a signal later.
bool IsWholeLibrary(const char* path) noexcept;

// The folder of the library that this is linked into, as it was when that was loaded, with links
// resolved; without a closing '/', and empty when it is unknown.
const char* OwnFolder() noexcept;

}  // namespace qrv

#endif  // PLATFORM_LIBRARY_FILE_H_
