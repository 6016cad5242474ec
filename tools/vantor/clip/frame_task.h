// What is done to each frame of a clip.
#pragma once

#include <memory>
#include <optional>

#include "tools/vantor/io/grid_sequence.h"
#include "tools/vantor/library/engine.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {

struct FramePlan {
    FrameShape read;     ///< a frame of the input
    FrameShape written;  ///< a frame of the output
    Request request;
    std::shared_ptr<GridSequence> grids;  ///< the request's, if each frame has its own
    YuvColor color;
    RequestWatch watch;
    bool expandsRange;  ///< of the output

    /// Whether the request goes through the client, which takes one at a time per process. All others are the
    /// engine's.
    bool usesClient() const { return watch || request.backend() == Backend::Hardware; }
    /// The format that the library works on.
    PixelFormat working() const;
    /// The size at which the library works on a frame of this size: as large, or larger.
    Size worked(Size frame) const;
};

/// Not thread-safe.
class FrameTask {
public:
    /// With the engine's threads. The plan outlives the task.
    FrameTask(const FramePlan& plan, size_t threads);

    /// Makes a frame of the output from one of the input, by the plan's request or one with another grid. The
    /// engine works on those planes of both whose layout it takes; only others are copied.
    RequestResult run(uint8_t* read, uint8_t* written, const Request& request);

private:
    /// A frame as the library takes it.
    class Side {
    public:
        Side(const FramePlan& plan, const FrameShape& shape);

        /// With the frame's own planes where they can serve.
        WorkingPicture picture(const Planes& frame) const;

    private:
        std::optional<WorkingMemory> memory_;  ///< unless all planes serve
        bool isLumaShared_;
    };

    const FramePlan& plan_;
    Side src_;
    Side dst_;
    Engine engine_;
};

}  // namespace vantor::tool
