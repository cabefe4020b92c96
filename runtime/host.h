// The host runtime: loads the plug-in into this process and is the host to it.
//
// One host at a time: the plug-in keeps the resolver of the host that started it.
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

// Which program the host pretends to run. Desktop programs keep pictures as bitmap contexts,
// console and web programs as console images.
enum class ApplicationKind { kDesktop, kConsole, kWeb };

struct HostOptions {
  ApplicationKind application = ApplicationKind::kDesktop;
  std::optional<double> version = 2013.03;  // nothing: the host has no "REALGetRBVersion"
  bool picturesHaveAlpha = false;           // pictures of a desktop program carry an alpha channel
  // The alpha info of a desktop program's pictures: 1, 2, 5 or 6. Unset: 2 with an alpha channel,
  // else 6.
  std::optional<uint32_t> bitmapAlphaInfo = {};
  // Entry points that this host lacks, by the names that a plug-in asks for; it may lack any. A
  // host older than 2013.0 lacks "PluginGetStringData" and "PluginDisposeStringData" of itself. A
  // plug-in keeps what it has found, so nothing that an earlier host of the process had can be
  // lacking.
  std::set<std::string, std::less<>> missing = {};
};

// What the host has handed out and not got back. All zero between calls, apart from the
// references that the test or program itself holds. What a host can't be given back, because it
// lacks the entry point, it doesn't count.
struct Ledger {
  long objects = 0;            // objects alive: pictures, masks that belong to pictures, graphics
  long strings = 0;            // strings alive
  long references = 0;         // references held on both, by anybody outside the host
  long pictureLocks = 0;       // picture descriptions locked
  long stringLocks = 0;        // strings locked; each lock is one of the references above
  long stringDataBuffers = 0;  // string data not disposed of
  long violations = 0;         // calls against the interface: unlocked without a lock, released too
                               // often, a pointer that the host never gave out

  bool operator==(const Ledger&) const = default;
};

// An image read out of a host picture: rows top-down, 4 bytes a pixel: red, green, blue, alpha
// (255 opaque; from the picture's mask where it has one).
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

  // Loads the plug-in in that file, which is never searched for in library folders, and starts it.
  // On failure false, and `error` names the file and says why: not found, not a plug-in, or what
  // the loader reports.
  bool LoadPlugin(const std::string& path, std::string& error);
  // Starts a plug-in that is linked into this program.
  void StartPlugin(REALPluginMainFunction pluginMain);

  // The interface version code that the plug-in reported; 0 when it reported none.
  int InterfaceVersion() const;
  const std::vector<RegisteredMethod>& Methods() const;
  bool Offers(std::string_view declaration) const { return FindMethod(declaration) != nullptr; }

  // Calls the method, with arguments of exactly its types. The result carries one reference, which
  // the caller gives back with Release. Nil when the method is not registered.
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
  // The same one row at a time: row `y` as width x 4 bytes at `rgba`.
  static void ReadRow(const REALpictureStruct* picture, int32_t y, uint8_t* rgba);
  static int32_t Width(const REALpictureStruct* picture);
  static int32_t Height(const REALpictureStruct* picture);
  // Whether the picture has a mask or an alpha channel, so that some pixel may not be opaque.
  static bool MayBeTransparent(const REALpictureStruct* picture);
  // The mask attached to the picture, not owned, or null.
  static REALpictureStruct* Mask(const REALpictureStruct* picture);

  const Ledger& Outstanding() const;

 private:
  void* FindMethod(std::string_view declaration) const;

  std::unique_ptr<HostState> state_;
};

}  // namespace qrv::runtime

#endif  // RUNTIME_HOST_H_
