#include "platform/library_file.h"

#include <dlfcn.h>
#include <elf.h>
#include <limits.h>
#include <link.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

namespace qrv {
namespace {

using Header = ElfW(Ehdr);
using Segment = ElfW(Phdr);

constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;

template <typename Record>
bool Read(std::istream& file, uint64_t offset, Record* records, size_t count) {
  file.seekg(static_cast<std::streamoff>(offset));
  return static_cast<bool>(file.read(reinterpret_cast<char*>(records),
                                     static_cast<std::streamsize>(count * sizeof(Record))));
}

bool IsOwnKind(const Header& header) {
  return memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == kOwnClass &&
         header.e_type == ET_DYN && header.e_phentsize == sizeof(Segment);
}

// The loader would block on a pipe, and fault on a file that is still being copied.
bool IsComplete(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return false;
  const uint64_t size = std::filesystem::file_size(path, error);
  std::ifstream file(path, std::ios::binary);
  Header header;
  if (error || !Read(file, 0, &header, 1) || !IsOwnKind(header)) return false;

  std::vector<Segment> segments(header.e_phnum);
  if (!Read(file, header.e_phoff, segments.data(), segments.size())) return false;
  return std::all_of(segments.begin(), segments.end(), [=](const Segment& segment) {
    return segment.p_offset <= size && segment.p_filesz <= size - segment.p_offset;
  });
}

// Resolves the path at load time: the process may change its working directory later.
struct FolderAtLoad {
  FolderAtLoad() noexcept {
    Dl_info info;
    if (dladdr(this, &info) == 0 || info.dli_fname == nullptr) return;
    if (realpath(info.dli_fname, path) == nullptr) {
      path[0] = '\0';
      return;
    }
    if (char* separator = strrchr(path, '/')) *separator = '\0';
  }

  char path[PATH_MAX] = "";
};

const FolderAtLoad folderAtLoad;

}  // namespace

const char* OwnFolder() noexcept { return folderAtLoad.path; }

bool IsWholeLibrary(const char* path) noexcept try {
  return IsComplete(path);
} catch (const std::exception&) {
  return false;
}

}  // namespace qrv
