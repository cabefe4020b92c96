#include "tests/fakes/fake_host.h"

#include <algorithm>
#include <map>

#include "host/bridge.h"
#include "tests/fakes/fake_frameworks.h"

namespace qrv::fakes {
namespace {

REALobjectStruct* NewObject(const std::string& kind) {
  auto* object = new REALobjectStruct;
  object->kind = kind;
  Created(object, kind);
  return object;
}

void GivePixels(REALobjectStruct* picture, int width, int height) {
  picture->width = width;
  picture->height = height;
  const int rowBytes = width * 4 + kRowSlack;
  picture->pixels.assign(static_cast<size_t>(rowBytes) * static_cast<size_t>(height), 0);
  for (int y = 0; y < height; ++y) {
    picture->rows.push_back(
        reinterpret_cast<int32_t*>(picture->pixels.data() + static_cast<ptrdiff_t>(y) * rowBytes));
  }
  picture->console = {};
  picture->console.sx = width;
  picture->console.sy = height;
  picture->console.trueColor = 1;
  picture->console.tpixels = picture->rows.data();
  picture->context = std::make_unique<CGContext>();
  *picture->context = {picture->pixels.data(),
                       static_cast<size_t>(width),
                       static_cast<size_t>(height),
                       static_cast<size_t>(rowBytes),
                       32,
                       TheStage().contextAlphaInfo,
                       {}};
}

void DropReference(REALobjectStruct* object) {
  Released(object, object->kind);
  if (--object->references > 0) return;
  if (object->mask != nullptr) DropReference(object->mask);
  delete object;
}

// --- Entry points ---

void PluginRegisterMethod(REALmethodDefinition* method) {
  Record(std::string("PluginRegisterMethod ") + method->declaration);
  Registrations().push_back({method, method->flags});
}

void RegisterPluginVersion(int32_t code) { Record("RegisterPluginVersion " + Join(code)); }

double GetRBVersion() { return TheStage().version; }

REALstringStruct* BuildString(const char* bytes, int length) {
  Record("REALBuildString " + Join(length));
  if (Refused("REALBuildString")) return nullptr;
  return NewHostString(std::string(bytes, static_cast<size_t>(length)), 0);
}

void SetStringEncoding(REALstringStruct* string, unsigned long encoding) {
  Record("REALSetStringEncoding " + Join(encoding));
  string->encoding = static_cast<uint32_t>(encoding);
}

unsigned long GetStringEncoding(REALstringStruct* string) {
  Record("REALGetStringEncoding");
  return string->encoding;
}

// Conversion doubles every byte, so that it shows.
REALstringStruct* ConvertString(REALstringStruct* string, unsigned long encoding) {
  Record("REALConvertString " + Join(encoding));
  if (Refused("REALConvertString")) return nullptr;
  std::string converted;
  for (size_t i = 1; i < string->bytes.size(); ++i)
    converted += {string->bytes[i], string->bytes[i]};
  return NewHostString(converted, static_cast<uint32_t>(encoding));
}

void LockString(REALstringStruct* string) {
  Record("REALLockString");
  ++string->references;
  Created(string, "string");
}

void UnlockString(REALstringStruct* string) {
  Record("REALUnlockString");
  ReleaseString(string);
}

const char* StringGetCString(REALstringStruct* string) {
  Record("StringGetCString");
  return string->bytes.data() + 1;
}

int LenB(REALstringStruct* string) {
  Record("LenB");
  return static_cast<int>(string->bytes.size()) - 1;
}

void* LoadGlobalMethod(void* /*unused*/, const char* declaration) {
  Record(std::string("REALLoadGlobalMethod ") + declaration);
  if (std::string(declaration) != "LenB( s as string ) as integer") return nullptr;
  return reinterpret_cast<void*>(LenB);
}

bool GetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  Record("PluginGetStringData " + Join(encoding));
  if (string == nullptr || Refused("PluginGetStringData")) return false;
  *out = {string->bytes.data() + 1, static_cast<uint32_t>(string->bytes.size() - 1),
          static_cast<uint32_t>(encoding)};
  Created(out->data, "string data");
  return true;
}

void DisposeStringData(REALstringData* data) {
  Record("PluginDisposeStringData");
  Released(data->data, "string data");
}

void LockObject(REALobjectStruct* object) {
  Record("REALLockObject " + object->kind);
  ++object->references;
  Created(object, object->kind);
}

void UnlockObject(REALobjectStruct* object) {
  Record("REALUnlockObject " + object->kind);
  DropReference(object);
}

// The first picture that a call makes is its picture; the second its mask.
REALpictureStruct* NewPicture(long width, long height, long depth) {
  Record("newPicture " + Join(width, height, depth));
  if (Refused("newPicture")) return nullptr;
  REALobjectStruct* picture = NewObject("picture");
  GivePixels(picture, static_cast<int>(width), static_cast<int>(height));
  return PictureOf(picture);
}

bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* out,
                            long pixelType) {
  Record("REALLockPictureDescription " + Join(pixelType));
  REALobjectStruct* object = ObjectOf(picture);
  const Application application = TheStage().application;
  const bool desktop = application == Application::kDesktop || application == Application::kNone;
  if (desktop != (pixelType == kPixelTypeBitmapContext)) return false;
  if (Refused("REALLockPictureDescription")) return false;
  void* container =
      desktop ? static_cast<void*>(object->context.get()) : static_cast<void*>(&object->console);
  if (object->container != nullptr) container = object->container;
  *out = {static_cast<int32_t>(pixelType), container, object->width, object->height, 0, 0};
  Created(object, "description");
  return true;
}

