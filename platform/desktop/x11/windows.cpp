#include "platform/desktop/x11/windows.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/one_line.h"

namespace qrv::desktop::x11 {
namespace {

constexpr size_t kMostWindows = 1024;
constexpr uint32_t kOnAllDesktops = 0xFFFFFFFF;

// What is drawn around a rectangle.
struct Extents {
  int32_t left = 0;
  int32_t right = 0;
  int32_t top = 0;
  int32_t bottom = 0;
};

PixelRect Grown(const PixelRect& rect, const Extents& by) {
  return {rect.x - by.left, rect.y - by.top, rect.width + by.left + by.right,
          rect.height + by.top + by.bottom};
}

PixelRect Shrunk(const PixelRect& rect, const Extents& by) {
  return Grown(rect, {-by.left, -by.right, -by.top, -by.bottom});
}

// Asks one thing after another: a window that closes meanwhile answers with errors.
class WindowReader {
 public:
  WindowReader(Connection& connection, const PixelRect& main)
      : connection_(connection), root_(connection.screen().root), main_(main) {}

  std::vector<Window> ReadAll();

 private:
  // 0 when the server has no such name.
  uint32_t Atom(std::string_view name);
  // The values of a property of 32-bit words; empty without one.
  std::vector<uint32_t> ReadWords(uint32_t window, std::string_view property);
  std::string ReadText(uint32_t window, uint32_t atom);
  std::optional<uint32_t> ReadWord(uint32_t window, std::string_view property);
  std::optional<Extents> ReadExtents(uint32_t window, std::string_view property);
  std::optional<Reply> ReadProperty(uint32_t window, uint32_t atom);

  // The children of the root window that are visible; the bottom one first.
  std::vector<uint32_t> VisibleChildren();
  bool IsViewable(uint32_t window);
  std::optional<Window> Read(uint32_t id);
  WindowState ReadState(uint32_t id);
  bool ReadPosition(uint32_t id, Window& window);

