// The session bus, asked in bounded time.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_

#include <systemd/sd-bus.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::session_bus {

// Without a flush, which has no deadline: what the bus does not take is lost.
struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

struct UnrefMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, UnrefMessage>;

inline constexpr char kBusClosed[] = "the session bus closed the connection";

// What is still to be called; not any more when it ends.
struct UnrefSlot {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, UnrefSlot>;

// A connection of its own for each capture: none is kept, so there is none that the process could
// close or inherit. Throws Error when there is no bus or it does not answer.
Bus OpenBus(Deadline deadline);

// A call to an object of a program on the bus. Throws std::bad_alloc.
struct Callee {
  const char* program;
  const char* object;
  const char* interface;
};
Message NewCall(const Bus& bus, const Callee& callee, const char* method);

// Adds arguments, in the form of sd_bus_message_append. Texts are UTF-8. Throws std::bad_alloc.
template <typename... Arguments>
void Append(const Message& message, const char* types, Arguments... arguments) {
  if (sd_bus_message_append(message.get(), types, arguments...) < 0) throw std::bad_alloc();
}

// The answer. Throws Error, with the other side's message when it answered with an error.
Message Call(const Bus& bus, const Message& call, Deadline deadline);

// Handles what comes on the bus until `isDone()`. False when the deadline passes first. Throws
// Error when the bus is lost.
template <typename Condition>
bool Await(const Bus& bus, Deadline deadline, Condition isDone) {
  while (!isDone()) {
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    int result = sd_bus_process(bus.get(), nullptr);
    if (result == 0) result = sd_bus_wait(bus.get(), static_cast<uint64_t>(left.count()));
    if (result < 0 && result != -EINTR) {
      throw Error(Reason::kUnreachable, kBusClosed);
    }
  }
  return true;
}

// Reads the next dictionary from strings to variants: `take(name, type)` takes the value that is
// next, whose type is given, and says whether it did; what it leaves is skipped. False when there
// is no such dictionary.
template <typename Take>
bool ReadDictionary(const Message& message, Take take) {
  sd_bus_message* const m = message.get();
  if (sd_bus_message_enter_container(m, 'a', "{sv}") <= 0) return false;
  while (sd_bus_message_enter_container(m, 'e', "sv") > 0) {
    const char* name = nullptr;
    const char* type = nullptr;
    if (sd_bus_message_read_basic(m, 's', &name) <= 0 ||
        sd_bus_message_peek_type(m, nullptr, &type) <= 0 || type == nullptr) {
      return false;
    }
    const std::string known = type;
    if (sd_bus_message_enter_container(m, 'v', known.c_str()) <= 0) return false;
    if (!take(name, known) && sd_bus_message_skip(m, known.c_str()) < 0) return false;
    if (sd_bus_message_exit_container(m) < 0) return false;
    if (sd_bus_message_exit_container(m) < 0) return false;
  }
  return sd_bus_message_exit_container(m) >= 0;
}

}  // namespace qrv::desktop::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_
