#include "tools/vantor/clip/pipeline.h"

#include <poll.h>

#include <cerrno>

namespace vantor::tool {

Pipeline::Pipeline(const FramePlan& plan, size_t workers, size_t engineThreads)
    : plan_(plan),
      readBytes_(plan.read.bytes()),
      bytes_(readBytes_ + plan.written.bytes()),
      slots_(workers == 1 ? 1 : 2 * workers, {{}, plan.request, {}}),
      memory_(slots_.size() * bytes_),
      workers_(workers, slots_.size(), [this](size_t worker, size_t slot) {
          slots_[slot].result = tasks_[worker].run(input(slot), output(slot), slots_[slot].request);
      }) {
    while (tasks_.size() < workers) tasks_.emplace_back(plan, engineThreads);
}

bool Pipeline::read(ClipReader& reader, uintmax_t frame) {
    const size_t slot = end_ % slots_.size();
    if (!reader.read(input(slot), slots_[slot].tags)) return false;
    if (plan_.grids) slots_[slot].request.grid = plan_.grids->read(frame);
    return true;
}

bool Pipeline::isDue(const ClipReader& reader) const {
    if (isEmpty()) return false;
    if (end_ - first_ == slots_.size()) return true;
    pollfd events[] = {{workers_.descriptor(first_ % slots_.size()), POLLIN, 0},
                       {reader.descriptor(), POLLIN, 0}};
    const bool canAlwaysRead = events[1].fd < 0;
    while (poll(events, 2, canAlwaysRead ? 0 : -1) < 0 && errno == EINTR) continue;
    return events[0].revents != 0;
}

}  // namespace vantor::tool
