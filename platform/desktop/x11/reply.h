// A message from an X server.
#ifndef PLATFORM_DESKTOP_X11_REPLY_H_
#define PLATFORM_DESKTOP_X11_REPLY_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>

#include "platform/desktop/error.h"

namespace qrv::desktop::x11 {

inline Error ProtocolError() {
  return {Reason::kUnreachable, "the X server violates the X protocol"};
}

// The bytes of a message, taken in order. Taking more than there are throws, whatever counts and
// lengths the server states.
class Reply {
 public:
  // Its bytes are to be filled in through left().
  explicit Reply(size_t size)
      : bytes_(std::make_unique_for_overwrite<uint8_t[]>(size)), left_(bytes_.get(), size) {}

  // The bytes that are not taken yet.
  std::span<uint8_t> left() const { return left_; }

  std::span<const uint8_t> TakeBytes(size_t count) {
    if (count > left_.size()) throw ProtocolError();
    const std::span<const uint8_t> bytes = left_.first(count);
    left_ = left_.subspan(count);
    return bytes;
  }

  std::string_view TakeText(size_t length) {
    const std::span<const uint8_t> bytes = TakeBytes(length);
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  // Takes a record, in this machine's byte order.
  template <typename Record>
  Record Take() {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record;
    std::memcpy(&record, TakeBytes(sizeof record).data(), sizeof record);
    return record;
  }

 private:
  std::unique_ptr<uint8_t[]> bytes_;
  std::span<uint8_t> left_;
};

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_REPLY_H_
