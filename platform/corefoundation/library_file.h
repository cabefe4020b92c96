// Shared libraries as files, looked at before the loader maps them.
#ifndef PLATFORM_COREFOUNDATION_LIBRARY_FILE_H_
#define PLATFORM_COREFOUNDATION_LIBRARY_FILE_H_

#include <filesystem>

namespace qrv::corefoundation {

// Whether the file is a shared library of this process's kind and all of it is there. The loader
// itself would wait for the writer of a pipe, and fault in a file that is still being copied.
bool IsCompleteLibrary(const std::filesystem::path& path);

}  // namespace qrv::corefoundation

#endif  // PLATFORM_COREFOUNDATION_LIBRARY_FILE_H_
