#include "tools/vantor/io/clip_writer.h"

#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/jpeg_file.h"

namespace vantor::tool {

ClipWriter::ClipWriter(OutputFile& file, const FileSpec& fileSpec, const FrameShape& shape,
                       const Y4mHeader& header, PictureExtras extras)
    : fileSpec_(fileSpec), shape_(shape), header_(toLine(header)), extras_(std::move(extras)), file_(file) {}

void ClipWriter::write(const uint8_t* frame, const std::string& tags) {
    const bool isFirst = std::exchange(isFirst_, false);
    if (fileSpec_.type == FileType::Y4m) {
        file_.write((isFirst ? header_ : std::string()) + "FRAME" + tags + "\n", frame, shape_.bytes());
    } else if (fileSpec_.type == FileType::Raw) {
        file_.write(frame, shape_.bytes());
    } else if (isFirst) {
        const std::vector<uint8_t> bytes = encoded(frame);
        file_.write(bytes.data(), bytes.size());
    } else {
        throw UserError(fileSpec_.path + (fileSpec_.type == FileType::Png ? ": a PNG" : ": a JPEG") +
                        " file holds one frame, and there are more: expected --limit 1");
    }
}

std::vector<uint8_t> ClipWriter::encoded(const uint8_t* frame) const {
    const Picture picture{shape_.format, shape_.size, {frame, frame + shape_.bytes()}};
    if (fileSpec_.type == FileType::Png)
        return encodePng(fileSpec_.path, picture, extras_.chunks, extras_.level);
    return encodeJpeg(fileSpec_.path, picture, extras_.chunks,
                      fileSpec_.options.quality.value_or(kDefaultQuality));
}

}  // namespace vantor::tool
