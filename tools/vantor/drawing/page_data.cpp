#include "tools/vantor/drawing/page_data.h"

#include <algorithm>

namespace vantor::tool {

std::string base64(const uint8_t* bytes, size_t count) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(count / 3 * 4 + 4);
    for (size_t i = 0; i < count; i += 3) {
        const size_t left = std::min<size_t>(3, count - i);
        uint32_t group = 0;
        for (size_t k = 0; k < 3; ++k) group = group << 8 | (k < left ? bytes[i + k] : 0);
        for (size_t k = 0; k < 4; ++k) text += k <= left ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::vector<uint8_t> filledPage(std::string_view page, std::string_view marker,
                                const nlohmann::ordered_json& data) {
    std::string text = data.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    // Nothing in the data ends its element.
    for (size_t at = 0; (at = text.find('<', at)) != std::string::npos;) text.replace(at, 1, "\\u003c");
    const size_t place = page.find(marker);
    std::vector<uint8_t> whole(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(place));
    whole.insert(whole.end(), text.begin(), text.end());
    whole.insert(whole.end(), page.begin() + static_cast<std::ptrdiff_t>(place + marker.size()), page.end());
    return whole;
}

}  // namespace vantor::tool
