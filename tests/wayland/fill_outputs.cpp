// Shows a known picture on every output of the compositor, at a pixel of the picture per pixel of
// the output, until its standard input ends. Writes "shown" once all are there.
//
// A pixel of output i (in the order of announcement) at (x, y) is red x mod 256, green y mod 256,
// and blue x / 256 + 16 * (y / 256) + 128 * i.

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "viewporter-client-protocol.h"
#include "wayland-client.h"
#include "xdg-shell-client-protocol.h"

namespace {

struct Filled {
  wl_output* output = nullptr;
  int32_t modeWidth = 0;
  int32_t modeHeight = 0;
  int32_t transform = 0;
  wl_surface* surface = nullptr;
  wp_viewport* viewport = nullptr;
  xdg_toplevel* toplevel = nullptr;
  int32_t width = 0;  // in units
  int32_t height = 0;
  uint32_t index = 0;
};

struct Globals {
  wl_compositor* compositor = nullptr;
  wl_shm* shm = nullptr;
  xdg_wm_base* shell = nullptr;
  wp_viewporter* viewporter = nullptr;
  std::vector<std::unique_ptr<Filled>> outputs;
};
Globals globals;

uint32_t PixelAt(uint32_t index, uint32_t x, uint32_t y) {
  return (x & 255) << 16 | (y & 255) << 8 | ((x / 256 + 16 * (y / 256) + 128 * index) & 255);
}

void Show(Filled& filled) {
  const bool isTurned = (filled.transform & 1) != 0;
  const int32_t width = isTurned ? filled.modeHeight : filled.modeWidth;
  const int32_t height = isTurned ? filled.modeWidth : filled.modeHeight;
  const auto bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  const int file = memfd_create("picture", MFD_CLOEXEC);
  if (ftruncate(file, static_cast<off_t>(bytes)) != 0) return;
  void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (memory == MAP_FAILED) return;
  auto* pixel = static_cast<uint32_t*>(memory);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      *pixel++ = PixelAt(filled.index, static_cast<uint32_t>(x), static_cast<uint32_t>(y));
    }
  }
  munmap(memory, bytes);
  wl_shm_pool* const pool = wl_shm_create_pool(globals.shm, file, static_cast<int32_t>(bytes));
  wl_buffer* const buffer =
      wl_shm_pool_create_buffer(pool, 0, width, height, width * 4, WL_SHM_FORMAT_XRGB8888);
  wl_shm_pool_destroy(pool);
  close(file);
  // A compositor may leave the size to a window that it has not seen yet.
  wp_viewport_set_destination(filled.viewport, filled.width > 0 ? filled.width : width,
                              filled.height > 0 ? filled.height : height);
  wl_surface_attach(filled.surface, buffer, 0, 0);
  wl_surface_damage_buffer(filled.surface, 0, 0, width, height);
  wl_surface_commit(filled.surface);
}

template <typename... Arguments>
void Ignore(void*, Arguments...) {}

const wl_output_listener kOutputListener = {
    .geometry = [](void* data, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*,
                   const char*,
                   int32_t transform) { static_cast<Filled*>(data)->transform = transform; },
    .mode =
        [](void* data, wl_output*, uint32_t flags, int32_t width, int32_t height, int32_t) {
          if ((flags & WL_OUTPUT_MODE_CURRENT) == 0) return;
          static_cast<Filled*>(data)->modeWidth = width;
          static_cast<Filled*>(data)->modeHeight = height;
        },
    .done = Ignore,
    .scale = Ignore,
    .name = Ignore,
    .description = Ignore};

const xdg_toplevel_listener kToplevelListener = {
    .configure =
        [](void* data, xdg_toplevel*, int32_t width, int32_t height, wl_array*) {
          static_cast<Filled*>(data)->width = width;
          static_cast<Filled*>(data)->height = height;
        },
    .close = Ignore,
    .configure_bounds = Ignore,
    .wm_capabilities = Ignore};

const xdg_surface_listener kSurfaceListener = {
    .configure = [](void* data, xdg_surface* surface, uint32_t serial) {
      xdg_surface_ack_configure(surface, serial);
      Show(*static_cast<Filled*>(data));
    }};

