#include "platform/desktop/x11_greeting.h"

#include <X11/Xauth.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>

namespace qrv::desktop {
namespace {

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

Greeting Greet(int socket, const Authority& authority, Deadline deadline, std::string& reason) {
  // A fresh socket takes a message of this size whole.
  const std::string message = SetupMessage(authority);
  const ssize_t sent = send(socket, message.data(), message.size(), MSG_NOSIGNAL);
  AnswerHead head = {};
  if (sent != static_cast<ssize_t>(message.size()) ||
      !Receive(socket, &head, sizeof head, deadline)) {
    return Greeting::kNoAnswer;
  }
  if (head.status == kAccepted) return Greeting::kWelcome;
  const size_t bytes =
      head.status == kMoreAuthentication ? size_t{head.words} * 4 : size_t{head.reasonBytes};
  std::string text(std::min(bytes, kMaxReason), '\0');
  if (Receive(socket, text.data(), text.size(), deadline)) reason = OneLine(text);
  return Greeting::kRefused;
}

}  // namespace qrv::desktop
