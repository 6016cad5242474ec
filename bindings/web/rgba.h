// Pictures as canvases take them.
#pragma once

#include <cstdint>

#include "vantor/vantor.h"

namespace vantor::web {

/// A part of gray or NV12, in one of the C library's encodings, as RGBA, row by row without gaps. With chroma
/// it begins at even positions.
void toRgba(const vantor_image& image, const vantor_rect& part, int encoding, uint8_t* rgba);

}  // namespace vantor::web
