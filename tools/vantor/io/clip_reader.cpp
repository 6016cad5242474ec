#include "tools/vantor/io/clip_reader.h"

#include <algorithm>
#include <cstring>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/foreign_file.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/png_file.h"
#include "tools/vantor/io/raw_geometry.h"

namespace vantor::tool {
namespace {

constexpr size_t kMaxLineBytes = 4096;
constexpr const char* kFrameMagic = "FRAME";
constexpr size_t kFrameLine = 6;  ///< where it has no tags

class PngReader : public ClipReader {
public:
    PngReader(std::string path, PngPicture png)
        : ClipReader(packedShape(png.picture.format, png.picture.size)),
          path_(std::move(path)),
          picture_(std::move(png.picture)),
          chunks_(std::move(png.chunks)) {}

    const PngChunks& chunks() const override { return chunks_; }

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

    std::string name() const override { return file_->name(); }
    int descriptor() const override { return file_->descriptor(); }
    std::optional<uintmax_t> framesLeft() const override {
        const std::optional<uintmax_t> bytes = file_->bytesLeft();
        return bytes ? std::optional((*bytes + minBytes() - 1) / minBytes()) : std::nullopt;
    }

protected:
    InputFile& file() { return *file_; }
    /// That a frame takes in the file.
    virtual size_t minBytes() const { return shape().bytes(); }
    size_t takeSamples(uint8_t* frame) {
        return frame ? file_->read(frame, shape().bytes()) : file_->skip(shape().bytes());
    }

private:
    std::unique_ptr<InputFile> file_;
};

class RawReader : public FileReader {
public:
    RawReader(std::unique_ptr<InputFile> file, const FrameShape& shape, std::string optionPrefix)
        : FileReader(std::move(file), shape),
          optionPrefix_(std::move(optionPrefix)),
          length_(this->file().bytesLeft()) {}

private:
    std::string explanation() const override { return explainLength(shape(), length_, optionPrefix_); }
    std::optional<size_t> take(uint8_t* frame, std::string&) override {
        const size_t taken = takeSamples(frame);
        return taken == 0 ? std::nullopt : std::optional(taken);
    }

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
        : FileReader(std::move(file), packedShape(header.format, header.size), header) {}

private:
    size_t minBytes() const override { return kFrameLine + shape().bytes(); }

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
    if (*taken < bytesToLastSample(shape_)) {
        failAtFrame(std::string("(") + toString(shape_.size) + " " + toString(shape_.format) +
                    ") is truncated: " + std::to_string(*taken) + " of " + std::to_string(shape_.bytes()) +
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
    if (shape.isPacked()) return Picture{shape.format, shape.size, std::move(frame)};
    Picture picture{shape.format, shape.size, {}};
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
        return std::make_unique<PngReader>(fileSpec.path, readPng(fileSpec.path));
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
