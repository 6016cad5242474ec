// How far a long run is, for those who watch.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vantor::tool {

/// A line on standard error that is rewritten a few times a second, and taken away at the end. Says nothing
/// where standard error is no terminal.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// So many frames are done of all, if their number is known.
    void show(uintmax_t frames, std::optional<uintmax_t> all);

    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    bool isWatched_;
    bool isShown_ = false;
    Clock::time_point begin_ = Clock::now();
    double lastShown_ = 0;
};

}  // namespace vantor::tool
