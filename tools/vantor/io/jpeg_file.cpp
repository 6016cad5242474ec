#include "tools/vantor/io/jpeg_file.h"

// clang-format off
#include <cstdio>  // which jpeglib.h needs before it
#include <jpeglib.h>
#include <jerror.h>
// clang-format on
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/foreign_file.h"
#include "tools/vantor/picture/planes.h"
#include "tools/vantor/picture/stored_plane.h"

namespace vantor::tool {
namespace {

using namespace std::string_view_literals;

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr std::string_view kExifStart = "Exif\0\0"sv;
constexpr size_t kMaxExifBytes = 65533 - kExifStart.size();
constexpr size_t kMaxProfileBytes = size_t{255} * 65519;
constexpr std::string_view kProfileStart =
    "ICC profile\0\0"sv;  ///< of PNG's chunk: a name, and the compression

/// Usual files have about ten scans; each takes the time of a whole picture, and may have hardly a byte.
constexpr int kMaxScans = 100;

using Bytes = std::vector<uint8_t>;

/// The chunk of a PNG that holds a colour profile.
PngChunk profileChunk(const uint8_t* profile, size_t count) {
    uLongf length = compressBound(count);
    PngChunk chunk{"iCCP", Bytes(kProfileStart.size() + length)};
    std::copy(kProfileStart.begin(), kProfileStart.end(), chunk.bytes.begin());
    compress(&chunk.bytes[kProfileStart.size()], &length, profile, count);
    chunk.bytes.resize(kProfileStart.size() + length);
    return chunk;
}

/// The profile in such a chunk; empty if it is damaged, or larger than a JPEG holds.
Bytes profileIn(const PngChunk& chunk) {
    const auto nameEnd = std::find(chunk.bytes.begin(), chunk.bytes.end(), 0);
    if (chunk.bytes.end() - nameEnd < 3) return {};
    Bytes profile(kMaxProfileBytes);
    uLongf length = profile.size();
    const auto count = static_cast<uLong>(chunk.bytes.end() - nameEnd - 2);
    if (uncompress(profile.data(), &length, &nameEnd[2], count) != Z_OK) return {};
    profile.resize(length);
    return profile;
}

/// What libjpeg says. It leaves its functions by longjmp on an error, so each call into it that may fail is
/// made in a `succeeds` step, which holds nothing that needs destruction.
class JpegMessages {
protected:
    explicit JpegMessages(std::string path) : path_(std::move(path)) {
        jpeg_std_error(&manager_);
        manager_.error_exit = onError;
        manager_.emit_message = onMessage;
    }

    template <typename Info>
    void attachTo(Info& info) {
        info.err = &manager_;
        info.client_data = this;
    }

    template <typename Step>
    [[nodiscard]] bool succeeds(const Step& step) {
        if (setjmp(jump_) != 0) return false;
        step();
        return true;
    }

    [[noreturn]] static void leave(j_common_ptr info, const char* message) {
        JpegMessages& messages = of(info);
        messages.message_ = message;
        std::longjmp(messages.jump_, 1);
    }

    const std::string& path() const { return path_; }
    const std::string& message() const { return message_; }
    bool isTruncated() const {
        return manager_.msg_code == JWRN_JPEG_EOF || manager_.msg_code == JERR_INPUT_EMPTY;
    }

private:
    static JpegMessages& of(j_common_ptr info) { return *static_cast<JpegMessages*>(info->client_data); }

    [[noreturn]] static void onError(j_common_ptr info) {
        char text[JMSG_LENGTH_MAX];
        info->err->format_message(info, text);
        leave(info, text);
    }

    /// Of what is no error to libjpeg, damage to samples is one here; of the rest, such as bytes between
    /// markers, the first is noted.
    static void onMessage(j_common_ptr info, int level) {
        constexpr std::array kDamage{JWRN_JPEG_EOF,      JWRN_HIT_MARKER,     JWRN_HUFF_BAD_CODE,
                                     JWRN_MUST_RESYNC,   JWRN_NOT_SEQUENTIAL, JWRN_BOGUS_PROGRESSION,
                                     JWRN_ARITH_BAD_CODE};
        if (level >= 0) return;
        if (std::count(kDamage.begin(), kDamage.end(), info->err->msg_code) != 0) onError(info);
        if (info->err->num_warnings++ != 0) return;
        char text[JMSG_LENGTH_MAX];
        info->err->format_message(info, text);
        note(of(info).path_ + ": " + text);
    }

