// The hash that identifies results.
#pragma once

#include <string>

#include "bindings/c/vantor/vantor.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

/// XXH64, seed 0, of the samples of all frames, packed: for a raw file without padding it is what `xxh64sum`
/// prints. 16 hexadecimal digits.
class PictureHash {
public:
    PictureHash() { vantor_hash_begin(&hash_); }

    void add(const uint8_t* bytes, size_t count);
    void add(const FrameShape& shape, uint8_t* frame);
    std::string text() const;

    /// Whether a text can be such a hash.
    static bool isText(const std::string& text);

private:
    vantor_hash hash_;
};

}  // namespace vantor::tool
