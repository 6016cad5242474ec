#include "tools/vantor/io/png_file.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/vantor/io/error.h"
#include "tools/vantor/terminal.h"

namespace vantor::tool {
namespace {

/// One PNG being read. libpng leaves its functions by longjmp on an error, so each call into it that may fail
/// stands in a `guarded` step, which holds nothing that needs destruction.
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

    Picture read() {
        guarded([](PngReader& reader) {
            png_init_io(reader.png_, reader.file_.get());
            png_set_user_limits(reader.png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            // Nobody looks at comments and the like, for which libpng takes as much memory as they claim to
            // need.
            png_set_keep_unknown_chunks(reader.png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
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
        Picture picture = makePicture(isGray ? Layout::Gray : Layout::Rgb, size());
        rows_.resize(png_get_image_height(png_, info_));
        for (size_t y = 0; y < rows_.size(); ++y)
            rows_[y] = &picture.bytes[y * png_get_rowbytes(png_, info_)];
        guarded([](PngReader& reader) {
            png_read_image(reader.png_, reader.rows_.data());
            png_read_end(reader.png_, nullptr);
        });
        return picture;
    }

private:
    static void onError(png_structp png, png_const_charp message) {
        static_cast<PngReader*>(png_get_error_ptr(png))->message_ = message;
        png_longjmp(png, 1);
    }
    static void onWarning(png_structp, png_const_charp) {}

    void guarded(void (*step)(PngReader&)) {
        if (setjmp(png_jmpbuf(png_)) == 0) {
            step(*this);
            return;
        }
        throw UserError(path_ + ": no readable PNG: " + trouble());
    }

    /// libpng says "Read Error" of all files that give it nothing more.
    std::string trouble() const {
        if (std::ferror(file_.get())) return std::strerror(errno);
        return std::feof(file_.get()) ? "it ends early" : message_;
    }

    Size size() const {
        return {static_cast<int>(png_get_image_width(png_, info_)),
                static_cast<int>(png_get_image_height(png_, info_))};
    }

    void checkHeader() const {
        checkLimits(path_ + ":", size());
        const int depth = png_get_bit_depth(png_, info_);
        if (depth > 8)
            throw UserError(path_ + ": " + std::to_string(depth) + " bits a sample: at most 8 expected");
        const bool hasAlpha = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0;
        if (hasAlpha || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) note(path_ + ": alpha dropped");
    }

    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    png_structp png_;
    png_infop info_;
    std::vector<png_bytep> rows_;
    std::string message_;
};

}  // namespace

Picture readPng(const std::string& path) {
    return PngReader(path).read();
}

std::vector<uint8_t> encodePng(const std::string& path, const Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.size.width);
    image.height = static_cast<png_uint_32>(picture.size.height);
    image.format = picture.layout == Layout::Gray ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<uint8_t> bytes(size);
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.bytes.data(), 0, nullptr)) {
        throw UserError(path + ": cannot write PNG: " + image.message);
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace vantor::tool
