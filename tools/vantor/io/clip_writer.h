// Clips, written frame by frame.
#pragma once

#include <string>

#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/io/png_file.h"
#include "tools/vantor/io/y4m.h"

namespace vantor::tool {

/// What only files of single pictures have.
struct PictureExtras {
    PngChunks chunks;  ///< of PNG and JPEG files
    PngLevel level;    ///< of PNG files
};

/// To a file that the caller finishes.
class ClipWriter {
public:
    /// `header` is for Y4M.
    ClipWriter(OutputFile& file, const FileSpec& fileSpec, const FrameShape& shape, const Y4mHeader& header,
               PictureExtras extras = {});

    /// Writes shape.bytes() bytes, in Y4M with the frame's tags. Refuses more than one frame in a PNG or
    /// JPEG.
    void write(const uint8_t* frame, const std::string& tags);

private:
    std::vector<uint8_t> encoded(const uint8_t* frame) const;

    FileSpec fileSpec_;
    FrameShape shape_;
    std::string header_;
    PictureExtras extras_;
    bool isFirst_ = true;
    OutputFile& file_;
};

}  // namespace vantor::tool