    std::string path_;
    std::string message_;
    jpeg_error_mgr manager_{};
    std::jmp_buf jump_{};
};

/// The rows of a component that the decoder gives, or the encoder takes, in one step: all blocks side by
/// side.
struct Stripe {
    Stripe(const jpeg_component_info& component, Size size)
        : width(component.width_in_blocks * DCTSIZE),
          lines(component.v_samp_factor * DCTSIZE),
          content(size),
          samples(size_t{width} * static_cast<size_t>(lines)) {
        for (int y = 0; y < lines; ++y) rows.push_back(&samples[static_cast<size_t>(y) * width]);
    }

    int linesFrom(int top) const { return std::clamp(content.height - top, 0, lines); }

    JDIMENSION width;
    int lines;
    Size content;  ///< of the whole component
    Bytes samples;
    std::vector<JSAMPROW> rows;
};

constexpr int kMaxPlanes = 3;

class JpegReader : JpegMessages {
public:
    explicit JpegReader(const std::string& path)
        : JpegMessages(path), file_(std::fopen(path.c_str(), "rb"), &std::fclose) {
        if (!file_) throw UserError(path + ": " + std::strerror(errno));
        attachTo(info_);
        expect(succeeds([this] { jpeg_create_decompress(&info_); }));
        progress_.progress_monitor = limitScans;
        info_.progress = &progress_;
    }
    ~JpegReader() { jpeg_destroy_decompress(&info_); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    DescribedPicture read() {
        expectSignature();
        expect(succeeds([this] {
            jpeg_save_markers(&info_, kExifMarker, 0xFFFF);
            jpeg_save_markers(&info_, kProfileMarker, 0xFFFF);
            jpeg_read_header(&info_, TRUE);
        }));
        checkHeader();
        PngChunks said = chunks();  // before finishing discards them
        Picture picture =
            makePicture(info_.num_components == 1 ? PixelFormat::Gray : PixelFormat::I420, size());
        picture.isFullRange = true;
        info_.raw_data_out = TRUE;
        info_.out_color_space = info_.jpeg_color_space;
        expect(succeeds([this] { jpeg_start_decompress(&info_); }));
        prepare(picture);
        expect(succeeds([this] {
            while (info_.output_scanline < info_.output_height) decodeStripes();
            jpeg_finish_decompress(&info_);
        }));
        return {std::move(picture), std::move(said)};
    }

private:
    static void limitScans(j_common_ptr info) {
        if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > kMaxScans)
            leave(info, "more than 100 scans");
    }
    static_assert(kMaxScans == 100, "as the message says");

    void expect(bool isDone) const {
        if (isDone) return;
        if (std::ferror(file_.get())) throw UserError(path() + ": cannot read: " + std::strerror(errno));
        throw UserError(path() +
                        (isTruncated() ? ": truncated JPEG file" : ": not a valid JPEG file: " + message()));
    }

    /// Has the first bytes read, and looks at them.
    void expectSignature() {
        const bool isRead = succeeds([this] {
            jpeg_stdio_src(&info_, file_.get());
            info_.src->init_source(&info_);
            info_.src->fill_input_buffer(&info_);
        });
        if (std::ferror(file_.get())) expect(isRead);
        const auto* bytes = isRead ? reinterpret_cast<const char*>(info_.src->next_input_byte) : "";
        const std::string start(bytes, isRead ? std::min(info_.src->bytes_in_buffer, kSniffedBytes) : 0);
        if (start.compare(0, 2, "\xFF\xD8") == 0) return;
        throw UserError(path() + ": not a JPEG file" + insteadOf(path(), start));
    }

    Size size() const { return {static_cast<int>(info_.image_width), static_cast<int>(info_.image_height)}; }

    /// How many samples of chroma one of the picture's is made of.
    Size chromaBox() const {
        return {2 * info_.comp_info[1].h_samp_factor / info_.max_h_samp_factor,
                2 * info_.comp_info[1].v_samp_factor / info_.max_v_samp_factor};
    }

