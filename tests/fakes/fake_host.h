// A recording host: the entry points that the plug-in asks for by name, over the stage's settings.
#ifndef TESTS_FAKES_FAKE_HOST_H_
#define TESTS_FAKES_FAKE_HOST_H_

#include <ApplicationServices/ApplicationServices.h>

#include <memory>
#include <string>
#include <vector>

#include "host/host_types.h"
#include "tests/fakes/stage.h"

struct REALstringStruct {
  LegacyHostString legacy;  // as hosts before 2013.0 keep it
  std::string bytes;        // a host's own byte, then the string's
  uint32_t encoding = 0;
  int references = 1;
};

struct REALobjectStruct {
  std::string kind;
  int references = 1;
  // Of pictures:
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;  // rows of width x 4 bytes plus `kRowSlack`
  std::vector<int32_t*> rows;
  ConsoleImage console = {};
  std::unique_ptr<CGContext> context;
  void* container = nullptr;         // described instead of the two above, when a test sets it
  REALobjectStruct* mask = nullptr;  // owned
};

namespace qrv::fakes {

// Bytes between the rows of a desktop picture.
constexpr int kRowSlack = 8;

// The resolver that the plug-in gets. Looks names up among the entry points that are not missing.
void* Resolve(const char* name);

// Gives the plug-in this host: sets its resolver and the version that it knows.
void UseHost();

// A string of the fake host, with one reference.
REALstringStruct* NewHostString(std::string bytes, uint32_t encoding = 0xFFFF);
void ReleaseString(REALstringStruct* string);

inline REALobjectStruct* ObjectOf(REALpictureStruct* picture) {
  return reinterpret_cast<REALobjectStruct*>(picture);
}
inline REALpictureStruct* PictureOf(REALobjectStruct* object) {
  return reinterpret_cast<REALpictureStruct*>(object);
}

// A picture of the fake host, with one reference; not recorded.
REALpictureStruct* MakePicture(int width, int height);
void ReleasePicture(REALpictureStruct* picture);

// The four bytes of a pixel in the picture's memory.
std::vector<uint8_t> PixelBytes(REALpictureStruct* picture, int x, int y);
// The pixel's colour as 0xRRGGBB.
uint32_t Colour(REALpictureStruct* picture, int x, int y);

// The methods that the plug-in has registered, with the flags that they had, in order.
struct Registration {
  const REALmethodDefinition* definition;
  uint32_t flags;
};
std::vector<Registration>& Registrations();

}  // namespace qrv::fakes

#endif  // TESTS_FAKES_FAKE_HOST_H_
