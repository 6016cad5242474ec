// What is done to each frame of a clip, in one process.
#pragma once

#include "tools/vantor/library/request.h"

namespace vantor::tool {

struct FramePlan {
    FrameShape read;     ///< a frame of the input
    FrameShape written;  ///< a frame of the output
    PixelFormat working;
    Size src;  ///< what the library gets: as large as what is read, or larger
    Size dst;  ///< what the library makes: as large as what is written, or larger
    Request request;
    YuvColor color;
    RequestWatch watch;
};

/// Not thread-safe.
class FrameTask {
public:
    explicit FrameTask(const FramePlan& plan);

    /// Makes a frame of the output from one of the input. The library works in place on those planes
    /// whose layout it takes; only others are copied.
    RequestResult run(uint8_t* read, uint8_t* written);

private:
    /// The library's picture, with those planes of the frame that can serve for it.
    WorkingPicture share(WorkingMemory& memory, const Planes& frame) const;

    FramePlan plan_;
    WorkingMemory src_;
    WorkingMemory dst_;
};

}  // namespace vantor::tool