    void checkHeader() const {
        checkLimits(path() + ":", size());
        if (info_.arith_code) throw UserError(path() + ": arithmetic coding: expected Huffman coding");
        const bool isGray = info_.jpeg_color_space == JCS_GRAYSCALE;
        if (!isGray && info_.jpeg_color_space != JCS_YCbCr) {
            const bool isFour = info_.num_components == 4;
            throw UserError(path() + ": samples are " +
                            (isFour                              ? "CMYK or YCCK"
                             : info_.jpeg_color_space == JCS_RGB ? "RGB"
                                                                 : "of unknown meaning") +
                            ": expected YCbCr or gray");
        }
        if (!isGray) checkSampling();
    }

    void checkSampling() const {
        const jpeg_component_info* parts = info_.comp_info;
        const auto isEqual = [&](int jpeg_component_info::*factor, int largest) {
            const int chroma = parts[1].*factor;
            return parts[0].*factor == largest && chroma == parts[2].*factor &&
                   (chroma == largest || 2 * chroma == largest);
        };
        if (!isEqual(&jpeg_component_info::h_samp_factor, info_.max_h_samp_factor) ||
            !isEqual(&jpeg_component_info::v_samp_factor, info_.max_v_samp_factor)) {
            std::string factors;
            for (int i = 0; i < kMaxPlanes; ++i) {
                factors += (i == 0 ? " " : ", ") + std::to_string(parts[i].h_samp_factor) + "x" +
                           std::to_string(parts[i].v_samp_factor);
            }
            throw UserError(path() + ": sampling factors" + factors +
                            ": expected those of 4:2:0, 4:2:2, 4:4:0 or 4:4:4");
        }
        const Size box = chromaBox();
        if (box == Size{1, 1}) return;
        const char* name = box == Size{2, 2} ? "4:4:4" : box == Size{1, 2} ? "4:2:2" : "4:4:0";
        note(path() + ": " + name + " converted to 4:2:0: " + ruleOf(box, 8));
    }

    void prepare(Picture& picture) {
        const Planes planes = planesOf(picture);
        uint8_t* const results[kMaxPlanes] = {planes.luma, planes.chroma, planes.second};
        for (int i = 0; i < info_.num_components; ++i) {
            const jpeg_component_info& component = info_.comp_info[i];
            stripes_.emplace_back(component, Size{static_cast<int>(component.downsampled_width),
                                                  static_cast<int>(component.downsampled_height)});
            rows_[i] = stripes_.back().rows.data();
            results_[i] = results[i];
        }
    }

    void decodeStripes() {
        const int top = static_cast<int>(info_.output_scanline);
        const int lines = info_.max_v_samp_factor * DCTSIZE;
        jpeg_read_raw_data(&info_, rows_, static_cast<JDIMENSION>(lines));
        for (int i = 0; i < info_.num_components; ++i) {
            const Stripe& stripe = stripes_[static_cast<size_t>(i)];
            const int count = stripe.linesFrom(top / lines * stripe.lines);
            const Size box = i == 0 ? Size{1, 1} : chromaBox();
            results_[i] = reduce({0, {stripe.content.width, count}, stripe.width, 8, box},
                                 stripe.samples.data(), results_[i]);
        }
    }

    PngChunks chunks() {
        PngChunks chunks;
        for (auto* marker = info_.marker_list; marker && chunks.empty(); marker = marker->next) {
            const std::string_view start(reinterpret_cast<const char*>(marker->data),
                                         std::min<size_t>(marker->data_length, kExifStart.size()));
            if (marker->marker == kExifMarker && start == kExifStart)
                chunks.push_back(
                    {"eXIf", {marker->data + kExifStart.size(), marker->data + marker->data_length}});
        }
        JOCTET* profile = nullptr;
        unsigned count = 0;
        expect(succeeds([&] { jpeg_read_icc_profile(&info_, &profile, &count); }));
        const std::unique_ptr<JOCTET, void (*)(void*)> owner(profile, std::free);
        if (profile) chunks.push_back(profileChunk(profile, count));
        return chunks;
    }

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    jpeg_decompress_struct info_{};
    jpeg_progress_mgr progress_{};
    std::vector<Stripe> stripes_;
    JSAMPARRAY rows_[kMaxPlanes] = {};
    uint8_t* results_[kMaxPlanes] = {};
};

class JpegWriter : JpegMessages {
public:
    explicit JpegWriter(const std::string& path)
        : JpegMessages(path), file_(open_memstream(&bytes_, &count_)) {
        if (!file_) throw UserError(path + ": out of memory");
        attachTo(info_);
        expect(succeeds([this] { jpeg_create_compress(&info_); }));
    }
    ~JpegWriter() {
        jpeg_destroy_compress(&info_);
        std::fclose(file_);
        std::free(bytes_);
    }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    Bytes write(const Picture& picture, const PngChunks& chunks, int quality) {
        takeMarkers(chunks);
        info_.image_width = static_cast<JDIMENSION>(picture.size.width);
        info_.image_height = static_cast<JDIMENSION>(picture.size.height);
        info_.input_components = picture.format == PixelFormat::Gray ? 1 : kMaxPlanes;
        info_.in_color_space = picture.format == PixelFormat::Gray ? JCS_GRAYSCALE : JCS_YCbCr;
        expect(succeeds([this, quality] {
            jpeg_set_defaults(&info_);
            jpeg_set_quality(&info_, quality, TRUE);
            info_.raw_data_in = TRUE;
            jpeg_stdio_dest(&info_, file_);
            jpeg_start_compress(&info_, TRUE);
            writeMarkers();
        }));
        prepare(picture);
        expect(succeeds([this] {
            while (info_.next_scanline < info_.image_height) encodeStripes();
            jpeg_finish_compress(&info_);
        }));
        return {bytes_, bytes_ + count_};
    }

private:
    void expect(bool isDone) const {
        if (!isDone) throw UserError(path() + ": cannot write JPEG: " + message());
    }

