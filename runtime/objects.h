// Reference-counted objects of the host.
#ifndef RUNTIME_OBJECTS_H_
#define RUNTIME_OBJECTS_H_

#include <memory>

#include <screenshotqrv/host.h>

#include "runtime/host_state.h"

// An object lives while a reference is held outside the host or another object of the host keeps
// it. A picture derives from it without an offset, so that both have the same address.
struct REALobjectStruct {
  REALobjectStruct() = default;
  REALobjectStruct(const REALobjectStruct&) = delete;
  REALobjectStruct& operator=(const REALobjectStruct&) = delete;
  virtual ~REALobjectStruct() = default;

  // Called once, before the object is destroyed: drops the objects that it keeps.
  virtual void DropKept(qrv::runtime::HostState&) {}

  long references = 0;  // held outside the host
  long keepers = 0;     // objects of the host that keep this one
};

namespace qrv::runtime {

// Hands a new object to the host, which owns it from here on. It has no reference and no keeper
// yet. Throws std::bad_alloc.
REALobjectStruct* Admit(HostState& host, std::unique_ptr<REALobjectStruct> object);

bool IsAlive(const HostState& host, REALobjectStruct* object);

void AddReference(HostState& host, REALobjectStruct* object);
// Drops a reference; destroys the object with the last one unless it is kept.
void DropReference(HostState& host, REALobjectStruct* object);

// One object keeps another, and drops it.
void Keep(REALobjectStruct* object);
void Drop(HostState& host, REALobjectStruct* object);

}  // namespace qrv::runtime

#endif  // RUNTIME_OBJECTS_H_
