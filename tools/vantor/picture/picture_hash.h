// The hash that identifies results.
#pragma once

#include <xxhash.h>

#include <memory>
#include <string>

#include "tools/vantor/base/error.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

/// XXH64, seed 0, of the samples of all frames, packed: for a raw file without padding it is what `xxh64sum`
/// prints. 16 hexadecimal digits.
class PictureHash {
public:
    PictureHash() : state_(XXH64_createState(), &XXH64_freeState) {
        if (!state_) throw UserError("out of memory");
        XXH64_reset(state_.get(), 0);
    }

    void add(const uint8_t* bytes, size_t count);
    void add(const FrameShape& shape, uint8_t* frame);
    std::string text() const;

    /// Whether a text can be such a hash.
    static bool isText(const std::string& text);

private:
    std::unique_ptr<XXH64_state_t, XXH_errorcode (*)(XXH64_state_t*)> state_;
};

}  // namespace vantor::tool
