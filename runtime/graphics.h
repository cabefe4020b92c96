// The object that draws into a desktop application's picture.
#ifndef RUNTIME_GRAPHICS_H_
#define RUNTIME_GRAPHICS_H_

#include "runtime/objects.h"
#include "runtime/pictures.h"

namespace qrv::runtime {

struct Graphics : REALobjectStruct {
  void LetGoOfOthers(HostState& host) override { LetGo(host, target); }

  REALpictureStruct* target = nullptr;  // kept
};

// A new object that draws into `target`, with one reference. Throws std::bad_alloc.
REALobjectStruct* MakeGraphics(HostState& host, REALpictureStruct& target);

// The host language's DrawPicture: the source rectangle, in pixels of `image` from its top-left
// corner, replaces the target rectangle, scaled to it by nearest neighbour and clipped to both
// pictures. A source width or height of -10000 stands for the whole image's.
void DrawPicture(REALobjectStruct* graphics, REALpictureStruct* image, int x, int y, int width,
                 int height, int sourceX, int sourceY, int sourceWidth, int sourceHeight) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_GRAPHICS_H_
