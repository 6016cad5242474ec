// An engine's own threads.
#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "vantor/vantor.h"

namespace vantor::c {

/// Runs one job at a time on its threads and the caller's.
class ThreadPool {
public:
    /// With `threads` of its own at most, which are started when a job has work for them.
    explicit ThreadPool(int threads);
    /// Ends the threads.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// A vantor_runner, whose `opaque` is a pool. Always returns 0.
    static int run(void* opaque, vantor_task* task, void* job, int count);

private:
    /// What the threads of one process share.
    struct Shared {
        std::mutex mutex;
        std::condition_variable wake;
        std::condition_variable idle;
        std::atomic<unsigned> generation{0};  ///< of jobs; changes under the mutex
        std::atomic<int> active{0};           ///< threads in the job; grows under the mutex
        bool isOpen = false;                  ///< threads may join the job
        bool isEnding = false;
        vantor_task* task = nullptr;
        void* job = nullptr;
        int count = 0;
        std::atomic<int> next{0};  ///< index of the job that nobody has taken
    };

    void run(vantor_task* task, void* job, int count);
    /// In a child after fork() the threads are gone, and what they shared is in any state.
    void leaveParent();
    void startThreads(int count);
    void serve();
    void waitForJob(unsigned seen);
    static void takeShares(Shared& shared);

    /// Replaced, and never destroyed, in a child.
    union {
        Shared shared_;
    };
    pid_t process_;
    int limit_;
    int started_ = 0;
    std::unique_ptr<pthread_t[]> threads_;
};

}  // namespace vantor::c
