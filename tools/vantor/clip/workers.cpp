#include "tools/vantor/clip/workers.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

[[noreturn]] void failToStart(int error) {
    throw UserError(std::string("cannot start a worker: ") + std::strerror(error));
}

}  // namespace

size_t threadsFor(size_t jobs) {
    return std::clamp<size_t>(jobs != 0 ? jobs : std::thread::hardware_concurrency(), 1, kMaxJobs);
}

Workers::End::End() : descriptor(eventfd(0, EFD_CLOEXEC)) {
    if (descriptor < 0) failToStart(errno);
}

Workers::End::~End() {
    close(descriptor);
}

Workers::Workers(size_t count, size_t pieces, Work work) : work_(std::move(work)), ends_(pieces) {
    if (count == 1) return;
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    int error = 0;
    try {
        while (threads_.size() < count) threads_.emplace_back(&Workers::serve, this, threads_.size());
    } catch (const std::system_error& failure) {
        error = failure.code().value();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error == 0) return;
    joinThreads();
    failToStart(error);
}

Workers::~Workers() {
    joinThreads();
}

void Workers::joinThreads() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnding_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void Workers::serve(size_t worker) {
    for (std::unique_lock<std::mutex> lock(mutex_);;) {
        wake_.wait(lock, [&] { return isEnding_ || !started_.empty(); });
        if (isEnding_) return;
        const size_t piece = started_.front();
        started_.pop_front();
        lock.unlock();
        run(worker, piece);
        lock.lock();
    }
}

void Workers::run(size_t worker, size_t piece) {
    try {
        work_(worker, piece);
    } catch (...) {
        ends_[piece].error = std::current_exception();
    }
    constexpr uint64_t kOnce = 1;
    [[maybe_unused]] const ssize_t written = write(ends_[piece].descriptor, &kOnce, sizeof kOnce);
}

void Workers::start(size_t piece) {
    if (threads_.empty()) return run(0, piece);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        started_.push_back(piece);
    }
    wake_.notify_one();
}

void Workers::wait(size_t piece) {
    End& end = ends_[piece];
    uint64_t times = 0;
    while (read(end.descriptor, &times, sizeof times) < 0 && errno == EINTR) continue;
    if (end.error) std::rethrow_exception(std::exchange(end.error, nullptr));
}

}  // namespace vantor::tool
