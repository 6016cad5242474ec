// Colours of pictures.
#pragma once

#include "vantor/vantor.h"

namespace vantor::c {

/// Red, green and blue of a picture, to the first three bytes of every pixel. Both have been checked.
void decodePixels(const vantor_rgb& dst, int pixelBytes, const vantor_image& src, int encoding);

}  // namespace vantor::c
