// Grids as files hold them, in two forms with the same numbers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "gdc_model/grid.h"

namespace vantor {

/// dX, then dY, little-endian.
constexpr size_t kBinaryGridBytes = sizeof(Grid);

/// Whether these are not the bytes of a binary grid: no control character is among them.
bool isText(std::string_view bytes);

/// Either form. Throws a GeometryError that names the line of what it cannot read.
Grid parseGrid(std::string_view bytes);

/// Exactly kBinaryGridBytes.
std::string toBinary(const Grid& grid);

/// A line "dX", 33 rows of 33 numbers, a line "dY", 33 more; "#" begins a comment, such as `comment`, which
/// is one line of printable text.
std::string toText(const Grid& grid, std::string_view comment);

}  // namespace vantor
