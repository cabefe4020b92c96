#include "tests/wayland/server.h"

#include <sys/socket.h>
#include <unistd.h>
#include <wayland-server.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <deque>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>

#include "ext-image-capture-source-v1-server-protocol.h"
#include "ext-image-copy-capture-v1-server-protocol.h"
#include "wlr-screencopy-unstable-v1-server-protocol.h"
#include "xdg-output-unstable-v1-server-protocol.h"

namespace qrv::testing {

const std::map<uint32_t, const char*> kShmFormats = {
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
constexpr size_t kPiece = 10;                // bytes that are sent at a time: no whole message

// --- The picture ---

struct Channel {
  char name;
  uint32_t max;
  int shift;
};

std::vector<Channel> ChannelsOf(uint32_t format) {
  std::vector<Channel> channels;
  std::istringstream names(kShmFormats.at(format));
  char name = 0;
  for (int bits = 0; names >> name >> bits;) {
    for (Channel& each : channels) each.shift += bits;
    channels.push_back({name, (1U << bits) - 1, 0});
  }
  return channels;
}

int BytesOf(const std::vector<Channel>& channels) {
  return static_cast<int>(std::bit_width(channels[0].max << channels[0].shift)) / 8;
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
  wl_resource* resource = nullptr;  // of the client that came last
};

// What a client captures: a rectangle of the output's pixels before they are turned, and how it is
// to lie in memory.
struct Image {
  ShownOutput* output;
  int left, top, width, height;
  int stride = 0;
  std::vector<uint32_t> formats = {};  // that the buffer may have
  wl_resource* session = nullptr;
  wl_resource* buffer = nullptr;
  bool isDamaged = false;  // all of it
};

wl_display* display;
CompositorSetup all;
Script* orders;
std::deque<ShownOutput> outputs;
std::deque<Image> images;

bool Makes(Fault fault) { return orders->fault == fault; }

void Destroy(wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }

template <typename Data>
Data* DataOf(wl_resource* resource) {
  return static_cast<Data*>(wl_resource_get_user_data(resource));
}

wl_resource* NewResource(wl_client* client, const wl_interface& interface, int version, uint32_t id,
                         const void* requests, void* data) {
  wl_resource* const resource = wl_resource_create(client, &interface, version, id);
  wl_resource_set_implementation(resource, requests, data, nullptr);
  orders->highest = std::max<uint32_t>(orders->highest, id);
  return resource;
}

// One that another one's client has asked that for.
template <const wl_interface& kInterface, const auto& kRequests>
wl_resource* NewChild(wl_resource* parent, uint32_t id, void* data) {
  return NewResource(wl_resource_get_client(parent), kInterface, wl_resource_get_version(parent),
                     id, &kRequests, data);
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
    std::tie(x, y, width, height) = std::tuple(height - 1 - y, x, height, width);
  }
  return {output.transform < 4 ? x : width - 1 - x, y};
}

void Paint(const Image& image) {
  wl_shm_buffer* const buffer = wl_shm_buffer_get(image.buffer);
  const auto channels = ChannelsOf(wl_shm_buffer_get_format(buffer));
  const int bytes = BytesOf(channels);
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

void TellMode(const OutputSetup& setup, wl_resource* resource) {
  wl_output_send_mode(resource, 0, 3000, 2000, 60000);
  if (setup.width > 0) {
    wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, setup.width, setup.height, 60000);
  }
  wl_output_send_done(resource);
}

void TellGeometry(const OutputSetup& setup, wl_resource* resource) {
  wl_output_send_geometry(resource, setup.x, setup.y, 300, 200, 0, "QRV", "test", setup.transform);
}

void Turn(ShownOutput& output) {
  output.setup.transform ^= 2;
  TellGeometry(output.setup, output.resource);
}

// Decides on an image: as it is, or as the script says.
void Plan(Image& image) {
  if (Makes(Fault::kChangesMode)) {
    OutputSetup& setup = image.output->setup;
    setup.width = image.width *= 2;
    TellMode(setup, image.output->resource);
  }
  image.formats = all.formats;
  image.stride = (image.width * BytesOf(ChannelsOf(all.formats[0])) + 3) / 4 * 4 + all.padding;
  if (!Makes(Fault::kTells)) return;
  image.formats = {orders->words[0]};
  image.width = static_cast<int>(orders->words[1]);
  image.stride = static_cast<int>(orders->words[2]);
}

bool Fits(const Image& image) {
  wl_shm_buffer* const buffer = wl_shm_buffer_get(image.buffer);
  return wl_shm_buffer_get_width(buffer) == image.width &&
         wl_shm_buffer_get_height(buffer) == image.height &&
         (image.session ? image.isDamaged : wl_shm_buffer_get_stride(buffer) == image.stride) &&
         std::ranges::count(image.formats, wl_shm_buffer_get_format(buffer)) == 1;
}

// Writes the pixels into the buffer, unless there is something against it.
bool Fill(const Image& image, wl_resource* frame) {
  wl_client* const client = wl_resource_get_client(frame);
  const int fd = wl_client_get_fd(client);
  wl_client_flush(client);
  if (!Fits(image)) wl_resource_post_error(frame, 9, "that is another buffer");
  if (Makes(Fault::kHangsUp)) shutdown(fd, SHUT_RDWR);
  if (Makes(Fault::kComplains)) wl_resource_post_error(frame, 9, "no pixels\ntoday");
  if (Makes(Fault::kSendsWords)) {
    std::ranges::replace(orders->words, kFramesNumber, wl_resource_get_id(frame));
    const char* const bytes = reinterpret_cast<const char*>(orders->words);
    for (size_t at = 0; at < sizeof orders->words; at += kPiece, usleep(200)) {
      send(fd, bytes + at, kPiece, MSG_NOSIGNAL);
    }
  }
  const uint32_t unheardOf[] = {wl_resource_get_id(frame), 8 << 16 | 99};
  while (Makes(Fault::kFloods) && send(fd, unheardOf, sizeof unheardOf, MSG_NOSIGNAL) > 0) {
  }
  if (Makes(Fault::kRemovesOutput)) {
    wl_global_remove(image.output->global);
    return false;
  }
  if (Makes(Fault::kRefusesBuffer)) return false;
  if (Makes(Fault::kTurnsOutput) || Makes(Fault::kTurnsThere)) Turn(*image.output);
  Paint(image);
  if (Makes(Fault::kTurnsThere)) Turn(*image.output);
  return true;
}

// One whose arguments are 0.
void SendEvent(wl_resource* frame) {
  wl_argument zeros[5] = {};
  wl_resource_post_event_array(frame, orders->words[0], zeros);
}

// Sees every request and event before it has an effect.
void Watch(void*, wl_protocol_logger_type type, const wl_protocol_logger_message* message) {
  static uint32_t roundTrips = 0;
  static bool isAnswering = false;
  const std::string_view name = message->message->name;
  const bool isRequest = type == WL_PROTOCOL_LOGGER_REQUEST;
  if (isRequest && name == "create_pool") {
    orders->truncated = ftruncate(message->arguments[1].h, 0) == 0 ? 0 : errno;
  }
  if (!isRequest && name == "done" && Makes(Fault::kAnswersTwice) && !isAnswering &&
      std::string_view(wl_resource_get_class(message->resource)) == "wl_callback") {
    isAnswering = true;
    wl_callback_send_done(message->resource, 0);
    isAnswering = false;
  }
  const bool drips = Makes(Fault::kDrips);
  if (name != "sync" || !(drips || Makes(Fault::kFallsSilent))) return;
  if (++roundTrips < orders->words[0]) return;
  const int fd = wl_client_get_fd(wl_resource_get_client(message->resource));
  for (;; sleep(1)) {
    if (drips) send(fd, &message->resource, 1, MSG_NOSIGNAL);
  }
}

// --- Outputs ---

constexpr struct wl_output_interface kOutput = {Destroy};
constexpr struct zxdg_output_v1_interface kXdgOutput = {Destroy};
constexpr struct zxdg_output_manager_v1_interface kXdgOutputManager = {
    Destroy, [](wl_client*, wl_resource* manager, uint32_t id, wl_resource* output) {
      const OutputSetup& setup = DataOf<ShownOutput>(output)->setup;
      wl_resource* const resource =
          NewChild<zxdg_output_v1_interface, kXdgOutput>(manager, id, nullptr);
      zxdg_output_v1_send_logical_position(resource, setup.x, setup.y);
      zxdg_output_v1_send_logical_size(resource, setup.logicalWidth, setup.logicalHeight);
      const bool isNamed = wl_resource_get_version(manager) >= 2;
      if (isNamed) zxdg_output_v1_send_name(resource, setup.name.c_str());
    }};

void BindOutput(wl_client* client, void* data, uint32_t version, uint32_t id) {
  auto& output = *static_cast<ShownOutput*>(data);
  wl_resource* const resource =
      NewResource(client, wl_output_interface, static_cast<int>(version), id, &kOutput, data);
  output.resource = resource;
  const OutputSetup& setup = output.setup;
  TellGeometry(setup, resource);
  wl_output_send_scale(resource, setup.scale);
  if (version >= 4) wl_output_send_name(resource, setup.name.c_str());
  TellMode(setup, resource);
}

// --- zwlr_screencopy ---

void Copy(wl_client*, wl_resource* frame, wl_resource* buffer) {
  DataOf<Image>(frame)->buffer = buffer;
  if (!Fill(*DataOf<Image>(frame), frame)) return zwlr_screencopy_frame_v1_send_failed(frame);
  zwlr_screencopy_frame_v1_send_flags(frame, all.isInverted ? 1 : 0);
  if (!Makes(Fault::kNeverReady)) zwlr_screencopy_frame_v1_send_ready(frame, 0, 0, 0);
  if (Makes(Fault::kSendsEvent)) SendEvent(frame);
}

constexpr struct zwlr_screencopy_frame_v1_interface kScreencopyFrame = {Copy, Destroy, Copy};

void MakeFrame(wl_resource* manager, uint32_t id, int pointer, const Image& wanted) {
  Image& image = images.emplace_back(wanted);
  wl_resource* const frame =
      NewChild<zwlr_screencopy_frame_v1_interface, kScreencopyFrame>(manager, id, &image);
  orders->withPointer = pointer != 0;
  if (Makes(Fault::kRefuses)) return zwlr_screencopy_frame_v1_send_failed(frame);
  Plan(image);
  const auto width = static_cast<uint32_t>(image.width);
  zwlr_screencopy_frame_v1_send_buffer(frame, image.formats[0], width,
                                       static_cast<uint32_t>(image.height),
                                       static_cast<uint32_t>(image.stride));
  if (wl_resource_get_version(manager) < 3) return;
  zwlr_screencopy_frame_v1_send_linux_dmabuf(frame, kUnheardOf, width, 1);
  zwlr_screencopy_frame_v1_send_buffer_done(frame);
  if (Makes(Fault::kSendsEventEarly)) SendEvent(frame);
}

Image WholeOf(ShownOutput& output) {
  return {&output, 0, 0, output.setup.width, output.setup.height};
}

constexpr struct zwlr_screencopy_manager_v1_interface kScreencopy = {
    [](wl_client*, wl_resource* manager, uint32_t id, int pointer, wl_resource* output) {
      MakeFrame(manager, id, pointer, WholeOf(*DataOf<ShownOutput>(output)));
    },
    [](wl_client*, wl_resource* manager, uint32_t id, int pointer, wl_resource* resource, int x,
       int y, int width, int height) {
      auto& output = *DataOf<ShownOutput>(resource);
      const int density = output.setup.width / output.setup.logicalWidth;
      ++orders->regions;
      MakeFrame(manager, id, pointer,
                {&output, x * density, y * density, width * density, height * density});
    },
    Destroy};

// --- ext_image_copy_capture ---

void TellConstraints(Image& image) {
  wl_resource* const session = image.session;
  if (Makes(Fault::kRefuses)) return ext_image_copy_capture_session_v1_send_stopped(session);
  Plan(image);
  ext_image_copy_capture_session_v1_send_buffer_size(session, static_cast<uint32_t>(image.width),
                                                     static_cast<uint32_t>(image.height));
  ext_image_copy_capture_session_v1_send_shm_format(session, kUnheardOf);
  for (uint32_t each : image.formats) {
    ext_image_copy_capture_session_v1_send_shm_format(session, each);
  }
  ext_image_copy_capture_session_v1_send_done(session);
}

void CaptureFrame(wl_client*, wl_resource* frame) {
  auto& image = *DataOf<Image>(frame);
  const bool isEarly = Makes(Fault::kNewFormatEarly), isOnce = isEarly || Makes(Fault::kNewFormat);
  if (isOnce || Makes(Fault::kNeverSettles)) {
    if (isOnce) orders->fault = Fault::kNone;
    all.formats = {all.formats.back()};
    if (isEarly) TellConstraints(image);
    ext_image_copy_capture_frame_v1_send_failed(frame, 1);
    if (!isEarly) TellConstraints(image);
    return;
  }
  if (!Fill(image, frame)) return ext_image_copy_capture_frame_v1_send_failed(frame, 0);
  ext_image_copy_capture_frame_v1_send_transform(
      frame, static_cast<uint32_t>(image.output->setup.transform));
  if (!Makes(Fault::kNeverReady)) ext_image_copy_capture_frame_v1_send_ready(frame);
  if (Makes(Fault::kSendsEvent)) SendEvent(frame);
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
    [](wl_client*, wl_resource* session, uint32_t id) {
      NewChild<ext_image_copy_capture_frame_v1_interface, kFrame>(session, id,
                                                                  DataOf<Image>(session));
    },
    Destroy};

constexpr struct ext_image_capture_source_v1_interface kSource = {Destroy};
constexpr struct ext_output_image_capture_source_manager_v1_interface kSources = {
    [](wl_client*, wl_resource* manager, uint32_t id, wl_resource* output) {
      NewChild<ext_image_capture_source_v1_interface, kSource>(manager, id,
                                                               DataOf<ShownOutput>(output));
    },
    Destroy};

constexpr struct ext_image_copy_capture_manager_v1_interface kImageCopy = {
    [](wl_client*, wl_resource* manager, uint32_t id, wl_resource* source, uint32_t options) {
      Image& image = images.emplace_back(WholeOf(*DataOf<ShownOutput>(source)));
      image.session =
          NewChild<ext_image_copy_capture_session_v1_interface, kSession>(manager, id, &image);
      orders->withPointer = options != 0;
      TellConstraints(image);
    },
    nullptr, Destroy};

int Serve(const CompositorSetup& setup, Script* script, int listener) {
  all = setup;
  orders = script;
  display = wl_display_create();
  wl_display_init_shm(display);
  wl_display_add_protocol_logger(display, Watch, nullptr);
  for (const auto& each : kShmFormats) wl_display_add_shm_format(display, each.first);
  for (const OutputSetup& each : setup.outputs) {
    ShownOutput& output = outputs.emplace_back(ShownOutput{each});
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
  for (const Channel& each : ChannelsOf(format)) {
    const uint32_t level = SampleAt(each, picture, x, y) * 65535 / each.max / 257;
    const size_t place = std::string_view("bgr").find(each.name);
    if (place != std::string_view::npos) color |= level << 8 * place;
  }
  return color;
}

Compositor::Compositor(const CompositorSetup& setup) {
  const int listener = ListenAt(path());
  pid_ = Fork([&] { return Serve(setup, script_.get(), listener); });
  close(listener);
}

}  // namespace qrv::testing
