// Files of shared libraries, checked before the loader maps them.
#ifndef PLATFORM_LIBRARY_FILE_H_
#define PLATFORM_LIBRARY_FILE_H_

namespace qrv {

// Whether the file is a library for processes like this one and holds all of its segments: using
// the mapping of a truncated file would raise a signal.
bool IsWholeLibrary(const char* path) noexcept;

// The folder that the library with this code was loaded from, with links resolved and without a
// trailing '/'; empty when it is unknown.
const char* OwnFolder() noexcept;

}  // namespace qrv

#endif  // PLATFORM_LIBRARY_FILE_H_
