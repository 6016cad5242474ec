#include "bindings/c/thread_pool.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <new>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace vantor::c {
namespace {

/// Waking a sleeping thread takes about half of this; who soon has work again saves that.
constexpr std::chrono::microseconds kSpinTime{20};
constexpr int kSpinsPerLookAtClock = 32;

void relax() {
#if defined(__x86_64__) || defined(__i386__)
    _mm_pause();
#elif defined(__arm__) || defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

/// Waits for a condition for a short time. Returns whether it holds.
template <typename Condition>
bool spinUntil(Condition&& condition) {
    const auto end = std::chrono::steady_clock::now() + kSpinTime;
    do {
        for (int i = 0; i < kSpinsPerLookAtClock; ++i) {
            if (condition()) return true;
            relax();
        }
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

}  // namespace

ThreadPool::ThreadPool(int threads)
    : shared_(), process_(getpid()), limit_(threads), threads_(new pthread_t[static_cast<size_t>(threads)]) {}

ThreadPool::~ThreadPool() {
    leaveParent();
    {
        const std::lock_guard<std::mutex> lock(shared_.mutex);
        shared_.isEnding = true;
        ++shared_.generation;
    }
    shared_.wake.notify_all();
    for (int i = 0; i < started_; ++i) pthread_join(threads_[static_cast<size_t>(i)], nullptr);
    shared_.~Shared();
}

int ThreadPool::run(void* opaque, vantor_task* task, void* job, int count) {
    static_cast<ThreadPool*>(opaque)->run(task, job, count);
    return 0;
}

void ThreadPool::leaveParent() {
    if (process_ == getpid()) return;
    process_ = getpid();
    started_ = 0;
    new (&shared_) Shared();
}

void ThreadPool::startThreads(int count) {
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto entry = [](void* pool) -> void* {
        static_cast<ThreadPool*>(pool)->serve();
        return nullptr;
    };
    while (started_ < std::min(count, limit_) &&
           pthread_create(&threads_[static_cast<size_t>(started_)], nullptr, entry, this) == 0) {
        ++started_;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void ThreadPool::run(vantor_task* task, void* job, int count) {
    leaveParent();
    const int others = count - 1;
    if (started_ < others) startThreads(others);
    {
        const std::lock_guard<std::mutex> lock(shared_.mutex);
        shared_.task = task;
        shared_.job = job;
        shared_.count = count;
        shared_.next = 0;
        shared_.isOpen = true;
        ++shared_.generation;
    }
    for (int i = 0; i < std::min(others, started_); ++i) shared_.wake.notify_one();
    takeShares(shared_);
    std::unique_lock<std::mutex> lock(shared_.mutex);
    shared_.isOpen = false;
    if (shared_.active == 0) return;
    lock.unlock();
    if (spinUntil([&] { return shared_.active == 0; })) return;
    lock.lock();
    shared_.idle.wait(lock, [&] { return shared_.active == 0; });
}

void ThreadPool::takeShares(Shared& shared) {
    for (int i; (i = shared.next++) < shared.count;) shared.task(shared.job, i);
}

void ThreadPool::waitForJob(unsigned seen) {
    if (spinUntil([&] { return shared_.generation != seen; })) return;
    std::unique_lock<std::mutex> lock(shared_.mutex);
    shared_.wake.wait(lock, [&] { return shared_.generation != seen; });
}

void ThreadPool::serve() {
    for (unsigned seen = 0;;) {
        waitForJob(seen);
        {
            const std::lock_guard<std::mutex> lock(shared_.mutex);
            if (shared_.isEnding) return;
            seen = shared_.generation;
            if (!shared_.isOpen) continue;
            ++shared_.active;
        }
        takeShares(shared_);
        const std::lock_guard<std::mutex> lock(shared_.mutex);
        if (--shared_.active == 0) shared_.idle.notify_one();
    }
}

}  // namespace vantor::c
