#include "tools/vantor/io/png_file.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/foreign_file.h"

namespace vantor::tool {
namespace {

/// What a picture made of another keeps, as libpng takes names.
constexpr char kKeptChunks[] = "cICP\0iCCP\0sRGB\0gAMA\0cHRM\0eXIf";
constexpr int kKeptCount = sizeof kKeptChunks / 5;

bool isKept(const std::string& name) {
    const std::string_view names(kKeptChunks, sizeof kKeptChunks);
    return name.size() == 4 && names.find(name) != std::string_view::npos;
}

/// Has libpng keep those chunks as they are and, in a file that is read, skip all others that the picture
/// does not need: it would take as much memory for them as they claim to need.
void keepChunks(png_structp png) {
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_ALWAYS, reinterpret_cast<png_const_bytep>(kKeptChunks),
                                kKeptCount);
}

/// One PNG being read. libpng leaves its functions by longjmp on an error, so each call into it that may fail
/// is made in a `guarded` step, which holds nothing that needs destruction.
class PngReader {
public:
    explicit PngReader(const std::string& path)
        : path_(path), file_(std::fopen(path.c_str(), "rb"), &std::fclose) {
        if (!file_) throw UserError(path + ": " + std::strerror(errno));
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) throw UserError(path + ": out of memory");
    }
    ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    DescribedPicture read() {
        expectSignature();
        guarded([](PngReader& reader) {
            keepChunks(reader.png_);
            png_init_io(reader.png_, reader.file_.get());
            png_set_sig_bytes(reader.png_, kSignatureBytes);
            png_set_user_limits(reader.png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_read_info(reader.png_, reader.info_);
        });
        checkHeader();
        guarded([](PngReader& reader) {
            png_set_expand(reader.png_);
            png_set_strip_alpha(reader.png_);
            png_set_interlace_handling(reader.png_);
            png_read_update_info(reader.png_, reader.info_);
        });
        const bool isGray = png_get_channels(png_, info_) == 1;
        Picture picture = makePicture(isGray ? PixelFormat::Gray : PixelFormat::Rgb, size());
        rows_.resize(png_get_image_height(png_, info_));
        for (size_t y = 0; y < rows_.size(); ++y)
            rows_[y] = &picture.bytes[y * png_get_rowbytes(png_, info_)];
        guarded([](PngReader& reader) {
            png_read_image(reader.png_, reader.rows_.data());
            png_read_end(reader.png_, reader.info_);
        });
        return {std::move(picture), chunks()};
    }

private:
    static constexpr size_t kSignatureBytes = 8;

    static void onError(png_structp png, png_const_charp message) {
        static_cast<PngReader*>(png_get_error_ptr(png))->message_ = message;
        png_longjmp(png, 1);
    }
    /// Such as "iCCP: CRC error".
    static void onWarning(png_structp png, png_const_charp message) {
        const std::string text = message;
        const std::string name = text.substr(0, text.find(':'));
        if (isKept(name)) static_cast<PngReader*>(png_get_error_ptr(png))->damaged_.emplace(name, text);
    }

    void guarded(void (*step)(PngReader&)) {
        if (setjmp(png_jmpbuf(png_)) == 0) {
            step(*this);
            return;
        }
        throw UserError(path_ + ": " + problem());
    }

    void expectSignature() {
        const std::string signature = readStart(kSignatureBytes);
        if (png_sig_cmp(reinterpret_cast<png_const_bytep>(signature.data()), 0, kSignatureBytes) == 0) return;
        const std::string start = signature + readStart(kSniffedBytes - kSignatureBytes);
        throw UserError(path_ + ": not a PNG file" + insteadOf(path_, start));
    }

    std::string readStart(size_t count) {
        std::string bytes(count, '\0');
        const size_t done = std::fread(bytes.data(), 1, count, file_.get());
        if (std::ferror(file_.get())) throw UserError(path_ + ": cannot read: " + std::strerror(errno));
        return bytes.substr(0, done);
    }

    /// libpng reports "Read Error" for every truncated file.
    std::string problem() const {
        if (std::ferror(file_.get())) return std::string("cannot read: ") + std::strerror(errno);
        return std::feof(file_.get()) ? "truncated PNG file" : "not a valid PNG file: " + message_;
    }

    /// Of those that libpng kept, the first of each name, if it is where it belongs.
    PngChunks chunks() const {
        for (const auto& [name, problem] : damaged_) note(path_ + ": " + problem + ": chunk dropped");
        PngChunks chunks;
        png_unknown_chunkp kept = nullptr;
        const int count = png_get_unknown_chunks(png_, info_, &kept);
        for (int i = 0; i < count; ++i) {
            const std::string name = reinterpret_cast<const char*>(kept[i].name);
            const auto isThis = [&](const PngChunk& chunk) { return chunk.name == name; };
            const bool isPlaced = name == "eXIf" || (kept[i].location & PNG_AFTER_IDAT) == 0;
            if (damaged_.count(name) == 0 && isPlaced && std::none_of(chunks.begin(), chunks.end(), isThis))
                chunks.push_back({name, {kept[i].data, kept[i].data + kept[i].size}});
        }
        return chunks;
    }

    Size size() const {
        return {static_cast<int>(png_get_image_width(png_, info_)),
                static_cast<int>(png_get_image_height(png_, info_))};
    }

    void checkHeader() const {
        checkLimits(path_ + ":", size());
        const int depth = png_get_bit_depth(png_, info_);
        if (depth > 8)
            throw UserError(path_ + ": " + std::to_string(depth) + " bits per sample: at most 8 expected");
        const bool hasAlpha = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0;
        if (hasAlpha || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) note(path_ + ": alpha dropped");
    }

    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    png_structp png_;
    png_infop info_;
    std::vector<png_bytep> rows_;
    std::string message_;
    std::map<std::string, std::string> damaged_;  ///< chunks, and libpng's messages
};

/// How rows are filtered and compressed.
struct PngCoding {
    std::optional<int> filters;  ///< if not given, libpng's choice per row
    int level;
    int strategy;
    double handicap = 1;  ///< what a slower one has to gain
};

/// Photos leave little but noise behind Paeth's filter: runs and Huffman codes hold it nearly as well as the
/// search for matches of level 6, in a sixth of the time. Some have matches, and what is drawn is best
/// searched as it is.
constexpr PngCoding kFastCodings[] = {{PNG_FILTER_PAETH, 1, Z_RLE},
                                      {PNG_FILTER_PAETH, 3, Z_DEFAULT_STRATEGY, 1.02},
                                      {PNG_FILTER_NONE, 3, Z_DEFAULT_STRATEGY, 1.02}};

/// One PNG being written, to memory; as with `PngReader`.
class PngWriter {
public:
    PngWriter(const std::string& path, const PngCoding& coding)
        : path_(path), png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, this, onError, nullptr)) {
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_) throw UserError(path + ": out of memory");
        if (coding.filters) png_set_filter(png_, PNG_FILTER_TYPE_BASE, *coding.filters);
        png_set_compression_level(png_, coding.level);
        png_set_compression_strategy(png_, coding.strategy);
    }
    ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    std::vector<uint8_t> write(const Picture& picture, const PngChunks& chunks) {
        const auto [width, height] = picture.size;
        const bool isGray = picture.format == PixelFormat::Gray;
        const std::vector<png_unknown_chunk> kept = keptChunks(chunks);
        const size_t rowBytes = static_cast<size_t>(width) * (isGray ? 1 : 3);
        if (setjmp(png_jmpbuf(png_)) != 0) throw UserError(path_ + ": cannot write PNG: " + message_);
        png_set_write_fn(png_, this, append, [](png_structp) {});
        keepChunks(png_);
        png_set_IHDR(png_, info_, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                     isGray ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_unknown_chunks(png_, info_, kept.data(), static_cast<int>(kept.size()));
        png_write_info(png_, info_);
        for (size_t at = 0; at < picture.bytes.size(); at += rowBytes)
            png_write_row(png_, &picture.bytes[at]);
        png_write_end(png_, nullptr);
        return std::move(bytes_);
    }

private:
    static void onError(png_structp png, png_const_charp message) {
        static_cast<PngWriter*>(png_get_error_ptr(png))->message_ = message;
        png_longjmp(png, 1);
    }
    static void append(png_structp png, png_bytep bytes, size_t count) {
        auto& all = static_cast<PngWriter*>(png_get_io_ptr(png))->bytes_;
        all.insert(all.end(), bytes, bytes + count);
    }

    static std::vector<png_unknown_chunk> keptChunks(const PngChunks& chunks) {
        std::vector<png_unknown_chunk> kept;
        for (const PngChunk& chunk : chunks) {
            png_unknown_chunk& unknown = kept.emplace_back();
            std::copy_n(chunk.name.c_str(), sizeof unknown.name, unknown.name);
            unknown.data = const_cast<png_bytep>(chunk.bytes.data());  // which libpng copies
            unknown.size = chunk.bytes.size();
            unknown.location = PNG_HAVE_IHDR;
        }
        return kept;
    }

    std::string path_;
    png_structp png_;
    png_infop info_;
    std::vector<uint8_t> bytes_;
    std::string message_;
};

}  // namespace

