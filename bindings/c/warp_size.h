// How pictures become those that the device takes.
#pragma once

#include <algorithm>

#include "geometry/size.h"

namespace vantor::c {

/// The size of the picture that stands for one of any size: its last column and row are repeated.
inline Size extendedSize(Size picture) {
    const Size even = picture.roundedUp(16, 2);
    return {std::max(even.width, 96), std::max(even.height, 64)};
}

}  // namespace vantor::c
