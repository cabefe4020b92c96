// The ways to an output's pixels, and which one is taken.
#ifndef PLATFORM_DESKTOP_WAYLAND_PIXELS_H_
#define PLATFORM_DESKTOP_WAYLAND_PIXELS_H_

#include <memory>
#include <span>
#include <string>

#include "platform/desktop/desktop.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/screen.h"

namespace qrv::desktop::wayland {

// What is captured of an output: a part of its display's pixels. The frame is upright, and empty
// before, and when the part can't be had.
struct OutputShare {
  PlacedOutput output;
  PixelRect part;
  Frame frame = {};
};

class PixelSource {
 public:
  PixelSource() = default;
  PixelSource(const PixelSource&) = delete;
  PixelSource& operator=(const PixelSource&) = delete;
  virtual ~PixelSource() = default;

  // Captures all shares, at once where the compositor can. One line in `problem` when a frame stays
  // empty: the output is gone or has changed, the compositor refuses, there is no memory, or the
  // connection is lost. Throws std::bad_alloc.
  virtual void Capture(std::span<OutputShare> shares, std::string& problem) = 0;

  // What a person finds in the compositor's documentation.
  virtual const char* Name() const = 0;
};

// The first of the ways that are there, as a table in pixels.cpp orders them; or the portal alone.
// Null when there is none: then `problem` says in one line what each of them lacks.
std::unique_ptr<PixelSource> ChoosePixelSource(Connection& connection, const Screen& screen,
                                               bool byPortal, std::string& problem);

inline constexpr char kNotOffered[] = "not offered";
inline constexpr char kOutputChanged[] = "the display has changed since it was listed";
inline constexpr char kCaptureRefused[] = "the compositor refuses to give the pixels";

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_PIXELS_H_
