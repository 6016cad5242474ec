// The reports on a finished clip.
#pragma once

#include "tools/vantor/clip/clip.h"

namespace vantor::tool {

/// The report of --json, on standard output.
void reportJson(const ClipOptions& options, const FramePlan& plan, const ClipTotals& totals,
                const std::string& what);

/// The summary line, on standard error. `what` was done, in `software` (such as "the software model") unless
/// on hardware.
void report(const ClipOptions& options, const FramePlan& plan, const ClipTotals& totals,
            const std::string& what, const std::string& software);

}  // namespace vantor::tool
