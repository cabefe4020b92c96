#include "tests/integration/refused_memory.h"

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace qrv::testing {
namespace {

constexpr long kNone = -1;

long wanted = kNone;
std::atomic<long> left = kNone;  // until the refused one, while a method runs
std::atomic<bool> isRefused = false;

[[maybe_unused]] bool IsOfPlugin(const void* caller) {
  Dl_info info;
  return dladdr(caller, &info) != 0 && strstr(info.dli_fname, "ScreenshotQRV.so") != nullptr;
}

[[maybe_unused]] bool Refuse(const void* caller) {
  if (left == kNone || IsOfPlugin(caller) || left-- != 0) return false;
  isRefused = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

void RefuseAllocation(long n) {
  wanted = n;
  isRefused = false;
}

bool WasAllocationRefused() { return isRefused; }

MethodCall::MethodCall() { left = wanted; }

MethodCall::~MethodCall() { left = wanted = kNone; }

}  // namespace qrv::testing

#if !defined(__SANITIZE_ADDRESS__)

using qrv::testing::Refuse;

// The allocator of the whole process: the C library's, by its other names.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
  return Refuse(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  return Refuse(__builtin_return_address(0)) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) {
  return Refuse(__builtin_return_address(0)) ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return Refuse(__builtin_return_address(0)) ? nullptr : __libc_memalign(alignment, size);
}
}

#endif
