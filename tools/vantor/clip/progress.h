// The progress of a long run.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace vantor::tool {

/// A line on standard error that is rewritten a few times a second, and erased at the end. Prints
/// nothing where standard error is not a terminal.
class Progress {
public:
    /// Of such things as "frames". One that is not shown only measures the time.
    explicit Progress(const char* things, bool isShown = true);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows the number of things done, of all if their number is known.
    void show(uintmax_t done, std::optional<uintmax_t> all);

    double seconds() const;

private:
    using Clock = std::chrono::steady_clock;

    const char* things_;
    bool isWatched_;
    bool isShown_ = false;
    Clock::time_point begin_ = Clock::now();
    double lastShown_ = 0;
};

}  // namespace vantor::tool
