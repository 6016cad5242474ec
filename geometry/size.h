// The size of a picture.
#pragma once

#include <cstddef>

namespace vantor {

struct Size {
    int width;
    int height;

    bool operator==(const Size& other) const { return width == other.width && height == other.height; }
    bool isEven() const { return width % 2 == 0 && height % 2 == 0; }
    /// To the next multiples.
    Size roundedUp(int ofWidth, int ofHeight) const {
        return {(width + ofWidth - 1) / ofWidth * ofWidth, (height + ofHeight - 1) / ofHeight * ofHeight};
    }
    size_t pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
};

}  // namespace vantor
