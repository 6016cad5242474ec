#include "service/descriptor_closer.h"

#include <fcntl.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vantor {

/// Shared with the thread, which may outlive the closer.
struct DescriptorCloser::Queue {
    std::mutex mutex;
    std::condition_variable isChanged;
    std::vector<remote::Descriptors> waiting;
    bool isEnding = false;

    void closeAll() {
        std::unique_lock<std::mutex> lock(mutex);
        while (!isEnding || !waiting.empty()) {
            isChanged.wait(lock, [&] { return isEnding || !waiting.empty(); });
            std::vector<remote::Descriptors> now = std::exchange(waiting, {});
            lock.unlock();
            now.clear();
            lock.lock();
        }
    }
};

DescriptorCloser::DescriptorCloser() : queue_(std::make_shared<Queue>()) {
    std::thread([queue = queue_] { queue->closeAll(); }).detach();
}

DescriptorCloser::~DescriptorCloser() {
    {
        const std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->isEnding = true;
    }
    queue_->isChanged.notify_one();
}

void DescriptorCloser::close(remote::Descriptors& descriptors) {
    const int* const first = descriptors.data();
    // The kernel answers this itself.
    const auto isMemory = [](int descriptor) { return fcntl(descriptor, F_GET_SEALS) >= 0; };
    if (std::all_of(first, first + descriptors.count(), isMemory)) {
        descriptors.close();
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->waiting.push_back(std::move(descriptors));
    }
    queue_->isChanged.notify_one();
}

}  // namespace vantor
