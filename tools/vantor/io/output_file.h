// Output files that appear whole or not at all.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::tool {

/// Writes `bytes` beside `path` and renames the result to it, so that a failed run leaves the old file, or
/// none. What is no regular file (a device, a pipe) is written to directly.
void writeWhole(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace vantor::tool
