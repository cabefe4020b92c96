#include "platform/desktop/portal/module/bus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/desktop/error.h"
#include "platform/desktop/one_line.h"

namespace qrv::desktop::portal {

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

Message Call(const Bus& bus, const Message& call, Deadline deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* reply = nullptr;
  const int result =
      sd_bus_call(bus.get(), call.get(), static_cast<uint64_t>(std::max<int64_t>(left.count(), 1)),
                  &error, &reply);
  if (result >= 0) return Message(reply);
  const std::string message =
      InOneLine(error.message != nullptr ? error.message : std::strerror(-result));
  sd_bus_error_free(&error);
  throw Error(result == -ETIMEDOUT ? Reason::kTimeout : Reason::kRefused, message);
}

}  // namespace qrv::desktop::portal
