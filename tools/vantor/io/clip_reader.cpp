#include "tools/vantor/io/clip_reader.h"

#include <algorithm>
#include <cstring>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/foreign_file.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/jpeg_file.h"
#include "tools/vantor/io/png_file.h"
#include "tools/vantor/io/raw_geometry.h"

namespace vantor::tool {
namespace {

constexpr size_t kMaxLineBytes = 4096;
constexpr const char* kFrameMagic = "FRAME";
constexpr size_t kFrameLine = 6;  ///< where it has no tags

class PictureReader : public ClipReader {
public:
    PictureReader(std::string path, DescribedPicture read)
        : ClipReader(packedShape(read.picture.format, read.picture.size)),
          path_(std::move(path)),
          picture_(std::move(read.picture)),
          chunks_(std::move(read.chunks)) {}

    const PngChunks& chunks() const override { return chunks_; }
    std::optional<bool> isFullRange() const override {
        return picture_.isFullRange ? std::optional(true) : std::nullopt;
    }

    std::string name() const override { return path_; }
    std::optional<uintmax_t> framesLeft() const override { return isTaken_ ? 0 : 1; }

private:
    std::optional<size_t> take(uint8_t* frame, std::string&) override {
        if (isTaken_) return {};
        isTaken_ = true;
        if (frame) std::copy(picture_.bytes.begin(), picture_.bytes.end(), frame);
        return picture_.bytes.size();
    }

    std::string path_;
    Picture picture_;
    PngChunks chunks_;
    bool isTaken_ = false;
};

class FileReader : public ClipReader {
public:
    FileReader(std::unique_ptr<InputFile> file, FrameShape shape, std::optional<Y4mHeader> header = {})
        : ClipReader(shape, std::move(header)), file_(std::move(file)) {}

    /// Has frames of `bytes` bytes converted.
    void convertFrom(std::vector<StoredPlane> planes, size_t bytes) {
        planes_ = std::move(planes);
        stored_.resize(bytes);
    }

    std::string name() const override { return file_->name(); }
    int descriptor() const override { return file_->descriptor(); }
    std::optional<uintmax_t> framesLeft() const override {
        const std::optional<uintmax_t> bytes = file_->bytesLeft();
        return bytes ? std::optional((*bytes + minBytes() - 1) / minBytes()) : std::nullopt;
    }

protected:
    InputFile& file() { return *file_; }
    /// That a frame takes in the file.
    virtual size_t minBytes() const { return storedBytes(); }
    size_t storedBytes() const override { return planes_.empty() ? shape().bytes() : stored_.size(); }
    size_t neededBytes() const override {
        return planes_.empty() ? ClipReader::neededBytes() : planes_.back().end();
    }
    size_t takeSamples(uint8_t* frame) {
        if (!frame) return file_->skip(storedBytes());
        if (planes_.empty()) return file_->read(frame, storedBytes());
        const size_t taken = file_->read(stored_.data(), stored_.size());
        for (const StoredPlane& plane : planes_) frame = reduce(plane, stored_.data(), frame);
        return taken;
    }

private:
    std::unique_ptr<InputFile> file_;
    std::vector<StoredPlane> planes_;  ///< of frames that are converted
    std::vector<uint8_t> stored_;      ///< one of those
};

class RawReader : public FileReader {
public:
    RawReader(std::unique_ptr<InputFile> file, const FrameShape& shape, std::string optionPrefix)
        : FileReader(std::move(file), readShape(shape)),
          storedShape_(shape),
          optionPrefix_(std::move(optionPrefix)),
          length_(this->file().bytesLeft()) {
        if (shape.format == PixelFormat::P010) convertP010();
    }

private:
    static FrameShape readShape(const FrameShape& stored) {
        return stored.format == PixelFormat::P010 ? packedShape(PixelFormat::Nv12, stored.size) : stored;
    }

    /// Read as 16 bits, of which the lower six, that are not the sample's, do not change what is rounded.
    void convertP010() {
        const auto [width, height] = storedShape_.size;
        const auto stride = static_cast<size_t>(storedShape_.stride);
        const size_t luma = stride * static_cast<size_t>(storedShape_.sliceHeight);
        convertFrom({{0, {width, height}, stride, 16, {1, 1}},
                     {luma, {width, height / 2}, (stride + 1) / 2 * 2, 16, {1, 1}}},
                    storedShape_.bytes());
        note(name() + ": P010 converted to NV12: " + ruleOf({1, 1}, 10));
    }

    std::string explanation() const override { return explainLength(storedShape_, length_, optionPrefix_); }
    std::optional<size_t> take(uint8_t* frame, std::string&) override {
        const size_t taken = takeSamples(frame);
        return taken == 0 ? std::nullopt : std::optional(taken);
    }

