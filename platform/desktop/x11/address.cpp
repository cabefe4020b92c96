#include "platform/desktop/x11/address.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include <charconv>
#include <memory>

#include "platform/desktop/peer/socket.h"

namespace qrv::desktop::x11 {
namespace {

constexpr uint16_t kFirstPort = 6000;
constexpr uint16_t kMaxNumber = 65535 - kFirstPort;
constexpr char kSocketFolder[] = "/tmp/.X11-unix/X";

bool ParseNumber(std::string_view digits, uint16_t& number) {
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  return error == std::errc() && stop == end;
}

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
    UniqueFd fd(socket(each->ai_family, kSocketFlags, 0));
    if (!fd || !ConnectWithin(fd.get(), each->ai_addr, each->ai_addrlen, deadline)) continue;
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
  }
  return {};
}

}  // namespace

std::optional<Address> ParseDisplayName(std::string_view name) {
  if (name.starts_with("unix:/")) name.remove_prefix(name.find('/'));
  Address address;
  const size_t colon = name.rfind(':');
  const size_t dot = colon == name.npos ? name.npos : name.find('.', colon);
  const bool hasNumber = colon != name.npos &&
                         ParseNumber(name.substr(colon + 1, dot - colon - 1), address.number) &&
                         address.number <= kMaxNumber;
  const bool hasScreen =
      hasNumber && dot != name.npos && ParseNumber(name.substr(dot + 1), address.screen);
  if (name.starts_with('/')) {
    // The number is part of the path, the screen is not.
    address.path = name.substr(0, hasScreen ? dot : name.npos);
    return address;
  }
  if (!hasNumber || hasScreen != (dot != name.npos)) return std::nullopt;
  std::string_view host = name.substr(0, colon);
  if (host.find('/') != host.npos) return std::nullopt;
  if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
  if (host != "unix") address.host = host;
  return address;
}

UniqueFd ConnectTo(const Address& address, Deadline deadline) {
  if (!address.path.empty()) return ConnectLocal(address.path, deadline);
  if (!address.host.empty()) {
    return ConnectRemote(address.host, kFirstPort + address.number, deadline);
  }
  const std::string path = kSocketFolder + std::to_string(address.number);
  if (UniqueFd fd = ConnectLocal('\0' + path, deadline)) return fd;
  return ConnectLocal(path, deadline);
}

}  // namespace qrv::desktop::x11
