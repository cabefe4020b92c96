// Sockets to other processes, connected by a deadline.
#ifndef PLATFORM_DESKTOP_PEER_SOCKET_H_
#define PLATFORM_DESKTOP_PEER_SOCKET_H_

#include <sys/socket.h>

#include <cstddef>
#include <span>
#include <string>

#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop {

inline constexpr int kSocketFlags = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;

// Connects a non-blocking socket; false when that fails or is not done by the deadline.
bool ConnectWithin(int fd, const sockaddr* address, socklen_t length, Deadline deadline);

// Makes a close-on-exec, non-blocking socket and connects it to the Unix socket of that path, which
// starts with a zero byte for an abstract one. Empty when nothing listens there, or the queue of
// connections stays full until the deadline.
UniqueFd ConnectLocal(const std::string& path, Deadline deadline);

// Sends bytes without waiting, and with the first of them the descriptor `fd` unless it is -1.
// Returns what send returns.
ssize_t SendSome(int socket, std::span<const std::byte> bytes, int fd);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_SOCKET_H_
