#include "platform/desktop/wayland/sway_windows.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <span>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"
#include "platform/desktop/peer/socket.h"
#include "platform/one_line.h"

namespace qrv::desktop::wayland {
namespace {

using Json = nlohmann::json;

// A message: "i3-ipc", and in this machine's byte order the length of what follows, and its type.
constexpr char kMagic[] = {'i', '3', '-', 'i', 'p', 'c'};
constexpr uint32_t kGetTree = 4;
constexpr size_t kHeadBytes = sizeof kMagic + 8;
constexpr size_t kMostBytes = size_t{4} << 20;
constexpr size_t kMostWindows = 1024;

Error Broken() { return {Reason::kUnsupported, "the compositor's list of windows makes no sense"}; }

void Receive(int socket, std::span<char> bytes, Deadline deadline) {
  while (!bytes.empty()) {
    if (!WaitFor(socket, POLLIN, deadline) || Clock::now() >= deadline) {
      throw Error(Reason::kTimeout, "the compositor does not list its windows in time");
    }
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
      bytes = bytes.subspan(static_cast<size_t>(count));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      throw Broken();
    }
  }
}

std::string GetTree(const std::string& path, Deadline deadline) {
  const UniqueFd socket = ConnectLocal(path, deadline);
  char head[kHeadBytes] = {};
  std::memcpy(head, kMagic, sizeof kMagic);
  std::memcpy(head + kHeadBytes - 4, &kGetTree, 4);
  // So little always fits the buffer of a new socket.
  if (!socket || SendSome(socket.get(), std::as_bytes(std::span(head)), -1) != kHeadBytes) {
    throw Error(Reason::kUnsupported, "the compositor's socket " + path + " can't be reached");
  }
  Receive(socket.get(), head, deadline);
  uint32_t length = 0;
  std::memcpy(&length, head + sizeof kMagic, 4);
  if (std::memcmp(head, kMagic, sizeof kMagic) != 0 || length > kMostBytes) throw Broken();
  std::string answer(length, '\0');
  Receive(socket.get(), answer, deadline);
  return answer;
}

int32_t IntOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end() || !found->is_number_integer()) return 0;
  constexpr int64_t kMost = 1 << 24;
  return static_cast<int32_t>(std::clamp<int64_t>(found->get<int64_t>(), -kMost, kMost));
}

bool IsTrue(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_boolean() && found->get<bool>();
}

std::string TextOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

Json ObjectOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_object() ? *found : Json::object();
}

PixelRect RectOf(const Json& object, const char* name) {
  const Json rect = ObjectOf(object, name);
  return {IntOf(rect, "x"), IntOf(rect, "y"), IntOf(rect, "width"), IntOf(rect, "height")};
}

// A node's rectangle has the borders, and lies below the title bar.
Window WindowOf(const Json& node) {
  Window window;
  window.id = static_cast<uint64_t>(IntOf(node, "id"));
  window.frame = RectOf(node, "rect");
  PixelRect content = RectOf(node, "window_rect");
  content.x += window.frame.x;
  content.y += window.frame.y;
  window.content = Intersection(content, window.frame);
  const int32_t title = RectOf(node, "deco_rect").height;
  window.frame.y -= title;
  window.frame.height += title;
  window.state = IsTrue(node, "visible") ? WindowState::kShown : WindowState::kElsewhere;
  window.isActive = IsTrue(node, "focused");
  CopyText(window.title, InOneLine(TextOf(node, "name"), sizeof window.title));
  std::string program = TextOf(node, "app_id");
  if (program.empty()) program = TextOf(ObjectOf(node, "window_properties"), "class");
  CopyText(window.program, InOneLine(program));
  return window;
}

}  // namespace

// Nodes are listed from the bottom up, and floating ones lie above the others.
std::vector<Window> ParseSwayTree(std::string_view json) {
  const Json tree = Json::parse(json, nullptr, false);
  if (!tree.is_object()) throw Broken();
  std::vector<Window> windows;
  std::vector<const Json*> left = {&tree};
  while (!left.empty() && windows.size() < kMostWindows) {
    const Json& node = *left.back();
    left.pop_back();
    if (!node.is_object()) continue;
    if (node.contains("pid")) windows.push_back(WindowOf(node));
    for (const char* name : {"nodes", "floating_nodes"}) {
      const auto children = node.find(name);
      if (children == node.end() || !children->is_array()) continue;
      for (const Json& child : *children) left.push_back(&child);
    }
  }
  return windows;
}

std::vector<Window> QuerySwayWindows(int32_t mainX, int32_t mainY, Deadline deadline) {
  const char* path = secure_getenv("SWAYSOCK");
  if (path == nullptr) path = secure_getenv("I3SOCK");
  if (path == nullptr || path[0] != '/') {
    throw Error(Reason::kUnsupported, "this compositor lists its windows to no program");
  }
  std::vector<Window> windows = ParseSwayTree(GetTree(path, deadline));
  for (Window& each : windows) {
    each.frame.x -= mainX;
    each.frame.y -= mainY;
    each.content.x -= mainX;
    each.content.y -= mainY;
  }
  return windows;
}

}  // namespace qrv::desktop::wayland
