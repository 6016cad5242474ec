// Clips, written frame by frame.
#pragma once

#include <string>

#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/io/png_file.h"
#include "tools/vantor/io/y4m.h"

namespace vantor::tool {

/// Files are written atomically; pipes get each frame as it comes.
class ClipWriter {
public:
    /// `header` is for Y4M, `chunks` are for PNG and JPEG.
    ClipWriter(const FileSpec& fileSpec, const FrameShape& shape, const Y4mHeader& header,
               PngChunks chunks = {});

    /// Writes shape.bytes() bytes, in Y4M with the frame's tags. Refuses more than one frame in a PNG or
    /// JPEG.
    void write(const uint8_t* frame, const std::string& tags);

    void finish() { file_.finish(); }

private:
    std::vector<uint8_t> encoded(const uint8_t* frame) const;

    FileSpec fileSpec_;
    FrameShape shape_;
    std::string header_;
    PngChunks chunks_;
    bool isFirst_ = true;
    OutputFile file_;
};

}  // namespace vantor::tool
