// PNG pictures: 8-bit gray and RGB.
#pragma once

#include <string>
#include <vector>

#include "tools/vantor/io/picture.h"

namespace vantor::tool {

/// Reads a PNG of up to 8 bits a sample as gray or RGB, its samples unchanged. Alpha is dropped, with a note.
Picture readPng(const std::string& path);

/// The PNG file of a gray or RGB picture. `path` is what an error names.
std::vector<uint8_t> encodePng(const std::string& path, const Picture& picture);

}  // namespace vantor::tool
