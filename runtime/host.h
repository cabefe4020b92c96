// The host runtime: loads the plug-in into this process and is the host to it.
//
// There is one host at a time, because the plug-in keeps the resolver of the host that started it.
#ifndef RUNTIME_HOST_H_
#define RUNTIME_HOST_H_

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <screenshotqrv/host.h>

#include "runtime/methods.h"

namespace qrv::runtime {

// The kind of program that the host pretends to run. Pictures of desktop programs are bitmap
// contexts, those of console and web programs are console images.
enum class ApplicationKind { kDesktop, kConsole, kWeb };

struct HostOptions {
  ApplicationKind application = ApplicationKind::kDesktop;
  std::optional<double> version = 2013.03;  // unset: the host has no "REALGetRBVersion"
  bool picturesHaveAlpha = false;           // pictures of a desktop program have an alpha channel
  // The alpha info of a desktop program's pictures: 1, 2, 5 or 6. Unset: 2 with an alpha channel,
  // else 6.
  std::optional<uint32_t> bitmapAlphaInfo = {};
  // The names of entry points that this host lacks. Hosts older than 2013.0 always lack
  // "PluginGetStringData" and "PluginDisposeStringData". A plug-in keeps what it has found, so this
  // has no effect on entry points that it found in an earlier host of the process.
  std::set<std::string, std::less<>> missing = {};
};

// What the host has handed out and not got back. All zero between calls, except for the references
// that the test or program itself holds. Does not count what the plug-in can't give back because
// the host lacks the entry point.
struct Ledger {
  long objects = 0;            // objects alive: pictures, masks that belong to pictures, graphics
  long strings = 0;            // strings alive
  long references = 0;         // references to both, held outside the host
  long pictureLocks = 0;       // picture descriptions locked
  long stringLocks = 0;        // strings locked; each lock is one of the references above
  long stringDataBuffers = 0;  // string data not disposed of
  long violations = 0;         // calls against the interface: unlocked without a lock, released too
                               // often, a pointer that the host never gave out

  bool operator==(const Ledger&) const = default;
};

// The pixels of a host picture: rows top-down, 4 bytes per pixel: red, green, blue, alpha (255 is
// opaque; from the picture's mask where it has one).
struct Image {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> rgba;
};

struct RegisteredMethod {
  void* function = nullptr;
  std::string declaration;
  uint32_t flags = 0;
};

struct HostState;

class Host {
 public:
  explicit Host(HostOptions options);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Loads the plug-in from that file, without searching library folders, and starts it. When false,
  // `error` names the file and the reason: not found, not a plug-in, or the loader's report.
  bool LoadPlugin(const std::string& path, std::string& error);
  // Starts a plug-in that is linked into this program.
  void StartPlugin(REALPluginMainFunction pluginMain);

  // The interface version code that the plug-in reported; 0 when it reported none.
  int interfaceVersion() const;
  const std::vector<RegisteredMethod>& methods() const;
  bool Offers(std::string_view declaration) const { return FindMethod(declaration) != nullptr; }

  // Calls the method with arguments of exactly its types. The result carries one reference, which
  // the caller releases with Release. Nil when the method is not registered.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result Call(const Method<Result(Parameters...)>& method, Arguments&&... arguments) const {
    static_assert(
        (std::same_as<std::remove_reference_t<Parameters>, std::decay_t<Arguments>> && ...));
    void* function = FindMethod(method.declaration);
    return function == nullptr ? Result{}
                               : reinterpret_cast<Result (*)(Parameters...)>(function)(
                                     std::forward<Arguments>(arguments)...);
  }

  // A new string with one reference; `encoding` is the host's code.
  REALstringStruct* NewString(std::string_view bytes, uint32_t encoding = kRawBytesEncoding);
  static std::string_view Bytes(const REALstringStruct* string);
  static uint32_t Encoding(const REALstringStruct* string);
  static long References(const REALstringStruct* string);
  static long References(const REALpictureStruct* picture);
  void Release(REALstringStruct* string);
  void Release(REALpictureStruct* picture);

  // The picture's pixels; an image of size 0 for nil or when there is no memory.
  static Image Read(const REALpictureStruct* picture);
  // Reads row `y`, width x 4 bytes, into `rgba`.
  static void ReadRow(const REALpictureStruct* picture, int32_t y, uint8_t* rgba);
  static int32_t Width(const REALpictureStruct* picture);
  static int32_t Height(const REALpictureStruct* picture);
  // Whether the picture has a mask or an alpha channel.
  static bool MayBeTransparent(const REALpictureStruct* picture);
  // The mask attached to the picture, not owned, or null.
  static REALpictureStruct* Mask(const REALpictureStruct* picture);

  const Ledger& ledger() const;

 private:
  void* FindMethod(std::string_view declaration) const;

  std::unique_ptr<HostState> state_;
};

}  // namespace qrv::runtime

#endif  // RUNTIME_HOST_H_
