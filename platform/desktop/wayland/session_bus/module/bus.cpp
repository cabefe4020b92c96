#include "platform/desktop/wayland/session_bus/module/bus.h"

#include "platform/one_line.h"

namespace qrv::desktop::wayland::session_bus {

// The address is the environment's, which is not read in a process with raised privileges.
Bus OpenBus(Deadline deadline) {
  sd_bus* opened = nullptr;
  if (sd_bus_open_user(&opened) < 0) throw Error(Reason::kUnreachable, "no session bus");
  Bus bus(opened);
  if (Await(bus, deadline, [&] { return sd_bus_is_ready(bus.get()) > 0; })) return bus;
  throw Error(Reason::kTimeout, "the session bus does not answer");
}

Message NewCall(const Bus& bus, const Callee& callee, const char* method) {
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus.get(), &call, callee.program, callee.object,
                                     callee.interface, method) < 0) {
    throw std::bad_alloc();
  }
  return Message(call);
}

// Not sd_bus_call, which fails on a signal, and waits past its timeout while other messages arrive.
Message Call(const Bus& bus, const Message& call, Deadline deadline) {
  Message reply;
  const auto receive = [](sd_bus_message* message, void* to, sd_bus_error*) {
    static_cast<Message*>(to)->reset(sd_bus_message_ref(message));
    return 0;
  };
  sd_bus_slot* opened = nullptr;
  if (sd_bus_call_async(bus.get(), &opened, call.get(), receive, &reply, UINT64_MAX) < 0) {
    throw Error(Reason::kUnreachable, "the session bus accepts no call");
  }
  const Slot slot(opened);
  if (!Await(bus, deadline, [&] { return reply != nullptr; })) {
    throw Error(Reason::kTimeout, std::string(sd_bus_message_get_destination(call.get())) +
                                      " does not answer on the session bus");
  }
  if (sd_bus_is_open(bus.get()) <= 0) throw Error(Reason::kUnreachable, kBusClosed);
  const sd_bus_error* const error = sd_bus_message_get_error(reply.get());
  if (error == nullptr) return reply;
  const bool hasMessage = error->message != nullptr && error->message[0] != '\0';
  throw Error(Reason::kRefused, InOneLine(hasMessage ? error->message : error->name));
}

}  // namespace qrv::desktop::wayland::session_bus
