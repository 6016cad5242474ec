// JPEG pictures: YCbCr and gray, of 8 bits.
#pragma once

#include <string>
#include <vector>

#include "tools/vantor/io/png_file.h"

namespace vantor::tool {

constexpr int kDefaultQuality = 90;

/// Reads a JPEG as I420 or gray: the decoder's own samples, in full range. Chroma of 4:2:2, 4:4:0 and 4:4:4
/// is reduced, with a note. Exif and the colour profile become the chunks that a PNG holds them in.
DescribedPicture readJpeg(const std::string& path);

/// The JPEG file, of quality 1 to 100, of an I420 or gray picture in full range, with Exif and the colour
/// profile of these chunks. `path` is what an error names.
std::vector<uint8_t> encodeJpeg(const std::string& path, const Picture& picture, const PngChunks& chunks,
                                int quality);

}  // namespace vantor::tool
