// From an input to an output, frame by frame: what `scale` and `warp` share. A picture is a clip of one
// frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/vantor/clip/frame_range.h"
#include "tools/vantor/clip/frame_task.h"
#include "tools/vantor/clip/pipeline.h"
#include "tools/vantor/io/clip_reader.h"

namespace vantor::tool {

struct ClipOptions {
    std::string input;
    std::string output;
    FileOptions inputOptions{"--input", {}, {}};
    FileOptions outputOptions{"--output", {}, {}};
    bool overwriteInput = false;
    FrameRange part;
    size_t jobs = 0;  ///< threads; 0: one per CPU
    std::string timesFile;
    bool hash = false;
    std::string verify;
    std::string matrix;
    std::string range;
    bool json = false;
    RequestWatch watch{};  ///< of the only request, if it is watched
};

constexpr size_t kMaxJobs = 256;

/// The result of processing a clip.
struct ClipTotals {
    uintmax_t frames = 0;
    double milliseconds = 0;  ///< in the library
    double seconds = 0;       ///< all in all
    std::string fallback;     ///< why the hardware backend fell back to the CPU, if it did
    std::string hash;
};

/// A clip to read, and the file to make of it.
class Clip {
public:
    explicit Clip(const ClipOptions& options);

    Size size() const { return reader_->shape().size; }
    /// Whether the library works on chroma too.
    bool isColor() const;
    /// The shape of frames of a size that are written. `what` is what an error names.
    FrameShape written(const std::string& what, Size size) const;

    /// Makes all frames with `request`, and prints a summary line, of `what` was done and where, to standard
    /// error. Returns the exit status.
    int process(const FrameShape& written, const Request& request, const std::string& what,
                const std::string& software);

private:
    PixelFormat writtenFormat() const;
    YuvColor color() const;
    /// Whether YUV in limited range goes into a JPEG, which is in full range.
    bool expandsRange() const;
    void noteRange() const;
    Y4mHeader headerOf(const FrameShape& written) const;
    std::optional<uintmax_t> framesLeft() const;
    /// A worker per thread with many frames, else one with an engine of all threads.
    Pipeline pipelineFor(const FramePlan& plan) const;
    ClipTotals processFrames(const FramePlan& plan);

    ClipOptions options_;
    FileSpec outputSpec_;
    FileSpec inputSpec_;
    std::unique_ptr<ClipReader> reader_;
};

}  // namespace vantor::tool
