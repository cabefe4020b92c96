// Shows the picture of FilledPixel on every output of the compositor until that ends.
//
//   fill_outputs (NAME WIDTH HEIGHT WIDTH HEIGHT)...    in pixels, then in units
//
// An output shows the picture of its number among the arguments, from 0. Writes "shown", and closes
// its standard output, once all are there.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <string_view>
#include <type_traits>

#include "tests/support/sway.h"
#include "viewporter-client-protocol.h"
#include "wayland-client.h"
#include "xdg-output-unstable-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

namespace {

struct Filled {
  wl_output* output;
  std::string name = {};
  size_t number = 0;
  wl_surface* surface = nullptr;
  int width = 0, height = 0;
};

wl_display* display;
wl_compositor* compositor;
wl_shm* shm;
xdg_wm_base* shell;
wp_viewporter* viewporter;
zxdg_output_manager_v1* logicalOutputs;
std::deque<Filled> outputs;
size_t undrawn;

void Show(const Filled& filled) {
  const auto& [output, name, number, surface, width, height] = filled;
  std::vector<uint32_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) pixels.push_back(qrv::testing::FilledPixel(number, x, y));
  }
  const int file = memfd_create("picture", MFD_CLOEXEC);
  const ssize_t bytes = write(file, pixels.data(), pixels.size() * sizeof pixels[0]);
  wl_shm_pool* const pool = wl_shm_create_pool(shm, file, static_cast<int32_t>(bytes));
  wl_buffer* const buffer =
      wl_shm_pool_create_buffer(pool, 0, width, height, width * 4, WL_SHM_FORMAT_XRGB8888);
  wl_shm_pool_destroy(pool);
  close(file);
  wl_surface_attach(surface, buffer, 0, 0);
  wl_surface_damage(surface, 0, 0, width, height);
  wl_surface_commit(surface);
}

const xdg_surface_listener kSurfaceListener = {
    .configure = [](void* filled, xdg_surface* surface, uint32_t serial) {
      xdg_surface_ack_configure(surface, serial);
      Show(*static_cast<Filled*>(filled));
    }};

const xdg_wm_base_listener kShellListener = {
    .ping = [](void*, xdg_wm_base* its, uint32_t serial) { xdg_wm_base_pong(its, serial); }};

const wl_callback_listener kDrawnListener = {.done = [](void*, wl_callback* callback, uint32_t) {
  wl_callback_destroy(callback);
  --undrawn;
}};

const wl_output_listener kOutputListener = {
    .geometry = [](auto...) {},
    .mode = [](auto...) {},
    .done = [](auto...) {},
    .scale = [](auto...) {},
    .name = [](void* filled, wl_output*,
               const char* name) { static_cast<Filled*>(filled)->name = name; },
    .description = [](auto...) {}};

// Of compositors whose wl_output has no name yet.
const zxdg_output_v1_listener kLogicalListener = {
    .logical_position = [](auto...) {},
    .logical_size = [](auto...) {},
    .done = [](auto...) {},
    .name = [](void* filled, zxdg_output_v1*,
               const char* name) { static_cast<Filled*>(filled)->name = name; },
    .description = [](auto...) {}};

// At their first versions, other than what names outputs.
void Bind(void*, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
  const auto bindTo = [&](auto*& object, const wl_interface& type, uint32_t highest = 1) {
    if (std::string_view(interface) != type.name) return;
    object = static_cast<std::remove_reference_t<decltype(object)>>(
        wl_registry_bind(registry, name, &type, std::min(version, highest)));
  };
  bindTo(compositor, wl_compositor_interface);
  bindTo(shm, wl_shm_interface);
  bindTo(shell, xdg_wm_base_interface);
  bindTo(viewporter, wp_viewporter_interface);
  bindTo(logicalOutputs, zxdg_output_manager_v1_interface, ZXDG_OUTPUT_V1_NAME_SINCE_VERSION);
  wl_output* output = nullptr;
  bindTo(output, wl_output_interface, WL_OUTPUT_NAME_SINCE_VERSION);
  if (output == nullptr) return;
  wl_output_add_listener(output, &kOutputListener, &outputs.emplace_back(Filled{output}));
}

// `words` are what is given for the output of that number. False when there is none of that name.
bool Fill(size_t number, char** words) {
  const auto found = std::find_if(outputs.begin(), outputs.end(),
                                  [&](const Filled& each) { return each.name == words[0]; });
  if (found == outputs.end()) return false;
  Filled& filled = *found;
  filled.number = number;
  filled.width = std::atoi(words[1]);
  filled.height = std::atoi(words[2]);
  filled.surface = wl_compositor_create_surface(compositor);
  wp_viewport_set_destination(wp_viewporter_get_viewport(viewporter, filled.surface),
                              std::atoi(words[3]), std::atoi(words[4]));
  xdg_surface* const surface = xdg_wm_base_get_xdg_surface(shell, filled.surface);
  xdg_surface_add_listener(surface, &kSurfaceListener, &filled);
  xdg_toplevel_set_fullscreen(xdg_surface_get_toplevel(surface), filled.output);
  wl_surface_commit(filled.surface);
  return true;
}

// Shows all pictures, and waits until the compositor has come to draw them.
void ShowAll() {
  undrawn = outputs.size();
  for (const Filled& each : outputs) {
    wl_callback_add_listener(wl_surface_frame(each.surface), &kDrawnListener, nullptr);
    Show(each);
  }
  while (undrawn > 0 && wl_display_dispatch(display) >= 0) {
  }
}

}  // namespace

int main(int count, char** words) {
  display = wl_display_connect(nullptr);
  if (display == nullptr) return 1;
  const wl_registry_listener listener = {.global = Bind,
                                         .global_remove = [](void*, wl_registry*, uint32_t) {}};
  wl_registry_add_listener(wl_display_get_registry(display), &listener, nullptr);
  // The globals; then the outputs' names, one way or the other.
  for (int i = 0; i < 2; ++i) wl_display_roundtrip(display);
  for (Filled& each : outputs) {
    if (!each.name.empty() || logicalOutputs == nullptr) continue;
    zxdg_output_v1_add_listener(zxdg_output_manager_v1_get_xdg_output(logicalOutputs, each.output),
                                &kLogicalListener, &each);
  }
  wl_display_roundtrip(display);
  if (shell == nullptr || static_cast<size_t>(count) != outputs.size() * 5 + 1) return 1;
  xdg_wm_base_add_listener(shell, &kShellListener, nullptr);
  for (size_t i = 0; i < outputs.size(); ++i) {
    if (!Fill(i, words + 1 + i * 5)) return 1;
  }
  // Configured, shown, and then once more: what a compositor was told before a window had its place
  // may never be drawn.
  for (int i = 0; i < 4; ++i) wl_display_roundtrip(display);
  ShowAll();
  ShowAll();
  std::puts("shown");
  std::fclose(stdout);
  while (wl_display_dispatch(display) >= 0) {
  }
  return 1;
}
