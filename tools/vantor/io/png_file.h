// PNG pictures: 8-bit gray and RGB.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// A chunk that says what samples mean or how to hold the picture: a colour profile, say.
struct PngChunk {
    std::string name;
    std::vector<uint8_t> bytes;
};

using PngChunks = std::vector<PngChunk>;

struct PngPicture {
    Picture picture;
    PngChunks chunks;
};

/// Reads a PNG of up to 8 bits per sample as gray or RGB, its samples unchanged, and those of its chunks that
/// a PNG of the same kind of samples takes over (docs/formats.md names them), as they are. Alpha and damaged
/// chunks are dropped, with a note.
PngPicture readPng(const std::string& path);

/// The PNG file of a gray or RGB picture, with these chunks and no others. `path` is what an error names.
std::vector<uint8_t> encodePng(const std::string& path, const Picture& picture, const PngChunks& chunks = {});

/// Says in a note which chunks, read from `source`, a file of another type cannot hold. sRGB is what
/// everybody takes for granted.
void noteDropped(const std::string& source, const PngChunks& chunks, const std::string& output);

}  // namespace vantor::tool
