#include "tools/vantor/io/y4m.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <numeric>
#include <sstream>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {
namespace {

constexpr const char* kColorFormats[] = {"C420", "C420jpeg", "C420mpeg2", "C420paldv"};
constexpr const char* kGrayFormat = "Cmono";
constexpr const char* kRangeTag = "XCOLORRANGE=";
constexpr const char* kSamplesTag = "XYSCSS=";  ///< says what C says

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

/// Sample formats that are converted, up to their number of bits. A mean of rows leaves chroma where it is
/// horizontally: on the left column.
struct Converted {
    const char* start;
    const char* result;
    Size box;  ///< of which a chroma sample is the mean
};
constexpr Converted kConverted[] = {{"C420", "C420mpeg2", {1, 1}},
                                    {"C422", "C420mpeg2", {1, 2}},
                                    {"C444", "C420jpeg", {2, 2}},
                                    {kGrayFormat, kGrayFormat, {1, 1}}};

/// Of what follows in a tag: "p10" in C420p10, "10" in Cmono10, or nothing for 8.
std::optional<int> parseBits(const std::string& text, bool isGray) {
    for (const int bits : {9, 10, 12, 14, 16}) {
        if (text == (isGray ? "" : "p") + std::to_string(bits)) return bits;
    }
    return text.empty() ? std::optional(8) : std::nullopt;
}

std::vector<StoredPlane> storedPlanes(Size size, Size box, int bits, bool isGray) {
    const auto plane = [&](size_t offset, Size of, Size by) {
        return StoredPlane{offset, of, static_cast<size_t>(of.width) * (bits > 8 ? 2 : 1), bits, by};
    };
    std::vector<StoredPlane> planes{plane(0, size, {1, 1})};
    if (isGray) return planes;
    const Size chroma{(size.width * box.width + 1) / 2, (size.height * box.height + 1) / 2};
    for (int i = 0; i < 2; ++i) planes.push_back(plane(planes.back().end(), chroma, box));
    return planes;
}

/// Takes the tag C, the last if there are several, and puts that of what is read in its place.
void takeFormat(const std::string& name, Y4mHeader& header, std::string& tag) {
    header.format = PixelFormat::I420;
    header.stored.clear();
    const auto* end = std::end(kColorFormats);
    if (std::find(std::begin(kColorFormats), end, tag) != end) return;
    for (const auto& [start, result, box] : kConverted) {
        if (!startsWith(tag, start)) continue;
        const bool isGray = start == kGrayFormat;
        const std::optional<int> bits = parseBits(tag.substr(std::strlen(start)), isGray);
        if (!bits) break;
        if (isGray) header.format = PixelFormat::Gray;
        if (tag == result) return;
        header.stored = storedPlanes(header.size, box, *bits, isGray);
        note(name + ": Y4M sample format " + tag + " converted to " + result + ": " + ruleOf(box, *bits));
        tag = result;
        return;
    }
    throw UserError(name + ": Y4M sample format " + tag +
                    ": expected 4:2:0, 4:2:2, 4:4:4 or gray of 8 to 16 bits, such as C420jpeg, C422p10 or "
                    "Cmono; ffmpeg converts by -pix_fmt yuv420p");
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

void eraseTags(Y4mHeader& header, const char* start) {
    const auto isOne = [&](const std::string& tag) { return startsWith(tag, start); };
    header.tags.erase(std::remove_if(header.tags.begin(), header.tags.end(), isOne), header.tags.end());
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
            header.tags.push_back(word);
        }
    }
    checkLimits(name + ": Y4M", header.size);
    for (std::string& tag : header.tags) {
        if (tag[0] == 'C') takeFormat(name, header, tag);
    }
    if (!header.stored.empty()) eraseTags(header, kSamplesTag);
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
