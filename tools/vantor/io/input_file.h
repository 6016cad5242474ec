// Input files, read whole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::tool {

/// The file's length. Refuses what is no readable regular file.
uintmax_t lengthOf(const std::string& path);

std::vector<uint8_t> readWhole(const std::string& path);

}  // namespace vantor::tool
