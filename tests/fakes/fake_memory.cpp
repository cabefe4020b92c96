// The plug-in's allocations, by the linker's --wrap: recorded in the ledger and able to fail. Only
// the plug-in's own objects and these fakes are linked so; the fakes themselves use new.

#include <cstdlib>

#include "tests/fakes/stage.h"

using namespace qrv::fakes;

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size) {
  if (Refused("malloc")) return nullptr;
  void* memory = __real_malloc(size);
  Created(memory, "memory");
  return memory;
}

void* __wrap_calloc(size_t count, size_t size) {
  if (Refused("calloc")) return nullptr;
  void* memory = __real_calloc(count, size);
  Created(memory, "memory");
  return memory;
}

void __wrap_free(void* memory) {
  if (memory != nullptr) Released(memory, "memory");
  __real_free(memory);
}

}  // extern "C"
