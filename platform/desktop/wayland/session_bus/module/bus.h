// Calls over the session bus, bounded by deadlines.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_

#include <systemd/sd-bus.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::wayland::session_bus {

// Does not flush, because a flush has no deadline: messages that the bus has not accepted are lost.
struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

struct UnrefMessage {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, UnrefMessage>;

inline constexpr char kBusClosed[] = "the session bus closed the connection";

// A callback, which is not called after the slot is released.
struct UnrefSlot {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, UnrefSlot>;

// Opens a connection. Each capture opens its own: a connection that was kept could be closed by the
// host or inherited by a fork. Throws Error when there is no bus or it does not answer.
Bus OpenBus(Deadline deadline);

struct Callee {
  const char* program;
  const char* object;
  const char* interface;
};
// Throws std::bad_alloc.
Message NewCall(const Bus& bus, const Callee& callee, const char* method);

// Appends arguments as sd_bus_message_append does. Strings are UTF-8. Throws std::bad_alloc.
template <typename... Arguments>
void Append(const Message& message, const char* types, Arguments... arguments) {
  if (sd_bus_message_append(message.get(), types, arguments...) < 0) throw std::bad_alloc();
}

// Sends the call and waits for the reply. Throws Error, with the callee's message when the reply is
// an error.
Message Call(const Bus& bus, const Message& call, Deadline deadline);

// Handles messages from the bus until `isDone()`. False when the deadline passes first. Throws
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

// Reads the next argument, a dictionary from strings to variants. For each entry `read(name, type)`
// reads the value, which is next in the message, and returns true, or leaves it to be skipped.
// False when there is no such dictionary.
template <typename Read>
bool ReadDictionary(const Message& message, Read read) {
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
    if (!read(name, known) && sd_bus_message_skip(m, known.c_str()) < 0) return false;
    if (sd_bus_message_exit_container(m) < 0) return false;
    if (sd_bus_message_exit_container(m) < 0) return false;
  }
  return sd_bus_message_exit_container(m) >= 0;
}

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_BUS_H_
