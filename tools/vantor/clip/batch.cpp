#include "tools/vantor/clip/batch.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <vector>

#include "tools/vantor/base/terminal.h"
#include "tools/vantor/clip/progress.h"
#include "tools/vantor/clip/workers.h"

namespace vantor::tool {
namespace {

struct Slot {
    std::unique_ptr<BatchJob> job;
    std::string failure;  ///< to start
};

/// Why a step failed; empty if it did not.
template <typename Step>
std::string failureOf(Step&& step) {
    try {
        step();
    } catch (const std::bad_alloc&) {
        return "out of memory";
    } catch (const std::exception& error) {
        return error.what();
    }
    return {};
}

}  // namespace

BatchTotals runBatch(size_t files, size_t workers, const BatchWork& work) {
    std::vector<Slot> slots(std::min(workers == 1 ? 1 : 2 * workers, files));
    Workers pool(workers, slots.size(), [&](size_t, size_t slot) { slots[slot].job->work(); });
    Progress progress("files");
    BatchTotals totals;
    const auto start = [&](size_t file) {
        Slot& slot = slots[file % slots.size()];
        slot.failure = failureOf([&] { slot.job = work.start(file); });
        if (slot.job) pool.start(file % slots.size());
    };
    const auto take = [&](size_t file) {
        Slot& slot = slots[file % slots.size()];
        if (slot.job) {
            slot.failure = failureOf([&] {
                pool.wait(file % slots.size());
                slot.job->finish();
            });
            ++(slot.failure.empty() ? totals.done : totals.failed);
        } else {
            ++(slot.failure.empty() ? totals.skipped : totals.failed);
            if (slot.failure.empty()) work.skip(file);
        }
        if (!slot.failure.empty()) work.fail(file, slot.failure);
        slot.job.reset();
        progress.show(file + 1, files);
    };
    for (size_t file = 0; file < files + slots.size(); ++file) {
        if (file >= slots.size()) take(file - slots.size());
        if (file < files) start(file);
    }
    totals.seconds = progress.seconds();
    return totals;
}

size_t batchWorkers(size_t threads, size_t files) {
    constexpr size_t kMaxWorkers = 128;  // a process may have 1024 files open
    return std::min({threads, files, kMaxWorkers});
}

void printFailure(const std::string& file, const std::string& reason) {
    const bool isNamed = reason.compare(0, file.size() + 1, file + ":") == 0;
    printMessage("%s", (isNamed ? reason : file + ": " + reason).c_str());
}

nlohmann::ordered_json BatchTotals::json() const {
    return {{"done", done}, {"skipped", skipped}, {"failed", failed}, {"seconds", seconds}};
}

std::string BatchTotals::text() const {
    char time[64];
    std::snprintf(time, sizeof time, ", in %.2f s, %.1f a second", seconds,
                  static_cast<double>(done) / std::max(seconds, 1e-9));
    return std::to_string(done) + " done, " + std::to_string(skipped) + " skipped, " +
           std::to_string(failed) + " failed" + time;
}

}  // namespace vantor::tool
