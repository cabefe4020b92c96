// Converting QuickDraw's offscreen worlds to host pictures.
#ifndef PLUGIN_PICTURE_WORLD_PICTURE_H_
#define PLUGIN_PICTURE_WORLD_PICTURE_H_

#include <screenshotqrv/host.h>

// A new host picture of the world's pixels (depths 32, 24 and 8, where 8 bits are a grey level),
// with one reference that is the caller's, or nil. Always disposes of the world. The unsigned char
// is ignored.
REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char = 0);

#endif  // PLUGIN_PICTURE_WORLD_PICTURE_H_
