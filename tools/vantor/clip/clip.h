// From an input to an output, frame by frame: what `scale` and `warp` share. A picture is a clip of one
// frame.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/vantor/clip/frame_task.h"
#include "tools/vantor/commands/frame_range.h"
#include "tools/vantor/io/clip_reader.h"

namespace vantor::tool {

struct ClipOptions {
    std::string input;
    std::string output;
    FormOptions inputForm{"--input", {}, {}};
    FormOptions outputForm{"--output", {}, {}};
    bool overwriteInput = false;
    FrameRange part;
    size_t jobs = 0;  ///< 0: as many as there are processors
    std::string timesFile;
    bool hash = false;
    std::string verify;
    std::string matrix;
    std::string range;
    bool json = false;
    RequestWatch watch{};  ///< of the only request, if it is watched
};

/// Declares IN, --output, what the files are, and how the frames are worked on.
void addClipOptions(CLI::App& command, ClipOptions& options);

/// A clip that is to be read, and the file that is to be made of it.
class Clip {
public:
    explicit Clip(const ClipOptions& options);

    Size size() const { return reader_->shape().size; }
    /// The layout that the library works on.
    Layout working() const;
    /// The shape of frames of a size that are written. `what` is what an error names.
    FrameShape written(const std::string& what, Size size) const;

    /// Makes all frames with `request`, from pictures of `src`'s to pictures of `dst`'s size, and says on
    /// standard error what was done: `what`, and where, in the path's words. Returns the exit status.
    int process(const FrameShape& written, Size src, Size dst, const Request& request,
                const std::string& what, const std::string& processor);

private:
    struct Result;

    Layout writtenLayout() const;
    YuvColor color() const;
    Y4mHeader headerOf(const FrameShape& written) const;
    std::optional<uintmax_t> framesLeft() const;
    size_t jobs() const;
    Result processFrames(const FramePlan& plan);
    void reportJson(const FramePlan& plan, const Result& result, const std::string& what) const;
    void report(const FramePlan& plan, const Result& result, const std::string& what,
                const std::string& processor) const;

    ClipOptions options_;
    FileForm outputForm_;
    std::unique_ptr<ClipReader> reader_;
};

}  // namespace vantor::tool
