// The frames of a clip on their way from its reader through workers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/clip/frame_task.h"
#include "tools/vantor/clip/workers.h"
#include "tools/vantor/io/clip_reader.h"

namespace vantor::tool {

/// Memory that this process and those it forks share.
class SharedMemory {
public:
    explicit SharedMemory(size_t length);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    uint8_t* bytes() const { return static_cast<uint8_t*>(address_); }

private:
    size_t length_;
    void* address_;
};

/// The frames in flight, in the order of the clip: each is read, worked on by a worker, and
/// written.
class Pipeline {
public:
    Pipeline(const FramePlan& plan, size_t jobs);

    bool isEmpty() const { return first_ == end_; }

    /// Reads a frame. False where the clip ends.
    bool read(ClipReader& reader);

    /// Hands the frame that was read to its worker.
    void start() { workers_.start(end_++ % slots_); }

    /// Whether the first frame should be taken out before another is read: there is no room for another, or
    /// it is done, or it will be before there is something to read.
    bool isDue(const ClipReader& reader) const;

    /// Waits for the first frame and gives it to `use`.
    template <typename Use>
    void take(Use&& use) {
        const size_t slot = first_ % slots_;
        use(workers_.wait(slot), output(slot), tags_[slot]);
        ++first_;
    }

private:
    uint8_t* input(size_t slot) const { return memory_.bytes() + slot * bytes_; }
    uint8_t* output(size_t slot) const { return input(slot) + readBytes_; }

    /// In a worker. The task is made there: memory for the hardware backend would be shared with other
    /// workers.
    WorkerMessage work(size_t slot);

    size_t readBytes_;
    size_t bytes_;
    size_t slots_;
    SharedMemory memory_;
    std::vector<std::string> tags_;
    FramePlan plan_;
    std::optional<FrameTask> task_;
    Workers workers_;
    size_t first_ = 0;
    size_t end_ = 0;
};

}  // namespace vantor::tool
