// Pictures as canvases take them.
#pragma once

#include <cstdint>

#include "vantor/vantor.h"

namespace vantor::web {

/// All of gray or NV12, in one of the C library's encodings, as RGBA, row by row without gaps.
void toRgba(const vantor_image& image, int encoding, uint8_t* rgba);

}  // namespace vantor::web
