#include "tools/vantor/progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "tools/vantor/io/error.h"

namespace vantor::tool {

Progress::Progress() : isWatched_(!isQuiet() && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown_) std::fprintf(stderr, "\r\033[K");
}

double Progress::seconds() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

void Progress::show(uintmax_t frames, std::optional<uintmax_t> all) {
    constexpr double kInterval = 0.25;
    const double now = seconds();
    if (!isWatched_ || now - lastShown_ < kInterval) return;
    lastShown_ = now;
    isShown_ = true;
    std::string of;
    std::string left;
    if (all) {
        const auto part = static_cast<double>(frames) / static_cast<double>(*all);
        const auto rest = static_cast<long>(now / part - now + 0.5);
        char text[64];
        std::snprintf(text, sizeof text, ", %ld:%02ld left", rest / 60, rest % 60);
        of = " of " + std::to_string(*all);
        left = text;
    }
    std::fprintf(stderr, "\r\033[Kvantor: %ju%s frames, %.1f a second%s", frames, of.c_str(),
                 static_cast<double>(frames) / now, left.c_str());
    std::fflush(stderr);
}

}  // namespace vantor::tool
