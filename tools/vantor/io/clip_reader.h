// Clips, frame by frame: PNG and JPEG (clips of one), Y4M, and consecutive raw frames.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/io/png_file.h"
#include "tools/vantor/io/y4m.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

class ClipReader {
public:
    virtual ~ClipReader() = default;

    /// What `read` gives.
    const FrameShape& shape() const { return shape_; }
    /// Of a Y4M clip.
    const std::optional<Y4mHeader>& header() const { return header_; }
    /// Of a PNG or JPEG.
    virtual const PngChunks& chunks() const {
        static const PngChunks none;
        return none;
    }

    /// That of YUV, if the file says it.
    virtual std::optional<bool> isFullRange() const {
        return header_ ? header_->isFullRange() : std::nullopt;
    }

    /// Reads the next frame, of shape().bytes() bytes, and the tags of a Y4M frame as its header
    /// has them. False where the clip ends; an error where a frame does.
    bool read(uint8_t* frame, std::string& tags);
    /// Skips the next frame. False where the clip ends.
    bool skip() {
        std::string unused;
        return read(nullptr, unused);
    }

    /// What an error names.
    virtual std::string name() const = 0;
    /// A descriptor to poll for more to read; negative if there always is.
    virtual int descriptor() const { return -1; }
    /// An upper bound of the frames that are left, near to their number; nothing if it is not known.
    virtual std::optional<uintmax_t> framesLeft() const = 0;

protected:
    explicit ClipReader(FrameShape shape, std::optional<Y4mHeader> header = {})
        : shape_(shape), header_(std::move(header)) {}

    /// Bytes of a frame as it is stored, and of those the bytes up to the last sample.
    virtual size_t storedBytes() const { return shape_.bytes(); }
    virtual size_t neededBytes() const { return bytesToLastSample(shape_); }
    /// Of the next frame, the bytes that are there, up to all of them. A null `frame` skips them. Nothing
    /// where the clip ends.
    virtual std::optional<size_t> take(uint8_t* frame, std::string& tags) = 0;
    /// How an error about a truncated frame goes on.
    virtual std::string explanation() const { return {}; }
    [[noreturn]] void failAtFrame(const std::string& problem) const;

private:
    FrameShape shape_;
    std::optional<Y4mHeader> header_;
    uintmax_t number_ = 0;
};

/// The next frame without padding; nothing where the clip ends.
std::optional<Picture> readFrame(ClipReader& clip);

/// Skips frames; an error if the clip has fewer.
void skipFrames(ClipReader& clip, uintmax_t count);

/// Opens a clip and reads what comes before its frames.
std::unique_ptr<ClipReader> openClip(const FileSpec& fileSpec);

}  // namespace vantor::tool
