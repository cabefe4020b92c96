#include "platform/desktop/x11/pointer.h"

#include <xcb/xfixes.h>

#include <cstring>

namespace qrv::desktop::x11 {

std::optional<PointerImage> QueryPointer(Connection& connection) {
  const uint8_t xfixes = connection.FindExtension("XFIXES");
  if (xfixes == 0) return std::nullopt;
  // The server expects the version first.
  connection.Send(xfixes, XCB_XFIXES_QUERY_VERSION, {2, 0});
  std::optional<Reply> reply =
      connection.Await(connection.Send(xfixes, XCB_XFIXES_GET_CURSOR_IMAGE, {}));
  if (!reply) return std::nullopt;
  const auto cursor = reply->Take<xcb_xfixes_get_cursor_image_reply_t>();
  PointerImage image;
  image.area = {cursor.x - cursor.xhot, cursor.y - cursor.yhot, cursor.width, cursor.height};
  image.pixels.resize(size_t{cursor.width} * cursor.height);
  const auto bytes = reply->TakeBytes(image.pixels.size() * sizeof(uint32_t));
  if (!bytes.empty()) std::memcpy(image.pixels.data(), bytes.data(), bytes.size());
  return image;
}

}  // namespace qrv::desktop::x11
