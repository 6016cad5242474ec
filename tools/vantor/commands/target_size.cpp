#include "tools/vantor/commands/target_size.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {
namespace {

constexpr char kExpectedSize[] = ": expected WIDTHxHEIGHT, such as 1280x720, or 640x, x480, 50% or 50%x25%";

/// Larger lengths than this, which are refused anyway, would not fit an int.
constexpr double kBeyondLimits = 1e6;

/// One side as it is written, empty if it follows from the other.
struct Side {
    std::string text;

    bool isPercentage() const { return !text.empty() && text.back() == '%'; }
    bool isComputed() const { return text.empty() || isPercentage(); }

    double length(const std::string& what, int source) const {
        if (isPercentage()) return source * percentage(what) / 100;
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos && text.size() <= 9;
        if (!isNumber) throw UserError(what + kExpectedSize);
        return std::stoi(text);
    }

private:
    double percentage(const std::string& what) const {
        double percent = 0;
        const char* const end = text.data() + text.size() - 1;
        const auto result = std::from_chars(text.data(), end, percent);
        if (result.ec != std::errc() || result.ptr != end) throw UserError(what + kExpectedSize);
        if (percent > 0 && percent <= 100.0 * kMaxSide) return percent;
        throw UserError(what + ": expected a positive percentage, such as 50%");
    }
};

struct Sides {
    Side across;
    Side down;
};

/// A percentage without a cross is of both sides.
Sides parseSides(const std::string& what, const std::string& text) {
    const size_t cross = text.find('x');
    const Side first{text.substr(0, cross)};
    if (cross == std::string::npos && first.isPercentage()) return {first, first};
    if (cross == std::string::npos || text.size() == 1) throw UserError(what + kExpectedSize);
    return {first, {text.substr(cross + 1)}};
}

struct Lengths {
    double width;
    double height;
};

Lengths lengthsOf(const std::string& what, const Sides& sides, Size source) {
    Lengths lengths{};
    if (!sides.across.text.empty()) lengths.width = sides.across.length(what, source.width);
    if (!sides.down.text.empty()) lengths.height = sides.down.length(what, source.height);
    if (sides.across.text.empty()) lengths.width = lengths.height * source.width / source.height;
    if (sides.down.text.empty()) lengths.height = lengths.width * source.height / source.width;
    if (std::max(lengths.width, lengths.height) > kBeyondLimits) {
        throw UserError(what + ": width and height must be at most " + std::to_string(kMaxSide));
    }
    return lengths;
}

int roundedLength(const Side& side, double length, int multiple) {
    return side.isComputed() ? multiple * static_cast<int>(std::lround(length / multiple))
                             : static_cast<int>(length);
}

std::string toText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", value);
    return text;
}

}  // namespace

Size targetSize(const std::string& text, Size source, int step) {
    const std::string what = "--size " + text;
    const Sides sides = parseSides(what, text);
    const Lengths lengths = lengthsOf(what, sides, source);
    const auto rounded = [&](int multiple) {
        return Size{roundedLength(sides.across, lengths.width, multiple),
                    roundedLength(sides.down, lengths.height, multiple)};
    };
    const Size size = rounded(step);
    const bool isComputed = sides.across.isComputed() || sides.down.isComputed();
    const std::string name = isComputed ? what + ":" : "--size";
    checkLimits(name, size);
    if (step == 2) checkEven(name, size);
    if (!(size == rounded(1))) {
        note(what + ": " + toText(lengths.width) + " x " + toText(lengths.height) +
             " rounded to even sizes, " + toString(size));
    }
    return size;
}

void noteAliasing(Size source, Size target) {
    if (2 * target.width >= source.width && 2 * target.height >= source.height) return;
    note(toString(source) + " to " + toString(target) +
         ": reduced to less than 50 %; the filter does not low-pass, so expect aliasing");
}

}  // namespace vantor::tool
