// Host entry points with which a plug-in introduces itself.
#ifndef RUNTIME_REGISTRATION_H_
#define RUNTIME_REGISTRATION_H_

#include "host/host_types.h"

namespace qrv::runtime {

// The host's version, such as 2013.03.
double GetRBVersion() noexcept;

// Takes the code of the interface version that the plug-in speaks.
void RegisterPluginVersion(int code) noexcept;

// Adds a method; its record is copied.
void RegisterMethod(REALmethodDefinition* definition) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_REGISTRATION_H_
