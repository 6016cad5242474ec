// From an input to an output, frame by frame: what `scale` and `warp` share. A picture is a clip of one
// frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/clip/frame_range.h"
#include "tools/vantor/clip/frame_task.h"
#include "tools/vantor/clip/pipeline.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/output_file.h"

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
    PngLevel pngLevel;
    bool showsProgress = true;
    std::vector<std::string> alsoRead{};  ///< files that are no inputs, such as a grid; empty names are none
    RequestWatch watch{};                 ///< of the only request, if it is watched
};

/// The result of processing a clip.
struct ClipTotals {
    uintmax_t frames = 0;
    double milliseconds = 0;  ///< in the library
    double seconds = 0;       ///< all in all
    std::string fallback;     ///< why the hardware backend fell back to the CPU, if it did
    std::string hash;
};

/// The files that a clip is written to. One thread opens, finishes and destroys them all; any may write.
class ClipFiles {
public:
    void open(const ClipOptions& options);
    bool isOpen() const { return result_.has_value(); }
    void finish();

    OutputFile& result() { return *result_; }
    OutputFile* times() { return times_ ? &*times_ : nullptr; }

private:
    std::optional<OutputFile> result_;
    std::optional<OutputFile> times_;
};

/// What was made of a clip.
struct ClipResult {
    FramePlan plan;
    ClipTotals totals;
    std::string what;      ///< was done
    std::string software;  ///< did it (such as "the software model") unless hardware did
};

/// A clip to read, and the files to make of it, which are opened before the first frame if they are not.
class Clip {
public:
    Clip(const ClipOptions& options, ClipFiles& files);

    const std::string& name() const { return options_.input; }
    Size size() const { return reader_->shape().size; }
    /// Whether the library works on chroma too.
    bool isColor() const;
    /// The shape of frames of a size that are written. `what` is what an error names.
    FrameShape written(const std::string& what, Size size) const;

    /// Makes all frames with `request`, or with its grid replaced by each frame's own; the files are left to
    /// be finished.
    ClipResult process(const FrameShape& written, const Request& request, const std::string& what,
                       const std::string& software, std::shared_ptr<GridSequence> grids = {});

private:
    PixelFormat writtenFormat() const;
    YuvColor color() const;
    /// Whether YUV in limited range goes into a JPEG, which is in full range.
    bool expandsRange() const;
    void noteRange() const;
    Y4mHeader headerOf(const FrameShape& written) const;
    std::optional<uintmax_t> framesLeft() const;
    /// Of the whole input, counted; nothing if it can be read only once.
    std::optional<uintmax_t> frames() const;
    /// Refuses grids that are not one for each of the input's frames.
    void expectGrids(const GridSequence& grids, uintmax_t frames) const;
    /// A worker per thread with many frames, else one with an engine of all threads.
    Pipeline pipelineFor(const FramePlan& plan) const;
    ClipTotals processFrames(const FramePlan& plan);

    ClipOptions options_;
    ClipFiles& files_;
    FileSpec outputSpec_;
    FileSpec inputSpec_;
    std::unique_ptr<ClipReader> reader_;
};

}  // namespace vantor::tool