    FrameShape storedShape_;
    std::string optionPrefix_;
    std::optional<uintmax_t> length_;  ///< of a regular file
};

/// A line that begins as given, without its end, byte by byte, so that nothing after it is consumed. `what`
/// is what an error names.
std::string readLine(InputFile& file, std::string line, const std::string& what) {
    char c = 0;
    while (line.size() < kMaxLineBytes) {
        if (file.read(&c, 1) == 0) throw UserError(what + " is truncated");
        if (c == '\n') return line;
        line += c;
    }
    throw UserError(what + " is longer than " + std::to_string(kMaxLineBytes) + " bytes");
}

class Y4mReader : public FileReader {
public:
    Y4mReader(std::unique_ptr<InputFile> file, const Y4mHeader& header)
        : FileReader(std::move(file), packedShape(header.format, header.size), header) {
        if (!header.stored.empty()) convertFrom(header.stored, header.stored.back().end());
    }

private:
    size_t minBytes() const override { return kFrameLine + storedBytes(); }

    std::optional<size_t> take(uint8_t* frame, std::string& tags) override {
        char magic[kFrameLine] = {};
        if (file().read(magic, sizeof magic) == 0) return {};
        const char end = magic[kFrameLine - 1];
        if (std::memcmp(magic, kFrameMagic, kFrameLine - 1) != 0 || (end != '\n' && end != ' ')) {
            failAtFrame("does not begin with the word FRAME");
        }
        tags = end == '\n' ? std::string() : readLine(file(), " ", name() + ": the header of a frame");
        return takeSamples(frame);
    }
};

std::unique_ptr<ClipReader> openY4m(const std::string& path) {
    auto file = std::make_unique<InputFile>(path);
    std::string magic(std::strlen(kY4mMagic), '\0');
    magic.resize(file->read(magic.data(), magic.size()));
    if (magic != kY4mMagic) {
        std::string start(kSniffedBytes - magic.size(), '\0');
        start.resize(file->read(start.data(), start.size()));
        throw UserError(file->name() + ": not a Y4M stream" + insteadOf(path, magic + start));
    }
    const std::string line = readLine(*file, magic, file->name() + ": the Y4M header");
    const Y4mHeader header = parseY4mHeader(file->name(), line);
    return std::make_unique<Y4mReader>(std::move(file), header);
}

}  // namespace

/// The padding after a clip's last sample may be missing.
bool ClipReader::read(uint8_t* frame, std::string& tags) {
    const std::optional<size_t> taken = take(frame, tags);
    if (!taken) return false;
    if (*taken < neededBytes()) {
        failAtFrame(std::string("(") + toString(shape_.size) + " " + toString(shape_.format) +
                    ") is truncated: " + std::to_string(*taken) + " of " + std::to_string(storedBytes()) +
                    " bytes" + explanation());
    }
    ++number_;
    return true;
}

void ClipReader::failAtFrame(const std::string& problem) const {
    throw UserError(name() + ": frame " + std::to_string(number_) + " " + problem);
}

std::optional<Picture> readFrame(ClipReader& clip) {
    const FrameShape& shape = clip.shape();
    std::vector<uint8_t> frame(shape.bytes());
    std::string tags;
    if (!clip.read(frame.data(), tags)) return {};
    const bool isFullRange = clip.isFullRange().value_or(false);
    if (shape.isPacked()) return Picture{shape.format, shape.size, std::move(frame), isFullRange};
    Picture picture{shape.format, shape.size, {}, isFullRange};
    picture.bytes.reserve(byteCount(shape.format, shape.size));
    forEachStretch(shape, frame.data(), [&](const uint8_t* bytes, size_t count) {
        picture.bytes.insert(picture.bytes.end(), bytes, bytes + count);
    });
    return picture;
}

void skipFrames(ClipReader& clip, uintmax_t count) {
    for (uintmax_t i = 0; i < count; ++i) {
        if (clip.skip()) continue;
        throw UserError("--skip " + std::to_string(count) + ": " + clip.name() + " has " + std::to_string(i) +
                        " frames");
    }
}

std::unique_ptr<ClipReader> openClip(const FileSpec& fileSpec) {
    if (fileSpec.type == FileType::Png)
        return std::make_unique<PictureReader>(fileSpec.path, readPng(fileSpec.path));
    if (fileSpec.type == FileType::Jpeg)
        return std::make_unique<PictureReader>(fileSpec.path, readJpeg(fileSpec.path));
    if (fileSpec.type == FileType::Y4m) return openY4m(fileSpec.path);
    if (!fileSpec.size) {
        throw UserError(fileSpec.path +
                        ": size unknown: expected it in the name, as in clip_1280x720_nv12.yuv, or " +
                        fileSpec.options.optionPrefix + "-size WIDTHxHEIGHT");
    }
    const FrameShape shape = rawShape(fileSpec, fileSpec.path, *fileSpec.format, *fileSpec.size);
    return std::make_unique<RawReader>(std::make_unique<InputFile>(fileSpec.path), shape,
                                       fileSpec.options.optionPrefix);
}

}  // namespace vantor::tool
