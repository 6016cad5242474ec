// Pictures as the library's requests take them.
#pragma once

#include <chrono>
#include <functional>

#include "hardware/vantorClient/vantor_client.h"
#include "tools/vantor/io/picture.h"

namespace vantor::tool {

/// The layout that the library works on for a picture that is read in one layout and written in another.
Layout workingLayout(Layout read, Layout written);

int32_t formatOf(const Picture& picture);

/// One block with chroma behind the luma, and the whole picture as its region. A gray picture gets room for
/// chroma as well, which the library's reduction wants.
hardware::vantorClient::BufferData buffer(Picture& picture);

using Request = std::function<int32_t(const hardware::vantorClient::BufferData& dst,
                                      const hardware::vantorClient::BufferData& src, int32_t format)>;

/// Runs a request of the library from `src` to `dst`, which have the same layout, and returns its
/// milliseconds.
double runRequest(Picture& dst, Picture& src, const Request& request);

/// The size at which the library warps a picture: the next multiples of 16 and 2. Refuses sizes outside its
/// limits; `what` is what an error names.
Size warpFrame(const std::string& what, Size picture);

/// The picture on that frame; a note says so if it is larger.
Picture onFrame(const std::string& what, Picture picture, Size frame);

/// What the closing line says of colour: how RGB is converted, if it is.
const char* describeRgb(Layout read, Layout written);

}  // namespace vantor::tool
