#include "tools/vantor/io/y4m.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <sstream>

#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

constexpr const char* kColorFormats[] = {"C420", "C420jpeg", "C420mpeg2", "C420paldv"};
constexpr const char* kGrayFormat = "Cmono";
constexpr const char* kRangeTag = "XCOLORRANGE=";

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

int parseSide(const std::string& name, const std::string& tag) {
    int side = 0;
    const char* end = tag.data() + tag.size();
    const auto result = std::from_chars(tag.data() + 1, end, side);
    if (result.ec != std::errc() || result.ptr != end) {
        throw UserError(name + ": Y4M tag " + tag + ": expected a number of pixels");
    }
    return side;
}

PixelFormat parseFormat(const std::string& name, const std::string& tag) {
    if (tag == kGrayFormat) return PixelFormat::Gray;
    const auto* end = std::end(kColorFormats);
    if (std::find(std::begin(kColorFormats), end, tag) != end) return PixelFormat::I420;
    throw UserError(name + ": Y4M sample format " + tag +
                    ": expected 8-bit 4:2:0 (C420, C420jpeg, C420mpeg2 or C420paldv) or gray (Cmono); ffmpeg "
                    "converts by -pix_fmt yuv420p");
}

/// "A1:1" as a ratio; nothing where it is another tag, or the aspect ratio is unknown.
std::optional<std::pair<int64_t, int64_t>> parsePixelShape(const std::string& tag) {
    int32_t width = 0;
    int32_t height = 0;
    char colon = 0;
    std::istringstream text(tag.substr(1));
    if (tag[0] != 'A' || !(text >> width >> colon >> height) || colon != ':' || width <= 0 || height <= 0)
        return {};
    return {{width, height}};
}

}  // namespace

std::optional<bool> Y4mHeader::isFullRange() const {
    for (const std::string& tag : tags) {
        if (startsWith(tag, kRangeTag)) return tag == std::string(kRangeTag) + "FULL";
    }
    return {};
}

bool Y4mHeader::isInterlaced() const {
    return std::any_of(tags.begin(), tags.end(),
                       [](const std::string& tag) { return tag[0] == 'I' && tag != "Ip" && tag != "I?"; });
}

Y4mHeader parseY4mHeader(const std::string& name, const std::string& line) {
    std::istringstream words(line);
    std::string word;
    if (!(words >> word) || word != kY4mMagic)
        throw UserError(name + ": not a Y4M stream: expected it to begin with " + kY4mMagic);
    Y4mHeader header{};
    while (words >> word) {
        if (word[0] == 'W') {
            header.size.width = parseSide(name, word);
        } else if (word[0] == 'H') {
            header.size.height = parseSide(name, word);
        } else {
            if (word[0] == 'C') header.format = parseFormat(name, word);
            header.tags.push_back(word);
        }
    }
    checkLimits(name + ": Y4M", header.size);
    return header;
}

std::string toLine(const Y4mHeader& header) {
    std::string line = std::string(kY4mMagic) + " W" + std::to_string(header.size.width) + " H" +
                       std::to_string(header.size.height);
    for (const std::string& tag : header.tags) line += " " + tag;
    return line + "\n";
}

Y4mHeader derivedHeader(const Y4mHeader& from, Size size) {
    Y4mHeader header{size, from.format};
    for (const std::string& tag : from.tags) {
        auto shape = parsePixelShape(tag);
        if (!shape) {
            header.tags.push_back(tag);
            continue;
        }
        auto [width, height] = *shape;
        width *= int64_t{from.size.width} * size.height;
        height *= int64_t{from.size.height} * size.width;
        const int64_t common = std::gcd(width, height);
        header.tags.push_back("A" + std::to_string(width / common) + ":" + std::to_string(height / common));
    }
    return header;
}

Y4mHeader newHeader(PixelFormat format, Size size, std::optional<bool> isFullRange) {
    Y4mHeader header{
        size, format, {"F0:0", "Ip", "A0:0", format == PixelFormat::Gray ? kGrayFormat : "C420jpeg"}};
    if (isFullRange) header.tags.push_back(kRangeTag + std::string(*isFullRange ? "FULL" : "LIMITED"));
    return header;
}

}  // namespace vantor::tool
