// Clips, written frame by frame.
#pragma once

#include <string>

#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/io/y4m.h"

namespace vantor::tool {

/// Files appear whole, when finished, or not at all; pipes get each frame as it comes.
class ClipWriter {
public:
    /// `header` is for Y4M.
    ClipWriter(const FileForm& form, const FrameShape& shape, const Y4mHeader& header);

    /// Writes shape.bytes() bytes, in Y4M with the frame's tags. Refuses more than one frame in a PNG file.
    void write(const uint8_t* frame, const std::string& tags);

    void finish() { file_.finish(); }

private:
    FileForm form_;
    FrameShape shape_;
    std::string header_;
    bool isFirst_ = true;
    OutputFile file_;
};

}  // namespace vantor::tool
