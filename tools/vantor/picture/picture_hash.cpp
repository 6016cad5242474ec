#include "tools/vantor/picture/picture_hash.h"

#include <cinttypes>
#include <cstdio>

namespace vantor::tool {

void PictureHash::add(const uint8_t* bytes, size_t count) {
    vantor_hash_bytes(&hash_, bytes, count);
}

void PictureHash::add(const FrameShape& shape, uint8_t* frame) {
    forEachStretch(shape, frame, [this](const uint8_t* bytes, size_t count) { add(bytes, count); });
}

std::string PictureHash::text() const {
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016" PRIx64, vantor_hash_value(&hash_));
    return digits;
}

bool PictureHash::isText(const std::string& text) {
    return text.size() == 16 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace vantor::tool
