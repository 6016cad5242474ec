// Pictures of differences.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// A PNG of two comparable pictures: their pixels from the top left corner on, each in the colour of the
/// largest difference of its components, one colour per doubling; black up to `tolerance`. A key
/// and `title` follow below.
std::vector<uint8_t> heatmap(const Picture& a, const Picture& b, int tolerance, const std::string& title);

}  // namespace vantor::tool
