// Threads that work in parallel.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vantor::tool {

constexpr size_t kMaxJobs = 256;

/// For so many jobs, or one per CPU for 0.
size_t threadsFor(size_t jobs);

/// Each worker takes the first piece that was started and that no other has taken. Signals are left to the
/// other threads of the process.
class Workers {
public:
    using Work = std::function<void(size_t worker, size_t piece)>;

    /// For pieces below `pieces`. With a `count` of one, the caller's thread works, in start().
    Workers(size_t count, size_t pieces, Work work);
    /// Waits for the pieces that are being worked on; the others are dropped.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void start(size_t piece);
    /// Waits for a started piece, and throws what its work threw.
    void wait(size_t piece);
    /// What can be polled until wait() does not wait.
    int descriptor(size_t piece) const { return ends_[piece].descriptor; }

private:
    /// The end of a piece's work.
    struct End {
        End();
        ~End();
        End(const End&) = delete;
        End& operator=(const End&) = delete;

        int descriptor;
        std::exception_ptr error;
    };

    void joinThreads();
    void serve(size_t worker);
    void run(size_t worker, size_t piece);

    Work work_;
    std::vector<End> ends_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<size_t> started_;
    bool isEnding_ = false;
    std::vector<std::thread> threads_;
};

}  // namespace vantor::tool
