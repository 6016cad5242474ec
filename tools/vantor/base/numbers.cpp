#include "tools/vantor/base/numbers.h"

#include <charconv>
#include <cmath>

#include "tools/vantor/base/error.h"

namespace vantor::tool {

std::vector<double> parseNumbers(const std::string& option, const std::string& text, size_t minCount,
                                 size_t maxCount) {
    std::vector<double> numbers;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        double value = 0;
        const auto result = std::from_chars(at, end, value);
        if (result.ec != std::errc() || !std::isfinite(value)) break;
        numbers.push_back(value);
        at = result.ptr;
        if (at == end || *at != ',' || at + 1 == end) break;
        ++at;
    }
    if (at != end || numbers.size() < minCount || numbers.size() > maxCount) {
        const std::string count = minCount == maxCount
                                      ? std::to_string(minCount)
                                      : std::to_string(minCount) + " to " + std::to_string(maxCount);
        throw UserError(option + " " + text + ": expected " + count +
                        (maxCount == 1 ? " number" : " comma-separated numbers"));
    }
    return numbers;
}

}  // namespace vantor::tool
