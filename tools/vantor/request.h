// Requests of the library, on pictures.
#pragma once

#include <functional>
#include <string>

#include "hardware/vantorClient/vantor_client.h"
#include "tools/vantor/io/picture.h"

namespace vantor::tool {

/// The layout that the library works on for a picture that is read in one layout and written in another.
Layout workingLayout(Layout read, Layout written);

enum class Path {
    Processor,  ///< the scalers, or the model
    Hardware,   ///< the service; on a workstation the software service, in this process
};

/// "hw", or the sub-command's name for the processor's path.
Path parsePath(const std::string& text, const std::string& processor);

using Request = std::function<int32_t(const hardware::vantorClient::BufferData& dst,
                                      const hardware::vantorClient::BufferData& src, int32_t format)>;

/// What came of a request that made a picture.
struct RequestResult {
    double milliseconds;
    std::string fallback;  ///< why the hardware path left the work to the processor; empty if it did not
};

/// Runs a request of the library from `src` to `dst`, which have the same layout, whole picture to whole
/// picture. On the hardware path the service is started first, and both pictures are imported as shared
/// buffers.
RequestResult runRequest(Picture& dst, const Picture& src, Path path, const Request& request);

/// What the closing line says of who did the work, such as "in the software model".
std::string describe(Path path, const std::string& processor, const RequestResult& result);

/// The size at which the library warps a picture: the next multiples of 16 and 2. Refuses sizes outside its
/// limits; `what` is what an error names.
Size warpFrame(const std::string& what, Size picture);

/// The picture on that frame; a note says so if it is larger.
Picture onFrame(const std::string& what, Picture picture, Size frame);

/// What the closing line says of colour: how RGB is converted, if it is.
const char* describeRgb(Layout read, Layout written);

}  // namespace vantor::tool
