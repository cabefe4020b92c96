#include "platform/quickdraw/port.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace qrv::quickdraw {
namespace {

std::mutex mutex;
std::vector<PortReference> worlds;  // guarded by `mutex`

const PortReference& DefaultPort() {
  static const auto port = std::make_shared<OpaqueGrafPtr>();
  return port;
}

// Expired when the world was disposed of, and at first.
thread_local std::weak_ptr<OpaqueGrafPtr> current;

template <typename Test>
PortReference FindWorldThat(Test test) {
  const std::lock_guard lock(mutex);
  const auto found = std::find_if(worlds.begin(), worlds.end(), test);
  return found == worlds.end() ? nullptr : *found;
}

}  // namespace

GWorldPtr AddWorld(PortReference world) {
  const std::lock_guard lock(mutex);
  return worlds.emplace_back(std::move(world)).get();
}

void RemoveWorld(GWorldPtr world) {
  PortReference removed;  // gives the pixels back after the lock
  const std::lock_guard lock(mutex);
  const auto found = std::find_if(worlds.begin(), worlds.end(),
                                  [=](const PortReference& each) { return each.get() == world; });
  if (found == worlds.end()) return;
  removed = std::move(*found);
  worlds.erase(found);
}

PortReference FindPort(GrafPtr port) {
  if (port == DefaultPort().get()) return DefaultPort();
  return FindWorldThat([=](const PortReference& each) { return each.get() == port; });
}

PortReference FindWorld(PixMapHandle map) {
  return FindWorldThat([=](const PortReference& each) { return each->map.handle() == map; });
}

PortReference FindWorld(const void* mapIdentity) {
  return FindWorldThat(
      [=](const PortReference& each) { return each->map.identity() == mapIdentity; });
}

PortReference CurrentPort() {
  PortReference port = current.lock();
  return port ? port : DefaultPort();
}

void MakeCurrent(const PortReference& port) { current = port; }

}  // namespace qrv::quickdraw
