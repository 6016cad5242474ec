// How many bytes the frames of raw files have, and why.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

/// The sum that gives a frame's bytes, such as "1984 x 1096 x 3/2".
std::string sumOf(const FrameShape& shape);

/// Explains a truncated frame of a raw file: how its bytes are counted and, if its length is
/// known and a padding of rows and planes gives it, the options for it. `optionPrefix` begins their
/// names.
std::string explainLength(const FrameShape& shape, std::optional<uintmax_t> length,
                          const std::string& optionPrefix);

}  // namespace vantor::tool