void UnlockPictureDescription(REALpictureStruct* picture) {
  Record("unlockPictureDescription");
  const Stage& stage = TheStage();
  const bool held = std::any_of(stage.held.begin(), stage.held.end(), [picture](const auto& entry) {
    return entry.first == picture && entry.second == "description";
  });
  // Hosts before 2012.0 want a refused lock given back.
  if (held || !(stage.version < 2012.0)) Released(picture, "description");
}

void PictureClearCache(REALpictureStruct*) { Record("REALPictureClearCache"); }

void* PluginObjectType(const char* className) {
  Record(std::string("pluginObjectType ") + className);
  const std::string name = className;
  const Application application = TheStage().application;
  static int classReference;
  const bool known = (name == "Application" && application == Application::kDesktop) ||
                     (name == "WebApplication" && application == Application::kWeb) ||
                     (name == "ConsoleApplication" && application == Application::kConsole);
  return known ? &classReference : nullptr;
}

bool GetPropValueBool(REALobjectStruct*, const char* name, unsigned char* out) {
  Record(std::string("REALGetPropValueBool ") + name);
  if (Refused("REALGetPropValueBool")) return false;
  *out = TheStage().picturesHaveAlpha ? 1 : 0;
  return true;
}

REALobjectStruct* PluginNewInstance(const char* className) {
  Record(std::string("PluginNewInstance ") + className);
  if (Refused("PluginNewInstance")) return nullptr;
  return NewObject("picture");
}

void ConstructPicture(REALobjectStruct* instance, int width, int height) {
  Record("Constructor " + Join(width, height));
  GivePixels(instance, width, height);
}

void DrawPicture(REALobjectStruct* graphics, REALpictureStruct* image, int x, int y, int w, int h,
                 int sx, int sy, int sw, int sh) {
  Record("DrawPicture " + Join(x, y, w, h, sx, sy, sw, sh));
  std::copy(ObjectOf(image)->pixels.begin(), ObjectOf(image)->pixels.end(),
            graphics->mask->pixels.begin());
}

void* LoadObjectMethod(REALobjectStruct*, const char* declaration) {
  const std::string text = declaration;
  Record("REALLoadObjectMethod " + text.substr(0, text.find('(')));
  if (Refused("REALLoadObjectMethod")) return nullptr;
  if (text == "Constructor(width as integer, height as integer)") {
    return reinterpret_cast<void*>(ConstructPicture);
  }
  if (text ==
      "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
      "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)") {
    return reinterpret_cast<void*>(DrawPicture);
  }
  return nullptr;
}

REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char flag) {
  Record("REALGetPictureMask " + Join(flag));
  if (Refused("REALGetPictureMask")) return nullptr;
  REALobjectStruct* object = ObjectOf(picture);
  if (object->mask == nullptr) {
    object->mask = NewObject("mask");
    GivePixels(object->mask, object->width, object->height);
  }
  ++object->mask->references;
  Created(object->mask, "mask");
  return PictureOf(object->mask);
}

REALobjectStruct* PictureGraphicsGetter(REALpictureStruct* picture) {
  Record("pluginPictureGraphicsGetter");
  if (TheStage().application != Application::kDesktop || Refused("pluginPictureGraphicsGetter")) {
    return nullptr;
  }
  REALobjectStruct* graphics = NewObject("graphics");
  graphics->mask = ObjectOf(picture);  // what it draws into, held
  ++graphics->mask->references;
  Created(graphics->mask, graphics->mask->kind);
  return graphics;
}

