#include "tools/vantor/target_size.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "tools/vantor/io/error.h"
#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {
namespace {

constexpr char kForms[] = ": expected WIDTHxHEIGHT, such as 1280x720, or 640x, x480, 50% or 50%x25%";

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
        if (!isNumber) throw UserError(what + kForms);
        return std::stoi(text);
    }

private:
    double percentage(const std::string& what) const {
        double percent = 0;
        const char* const end = text.data() + text.size() - 1;
        const auto result = std::from_chars(text.data(), end, percent);
        if (result.ec != std::errc() || result.ptr != end) throw UserError(what + kForms);
        if (percent > 0 && percent <= 100.0 * kLargestSide) return percent;
        throw UserError(what + ": expected a positive percentage, such as 50%");
    }
};

std::string toText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.7g", value);
    return text;
}

}  // namespace

Size targetSize(const std::string& text, Size source, int step) {
    const std::string what = "--size " + text;
    const size_t cross = text.find('x');
    const bool isOneNumber = cross == std::string::npos;
    const Side across{text.substr(0, cross)};
    const Side down{isOneNumber ? text : text.substr(cross + 1)};
    if ((isOneNumber && !across.isPercentage()) || (across.text.empty() && down.text.empty())) {
        throw UserError(what + kForms);
    }
    double width = across.text.empty() ? 0 : across.length(what, source.width);
    double height = down.text.empty() ? 0 : down.length(what, source.height);
    if (across.text.empty()) width = height * source.width / source.height;
    if (down.text.empty()) height = width * source.height / source.width;

    const auto rounded = [](const Side& side, double length, int to) {
        const double bounded = std::min(length, kBeyondLimits);
        return side.isComputed() ? to * static_cast<int>(std::lround(bounded / to))
                                 : static_cast<int>(bounded);
    };
    const Size size{rounded(across, width, step), rounded(down, height, step)};
    const bool isComputed = across.isComputed() || down.isComputed();
    const std::string name = isComputed ? what + ":" : "--size";
    checkLimits(name, size);
    if (step == 2) checkEven(name, size);
    if (!(size == Size{rounded(across, width, 1), rounded(down, height, 1)})) {
        note(what + ": " + toText(width) + " x " + toText(height) + " rounded to even sizes, " +
             toString(size));
    }
    return size;
}

void noteAliasing(Size source, Size target) {
    if (2 * target.width >= source.width && 2 * target.height >= source.height) return;
    note(toString(source) + " to " + toString(target) +
         ": reduced to less than 50 %; the filter does not low-pass, so expect aliasing");
}

}  // namespace vantor::tool
