#include "tools/vantor/clip/clip_report.h"

#include <cinttypes>
#include <cstdio>

#include "tools/vantor/base/terminal.h"

namespace vantor::tool {

static bool isRgb(const FramePlan& plan) {
    return plan.read.format == PixelFormat::Rgb || plan.written.format == PixelFormat::Rgb;
}

nlohmann::ordered_json toJson(const ClipOptions& options, const ClipResult& result) {
    const auto& [plan, totals, what, software] = result;
    const auto file = [](const std::string& name, const FrameShape& shape) {
        return nlohmann::ordered_json{{"file", name},
                                      {"size", {shape.size.width, shape.size.height}},
                                      {"layout", toString(shape.format)}};
    };
    const bool isHardware = plan.request.backend() == Backend::Hardware;
    nlohmann::ordered_json json{{"input", file(options.input, plan.read)},
                                {"output", file(options.output, plan.written)},
                                {"what", what},
                                {"worked_on_as", toString(plan.working())},
                                {"backend", isHardware ? "hardware" : "software"},
                                {"path", isHardware ? "hardware" : "processor"},  // the older name
                                {"frames", totals.frames},
                                {"seconds", totals.seconds},
                                {"milliseconds_in_library", totals.milliseconds}};
    if (!totals.fallback.empty()) json["fallback"] = totals.fallback;
    if (isRgb(plan)) json["rgb"] = toString(plan.color);
    if (!totals.hash.empty()) json["hash"] = totals.hash;
    return json;
}

void report(const ClipOptions& options, const ClipResult& result) {
    const auto& [plan, totals, what, software] = result;
    char time[128];
    if (totals.frames == 1) {
        std::snprintf(time, sizeof time, "in %.2f ms", totals.milliseconds);
    } else {
        const auto frames = static_cast<double>(totals.frames);
        std::snprintf(time, sizeof time, "in %.2f s, %ju frames, %.1f a second; each %.2f ms in the library",
                      totals.seconds, totals.frames, frames / totals.seconds, totals.milliseconds / frames);
    }
    const std::string line = options.input + " " + toString(plan.read.size) + " " +
                             toString(plan.read.format) + " to " + options.output + " " +
                             toString(plan.written.size) + " " + toString(plan.written.format) + ": " + what +
                             " as " + toString(plan.working()) + " " +
                             describe(plan.request.backend(), software, totals.fallback) + " " + time +
                             (isRgb(plan) ? std::string("; RGB by ") + toString(plan.color) : "") +
                             (totals.hash.empty() ? "" : "; hash " + totals.hash);
    summarize(line);
    if (isQuiet() && options.hash) printMessage("hash %s", totals.hash.c_str());
}

}  // namespace vantor::tool
