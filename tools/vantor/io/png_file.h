// PNG pictures: 8-bit gray and RGB.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// A chunk about the meaning of samples or the orientation of the picture, such as a colour profile.
struct PngChunk {
    std::string name;
    std::vector<uint8_t> bytes;
};

using PngChunks = std::vector<PngChunk>;

/// Of a PNG, or of a JPEG, whose Exif and profile are held as a PNG would.
struct DescribedPicture {
    Picture picture;
    PngChunks chunks;
};

/// Reads a PNG of up to 8 bits per sample as gray or RGB, its samples unchanged, and those of its chunks that
/// a PNG of the same kind of samples takes over (docs/formats.md names them), as they are. Alpha and damaged
/// chunks are dropped, with a note.
DescribedPicture readPng(const std::string& path);

/// zlib's, from 0, which does not compress, to 9; without one, what is fast and makes files of nearly the
/// size of level 6 (docs/formats.md has numbers).
using PngLevel = std::optional<int>;

/// The PNG file of a gray or RGB picture, with these chunks and no others. `path` is what an error names.
std::vector<uint8_t> encodePng(const std::string& path, const Picture& picture, const PngChunks& chunks = {},
                               PngLevel level = {});

/// Prints a note naming the chunks, read from `source`, that a file of another type cannot hold; not for
/// sRGB, which is the default everywhere. A JPEG holds Exif and the ICC profile.
void noteDropped(const std::string& source, const PngChunks& chunks, const std::string& output, bool isJpeg);

}  // namespace vantor::tool
