#include "tools/vantor/base/numbers.h"

#include <algorithm>
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

std::array<int16_t, 6> parseMatrix(const std::string& option, const std::string& text) {
    std::array<int16_t, 6> matrix;
    const std::vector<double> numbers = parseNumbers(option, text, 6, 6);
    for (size_t i = 0; i < matrix.size(); ++i) {
        if (numbers[i] != std::trunc(numbers[i]) || numbers[i] < INT16_MIN || numbers[i] > INT16_MAX) {
            throw UserError(option + " " + text + ": expected integers from -32768 to 32767");
        }
        matrix[i] = static_cast<int16_t>(numbers[i]);
    }
    return matrix;
}

std::array<double, 5> parseLens(const std::string& option, const std::string& text) {
    const std::vector<double> numbers = parseNumbers(option, text, 1, 5);
    if (numbers.size() == 4) throw UserError(option + " " + text + ": expected K1[,K2[,K3[,P1,P2]]]");
    std::array<double, 5> lens{};
    std::copy(numbers.begin(), numbers.end(), lens.begin());
    return lens;
}

}  // namespace vantor::tool
