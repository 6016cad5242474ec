// The header of Y4M streams (YUV4MPEG2): a line of tags before the frames.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/picture/picture.h"
#include "tools/vantor/picture/stored_plane.h"

namespace vantor::tool {

struct Y4mHeader {
    Size size;
    PixelFormat format = PixelFormat::I420;  ///< or gray
    std::vector<std::string> tags{};         ///< all others, unchanged, known or not
    std::vector<StoredPlane> stored{};       ///< of frames that are converted; their tags say into what

    /// The value of the tag XCOLORRANGE, if present.
    std::optional<bool> isFullRange() const;
    /// Whether the tag I declares interlaced frames.
    bool isInterlaced() const;
};

constexpr const char* kY4mMagic = "YUV4MPEG2";

/// Reads a header's line, without its end. Refuses sizes outside the tool's limits, and sample formats
/// other than 4:2:0, 4:2:2, 4:4:4 and gray of 8 to 16 bits. `name` is what an error, and a note of the
/// conversion to 4:2:0 of 8 bits, names.
Y4mHeader parseY4mHeader(const std::string& name, const std::string& line);

/// The line, with its end.
std::string toLine(const Y4mHeader& header);

/// The header of what is made of a clip with this header: tags are carried over, but for the pixel aspect
/// ratio, which keeps the picture's aspect ratio.
Y4mHeader derivedHeader(const Y4mHeader& from, Size size);

/// A header for frames of which only this is known.
Y4mHeader newHeader(PixelFormat format, Size size, std::optional<bool> isFullRange);

}  // namespace vantor::tool
