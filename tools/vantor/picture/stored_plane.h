// Planes as files store them that have more chroma or more bits than the tool works on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "geometry/size.h"

namespace vantor::tool {

/// A plane of a frame in a file, and the box of samples of which each sample of the tool's plane is the mean.
struct StoredPlane {
    size_t offset;  ///< from the beginning of the frame
    Size size;
    size_t stride;  ///< bytes from one row to the next
    int bits;       ///< from 8 to 16; above 8, a sample has two bytes, the low one first
    Size box;       ///< of 1 or 2 columns and rows

    size_t bytesPerSample() const { return bits > 8 ? 2 : 1; }
    /// From the beginning of the frame to the end of its last sample.
    size_t end() const;
};

/// Writes the plane in 8 bits, packed, and returns its end. Means and values of more bits, which are divided
/// by 2^(bits - 8), are rounded once, to nearest, halves up, and at most 255. Boxes that reach over an edge
/// repeat the last column or row.
uint8_t* reduce(const StoredPlane& plane, const uint8_t* frame, uint8_t* to);

/// What `reduce` does to chroma by such a box, and to all values, for a note.
std::string ruleOf(Size box, int bits);

}  // namespace vantor::tool
