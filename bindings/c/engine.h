// What an engine holds, and how it divides work.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "bindings/c/failure.h"

namespace vantor::c {
class ThreadPool;
}

struct vantor_engine {
    vantor_engine();
    ~vantor_engine();

    int threads = 1;
    vantor_runner* run = nullptr;
    void* opaque = nullptr;
    std::unique_ptr<vantor::c::ThreadPool> pool;
    std::unique_ptr<int32_t[]> memory;
    size_t memoryWords = 0;
    char message[vantor::c::kMessageBytes] = {};
};

namespace vantor::c {

/// Working memory of a call: the engine's, which grows as calls need it, or, without an engine, its own.
class WorkingMemory {
public:
    WorkingMemory(vantor_engine* engine, size_t words);

    int32_t* words() { return words_; }

private:
    std::unique_ptr<int32_t[]> own_;
    int32_t* words_;
};

/// How many threads shall work on `samples` of output, of which each is to have `share` at least: with less
/// it would take longer to wake a thread than to do its work.
int workersFor(const vantor_engine* engine, int64_t samples, int64_t share);

/// Calls `tile(i)` for every i below `tiles`, on as many threads as `workers` says.
template <typename Tile>
void forEachTile(vantor_engine* engine, int workers, int tiles, const Tile& tile) {
    struct Job {
        const Tile& tile;
        int tiles;
        std::atomic<int> next{0};
    } job{tile, tiles};
    vantor_task* const task = [](void* opaque, int) {
        Job& shared = *static_cast<Job*>(opaque);
        for (int i; (i = shared.next++) < shared.tiles;) shared.tile(i);
    };
    const int count = std::min(workers, tiles);
    if (count > 1) engine->run(engine->opaque, task, &job, count);
    // All that is left, where a host's threads had no time.
    task(&job, 0);
}

}  // namespace vantor::c
