// Processes that work in parallel: the model has one state per process.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vantor::tool {

/// What came of one piece of work, as it goes from one process to the other.
struct WorkerMessage {
    double milliseconds;
    bool isFailure;
    char text[500];  ///< why, or a note
};

/// Each worker does what it is given one by one and in order. They are forked by the constructor, before this
/// process has threads, and see memory of that time, and what is shared. They end with this process, whatever
/// ends it.
class Workers {
public:
    using Work = std::function<WorkerMessage(size_t piece)>;

    /// With a `count` of one, this process works itself.
    Workers(size_t count, Work work);
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Hands a piece to a worker, of which each has its share: piece modulo count.
    void start(size_t piece);
    /// The outcome of a started piece, of each worker's the first that was not waited for. Fails if the work
    /// did, or the worker ended.
    WorkerMessage wait(size_t piece);
    /// What can be waited for until wait() does not wait; negative if it never does.
    int descriptor(size_t piece) const { return workers_.empty() ? -1 : workerOf(piece).socket; }

private:
    struct Worker {
        pid_t process;  ///< 0: no more
        int socket;
    };

    const Worker& workerOf(size_t piece) const { return workers_[piece % workers_.size()]; }
    void startWorker();
    [[noreturn]] void serve(int socket) const;
    /// Returns how it ended, as waitpid() says it.
    static int end(Worker& worker);
    [[noreturn]] void failOf(size_t piece);

    Work work_;
    WorkerMessage own_{};  ///< if this process works itself
    std::vector<Worker> workers_;
};

}  // namespace vantor::tool
