// From inputs to outputs: what `scale` and `warp` share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/vantor/clip/clip.h"

namespace vantor::tool {

/// One input and its output, or a batch of them.
struct MakeOptions {
    std::vector<std::string> inputs;
    std::string output;  ///< of a batch, a directory or a pattern
    bool skipExisting = false;
    ClipOptions clip;  ///< but for its input and output
};

/// Calls Clip::process() with what the command does to a clip.
using MakeClip = std::function<ClipResult(Clip& clip)>;

/// Makes all outputs, reports them, and returns the exit status. The requests of `make` go to `backend`.
int makeClips(const MakeOptions& options, Backend backend, const MakeClip& make);

}  // namespace vantor::tool
