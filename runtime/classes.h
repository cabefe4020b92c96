// Host entry points about the host language's classes, their instances and methods.
#ifndef RUNTIME_CLASSES_H_
#define RUNTIME_CLASSES_H_

#include "host/host_types.h"

namespace qrv::runtime {

// A reference to the class of that name, or nil when this kind of application has none.
void* GetClassRef(const char* name) noexcept;

// A new instance with one reference, whose constructor has not run; only class "Picture" has them.
REALobjectStruct* NewInstance(const char* className) noexcept;

// The address of the method that the object has under exactly that declaration, or nil.
void* LoadObjectMethod(REALobjectStruct* object, const char* declaration) noexcept;

// The address of the host language's global function of that declaration, or nil.
void* LoadGlobalMethod(void* reserved, const char* declaration) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_CLASSES_H_
