// The mask picture that carries an image's transparency: made, and attached to its colour picture.
#ifndef PLUGIN_PICTURE_MASK_H_
#define PLUGIN_PICTURE_MASK_H_

#include "plugin/picture/picture_editor.h"

namespace picture {

// Binds `mask` to a new picture of the bound colour picture's size. False when the host can't make
// it or it can't be bound; nothing is held then.
bool BindMaskPicture(PictureWriter& mask, const PictureWriter& colour);

// Copies the mask picture into the colour picture's own mask, both `width` x `height` pixels. Gives
// the caller's reference to the mask picture back in every case. A colour picture whose mask can't
// be had or written stays as it is.
void AttachMask(REALpictureStruct* colour, REALpictureStruct* maskPicture, int32_t width,
                int32_t height);

}  // namespace picture

#endif  // PLUGIN_PICTURE_MASK_H_
