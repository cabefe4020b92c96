#include "tests/wayland/server.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wayland-server.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <new>
#include <stdexcept>

#include "ext-image-capture-source-v1-server-protocol.h"
#include "ext-image-copy-capture-v1-server-protocol.h"
#include "wlr-screencopy-unstable-v1-server-protocol.h"
#include "xdg-output-unstable-v1-server-protocol.h"

namespace qrv::testing {

const std::vector<ShmFormat> kShmFormats = {
    {WL_SHM_FORMAT_ARGB8888, "a8r8g8b8"},       {WL_SHM_FORMAT_XRGB8888, "x8r8g8b8"},
    {WL_SHM_FORMAT_ABGR8888, "a8b8g8r8"},       {WL_SHM_FORMAT_XBGR8888, "x8b8g8r8"},
    {WL_SHM_FORMAT_RGBA8888, "r8g8b8a8"},       {WL_SHM_FORMAT_RGBX8888, "r8g8b8x8"},
    {WL_SHM_FORMAT_BGRA8888, "b8g8r8a8"},       {WL_SHM_FORMAT_BGRX8888, "b8g8r8x8"},
    {WL_SHM_FORMAT_RGB888, "r8g8b8"},           {WL_SHM_FORMAT_BGR888, "b8g8r8"},
    {WL_SHM_FORMAT_ARGB2101010, "a2r10g10b10"}, {WL_SHM_FORMAT_XRGB2101010, "x2r10g10b10"},
    {WL_SHM_FORMAT_ABGR2101010, "a2b10g10r10"}, {WL_SHM_FORMAT_XBGR2101010, "x2b10g10r10"},
    {WL_SHM_FORMAT_RGBA1010102, "r10g10b10a2"}, {WL_SHM_FORMAT_RGBX1010102, "r10g10b10x2"},
    {WL_SHM_FORMAT_BGRA1010102, "b10g10r10a2"}, {WL_SHM_FORMAT_BGRX1010102, "b10g10r10x2"},
    {WL_SHM_FORMAT_RGB565, "r5g6b5"},           {WL_SHM_FORMAT_BGR565, "b5g6r5"}};

namespace {

constexpr uint32_t kUnheardOf = 0x3F3F3F3F;  // a format

// --- The picture ---

struct Channel {
  char name;
  uint32_t max;
  int shift;
};

std::vector<Channel> ChannelsOf(uint32_t format, int& bytesPerPixel) {
  std::vector<Channel> channels;
  const char* at = "";
  for (const ShmFormat& each : kShmFormats) {
    if (each.code == format) at = each.channels;
  }
  int bits = 0;
  while (*at != 0) {
    const char name = *at;
    char* end = nullptr;
    const auto width = static_cast<int>(std::strtol(at + 1, &end, 10));
    at = end;
    for (Channel& each : channels) each.shift += width;
    channels.push_back({name, (1U << width) - 1, 0});
    bits += width;
  }
  bytesPerPixel = bits / 8;
  return channels;
}

uint32_t SampleAt(const Channel& channel, uint32_t picture, int x, int y) {
  const uint32_t place = static_cast<uint32_t>(x) * 40503 + static_cast<uint32_t>(y);
  const uint32_t layer = picture * 31 + static_cast<uint32_t>(channel.name);
  return (place * 2654435761U + layer * 2246822519U) >> 12 & channel.max;
}

// --- The compositor's process ---

struct ShownOutput {
  OutputSetup setup;
  wl_global* global = nullptr;
  std::vector<wl_resource*> resources;
};

// What a client captures: a rectangle of the output's pixels before they are turned, and how it is
// to lie in memory.
struct Image {
  ShownOutput* output;
  int left, top, width, height;
  int stride = 0;
  wl_resource* session = nullptr;
  wl_resource* buffer = nullptr;
  bool isDamaged = false;  // all of it
};

wl_display* display;
CompositorSetup all;
Script* orders;
std::deque<ShownOutput> outputs;
std::deque<Image> images;

bool Makes(Fault fault) {
  if (orders->fault != fault) return false;
  if (--orders->times == 0) orders->fault = Fault::kNone;
  return true;
}

void Destroy(wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }

template <typename Data>
Data* DataOf(wl_resource* resource) {
  return static_cast<Data*>(wl_resource_get_user_data(resource));
}

wl_resource* NewResource(wl_client* client, const wl_interface& interface, int version, uint32_t id,
                         const void* requests, void* data) {
  wl_resource* const resource = wl_resource_create(client, &interface, version, id);
  wl_resource_set_implementation(resource, requests, data, nullptr);
  return resource;
}

template <const wl_interface& kInterface, const auto& kRequests>
void Offer(int version) {
  if (version == 0) return;
  wl_global_create(display, &kInterface, version, nullptr,
                   [](wl_client* client, void*, uint32_t bound, uint32_t id) {
                     NewResource(client, kInterface, static_cast<int>(bound), id, &kRequests,
                                 nullptr);
                   });
}

// The place in the picture that a pixel of an output comes from: the picture is mirrored left to
// right, then turned against the clock.
std::pair<int, int> PlaceOf(const OutputSetup& output, int x, int y) {
  int width = output.width;
  int height = output.height;
  for (int turns = output.transform % 4; turns > 0; --turns) {
    std::swap(x, y);
    x = height - 1 - x;
    std::swap(width, height);
  }
  return {output.transform < 4 ? x : width - 1 - x, y};
}

void Paint(const Image& image) {
  wl_shm_buffer* const buffer = wl_shm_buffer_get(image.buffer);
  int bytes = 0;
  const auto channels = ChannelsOf(wl_shm_buffer_get_format(buffer), bytes);
  for (int row = 0; row < image.height; ++row) {
    const int y = all.isInverted ? image.height - 1 - row : row;
    auto* to = static_cast<uint8_t*>(wl_shm_buffer_get_data(buffer)) +
               row * wl_shm_buffer_get_stride(buffer);
    for (int x = 0; x < image.width; ++x, to += bytes) {
      const auto place = PlaceOf(image.output->setup, image.left + x, image.top + y);
      uint32_t pixel = 0;
      for (const Channel& each : channels) {
        pixel |= SampleAt(each, orders->picture, place.first, place.second) << each.shift;
      }
      std::memcpy(to, &pixel, static_cast<size_t>(bytes));
    }
  }
}

// Sends words past the library; false when the client is gone.
bool Write(wl_resource* resource, const std::vector<uint32_t>& words, size_t step) {
  wl_client* const client = wl_resource_get_client(resource);
  wl_client_flush(client);
  for (size_t at = 0; at < words.size() * 4; at += step) {
    const char* const bytes = reinterpret_cast<const char*>(words.data()) + at;
    if (send(wl_client_get_fd(client), bytes, step, MSG_NOSIGNAL) < 0) return false;
    if (step == 1) usleep(200);
  }
  return true;
}

// Tells that the pixels are there, in a message of that many words.
void TellReady(wl_resource* frame, uint32_t event, uint32_t words) {
  if (Makes(Fault::kNeverReady)) return;
  std::vector<uint32_t> message(words);
  message[0] = wl_resource_get_id(frame);
  message[1] = words * 4 << 16 | event;
  Write(frame, message, Makes(Fault::kSendsByteByByte) ? 1 : words * 4);
}

void TellMode(const OutputSetup& setup, wl_resource* resource) {
  wl_output_send_mode(resource, 0, 3000, 2000, 60000);
  if (setup.width > 0) {
    wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, setup.width, setup.height, 60000);
  }
  wl_output_send_done(resource);
}

// The stated width of an image, with the image made as it is to be.
uint32_t StateWidth(Image& image) {
  if (Makes(Fault::kOtherSize)) image.width /= 2;
  if (Makes(Fault::kChangesMode)) {
    OutputSetup& setup = image.output->setup;
    setup.width = image.width *= 2;
    for (wl_resource* each : image.output->resources) TellMode(setup, each);
  }
  int bytes = 0;
  ChannelsOf(all.formats[0], bytes);
  image.stride = (image.width * bytes + 3) / 4 * 4 + all.padding;
  if (Makes(Fault::kNoSize)) return 0;
  return Makes(Fault::kHugeSize) ? 0x40000001 : static_cast<uint32_t>(image.width);
}

bool Fits(const Image& image) {
  wl_shm_buffer* const buffer = wl_shm_buffer_get(image.buffer);
  return wl_shm_buffer_get_width(buffer) == image.width &&
         wl_shm_buffer_get_height(buffer) == image.height &&
         (image.session ? image.isDamaged : wl_shm_buffer_get_stride(buffer) == image.stride) &&
         std::count(all.formats.begin(), all.formats.end(), wl_shm_buffer_get_format(buffer)) == 1;
}

// Writes the pixels into the buffer, unless there is something against it.
bool Fill(const Image& image, wl_resource* frame) {
  const int fd = wl_client_get_fd(wl_resource_get_client(frame));
  if (!Fits(image)) wl_resource_post_error(frame, 9, "that is another buffer");
  if (Makes(Fault::kHangsUp)) shutdown(fd, SHUT_RDWR);
  if (Makes(Fault::kComplains)) wl_resource_post_error(frame, 9, "no pixels\ntoday");
  if (Makes(Fault::kSendsWords)) {
    Write(frame, {std::begin(orders->words), std::end(orders->words)}, sizeof orders->words);
  }
  if (Makes(Fault::kFloods)) {
    while (Write(frame, {wl_resource_get_id(frame), 8 << 16 | 99}, 8)) {
    }
  }
  if (Makes(Fault::kRemovesOutput)) {
    wl_global_remove(image.output->global);
    return false;
  }
  if (Makes(image.session ? Fault::kFails : Fault::kStops)) return false;
  Paint(image);
  return true;
}

// --- Outputs ---

constexpr struct wl_output_interface kOutput = {Destroy};
constexpr struct zxdg_output_v1_interface kXdgOutput = {Destroy};
constexpr struct zxdg_output_manager_v1_interface kXdgOutputManager = {
    Destroy, [](wl_client* client, wl_resource* manager, uint32_t id, wl_resource* output) {
      const int version = wl_resource_get_version(manager);
      const OutputSetup& setup = DataOf<ShownOutput>(output)->setup;
      wl_resource* const resource =
          NewResource(client, zxdg_output_v1_interface, version, id, &kXdgOutput, nullptr);
      zxdg_output_v1_send_logical_position(resource, setup.x, setup.y);
      zxdg_output_v1_send_logical_size(resource, setup.logicalWidth, setup.logicalHeight);
      if (version >= 2) zxdg_output_v1_send_name(resource, setup.name.c_str());
    }};

void BindOutput(wl_client* client, void* data, uint32_t version, uint32_t id) {
  auto& output = *static_cast<ShownOutput*>(data);
  wl_resource* const resource =
      NewResource(client, wl_output_interface, static_cast<int>(version), id, &kOutput, data);
  wl_resource_set_destructor(
      resource, [](wl_resource* gone) { std::erase(DataOf<ShownOutput>(gone)->resources, gone); });
  output.resources.push_back(resource);
  const OutputSetup& setup = output.setup;
  wl_output_send_geometry(resource, setup.x, setup.y, 300, 200, 0, "QRV", "test", setup.transform);
  wl_output_send_scale(resource, setup.scale);
  if (version >= 4) wl_output_send_name(resource, setup.name.c_str());
  TellMode(setup, resource);
}

// --- zwlr_screencopy ---

void Copy(wl_client*, wl_resource* frame, wl_resource* buffer) {
  auto& image = *DataOf<Image>(frame);
  image.buffer = buffer;
  if (!Fill(image, frame)) return zwlr_screencopy_frame_v1_send_failed(frame);
  zwlr_screencopy_frame_v1_send_flags(frame, all.isInverted ? 1 : 0);
  TellReady(frame, ZWLR_SCREENCOPY_FRAME_V1_READY, 5);
}

constexpr struct zwlr_screencopy_frame_v1_interface kScreencopyFrame = {Copy, Destroy, Copy};

void MakeFrame(wl_client* client, wl_resource* manager, uint32_t id, int pointer,
               const Image& wanted) {
  Image& image = images.emplace_back(wanted);
  const int version = wl_resource_get_version(manager);
  wl_resource* const frame = NewResource(client, zwlr_screencopy_frame_v1_interface, version, id,
                                         &kScreencopyFrame, &image);
  orders->highest = std::max<uint32_t>(orders->highest, id);
  if (pointer != 0) return wl_resource_post_error(frame, 9, "no pointer");
  if (Makes(Fault::kFails)) return zwlr_screencopy_frame_v1_send_failed(frame);
  const uint32_t width = StateWidth(image);
  zwlr_screencopy_frame_v1_send_buffer(
      frame, Makes(Fault::kUnknownFormat) ? kUnheardOf : all.formats[0], width,
      static_cast<uint32_t>(image.height),
      static_cast<uint32_t>(Makes(Fault::kShortStride) ? image.stride - 1 : image.stride));
  if (version < 3) return;
  zwlr_screencopy_frame_v1_send_linux_dmabuf(frame, kUnheardOf, width, 1);
  zwlr_screencopy_frame_v1_send_buffer_done(frame);
}

Image WholeOf(ShownOutput& output) {
  return {&output, 0, 0, output.setup.width, output.setup.height};
}

constexpr struct zwlr_screencopy_manager_v1_interface kScreencopy = {
    [](wl_client* client, wl_resource* manager, uint32_t id, int pointer, wl_resource* output) {
      MakeFrame(client, manager, id, pointer, WholeOf(*DataOf<ShownOutput>(output)));
    },
    [](wl_client* client, wl_resource* manager, uint32_t id, int pointer, wl_resource* resource,
       int x, int y, int width, int height) {
      auto& output = *DataOf<ShownOutput>(resource);
      const int density = output.setup.width / output.setup.logicalWidth;
      ++orders->regions;
      MakeFrame(client, manager, id, pointer,
                {&output, x * density, y * density, width * density, height * density});
    },
    Destroy};

// --- ext_image_copy_capture ---

void TellConstraints(Image& image) {
  wl_resource* const session = image.session;
  const uint32_t width = StateWidth(image);
  const bool isUnknown = Makes(Fault::kUnknownFormat);
  ext_image_copy_capture_session_v1_send_buffer_size(session, width,
                                                     static_cast<uint32_t>(image.height));
  ext_image_copy_capture_session_v1_send_shm_format(session, kUnheardOf);
  for (uint32_t each : all.formats) {
    if (!isUnknown) ext_image_copy_capture_session_v1_send_shm_format(session, each);
  }
  if (Makes(Fault::kStops)) return ext_image_copy_capture_session_v1_send_stopped(session);
  ext_image_copy_capture_session_v1_send_done(session);
}

void CaptureFrame(wl_client*, wl_resource* frame) {
  auto& image = *DataOf<Image>(frame);
  const bool isEarly = Makes(Fault::kNewFormatEarly);
  if (isEarly || Makes(Fault::kNewFormat)) {
    all.formats = {all.formats.back()};
    if (isEarly) TellConstraints(image);
    ext_image_copy_capture_frame_v1_send_failed(frame, 1);
    if (!isEarly) TellConstraints(image);
    return;
  }
  if (!Fill(image, frame)) return ext_image_copy_capture_frame_v1_send_failed(frame, 0);
  ext_image_copy_capture_frame_v1_send_transform(
      frame, static_cast<uint32_t>(image.output->setup.transform));
  TellReady(frame, EXT_IMAGE_COPY_CAPTURE_FRAME_V1_READY, 2);
}

constexpr struct ext_image_copy_capture_frame_v1_interface kFrame = {
    Destroy,
    [](wl_client*, wl_resource* frame, wl_resource* buffer) {
      DataOf<Image>(frame)->buffer = buffer;
    },
    [](wl_client*, wl_resource* frame, int x, int y, int width, int height) {
      auto& image = *DataOf<Image>(frame);
      image.isDamaged = x == 0 && y == 0 && width == image.width && height == image.height;
    },
    CaptureFrame};

constexpr struct ext_image_copy_capture_session_v1_interface kSession = {
    [](wl_client* client, wl_resource* session, uint32_t id) {
      orders->highest = std::max<uint32_t>(orders->highest, id);
      NewResource(client, ext_image_copy_capture_frame_v1_interface, 1, id, &kFrame,
                  wl_resource_get_user_data(session));
    },
    Destroy};

constexpr struct ext_image_capture_source_v1_interface kSource = {Destroy};
constexpr struct ext_output_image_capture_source_manager_v1_interface kSources = {
    [](wl_client* client, wl_resource*, uint32_t id, wl_resource* output) {
      NewResource(client, ext_image_capture_source_v1_interface, 1, id, &kSource,
                  wl_resource_get_user_data(output));
    },
    Destroy};

constexpr struct ext_image_copy_capture_manager_v1_interface kImageCopy = {
    [](wl_client* client, wl_resource* manager, uint32_t id, wl_resource* source,
       uint32_t options) {
      Image& image = images.emplace_back(WholeOf(*DataOf<ShownOutput>(source)));
      image.session = NewResource(client, ext_image_copy_capture_session_v1_interface, 1, id,
                                  &kSession, &image);
      if (options != 0) return wl_resource_post_error(manager, 9, "no pointer");
      TellConstraints(image);
    },
    nullptr, Destroy};

int Serve(const CompositorSetup& setup, Script* script, int listener) {
  all = setup;
  orders = script;
  display = wl_display_create();
  wl_display_init_shm(display);
  for (const ShmFormat& each : kShmFormats) wl_display_add_shm_format(display, each.code);
  for (const OutputSetup& each : setup.outputs) {
    ShownOutput& output = outputs.emplace_back(ShownOutput{each, nullptr, {}});
    output.global =
        wl_global_create(display, &wl_output_interface, setup.outputVersion, &output, BindOutput);
  }
  Offer<zxdg_output_manager_v1_interface, kXdgOutputManager>(setup.xdgOutput);
  Offer<zwlr_screencopy_manager_v1_interface, kScreencopy>(setup.screencopy);
  Offer<ext_output_image_capture_source_manager_v1_interface, kSources>(setup.imageCopy);
  Offer<ext_image_copy_capture_manager_v1_interface, kImageCopy>(setup.imageCopy);
  wl_display_add_socket_fd(display, listener);
  wl_display_run(display);
  return 0;
}

}  // namespace

uint32_t ColorAt(uint32_t format, uint32_t picture, int x, int y) {
  uint32_t color = 0;
  int bytes = 0;
  for (const Channel& each : ChannelsOf(format, bytes)) {
    const uint32_t level = SampleAt(each, picture, x, y) * 65535 / each.max / 257;
    if (each.name == 'r') color |= level << 16;
    if (each.name == 'g') color |= level << 8;
    if (each.name == 'b') color |= level;
  }
  return color;
}

Compositor::Compositor(const CompositorSetup& setup) {
  void* const shared =
      mmap(nullptr, sizeof *script_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {AF_UNIX, {}};
  path().copy(address.sun_path, sizeof address.sun_path - 1);
  if (shared == MAP_FAILED ||
      bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 4) != 0) {
    throw std::runtime_error("no compositor");
  }
  script_ = new (shared) Script();
  process_ = Fork([&] { return Serve(setup, script_, listener); });
  close(listener);
}

Compositor::~Compositor() {
  kill(process_, SIGKILL);
  WaitForEnd(process_);
  munmap(script_, sizeof *script_);
}

void Compositor::Make(Fault fault, int times) {
  script_->times = times;
  script_->fault = fault;
}

}  // namespace qrv::testing