DescribedPicture readPng(const std::string& path) {
    return PngReader(path).read();
}

/// One strip in sixteen of the picture, of rows enough for what repeats itself to be near.
static Picture sampled(const Picture& picture) {
    constexpr int kStrip = 16;
    constexpr int kStep = 16 * kStrip;
    Picture sample{picture.format, {picture.size.width, 0}, {}};
    const size_t rowBytes = picture.bytes.size() / static_cast<size_t>(picture.size.height);
    for (int y = (picture.size.height % kStep) / 2; y < picture.size.height; y += kStep) {
        const int rows = std::min(kStrip, picture.size.height - y);
        const auto from =
            picture.bytes.begin() + static_cast<std::ptrdiff_t>(static_cast<size_t>(y) * rowBytes);
        sample.bytes.insert(sample.bytes.end(), from,
                            from + static_cast<std::ptrdiff_t>(static_cast<size_t>(rows) * rowBytes));
        sample.size.height += rows;
    }
    return sample;
}

/// Of the fast codings, that which suits a sample of the picture best.
static PngCoding codingFor(const std::string& path, const Picture& picture) {
    const Picture sample = sampled(picture);
    const auto cost = [&](const PngCoding& coding) {
        return static_cast<double>(PngWriter(path, coding).write(sample, {}).size()) * coding.handicap;
    };
    std::array<double, std::size(kFastCodings)> costs;
    std::transform(std::begin(kFastCodings), std::end(kFastCodings), costs.begin(), cost);
    return kFastCodings[std::min_element(costs.begin(), costs.end()) - costs.begin()];
}

std::vector<uint8_t> encodePng(const std::string& path, const Picture& picture, const PngChunks& chunks,
                               PngLevel level) {
    const PngCoding coding = level ? PngCoding{{}, *level, Z_FILTERED} : codingFor(path, picture);
    return PngWriter(path, coding).write(picture, chunks);
}

void noteDropped(const std::string& source, const PngChunks& chunks, const std::string& output, bool isJpeg) {
    const auto isThere = [&](const char* name) {
        return std::any_of(chunks.begin(), chunks.end(), [&](const PngChunk& c) { return c.name == name; });
    };
    std::string names;
    for (const auto& [name, bytes] : chunks) {
        const bool isPlainSrgb = name == "sRGB" || (isThere("sRGB") && (name == "gAMA" || name == "cHRM"));
        const char* known = name == "iCCP" ? "ICC profile" : name == "eXIf" ? "Exif" : nullptr;
        if (!isPlainSrgb && !(known && isJpeg)) names += (names.empty() ? "" : ", ") + (known ? known : name);
    }
    if (!names.empty()) note(source + ": " + names + " dropped: " + output + " cannot hold it");
}

}  // namespace vantor::tool
