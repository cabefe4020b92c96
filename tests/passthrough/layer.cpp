#include "tests/passthrough/layer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>

#include "platform/quickdraw/world.h"
#include "runtime/pictures.h"

namespace qrv {
namespace seam {

using namespace passthrough;

#define SEAM(name, signature, ...) \
  passthrough::Seam<signature> name{#name __VA_OPT__(, ) __VA_ARGS__};
#include "tests/passthrough/table.inc"
#undef SEAM

}  // namespace seam

namespace passthrough {
namespace {

std::map<std::string, SeamBase*>& Seams() {
  static std::map<std::string, SeamBase*> seams;
  return seams;
}

// The plug-in's call of a function.
template <auto* seam, typename Function = typename std::remove_pointer_t<decltype(seam)>::Function>
struct Gate;

template <auto* seam, typename Result, typename... Parameters>
struct Gate<seam, Result (*)(Parameters...)> {
  static Result Call(Parameters... parameters) { return seam->Pass(parameters...); }
};

void* LookUp(const std::string& name, void* real) {
  Layer& layer = TheLayer();
  layer.calls.push_back("look up " + name);
  const auto seam = Seams().find(name);
  if (real == nullptr || seam == Seams().end()) return nullptr;
  seam->second->SetReal(real);
  if (layer.missing.contains(name)) return nullptr;
  if (seam->second->found) layer.problems.push_back(name + " looked up again");
  seam->second->found = true;
  return seam->second->entry;
}

REALpictureStruct* Poisoned(REALpictureStruct* picture) {
  for (int32_t y = 0; picture != nullptr && y < picture->height; ++y) {
    memset(picture->Row(y), kPoison, static_cast<size_t>(picture->width) * 4);
  }
  return picture;
}

// --- What the layer does with calls besides passing them on ---

void PoisonWhatIsNew() {
  seam::malloc.habit = [](size_t size) {
    void* memory = ::malloc(size);
    return memory == nullptr ? nullptr : memset(memory, kPoison, size);
  };
  seam::newPicture.habit = [](long width, long height, long depth) {
    return Poisoned(runtime::NewPicture(width, height, depth));
  };
  seam::CGGetActiveDisplayList.habit = [](uint32_t most, CGDirectDisplayID* ids, uint32_t* count) {
    memset(ids, kPoison, most * sizeof(*ids));
    return ::CGGetActiveDisplayList(most, ids, count);
  };
  seam::CGBitmapContextCreate.habit = [](void* data, size_t width, size_t height, size_t bits,
                                         size_t rowBytes, CGColorSpaceRef space, uint32_t info) {
    CGContextRef context =
        ::CGBitmapContextCreate(data, width, height, bits, rowBytes, space, info);
    if (data == nullptr && context != nullptr) {
      memset(::CGBitmapContextGetData(context), kPoison, height * rowBytes);
    }
    return context;
  };
  seam::NewGWorld.habit = [](GWorldPtr* world, short depth, const Rect* bounds, CTabHandle colors,
                             GDHandle device, GWorldFlags flags) {
    const QDErr error = seam::NewGWorld.real(world, depth, bounds, colors, device, flags);
    if (error == noErr) {
      const Rect& area = (*world)->map.record().bounds;
      const auto rows = static_cast<size_t>(area.bottom - area.top);
      memset((*world)->pixels, kPoison, rows * (*world)->rowBytes);
    }
    return error;
  };
}

// The state that a real context and a real port would have from others, so that what is not set
// shows, and what a real number would not take.
void SpoilState() {
  static bool reads = false;
  static bool isFinished = false;
  static CGLContextObj current = nullptr;
  static std::map<GLenum, GLint> packing;
  static long fore = 0;
  static long back = 0;
  seam::CGLSetFullScreen.habit = [](CGLContextObj context) {
    if (context != current) return CGLError{kCGLBadContext};
    const CGLError error = ::CGLSetFullScreen(context);
    ::CGLSetCurrentContext(nullptr);
    return error;
  };
  seam::CGLSetCurrentContext.habit = [](CGLContextObj context) {
    current = context;
    reads = isFinished = false;
    const CGLError error = ::CGLSetCurrentContext(context);
    packing = {{GL_PACK_ALIGNMENT, 8},
               {GL_PACK_ROW_LENGTH, 3},
               {GL_PACK_SKIP_ROWS, 1},
               {GL_PACK_SKIP_PIXELS, 1}};
    return error;
  };
  seam::glPixelStorei.habit = [](GLenum name, GLint value) { packing[name] = value; };
  seam::CFNumberGetValue.habit = [](CFNumberRef number, CFNumberType type, void* value) {
    if (number == nullptr) TheLayer().problems.push_back("the value of no number");
    return ::CFNumberGetValue(number, type, value);
  };
  seam::glReadBuffer.habit = [](GLenum mode) { reads = mode == GL_FRONT; };
  seam::glFinish.habit = [] { isFinished = true; };
  seam::glReadPixels.habit = [](GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                                GLenum type, GLvoid* pixels) {
    const std::map<GLenum, GLint> withoutGaps = {{GL_PACK_ALIGNMENT, 4},
                                                 {GL_PACK_ROW_LENGTH, 0},
                                                 {GL_PACK_SKIP_ROWS, 0},
                                                 {GL_PACK_SKIP_PIXELS, 0}};
    if (!reads || !isFinished || packing != withoutGaps) return;
    ::glReadPixels(x, y, width, height, format, type, pixels);
  };
  seam::ForeColor.habit = [](long color) { fore = color; };
  seam::BackColor.habit = [](long color) { back = color; };
  seam::CopyBits.habit = [](const BitMap* source, const BitMap* target, const Rect* from,
                            const Rect* to, short mode, RgnHandle mask) {
    if (fore != blackColor || back != whiteColor) return;
    seam::CopyBits.real(source, target, from, to, mode, mask);
    fore = back = 0;
  };
}

// The host knows of a lock that is refused, which older ones want unlocked: here it refuses a type
// that there isn't.
void LetTheHostRefuseLocks() {
  seam::REALLockPictureDescription.refuse = [](REALpictureStruct* picture,
                                               REALpictureDescription* description, long) {
    return runtime::LockPictureDescription(picture, description, 0);
  };
}

void LetNamesBeFound() {
  seam::CFBundleGetFunctionPointerForName.habit = [](CFBundleRef bundle, CFStringRef name) {
    return LookUp(name->characters, ::CFBundleGetFunctionPointerForName(bundle, name));
  };
  // The framework that it has loaded the plug-in keeps for good.
  seam::CFBundleLoadExecutable.habit = [](CFBundleRef bundle) {
    const Boolean isLoaded = ::CFBundleLoadExecutable(bundle);
    if (isLoaded) TheLayer().Take(bundle, kOrdered);
    return isLoaded;
  };
}

}  // namespace

SeamBase::SeamBase(const char* itsName, long itsRefusal, Kind itsGives, Kind itsTakes)
    : name(itsName), refusal(itsRefusal), gives(itsGives), takes(itsTakes) {
  Seams()[name] = this;
}

Layer& TheLayer() {
  static Layer layer;
  return layer;
}

const bool kIsReady = [] {
#define SEAM(name, ...) seam::name.entry = reinterpret_cast<void*>(Gate<&seam::name>::Call);
#include "tests/passthrough/table.inc"
#undef SEAM
#undef LIBRARY
#undef FRAMEWORK
#undef QUICKDRAW
#undef HOST
#define QUICKDRAW(...)
#define HOST(...)
#define LIBRARY(name, ...) seam::name.real = ::name;
#undef WEAK
#define FRAMEWORK LIBRARY
#define WEAK LIBRARY
#include "tests/passthrough/table.inc"
  PoisonWhatIsNew();
  SpoilState();
  LetTheHostRefuseLocks();
  LetNamesBeFound();
  return true;
}();

void* Resolve(const char* name) { return LookUp(name, runtime::ResolveEntryPoint(name)); }

long Layer::CallsOf(const std::string& name) const {
  return std::count(calls.begin(), calls.end(), name);
}

bool Layer::Refuses(const std::string& name) {
  ++refusable;
  if (refuseAt == refusable) refusedCall = name;
  return refuseAt == refusable || refused.contains(name);
}

void Layer::Give(const void* object, Kind kind) {
  if (object != nullptr) held.emplace_back(object, kind);
}

void Layer::Take(const void* object, Kind kind) {
  if (object == nullptr) return;
  const std::pair what(object, kind);
  const auto found = std::find(held.rbegin(), held.rend(), what);
  if (found == held.rend()) {
    // Older hosts want a lock that they have refused unlocked; the runtime knows.
    if (kind != kPictureLock) problems.push_back(calls.back() + " of what isn't held");
    return;
  }
  if (kind >= kOrdered &&
      std::any_of(held.rbegin(), found, [](auto& later) { return later.second >= kOrdered; })) {
    problems.push_back(calls.back() + " before what was created later");
  }
  held.erase(std::next(found).base());
}

}  // namespace passthrough
}  // namespace qrv

// What the plug-in's undefined symbols are redirected to. They are resolved while the program is
// loaded, when neither the C library's environment nor the sanitizers' functions are ready yet.
extern "C" void* __libc_stack_end;  // NOLINT(bugprone-reserved-identifier)

namespace {

using Function = void();

// The stack begins with the number of arguments, the arguments, and the environment.
[[gnu::no_sanitize("address", "undefined")]] bool IsInEnvironment(const char* setting) {
  const char* const* word = static_cast<char**>(__libc_stack_end) + 1;
  while (*word++ != nullptr) {
  }
  for (; *word != nullptr; ++word) {
    const char* at = *word;
    const char* wanted = setting;
    for (; *at != '\0' && *at == *wanted; ++at) ++wanted;
    if (*at == *wanted) return true;
  }
  return false;
}

}  // namespace

extern "C" {
#undef LIBRARY
#define LIBRARY(name, ...)                                                                    \
  [[gnu::no_sanitize("address", "undefined")]] Function* resolve_##name() {                   \
    return IsInEnvironment(QRV_LACKING "=" #name)                                             \
               ? nullptr                                                                      \
               : reinterpret_cast<Function*>(qrv::passthrough::Gate<&qrv::seam::name>::Call); \
  }                                                                                           \
  Function through_##name __attribute__((ifunc("resolve_" #name)));
#include "tests/passthrough/table.inc"
}
