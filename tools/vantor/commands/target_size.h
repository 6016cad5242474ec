// Sizes that users give for the result of a scaling request.
#pragma once

#include <string>

#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// The forms of SIZE, for --help.
constexpr char kTargetSizes[] = "such as 1280x720, 640x or x480 (keeping the aspect ratio), 50%, 50%x25%";

/// The size that --size says for a picture of `source`'s size. Sides that are computed, from a percentage or
/// by aspect ratio, are rounded to multiples of `step`, with a note where that is not the nearest whole
/// number; sides that are given have to be such multiples. Refuses sizes outside the tool's limits.
Size targetSize(const std::string& text, Size source, int step);

/// A note says once that a reduction to less than half the size aliases.
void noteAliasing(Size source, Size target);

}  // namespace vantor::tool
