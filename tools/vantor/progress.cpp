#include "tools/vantor/progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace vantor::tool {

Progress::Progress() : isWatched_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown_) std::fprintf(stderr, "\r\033[K");
}

double Progress::seconds() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

void Progress::show(uintmax_t frames, double fraction) {
    constexpr double kInterval = 0.25;
    const double now = seconds();
    if (!isWatched_ || now - lastShown_ < kInterval) return;
    lastShown_ = now;
    isShown_ = true;
    std::string left;
    if (fraction > 0) {
        const auto rest = static_cast<long>(now / fraction - now + 0.5);
        char text[64];
        std::snprintf(text, sizeof text, ", %.0f %%, %ld:%02ld left", 100 * fraction, rest / 60, rest % 60);
        left = text;
    }
    std::fprintf(stderr, "\r\033[Kvantor: %ju frames, %.1f a second%s", frames,
                 static_cast<double>(frames) / now, left.c_str());
    std::fflush(stderr);
}

}  // namespace vantor::tool