const xdg_wm_base_listener kShellListener = {
    .ping = [](void*, xdg_wm_base* shell, uint32_t serial) { xdg_wm_base_pong(shell, serial); }};

void Bind(void*, wl_registry* registry, uint32_t name, const char* interface, uint32_t) {
  const std::string_view wanted = interface;
  const auto bind = [&](const wl_interface& type, uint32_t version) {
    return wl_registry_bind(registry, name, &type, version);
  };
  if (wanted == "wl_compositor") {
    globals.compositor = static_cast<wl_compositor*>(bind(wl_compositor_interface, 4));
  } else if (wanted == "wl_shm") {
    globals.shm = static_cast<wl_shm*>(bind(wl_shm_interface, 1));
  } else if (wanted == "xdg_wm_base") {
    globals.shell = static_cast<xdg_wm_base*>(bind(xdg_wm_base_interface, 1));
    xdg_wm_base_add_listener(globals.shell, &kShellListener, nullptr);
  } else if (wanted == "wp_viewporter") {
    globals.viewporter = static_cast<wp_viewporter*>(bind(wp_viewporter_interface, 1));
  } else if (wanted == "wl_output") {
    auto& filled = *globals.outputs.emplace_back(std::make_unique<Filled>());
    filled.index = static_cast<uint32_t>(globals.outputs.size() - 1);
    filled.output = static_cast<wl_output*>(bind(wl_output_interface, 2));
    wl_output_add_listener(filled.output, &kOutputListener, &filled);
  }
}

void Fill(Filled& filled) {
  filled.surface = wl_compositor_create_surface(globals.compositor);
  filled.viewport = wp_viewporter_get_viewport(globals.viewporter, filled.surface);
  xdg_surface* const surface = xdg_wm_base_get_xdg_surface(globals.shell, filled.surface);
  xdg_surface_add_listener(surface, &kSurfaceListener, &filled);
  filled.toplevel = xdg_surface_get_toplevel(surface);
  xdg_toplevel_add_listener(filled.toplevel, &kToplevelListener, &filled);
  xdg_toplevel_set_fullscreen(filled.toplevel, filled.output);
  wl_surface_commit(filled.surface);
}

// Shows all pictures, and waits until the compositor has come to draw them.
void ShowAll(wl_display* display) {
  static const wl_callback_listener kListener = {
      .done = [](void* waited, wl_callback* callback, uint32_t) {
        wl_callback_destroy(callback);
        --*static_cast<size_t*>(waited);
      }};
  size_t waited = globals.outputs.size();
  for (const auto& each : globals.outputs) {
    wl_callback_add_listener(wl_surface_frame(each->surface), &kListener, &waited);
    Show(*each);
  }
  while (waited > 0 && wl_display_dispatch(display) >= 0) {
  }
}

}  // namespace

int main() {
  wl_display* const display = wl_display_connect(nullptr);
  if (display == nullptr) return 1;
  const wl_registry_listener listener = {.global = Bind, .global_remove = Ignore};
  wl_registry_add_listener(wl_display_get_registry(display), &listener, nullptr);
  wl_display_roundtrip(display);
  wl_display_roundtrip(display);
  if (globals.shell == nullptr || globals.viewporter == nullptr) return 1;
  for (const auto& each : globals.outputs) Fill(*each);
  // Configured, shown, and then once more: a compositor may change its mind about the size, and
  // what it was told before a window had its place may never be drawn.
  for (int i = 0; i < 4; ++i) wl_display_roundtrip(display);
  ShowAll(display);
  ShowAll(display);
  std::puts("shown");
  std::fflush(stdout);
  pollfd waited[] = {{STDIN_FILENO, POLLIN, 0}, {wl_display_get_fd(display), POLLIN, 0}};
  for (;;) {
    wl_display_flush(display);
    if (poll(waited, 2, -1) < 0 || waited[0].revents != 0) return 0;
    if (wl_display_dispatch(display) < 0) return 1;
  }
}