  Connection& connection_;
  uint32_t root_;
  PixelRect main_;
};

uint32_t WindowReader::Atom(std::string_view name) {
  constexpr uint8_t kOnlyIfExists = 1;
  const auto bytes = std::as_bytes(std::span(name));
  std::optional<Reply> reply = connection_.Await(connection_.Send(
      XCB_INTERN_ATOM, kOnlyIfExists, {static_cast<uint32_t>(bytes.size())}, bytes));
  return reply ? reply->Take<xcb_intern_atom_reply_t>().atom : 0;
}

std::optional<Reply> WindowReader::ReadProperty(uint32_t window, uint32_t atom) {
  if (atom == 0) return std::nullopt;
  return connection_.Await(connection_.Send(
      XCB_GET_PROPERTY, 0,
      {window, atom, XCB_GET_PROPERTY_TYPE_ANY, 0, static_cast<uint32_t>(kMostWindows)}));
}

std::vector<uint32_t> WindowReader::ReadWords(uint32_t window, std::string_view property) {
  std::optional<Reply> reply = ReadProperty(window, Atom(property));
  if (!reply) return {};
  const auto head = reply->Take<xcb_get_property_reply_t>();
  if (head.format != 32) return {};
  const auto bytes = reply->TakeBytes(size_t{head.value_len} * 4);
  std::vector<uint32_t> words(head.value_len);
  if (!words.empty()) std::memcpy(words.data(), bytes.data(), bytes.size());
  return words;
}

std::optional<uint32_t> WindowReader::ReadWord(uint32_t window, std::string_view property) {
  const std::vector<uint32_t> words = ReadWords(window, property);
  if (words.empty()) return std::nullopt;
  return words.front();
}

std::string WindowReader::ReadText(uint32_t window, uint32_t atom) {
  std::optional<Reply> reply = ReadProperty(window, atom);
  if (!reply) return "";
  const auto head = reply->Take<xcb_get_property_reply_t>();
  if (head.format != 8) return "";
  const auto bytes = reply->TakeBytes(head.value_len);
  return {bytes.begin(), bytes.end()};
}

std::optional<Extents> WindowReader::ReadExtents(uint32_t window, std::string_view property) {
  const std::vector<uint32_t> words = ReadWords(window, property);
  constexpr uint32_t kMost = 1000;  // pixels
  if (words.size() != 4 || *std::max_element(words.begin(), words.end()) > kMost) return {};
  const auto at = [&](size_t index) { return static_cast<int32_t>(words[index]); };
  return Extents{at(0), at(1), at(2), at(3)};
}

bool WindowReader::IsViewable(uint32_t window) {
  std::optional<Reply> reply =
      connection_.Await(connection_.Send(XCB_GET_WINDOW_ATTRIBUTES, 0, {window}));
  if (!reply) return false;
  const auto attributes = reply->Take<xcb_get_window_attributes_reply_t>();
  return attributes.map_state == XCB_MAP_STATE_VIEWABLE &&
         attributes._class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

std::vector<uint32_t> WindowReader::VisibleChildren() {
  Reply reply = connection_.Await(connection_.Send(XCB_QUERY_TREE, 0, {root_}),
                                  "the X server does not list its windows");
  const uint16_t count = reply.Take<xcb_query_tree_reply_t>().children_len;
  std::vector<uint32_t> children;
  for (uint16_t left = count; left > 0; --left) {
    const auto child = reply.Take<uint32_t>();
    if (IsViewable(child)) children.push_back(child);
  }
  return children;
}

// In the global space.
bool WindowReader::ReadPosition(uint32_t id, Window& window) {
  const Connection::Sequence size = connection_.Send(XCB_GET_GEOMETRY, 0, {id});
  const Connection::Sequence origin =
      connection_.Send(XCB_TRANSLATE_COORDINATES, 0, {id, root_, 0});
  std::optional<Reply> sizeReply = connection_.Await(size);
  std::optional<Reply> originReply = connection_.Await(origin);
  if (!sizeReply || !originReply) return false;
  const auto geometry = sizeReply->Take<xcb_get_geometry_reply_t>();
  const auto corner = originReply->Take<xcb_translate_coordinates_reply_t>();
  window.content = {corner.dst_x - main_.x, corner.dst_y - main_.y, geometry.width,
                    geometry.height};
  const int32_t border = geometry.border_width;
  window.frame = Grown(window.content, {border, border, border, border});
  return true;
}

WindowState WindowReader::ReadState(uint32_t id) {
  const std::optional<uint32_t> current = ReadWord(root_, "_NET_CURRENT_DESKTOP");
  const std::optional<uint32_t> desktop = ReadWord(id, "_NET_WM_DESKTOP");
  if (current && desktop && *desktop != *current && *desktop != kOnAllDesktops) {
    return WindowState::kElsewhere;
  }
  return IsViewable(id) ? WindowState::kShown : WindowState::kMinimized;
}

std::optional<Window> WindowReader::Read(uint32_t id) {
  Window window;
  window.id = id;
  if (!ReadPosition(id, window)) return std::nullopt;
  // Windows that draw their frames themselves draw shadows, too, and say how wide these are.
  if (const auto shadow = ReadExtents(id, "_GTK_FRAME_EXTENTS")) {
    window.frame = window.content = Shrunk(window.content, *shadow);
  } else if (const auto frame = ReadExtents(id, "_NET_FRAME_EXTENTS")) {
    window.frame = Grown(window.content, *frame);
  }
  window.state = ReadState(id);
  std::string title = ReadText(id, Atom("_NET_WM_NAME"));
  if (title.empty()) title = ReadText(id, XCB_ATOM_WM_NAME);
  CopyText(window.title, InOneLine(title, sizeof window.title));
  // An instance's name and the program's, each with a final zero.
  const std::string names = ReadText(id, XCB_ATOM_WM_CLASS);
  const size_t end = names.find('\0');
  const std::string program = end == std::string::npos ? names : names.substr(end + 1);
  CopyText(window.program, InOneLine(program.substr(0, program.find('\0'))));
  return window;
}

std::vector<Window> WindowReader::ReadAll() {
  std::vector<uint32_t> ids = ReadWords(root_, "_NET_CLIENT_LIST_STACKING");
  if (ids.empty()) ids = VisibleChildren();
  const uint32_t active = ReadWord(root_, "_NET_ACTIVE_WINDOW").value_or(0);
  std::vector<Window> windows;
  for (auto id = ids.rbegin(); id != ids.rend() && windows.size() < kMostWindows; ++id) {
    if (std::optional<Window> window = Read(*id)) {
      window->isActive = *id == active;
      windows.push_back(*window);
    }
  }
  return windows;
}

}  // namespace

std::vector<Window> QueryWindows(Connection& connection, const PixelRect& main) {
  return WindowReader(connection, main).ReadAll();
}

}  // namespace qrv::desktop::x11
