// The frames of a clip on their way from its reader through workers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "tools/vantor/clip/frame_task.h"
#include "tools/vantor/clip/workers.h"
#include "tools/vantor/io/clip_reader.h"

namespace vantor::tool {

/// The frames in flight, in the order of the clip: each is read, worked on by a worker, and
/// written.
class Pipeline {
public:
    /// With so many workers, each of which has an engine of so many threads. The plan outlives the pipeline.
    Pipeline(const FramePlan& plan, size_t workers, size_t engineThreads);

    bool isEmpty() const { return first_ == end_; }

    /// Reads the frame of a number, and its grid if each has its own. False where the clip ends.
    bool read(ClipReader& reader, uintmax_t frame);

    /// Hands the frame that was read to a worker.
    void start() { workers_.start(end_++ % slots_.size()); }

    /// Whether the first frame should be taken out before another is read: there is no room for another, or
    /// it is done, or it will be before there is something to read.
    bool isDue(const ClipReader& reader) const;

    /// Waits for the first frame and gives it to `use`.
    template <typename Use>
    void take(Use&& use) {
        const size_t slot = first_ % slots_.size();
        workers_.wait(slot);
        use(slots_[slot].result, output(slot), slots_[slot].tags);
        ++first_;
    }

private:
    struct Slot {
        std::string tags;
        Request request;
        RequestResult result;
    };

    uint8_t* input(size_t slot) const { return memory_.bytes() + slot * bytes_; }
    uint8_t* output(size_t slot) const { return input(slot) + readBytes_; }

    const FramePlan& plan_;
    size_t readBytes_;
    size_t bytes_;
    std::vector<Slot> slots_;
    ZeroedMemory memory_;
    std::deque<FrameTask> tasks_;  ///< one per worker
    size_t first_ = 0;
    size_t end_ = 0;
    Workers workers_;
};

}  // namespace vantor::tool
