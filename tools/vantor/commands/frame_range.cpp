#include "tools/vantor/commands/frame_range.h"

#include <string>

namespace vantor::tool {
namespace {

/// Numbers of frames, which CLI11 would take modulo 2^64.
CLI::Validator framesFrom(uintmax_t least) {
    const auto check = [least](const std::string& text) {
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos && text.size() < 19;
        return isNumber && std::stoull("0" + text) >= least
                   ? std::string()
                   : text + ": expected a number of frames, " + std::to_string(least) + " or more";
    };
    return CLI::Validator(check, "FRAMES");
}

}  // namespace

void addFrameRangeOptions(CLI::App& command, FrameRange& range) {
    command.add_option("--skip", range.skip, "Leave out this many frames at the beginning")
        ->check(framesFrom(0))
        ->group("Clips");
    command.add_option("--limit", range.limit, "Take at most this many frames")
        ->check(framesFrom(1))
        ->group("Clips");
}

}  // namespace vantor::tool
