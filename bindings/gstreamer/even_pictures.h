// Pictures with chroma and an odd side, for a library whose pictures with chroma have even sides.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "vantor/vantor.h"

namespace vantor::gstreamer {

/// As if the last column and row were repeated. Only luma is copied, as chroma is that of the even picture.
class EvenPictures {
public:
    using Call = std::function<void(const vantor_image& dst, const vantor_image& src)>;

    /// Calls `call` with even pictures in place of those that are not, and crops its result.
    void run(const vantor_image& dst, const vantor_image& src, const Call& call);

private:
    std::vector<uint8_t> dstLuma_;
    std::vector<uint8_t> srcLuma_;
};

}  // namespace vantor::gstreamer
