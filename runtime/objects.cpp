#include "runtime/objects.h"

#include "runtime/entry_points.h"

namespace qrv::runtime {

namespace {

void DestroyWhenUnused(HostState& host, REALobjectStruct* object) {
  if (object->references > 0 || object->keepers > 0) return;
  object->DropKept(host);
  host.objects.erase(object);
  --host.ledger.objects;
  delete object;
}

}  // namespace

REALobjectStruct* Admit(HostState& host, std::unique_ptr<REALobjectStruct> object) {
  host.objects.insert(object.get());
  ++host.ledger.objects;
  return object.release();
}

bool IsAlive(const HostState& host, REALobjectStruct* object) {
  return host.objects.contains(object);
}

void AddReference(HostState& host, REALobjectStruct* object) {
  ++object->references;
  ++host.ledger.references;
}

void DropReference(HostState& host, REALobjectStruct* object) {
  if (!IsAlive(host, object) || object->references == 0) {
    ++host.ledger.violations;
    return;
  }
  --object->references;
  --host.ledger.references;
  DestroyWhenUnused(host, object);
}

void Keep(REALobjectStruct* object) { ++object->keepers; }

void Drop(HostState& host, REALobjectStruct* object) {
  --object->keepers;
  DestroyWhenUnused(host, object);
}

void LockObject(REALobjectStruct* object) noexcept {
  HostState* host = HostOf(object);
  if (host != nullptr && HasEntryPoint(REALUnlockObjectName)) AddReference(*host, object);
}

void UnlockObject(REALobjectStruct* object) noexcept {
  if (HostState* host = CurrentHost()) DropReference(*host, object);
}

}  // namespace qrv::runtime
