#include "tests/unit/platform/desktop/portal/bus_peer.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <vector>

#include "platform/desktop/portal/module/bus.h"

namespace qrv::desktop::portal {
namespace {

PeerScript* orders;
std::string folder;

void RespondWith(sd_bus* bus, const std::string& path, uint32_t code, const std::string& uri) {
  sd_bus_message* signal = nullptr;
  sd_bus_message_new_signal(bus, &signal, path.c_str(), "org.freedesktop.portal.Request",
                            "Response");
  const Message message(signal);
  const Deed deed = orders->deed;
  if (deed == Deed::kRespondsInWords) {
    Append(message, "s", "yes");
  } else if (deed == Deed::kRespondsWithoutDictionary) {
    Append(message, "u", code);
  } else if (deed == Deed::kRespondsWithoutUri) {
    Append(message, "ua{sv}", code, 0);
  } else if (deed == Deed::kRespondsWithNumberAsUri) {
    Append(message, "ua{sv}", code, 1, "uri", "u", 7);
  } else {
    Append(message, "ua{sv}", code, 2, "hint", "i", 1, "uri", "s", uri.c_str());
  }
  sd_bus_message_set_sender(signal, ":1.9");
  sd_bus_send(bus, signal, nullptr);
}

int TakeScreenshot(sd_bus* bus, sd_bus_message* call) {
  ++orders->asked;
  const Deed deed = orders->deed;
  std::string path = "/org/freedesktop/portal/desktop/request/1_7/";
  sd_bus_message_skip(call, "s");
  ReadDictionary(Message(sd_bus_message_ref(call)),
                 [&](const std::string& name, const std::string&) {
                   const char* token = nullptr;
                   if (name != "handle_token" || sd_bus_message_read(call, "s", &token) < 0)
                     return false;
                   path += token;
                   return true;
                 });
  if (deed == Deed::kNeverAnswersRequest) return 1;
  if (deed == Deed::kNamesNoObject) return sd_bus_reply_method_return(call, "s", "soon");
  if (deed == Deed::kRefuses) {
    return sd_bus_reply_method_errorf(call, "org.example.No", "no\n\x1B[2J \xE2\x80\xAEyas");
  }
  sd_bus_reply_method_return(call, "o", path.c_str());
  if (deed == Deed::kNeverResponds) return 1;
  std::error_code error;
  std::filesystem::copy_file(folder + "/picture.png", folder + "/shot.png", error);
  const bool isEndless = deed == Deed::kRespondsWithEndlessUri;
  const std::string uri =
      "file://" + (isEndless ? "/" + std::string(1 << 20, 'a') : folder + "/shot.png");
  if (deed == Deed::kRespondsTwice) RespondWith(bus, path, 1, "");
  RespondWith(bus, path, orders->code, uri);
  return 1;
}

void WritePixels(int pipe, uint32_t left, uint32_t top, uint32_t width, uint32_t height) {
  std::vector<uint32_t> pixels;
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) pixels.push_back(0x070000 | (top + y) << 8 | (left + x));
    pixels.push_back(0xDEADBEEF);  // to the stride
  }
  const char* bytes = reinterpret_cast<const char*>(pixels.data());
  size_t bytesLeft = pixels.size() * 4 - (orders->deed == Deed::kStopsEarly ? 1 : 0);
  const size_t step = orders->deed == Deed::kDrips ? 1 : bytesLeft;
  for (; bytesLeft > 0 && write(pipe, bytes, step) > 0; bytesLeft -= step, bytes += step) {
    if (step == 1) usleep(100'000);
  }
}

int CaptureByKWin(sd_bus_message* call, bool isArea) {
  uint32_t left = 0, top = 0, width = 61, height = 40;
  if (isArea) {
    sd_bus_message_read(call, "iiuu", &left, &top, &width, &height);
  } else {
    sd_bus_message_skip(call, "s");
  }
  orders->mentionsHiding = false;
  ReadDictionary(Message(sd_bus_message_ref(call)),
                 [&](const std::string& name, const std::string&) {
                   int value = 0;
                   if (name != "hide-caller-windows" || sd_bus_message_read(call, "b", &value) < 0)
                     return false;
                   orders->mentionsHiding = true;
                   orders->hides = value != 0;
                   return true;
                 });
  int pipe = -1;
  sd_bus_message_read(call, "h", &pipe);
  const bool isProbe = width == 1;  // faults come afterwards
  const Deed deed = isProbe ? Deed::kBehaves : orders->deed.load();
  const uint32_t format = deed == Deed::kTellsOtherFormat ? 13 : 4;
  const uint32_t told = deed == Deed::kTellsOtherSize ? 30'000 : width;
  const uint32_t stride = deed == Deed::kTellsHugeStride ? 0x40000000 : (told + 1) * 4;
  if (deed == Deed::kTellsWords) {
    sd_bus_reply_method_return(call, "a{sv}", 1, "width", "s", "wide");
  } else {
    sd_bus_reply_method_return(call, "a{sv}", 5, "type", "s", "raw", "format", "u", format, "width",
                               "u", told, "height", "u", height, "stride", "u", stride);
  }
  if (deed == Deed::kBehaves || deed == Deed::kDrips || deed == Deed::kStopsEarly) {
    WritePixels(pipe, left, top, width, height);
  }
  return 1;
}

int Get(sd_bus_message* call) {
  const char* interface = nullptr;
  sd_bus_message_read(call, "s", &interface);
  if (std::strstr(interface, "portal") != nullptr) {
    return sd_bus_reply_method_return(call, "v", "u", 4);
  }
  if (orders->version == 0) return sd_bus_reply_method_errorf(call, "org.example.No", "%s", "");
  return sd_bus_reply_method_return(call, "v", "u", orders->version.load());
}

int Handle(sd_bus_message* message, void*, sd_bus_error*) {
  sd_bus* const bus = sd_bus_message_get_bus(message);
  const char* const member = sd_bus_message_get_member(message);
  if (member == nullptr) return 0;
  const std::string name = member;
  if (name == "Hello") return sd_bus_reply_method_return(message, "s", ":1.7");
  if (orders->deed == Deed::kHangsUp) _exit(0);
  if (orders->deed == Deed::kNeverAnswersButGreets) return 1;
  if (name == "Get") return Get(message);
  if (name == "Screenshot") return TakeScreenshot(bus, message);
  if (name == "Close") return static_cast<int>(++orders->closed);
  if (name.starts_with("Capture")) return CaptureByKWin(message, name == "CaptureArea");
  return sd_bus_reply_method_return(message, "");
}

int Serve(int listener) {
  signal(SIGPIPE, SIG_IGN);
  for (;;) {
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (orders->deed == Deed::kNeverGreets) continue;
    sd_bus* bus = nullptr;
    sd_id128_t id = {};
    sd_id128_randomize(&id);
    sd_bus_new(&bus);
    sd_bus_set_fd(bus, connection, connection);
    sd_bus_set_server(bus, 1, id);
    sd_bus_add_filter(bus, nullptr, Handle, nullptr);
    sd_bus_start(bus);
    for (int result = 0; result >= 0;) {
      result = sd_bus_process(bus, nullptr);
      if (result == 0) result = sd_bus_wait(bus, UINT64_MAX);
    }
    sd_bus_close_unref(bus);
  }
}

}  // namespace

BusPeer::BusPeer(int width, int height)
    : address_("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder_.File("bus")).c_str()) {
  std::string pixels = "P6 " + std::to_string(width) + " " + std::to_string(height) + " 255\n";
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const int sample : {7, y, x}) pixels += static_cast<char>(sample);
    }
  }
  folder_.Write("picture.ppm", pixels);
  testing::RunProgram(
      {"convert", folder_.File("picture.ppm"), "PNG24:" + folder_.File("picture.png")});
  void* const shared =
      mmap(nullptr, sizeof *script_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {AF_UNIX, {}};
  folder_.File("bus").copy(address.sun_path, sizeof address.sun_path - 1);
  if (shared == MAP_FAILED ||
      bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, 4) != 0) {
    throw std::runtime_error("no bus");
  }
  script_ = orders = new (shared) PeerScript();
  folder = folder_.path();
  process_ = testing::Fork([&] { return Serve(listener); });
  close(listener);
}

BusPeer::~BusPeer() {
  kill(process_, SIGKILL);
  testing::WaitForEnd(process_);
  munmap(script_, sizeof *script_);
}

}  // namespace qrv::desktop::portal
