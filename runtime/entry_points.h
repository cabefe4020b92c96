// The host's entry points by name.
#ifndef RUNTIME_ENTRY_POINTS_H_
#define RUNTIME_ENTRY_POINTS_H_

namespace qrv::runtime {

// The resolver that the host gives to its plug-in: the address of the entry point of exactly that
// name, or null when the current host lacks it.
void* ResolveEntryPoint(const char* name) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_ENTRY_POINTS_H_
