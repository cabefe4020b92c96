// The mask picture that holds an image's transparency: creating it and attaching it.
#ifndef PLUGIN_PICTURE_MASK_H_
#define PLUGIN_PICTURE_MASK_H_

#include "plugin/picture/picture_editor.h"

namespace picture {

// Binds `mask` to a new picture of the bound colour picture's size. False, and nothing is held,
// when the host can't make it or it can't be bound.
bool BindMaskPicture(PictureWriter& mask, const PictureWriter& colour);

// Copies the mask picture into the colour picture's own mask, both `width` x `height` pixels.
// Always releases the caller's reference to the mask picture. Leaves the colour picture as it is
// when its mask is unavailable.
void AttachMask(REALpictureStruct* colour, REALpictureStruct* maskPicture, int32_t width,
                int32_t height);

}  // namespace picture

#endif  // PLUGIN_PICTURE_MASK_H_
