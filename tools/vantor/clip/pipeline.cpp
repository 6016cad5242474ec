#include "tools/vantor/clip/pipeline.h"

#include <poll.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>

#include "tools/vantor/base/error.h"

namespace vantor::tool {

SharedMemory::SharedMemory(size_t length)
    : length_(length),
      address_(mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (address_ == MAP_FAILED) {
        throw UserError("cannot allocate " + std::to_string(length) +
                        " bytes for frames: " + std::strerror(errno));
    }
}

SharedMemory::~SharedMemory() {
    munmap(address_, length_);
}

Pipeline::Pipeline(const FramePlan& plan, size_t jobs)
    : readBytes_(plan.read.bytes()),
      bytes_(readBytes_ + plan.written.bytes()),
      slots_(jobs == 1 ? 1 : 2 * jobs),
      memory_(slots_ * bytes_),
      tags_(slots_),
      plan_(plan),
      workers_(jobs, [this](size_t slot) { return work(slot); }) {}

bool Pipeline::read(ClipReader& reader) {
    return reader.read(input(end_ % slots_), tags_[end_ % slots_]);
}

bool Pipeline::isDue(const ClipReader& reader) const {
    if (isEmpty()) return false;
    if (end_ - first_ == slots_) return true;
    pollfd events[] = {{workers_.descriptor(first_ % slots_), POLLIN, 0}, {reader.descriptor(), POLLIN, 0}};
    const bool canAlwaysRead = events[1].fd < 0;
    while (poll(events, 2, canAlwaysRead ? 0 : -1) < 0 && errno == EINTR) continue;
    return events[0].revents != 0;
}

WorkerMessage Pipeline::work(size_t slot) {
    WorkerMessage message{};
    const auto say = [&](const std::string& text) {
        std::snprintf(message.text, sizeof message.text, "%s", text.c_str());
    };
    try {
        if (!task_) task_.emplace(plan_);
        const RequestResult result = task_->run(input(slot), output(slot));
        message.milliseconds = result.milliseconds;
        say(result.fallback());
    } catch (const std::exception& error) {
        message.isFailure = true;
        say(error.what());
    }
    return message;
}

}  // namespace vantor::tool
