// The reports on a finished clip.
#pragma once

#include "tools/vantor/base/json.h"
#include "tools/vantor/clip/clip.h"

namespace vantor::tool {

/// The report of --json.
nlohmann::ordered_json toJson(const ClipOptions& options, const ClipResult& result);

/// The summary line, on standard error.
void report(const ClipOptions& options, const ClipResult& result);

}  // namespace vantor::tool
