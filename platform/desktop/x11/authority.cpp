#include "platform/desktop/x11/authority.h"

#include <X11/Xauth.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>

namespace qrv::desktop::x11 {
namespace {

constexpr char kProtocol[] = "MIT-MAGIC-COOKIE-1";
constexpr off64_t kMaxFileBytes = off64_t{1} << 20;

// Families of addresses, as the protocol numbers them.
constexpr unsigned short kInternet = 0;
constexpr unsigned short kInternet6 = 6;

// An address as authority files write it.
struct Host {
  unsigned short family = FamilyLocal;
  std::string address;
};

Host ThisMachine() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  return {FamilyLocal, name};
}

Host HostOf(int socket) {
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
      return {kInternet6, std::string(reinterpret_cast<const char*>(&address6), 16)};
    }
    std::memcpy(&address4, address6.s6_addr + 12, sizeof address4);
  } else {
    return ThisMachine();
  }
  if (ntohl(address4.s_addr) >> 24 == 127) return ThisMachine();
  return {kInternet, std::string(reinterpret_cast<const char*>(&address4), 4)};
}

// Reading a pipe or a device could block, or never end.
bool HasReadableFile() {
  const char* const name = XauFileName();
  struct stat64 status = {};
  return name != nullptr && stat64(name, &status) == 0 && S_ISREG(status.st_mode) &&
         status.st_size <= kMaxFileBytes;
}

}  // namespace

Authority FindAuthority(int socket, uint16_t displayNumber) {
  if (!HasReadableFile()) return {};
  const Host host = HostOf(socket);
  const std::string number = std::to_string(displayNumber);
  std::string protocol = kProtocol;
  char* protocols[] = {protocol.data()};
  const int lengths[] = {static_cast<int>(protocol.size())};
  const std::unique_ptr<Xauth, decltype(&XauDisposeAuth)> found(
      XauGetBestAuthByAddr(host.family, static_cast<unsigned short>(host.address.size()),
                           host.address.data(), static_cast<unsigned short>(number.size()),
                           number.data(), 1, protocols, lengths),
      &XauDisposeAuth);
  if (!found) return {};
  return {{found->name, found->name_length}, {found->data, found->data_length}};
}

}  // namespace qrv::desktop::x11
