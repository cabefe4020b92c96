#include "platform/desktop/wayland/session_bus/module/picture_file.h"

#include <fcntl.h>
#include <libyuv/convert_argb.h>
#include <spng.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::wayland::session_bus {
namespace {

constexpr uint32_t kMaxPictureSide = 65535;
// Bytes of a PNG's texts, profiles and the like: one of them, and all of them.
constexpr size_t kMaxChunk = 4 << 20;
constexpr size_t kMaxChunks = 16 << 20;

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

struct FreeContext {
  void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};
struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void FailBySize(const Space& desktop, const spng_ihdr& header) {
  const auto text = [](auto width, auto height) {
    return std::to_string(width) + " x " + std::to_string(height);
  };
  throw Error(Reason::kUnsupported, "the portal's picture of " + text(header.width, header.height) +
                                        " pixels does not show this desktop of " +
                                        text(desktop.units.width, desktop.units.height) + " units");
}

// Empty when it can't be read. Allocates no more than a picture of the desktop needs.
Frame Decode(std::FILE* file, const Space& desktop) {
  const std::unique_ptr<spng_ctx, FreeContext> context(spng_ctx_new(0));
  spng_ihdr header = {};
  size_t bytes = 0;
  if (!context || spng_set_png_file(context.get(), file) != 0 ||
      spng_set_chunk_limits(context.get(), kMaxChunk, kMaxChunks) != 0 ||
      spng_get_ihdr(context.get(), &header) != 0) {
    return {};
  }
  if (!CanShow(desktop, header.width, header.height)) FailBySize(desktop, header);
  if (spng_decoded_image_size(context.get(), SPNG_FMT_RGBA8, &bytes) != 0) return {};
  Frame frame = NewFrame(static_cast<int32_t>(header.width), static_cast<int32_t>(header.height));
  if (bytes != FrameBytes(frame.width, frame.height) ||
      spng_decode_image(context.get(), frame.pixels, bytes, SPNG_FMT_RGBA8, 0) != 0) {
    return {};
  }
  const auto stride = static_cast<int>(frame.rowBytes);
  libyuv::ABGRToARGB(frame.pixels, stride, frame.pixels, stride, frame.width, frame.height);
  return frame;
}

}  // namespace

std::string PathOfUri(const std::string& uri) {
  constexpr char kScheme[] = "file://";
  constexpr char kHere[] = "localhost";
  if (!uri.starts_with(kScheme)) return {};
  std::string rest = uri.substr(sizeof kScheme - 1);
  if (rest.starts_with(kHere)) rest.erase(0, sizeof kHere - 1);
  if (!rest.starts_with('/')) return {};
  std::string path;
  for (size_t i = 0; i < rest.size(); ++i) {
    char c = rest[i];
    if (c == '%') {
      const int high = i + 2 < rest.size() ? HexDigit(rest[i + 1]) : -1;
      const int low = i + 2 < rest.size() ? HexDigit(rest[i + 2]) : -1;
      if (high < 0 || low < 0) return {};
      c = static_cast<char>(high * 16 + low);
      i += 2;
    }
    if (c == '\0') return {};
    path += c;
  }
  return path;
}

bool CanShow(const Space& desktop, uint32_t width, uint32_t height) {
  if (width == 0 || width > kMaxPictureSide || height == 0 || height > kMaxPictureSide) {
    return false;
  }
  const PixelRect& units = desktop.units;
  const double min = std::max((width - 1.0) / units.width, (height - 1.0) / units.height);
  const double max = std::min((width + 1.0) / units.width, (height + 1.0) / units.height);
  return min <= max && max >= desktop.minDensity && min <= desktop.maxDensity;
}

Frame ReadAndDeletePicture(const std::string& path, const Space& desktop) {
  // Non-blocking, because opening a pipe would wait for its writer.
  UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  struct stat64 status = {};
  if (!fd || fstat64(fd.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_uid != geteuid()) {
    throw Error(Reason::kUnsupported, "the portal's file is not a file of this user");
  }
  const std::unique_ptr<std::FILE, CloseFile> file(fdopen(fd.get(), "rb"));
  if (file) fd.Release();  // the stream closes it
  Frame frame = file ? Decode(file.get(), desktop) : Frame{};
  if (!frame) throw Error(Reason::kUnsupported, "the portal's picture can't be read");
  unlink(path.c_str());
  return frame;
}

}  // namespace qrv::desktop::wayland::session_bus
