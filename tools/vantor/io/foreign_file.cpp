#include "tools/vantor/io/foreign_file.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::tool {
namespace {

using namespace std::string_view_literals;

enum class Remedy { Picture, Heif, Clip, Name };

struct Kind {
    size_t at;  ///< offset of the signature
    std::string_view mark;
    const char* name;
    Remedy remedy;
};

constexpr Kind kKinds[] = {
    {0, "\xFF\xD8\xFF"sv, "a JPEG picture; its name should end in .jpg", Remedy::Name},
    {0, "GIF8"sv, "a GIF picture", Remedy::Picture},
    {0, "BM"sv, "a BMP picture", Remedy::Picture},
    {0, "II*"sv, "a TIFF picture", Remedy::Picture},
    {0, "MM\0*"sv, "a TIFF picture", Remedy::Picture},
    {8, "WEBP"sv, "a WebP picture", Remedy::Picture},
    {4, "ftypavif"sv, "an AVIF picture", Remedy::Heif},
    {4, "ftyphe"sv, "a HEIC picture", Remedy::Heif},
    {4, "ftypmif1"sv, "a HEIC picture", Remedy::Heif},
    {4, "ftypmsf1"sv, "a HEIC picture", Remedy::Heif},
    {4, "ftyp"sv, "an MP4 or MOV clip", Remedy::Clip},
    {4, "moov"sv, "a MOV clip", Remedy::Clip},
    {4, "mdat"sv, "a MOV clip", Remedy::Clip},
    {4, "wide"sv, "a MOV clip", Remedy::Clip},
    {0, "\x1A\x45\xDF\xA3"sv, "a Matroska or WebM clip", Remedy::Clip},
    {8, "AVI "sv, "an AVI clip", Remedy::Clip},
    {0, "OggS"sv, "an Ogg clip", Remedy::Clip},
    {0, "FLV"sv, "an FLV clip", Remedy::Clip},
    {0, "\x89PNG"sv, "a PNG picture; its name should end in .png", Remedy::Name},
    {0, "YUV4MPEG2"sv, "a Y4M clip; its name should end in .y4m", Remedy::Name},
};

/// As a shell takes it for one word.
std::string shellWord(const std::string& text) {
    const auto isPlain = [](unsigned char c) { return std::isalnum(c) || std::strchr("_-./", c); };
    if (std::all_of(text.begin(), text.end(), isPlain)) return text;
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

constexpr const char* kToPipe = " -f yuv4mpegpipe -pix_fmt yuv420p - | vantor COMMAND - ...";

std::string convertedBy(const std::string& path, Remedy remedy) {
    if (remedy == Remedy::Name) return {};
    const std::string file = shellWord(path);
    const std::string start = "; this converts it: ";
    if (remedy == Remedy::Clip) return start + "ffmpeg -i " + file + kToPipe;
    std::filesystem::path result(path);
    result.replace_extension(".png");
    if (result == path) result.replace_extension("converted.png");
    return start + (remedy == Remedy::Heif ? "heif-convert " : "ffmpeg -i ") + file + " " +
           shellWord(result.string());
}

}  // namespace

std::string describeForeign(const std::string& path, const std::string& start) {
    for (const auto& [at, mark, name, remedy] : kKinds) {
        if (start.compare(std::min(at, start.size()), mark.size(), mark) == 0)
            return name + convertedBy(path, remedy);
    }
    return {};
}

std::string insteadOf(const std::string& path, const std::string& start) {
    if (start.empty()) return ": it is empty";
    const std::string kind = describeForeign(path, start);
    return kind.empty() ? "" : ", but " + kind;
}

void expectFile(const std::string& path) {
    struct stat status {};
    if (path == "-") return;
    if (stat(path.c_str(), &status) != 0) throw UserError(path + ": " + std::strerror(errno));
    if (!S_ISDIR(status.st_mode)) return;
    throw UserError(path + ": a directory, expected a file; this makes a clip of its PNG files: ffmpeg " +
                    "-pattern_type glob -i " + shellWord(path + "/*.png") + kToPipe);
}

void refuseForeign(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) return;
    std::string start(kSniffedBytes, '\0');
    start.resize(InputFile(path).read(start.data(), start.size()));
    const std::string kind = describeForeign(path, start);
    if (!kind.empty()) throw UserError(path + ": " + kind);
}

}  // namespace vantor::tool
