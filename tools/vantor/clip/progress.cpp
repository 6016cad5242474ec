#include "tools/vantor/clip/progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {

Progress::Progress(const char* things, bool isShown)
    : things_(things), isWatched_(isShown && !isQuiet() && isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isShown_) rewriteLine("");
}

double Progress::seconds() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

void Progress::show(uintmax_t done, std::optional<uintmax_t> all) {
    constexpr double kInterval = 0.25;
    const double now = seconds();
    if (!isWatched_ || now - lastShown_ < kInterval) return;
    lastShown_ = now;
    isShown_ = true;
    std::string of;
    char left[64] = "";
    if (all) {
        const auto part = static_cast<double>(done) / static_cast<double>(*all);
        const auto rest = static_cast<long>(now / part - now + 0.5);
        std::snprintf(left, sizeof left, ", %ld:%02ld left", rest / 60, rest % 60);
        of = " of " + std::to_string(*all);
    }
    char text[256];
    std::snprintf(text, sizeof text, "vantor: %ju%s %s, %.1f a second%s", done, of.c_str(), things_,
                  static_cast<double>(done) / now, left);
    rewriteLine(text);
}

}  // namespace vantor::tool
