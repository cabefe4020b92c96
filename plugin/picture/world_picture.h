// QuickDraw offscreen world to host picture.
#ifndef PLUGIN_PICTURE_WORLD_PICTURE_H_
#define PLUGIN_PICTURE_WORLD_PICTURE_H_

#include <screenshotqrv/host.h>

// A new host picture of the world's pixels (depths 32, 24 and 8; one value of an 8-bit world is a
// grey level), at one host reference that is the caller's, or nil. Takes the world: it is disposed
// of in every case. The unsigned char carries no meaning.
REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char = 0);

#endif  // PLUGIN_PICTURE_WORLD_PICTURE_H_