const std::map<std::string, void*>& EntryPoints() {
  static const std::map<std::string, void*> kEntryPoints = {
      {"RegisterPluginVersion", reinterpret_cast<void*>(RegisterPluginVersion)},
      {"REALGetRBVersion", reinterpret_cast<void*>(GetRBVersion)},
      {"PluginRegisterMethod", reinterpret_cast<void*>(PluginRegisterMethod)},
      {"REALBuildString", reinterpret_cast<void*>(BuildString)},
      {"REALSetStringEncoding", reinterpret_cast<void*>(SetStringEncoding)},
      {"REALGetStringEncoding", reinterpret_cast<void*>(GetStringEncoding)},
      {"REALConvertString", reinterpret_cast<void*>(ConvertString)},
      {"REALLockString", reinterpret_cast<void*>(LockString)},
      {"REALUnlockString", reinterpret_cast<void*>(UnlockString)},
      {"REALLoadGlobalMethod", reinterpret_cast<void*>(LoadGlobalMethod)},
      {"StringGetCString", reinterpret_cast<void*>(StringGetCString)},
      {"PluginGetStringData", reinterpret_cast<void*>(GetStringData)},
      {"PluginDisposeStringData", reinterpret_cast<void*>(DisposeStringData)},
      {"REALLockObject", reinterpret_cast<void*>(LockObject)},
      {"REALUnlockObject", reinterpret_cast<void*>(UnlockObject)},
      {"newPicture", reinterpret_cast<void*>(NewPicture)},
      {"REALLockPictureDescription", reinterpret_cast<void*>(LockPictureDescription)},
      {"unlockPictureDescription", reinterpret_cast<void*>(UnlockPictureDescription)},
      {"REALPictureClearCache", reinterpret_cast<void*>(PictureClearCache)},
      {"pluginObjectType", reinterpret_cast<void*>(PluginObjectType)},
      {"REALGetPropValueBool", reinterpret_cast<void*>(GetPropValueBool)},
      {"PluginNewInstance", reinterpret_cast<void*>(PluginNewInstance)},
      {"REALLoadObjectMethod", reinterpret_cast<void*>(LoadObjectMethod)},
      {"REALGetPictureMask", reinterpret_cast<void*>(GetPictureMask)},
      {"pluginPictureGraphicsGetter", reinterpret_cast<void*>(PictureGraphicsGetter)},
  };
  return kEntryPoints;
}

}  // namespace

void* Resolve(const char* name) {
  Record(std::string("resolve ") + name);
  if (TheStage().missing.contains(name)) return nullptr;
  const auto found = EntryPoints().find(name);
  return found == EntryPoints().end() ? nullptr : found->second;
}

void UseHost() {
  gResolver = Resolve;
  rbversion = TheStage().version;
}

REALstringStruct* NewHostString(std::string bytes, uint32_t encoding) {
  auto* string = new REALstringStruct;
  string->bytes = "\x7F" + std::move(bytes);
  string->encoding = encoding;
  string->legacy = {1, reinterpret_cast<unsigned char*>(string->bytes.data()), 0,
                    static_cast<int32_t>(string->bytes.size() - 1)};
  Created(string, "string");
  return string;
}

void ReleaseString(REALstringStruct* string) {
  Released(string, "string");
  if (--string->references == 0) delete string;
}

REALpictureStruct* MakePicture(int width, int height) {
  REALobjectStruct* picture = NewObject("picture");
  GivePixels(picture, width, height);
  return PictureOf(picture);
}

void ReleasePicture(REALpictureStruct* picture) { DropReference(ObjectOf(picture)); }

std::vector<uint8_t> PixelBytes(REALpictureStruct* picture, int x, int y) {
  const REALobjectStruct* object = ObjectOf(picture);
  const auto* row = reinterpret_cast<const uint8_t*>(object->rows[static_cast<size_t>(y)]);
  return {row + x * 4, row + x * 4 + 4};
}

uint32_t Colour(REALpictureStruct* picture, int x, int y) {
  const std::vector<uint8_t> bytes = PixelBytes(picture, x, y);
  const Application application = TheStage().application;
  const auto colour = [&bytes](size_t red, size_t green, size_t blue) {
    return static_cast<uint32_t>(bytes[red] << 16 | bytes[green] << 8 | bytes[blue]);
  };
  if (application == Application::kConsole || application == Application::kWeb) {
    return colour(2, 1, 0);
  }
  return TheStage().contextAlphaInfo % 2 == 1 ? colour(0, 1, 2) : colour(1, 2, 3);
}

std::vector<Registration>& Registrations() {
  static std::vector<Registration> registrations;
  return registrations;
}

}  // namespace qrv::fakes