    void takeMarkers(const PngChunks& chunks) {
        for (const PngChunk& chunk : chunks) {
            if (chunk.name == "eXIf" && chunk.bytes.size() <= kMaxExifBytes) {
                exif_.assign(kExifStart.begin(), kExifStart.end());
                exif_.insert(exif_.end(), chunk.bytes.begin(), chunk.bytes.end());
            } else if (chunk.name == "eXIf") {
                note(path() + ": Exif of " + std::to_string(chunk.bytes.size()) +
                     " bytes dropped: a JPEG file holds at most " + std::to_string(kMaxExifBytes));
            } else if (chunk.name == "iCCP") {
                profile_ = profileIn(chunk);
                if (profile_.empty())
                    note(path() + ": ICC profile dropped: damaged, or too long for a JPEG file");
            }
        }
    }

    void writeMarkers() {
        if (!exif_.empty())
            jpeg_write_marker(&info_, kExifMarker, exif_.data(), static_cast<unsigned>(exif_.size()));
        if (!profile_.empty())
            jpeg_write_icc_profile(&info_, profile_.data(), static_cast<unsigned>(profile_.size()));
    }

    void prepare(const Picture& picture) {
        planes_ = components(picture);
        for (size_t i = 0; i < planes_.size(); ++i) {
            stripes_.emplace_back(info_.comp_info[i], planes_[i].size);
            rows_[i] = stripes_.back().rows.data();
        }
    }

    /// Blocks that reach over the right and lower edge repeat the last sample.
    void encodeStripes() {
        const int lines = info_.max_v_samp_factor * DCTSIZE;
        const int step = static_cast<int>(info_.next_scanline) / lines;
        for (size_t i = 0; i < planes_.size(); ++i) {
            const Stripe& stripe = stripes_[i];
            const int width = stripe.content.width;
            for (int y = 0; y < stripe.lines; ++y) {
                const uint8_t* from =
                    planes_[i].row(std::min(step * stripe.lines + y, stripe.content.height - 1));
                JSAMPROW to = stripe.rows[static_cast<size_t>(y)];
                std::copy_n(from, width, to);
                std::fill(to + width, to + stripe.width, from[width - 1]);
            }
        }
        jpeg_write_raw_data(&info_, rows_, static_cast<JDIMENSION>(lines));
    }

    jpeg_compress_struct info_{};
    char* bytes_ = nullptr;  ///< what was written to `file_`
    size_t count_ = 0;
    std::FILE* file_;
    Bytes exif_;
    Bytes profile_;
    std::vector<Component> planes_;
    std::vector<Stripe> stripes_;
    JSAMPARRAY rows_[kMaxPlanes] = {};
};

}  // namespace

DescribedPicture readJpeg(const std::string& path) {
    return JpegReader(path).read();
}

std::vector<uint8_t> encodeJpeg(const std::string& path, const Picture& picture, const PngChunks& chunks,
                                int quality) {
    return JpegWriter(path).write(picture, chunks, quality);
}

}  // namespace vantor::tool
