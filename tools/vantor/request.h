// Requests of the library, on pictures.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"
#include "tools/vantor/io/planes.h"
#include "tools/vantor/shared_buffer.h"

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

/// A picture as the library takes it: packed NV12 or gray, with a chroma plane in any case, which the
/// library's reduction of gray pictures wants.
struct WorkingPicture {
    Planes planes;
    int descriptor = -1;  ///< of the shared buffer that holds all planes, for the hardware path
};

/// Memory for one, shared if it is for the hardware path.
class WorkingMemory {
public:
    WorkingMemory(Layout layout, Size size, Path path);

    uint8_t* bytes() { return shared_ ? shared_->bytes() : own_.data(); }
    WorkingPicture picture();

private:
    Layout layout_;
    Size size_;
    std::vector<uint8_t> own_;
    std::optional<SharedBuffer> shared_;
};

/// What came of a request that made a picture.
struct RequestResult {
    double milliseconds;
    std::string fallback;  ///< why the hardware path left the work to the processor; empty if it did not
};

/// Runs a request of the library from `src` to `dst`, which have the same layout, whole picture to whole
/// picture. On the hardware path the service is started first, and both pictures are imported as shared
/// buffers.
RequestResult runRequest(const WorkingPicture& dst, const WorkingPicture& src, Path path,
                         const Request& request);
RequestResult runRequest(Picture& dst, const Picture& src, Path path, const Request& request);

/// What the closing line says of who did the work, such as "in the software model".
std::string describe(Path path, const std::string& processor, const RequestResult& result);

/// The size at which the library warps a picture: the next multiples of 16 and 2. Refuses sizes outside its
/// limits; `what` is what an error names.
Size warpFrame(const std::string& what, Size picture);

/// A note says so if the frame is larger than the picture.
void noteFrame(const std::string& what, Size picture, Size frame);

/// The picture on that frame, in the layout that the library works on.
Picture onFrame(const std::string& what, Picture picture, Size frame, Layout working);

}  // namespace vantor::tool
