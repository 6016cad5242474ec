#include "tools/vantor/io/clip_writer.h"

#include <utility>

#include "tools/vantor/base/error.h"

namespace vantor::tool {

ClipWriter::ClipWriter(OutputFile& file, const FileSpec& fileSpec, const FrameShape& shape,
                       const Y4mHeader& header, PngExtras png)
    : fileSpec_(fileSpec), shape_(shape), header_(toLine(header)), png_(std::move(png)), file_(file) {}

void ClipWriter::write(const uint8_t* frame, const std::string& tags) {
    const bool isFirst = std::exchange(isFirst_, false);
    if (fileSpec_.type == FileType::Y4m) {
        file_.write((isFirst ? header_ : std::string()) + "FRAME" + tags + "\n", frame, shape_.bytes());
    } else if (fileSpec_.type == FileType::Raw) {
        file_.write(frame, shape_.bytes());
    } else if (isFirst) {
        const std::vector<uint8_t> png =
            encodePng(fileSpec_.path, {shape_.format, shape_.size, {frame, frame + shape_.bytes()}},
                      png_.chunks, png_.level);
        file_.write(png.data(), png.size());
    } else {
        throw UserError(fileSpec_.path +
                        ": a PNG file holds one frame, and there are more: expected --limit 1");
    }
}

}  // namespace vantor::tool
