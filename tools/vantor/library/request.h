// Requests of the library, on pictures.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>

#include "geometry/warp_map.h"
#include "hardware/vantorClient/vantor_client.h"
#include "tools/vantor/base/zeroed_memory.h"
#include "tools/vantor/library/shared_buffer.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

/// The format that the library works on for a picture that is read in one format and written in another.
PixelFormat workingFormat(PixelFormat read, PixelFormat written);

/// What computes a request.
enum class Backend {
    Software,  ///< the scalers or the model, on the CPU
    Hardware,  ///< the service; on a workstation the software service in this process, unless another is
               ///< given
};

/// One of the library's requests with all that it takes beside pictures.
struct Request {
    enum class Operation { InterpBicubic, Csc, GdcGrid, GdcMatrix };

    Operation operation;
    int32_t target = hardware::GDC_C_MODEL;  ///< of warps
    Grid grid{};                             ///< of GdcGrid
    std::array<int16_t, 6> matrix{};         ///< of GdcMatrix

    bool isWarp() const { return operation == Operation::GdcGrid || operation == Operation::GdcMatrix; }
    Backend backend() const;
    int32_t operator()(const hardware::vantorClient::BufferData& dst,
                       const hardware::vantorClient::BufferData& src, int32_t format) const;
};

Request scalingRequest(Backend backend);
Request warpingRequest(Backend backend, const Grid& grid);
Request warpingRequest(Backend backend, const std::array<int16_t, 6>& matrix);

/// A region of interest, in inclusive columns and rows.
struct Region {
    int left;
    int top;
    int right;
    int bottom;
};

inline Region fullRegion(Size size) {
    return {0, 0, size.width - 1, size.height - 1};
}

/// A picture as the library takes it: packed NV12 or gray, with a chroma plane in any case, which the
/// library's reduction of gray pictures wants.
struct WorkingPicture {
    Planes planes;
    Region region;
    int descriptor = -1;  ///< of the shared buffer that holds all planes, for the hardware backend
};

/// Memory for one, shared if it is for the hardware backend.
class WorkingMemory {
public:
    WorkingMemory(PixelFormat format, Size size, Backend backend);

    uint8_t* bytes() const { return shared_ ? shared_->bytes() : own_->bytes(); }
    WorkingPicture picture() const;

private:
    PixelFormat layout_;
    Size size_;
    std::optional<ZeroedMemory> own_;
    std::optional<SharedBuffer> shared_;
};

/// The outcome of a request.
struct RequestResult {
    int32_t status;
    double milliseconds;
    bool isMade;  ///< there is a picture; with a failure status, made by the hardware backend's fallback
    std::string error;  ///< the first line that was logged as an error; empty if there was none

    /// Why the hardware backend fell back to the CPU; empty if it did not.
    std::string fallback() const { return status == 0 ? std::string() : error; }
};

/// Sees a request before it runs, with null, and its result after it has.
using RequestWatch = std::function<void(const Request& request, const WorkingPicture& dst,
                                        const WorkingPicture& src, const RequestResult* result)>;

/// Runs a request of the library from `src` to `dst`, which have the same format. For the hardware backend
/// the service is started first.
RequestResult ask(const Request& request, const WorkingPicture& dst, const WorkingPicture& src);

/// The same for requests that are to make a picture.
RequestResult runRequest(const WorkingPicture& dst, const WorkingPicture& src, const Request& request,
                         const RequestWatch& watch = {});
RequestResult runRequest(Picture& dst, const Picture& src, const Request& request);

/// Where the work was done, for the summary line, such as "in the software model".
std::string describe(Backend backend, const std::string& software, const std::string& fallback);

/// The size at which the device warps a picture: the next multiples of 16 and 2.
Size deviceSize(Size picture);

/// The same. Refuses sizes outside the device's limits; `what` is what an error names.
Size warpFrame(const std::string& what, Size picture);

/// Prints a note if the frame is larger than the picture.
void noteFrame(const std::string& what, Size picture, Size frame);

/// The picture on that frame, in the format that the library works on.
Picture onFrame(const std::string& what, Picture picture, Size frame, PixelFormat working);

}  // namespace vantor::tool
