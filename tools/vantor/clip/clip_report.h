// What is said of a clip when it is done.
#pragma once

#include "tools/vantor/clip/clip.h"

namespace vantor::tool {

/// The report of --json, on standard output.
void reportJson(const ClipOptions& options, const FramePlan& plan, const ClipTotals& totals,
                const std::string& what);

/// The summary line, on standard error. `what` was done, by `processor` where it was done in software.
void report(const ClipOptions& options, const FramePlan& plan, const ClipTotals& totals,
            const std::string& what, const std::string& processor);

}  // namespace vantor::tool
