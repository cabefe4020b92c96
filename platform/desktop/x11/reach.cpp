#include "platform/desktop/x11/reach.h"

#include <X11/Xauth.h>
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/desktop/socket.h"

namespace qrv::desktop {
namespace {

// --- The socket ---

constexpr int kFirstPort = 6000;
constexpr char kSocketFolder[] = "/tmp/.X11-unix/X";

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};

UniqueFd ConnectRemote(const std::string& host, int port, Deadline deadline) {
  addrinfo wanted = {};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_ADDRCONFIG | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0) return {};
  const std::unique_ptr<addrinfo, FreeAddresses> addresses(found);
  for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
    UniqueFd fd = AboveStandardStreams(UniqueFd(socket(each->ai_family, kSocketFlags, 0)));
    if (!fd || !ConnectWithin(fd.get(), each->ai_addr, each->ai_addrlen, deadline)) continue;
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
  }
  return {};
}

// --- The authority and the greeting ---

constexpr char kProtocol[] = "MIT-MAGIC-COOKIE-1";
constexpr size_t kMaxReason = 160;

// The start of every answer to a setup request. Little-endian, as the request asks for.
struct AnswerHead {
  uint8_t status;
  uint8_t reasonBytes;  // of a refusal
  uint16_t majorVersion;
  uint16_t minorVersion;
  uint16_t words;  // of 4 bytes, that follow
};
static_assert(sizeof(AnswerHead) == 8);

constexpr uint8_t kAccepted = 1;
constexpr uint8_t kMoreAuthentication = 2;

struct SetupRequest {
  uint8_t byteOrder = 'l';
  uint8_t unused0 = 0;
  uint16_t majorVersion = 11;
  uint16_t minorVersion = 0;
  uint16_t nameBytes = 0;
  uint16_t dataBytes = 0;
  uint16_t unused1 = 0;
};
static_assert(sizeof(SetupRequest) == 12);

// An address as authority files write it.
struct AuthorityAddress {
  unsigned short family = FamilyLocal;
  std::string bytes;
};

AuthorityAddress ThisMachine() {
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  return {FamilyLocal, host};
}

AuthorityAddress AddressOf(int socket) {
  sockaddr_storage peer = {};
  socklen_t length = sizeof peer;
  if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &length) != 0) return ThisMachine();
  in_addr address4 = {};
  if (peer.ss_family == AF_INET) {
    address4 = reinterpret_cast<const sockaddr_in&>(peer).sin_addr;
  } else if (peer.ss_family == AF_INET6) {
    const in6_addr& address6 = reinterpret_cast<const sockaddr_in6&>(peer).sin6_addr;
    if (IN6_IS_ADDR_LOOPBACK(&address6)) return ThisMachine();
    if (!IN6_IS_ADDR_V4MAPPED(&address6)) {
      return {XCB_FAMILY_INTERNET_6, std::string(reinterpret_cast<const char*>(&address6), 16)};
    }
    std::memcpy(&address4, address6.s6_addr + 12, sizeof address4);
  } else {
    return ThisMachine();
  }
  if (ntohl(address4.s_addr) >> 24 == 127) return ThisMachine();
  return {XCB_FAMILY_INTERNET, std::string(reinterpret_cast<const char*>(&address4), 4)};
}

void Append(std::string& message, const std::string& field) {
  message += field;
  message.append((4 - field.size() % 4) % 4, '\0');
}

std::string SetupMessage(const Authority& authority) {
  SetupRequest request;
  request.nameBytes = static_cast<uint16_t>(authority.name.size());
  request.dataBytes = static_cast<uint16_t>(authority.data.size());
  std::string message(reinterpret_cast<const char*>(&request), sizeof request);
  Append(message, authority.name);
  Append(message, authority.data);
  return message;
}

bool Receive(int socket, void* buffer, size_t bytes, Deadline deadline) {
  char* next = static_cast<char*>(buffer);
  while (bytes > 0) {
    if (!WaitFor(socket, POLLIN, deadline)) return false;
    const ssize_t got = recv(socket, next, bytes, MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return false;
    if (got < 0) continue;
    next += got;
    bytes -= static_cast<size_t>(got);
  }
  return true;
}

std::string OneLine(const std::string& text) {
  std::string line;
  for (const char each : text) {
    if (each < ' ' || each > '~') break;
    line += each;
  }
  return line;
}

}  // namespace

bool ParseServerName(const std::string& displayName, ServerName& name) {
  char* host = nullptr;
  if (xcb_parse_display(displayName.c_str(), &host, &name.number, &name.screen) == 0) return false;
  const std::unique_ptr<char, decltype(&std::free)> hostOwner(host, &std::free);
  name.host = host;
  return true;
}

UniqueFd ConnectSocket(const ServerName& name, Deadline deadline) {
  if (name.host.starts_with('/')) return ConnectLocal(name.host, deadline);
  if (!name.host.empty() && name.host != "unix") {
    return ConnectRemote(name.host, kFirstPort + name.number, deadline);
  }
  const std::string path = kSocketFolder + std::to_string(name.number);
  if (UniqueFd fd = ConnectLocal('\0' + path, deadline)) return fd;
  return ConnectLocal(path, deadline);
}

Authority FindAuthority(int socket, const ServerName& name) {
  const AuthorityAddress address = AddressOf(socket);
  const std::string number = std::to_string(name.number);
  std::string protocol = kProtocol;
  char* protocols[] = {protocol.data()};
  const int lengths[] = {static_cast<int>(protocol.size())};
  const std::unique_ptr<Xauth, decltype(&XauDisposeAuth)> found(
      XauGetBestAuthByAddr(address.family, static_cast<unsigned short>(address.bytes.size()),
                           address.bytes.data(), static_cast<unsigned short>(number.size()),
                           number.data(), 1, protocols, lengths),
      &XauDisposeAuth);
  if (!found) return {};
  return {{found->name, found->name_length}, {found->data, found->data_length}};
}

Greeting Greet(int socket, const Authority& authority, Deadline deadline, std::string& answer) {
  // A fresh socket takes a message of this size whole.
  const std::string message = SetupMessage(authority);
  const ssize_t sent = send(socket, message.data(), message.size(), MSG_NOSIGNAL);
  AnswerHead head = {};
  if (sent != static_cast<ssize_t>(message.size()) ||
      !Receive(socket, &head, sizeof head, deadline)) {
    return Greeting::kNoAnswer;
  }
  const bool isWelcome = head.status == kAccepted;
  size_t bytes = size_t{head.words} * 4;
  if (!isWelcome && head.status != kMoreAuthentication) bytes = head.reasonBytes;
  if (!isWelcome) bytes = std::min(bytes, kMaxReason);
  std::string rest(bytes, '\0');
  const bool isWhole = Receive(socket, rest.data(), rest.size(), deadline);
  if (!isWelcome) {
    if (isWhole) answer = OneLine(rest);
    return Greeting::kRefused;
  }
  answer = std::string(reinterpret_cast<const char*>(&head), sizeof head) + rest;
  return isWhole ? Greeting::kWelcome : Greeting::kNoAnswer;
}

}  // namespace qrv::desktop
