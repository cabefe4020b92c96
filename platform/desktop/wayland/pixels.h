// The ways to an output's pixels, and which one is taken.
#ifndef PLATFORM_DESKTOP_WAYLAND_PIXELS_H_
#define PLATFORM_DESKTOP_WAYLAND_PIXELS_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/screen.h"

namespace qrv::desktop::wayland {

class PixelSource {
 public:
  PixelSource() = default;
  PixelSource(const PixelSource&) = delete;
  PixelSource& operator=(const PixelSource&) = delete;
  virtual ~PixelSource() = default;

  // A part of the display's pixels, upright. Empty, and one line in `problem`, when they can't be
  // had: the output is gone or has changed, the compositor refuses, there is no memory, or the
  // connection is lost. Throws std::bad_alloc.
  virtual Frame Capture(const PlacedOutput& output, const PixelRect& part,
                        std::string& problem) = 0;

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
