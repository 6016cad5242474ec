#include <sched.h>

#include <algorithm>
#include <memory>

#include "bindings/c/engine.h"
#include "bindings/c/thread_pool.h"

namespace vantor::c {
namespace {

constexpr int kMaxThreads = 256;

int usableProcessors() {
    cpu_set_t sets[16];  // of 1024 processors each
    const int count = sched_getaffinity(0, sizeof sets, sets) == 0 ? CPU_COUNT_S(sizeof sets, sets) : 1;
    return std::clamp(count, 1, kMaxThreads);
}

void checkThreads(int threads, int least) {
    if (threads < least || threads > kMaxThreads)
        throw invalid("threads: %d, expected %d to %d", threads, least, kMaxThreads);
}

}  // namespace
}  // namespace vantor::c

using namespace vantor::c;

vantor_engine::vantor_engine() = default;
vantor_engine::~vantor_engine() = default;

vantor_engine* vantor_engine_new(int threads) {
    vantor_engine* made = nullptr;
    guarded(nullptr, [&] {
        checkThreads(threads, 0);
        auto engine = std::make_unique<vantor_engine>();
        engine->threads = threads == 0 ? usableProcessors() : threads;
        if (engine->threads > 1) {
            engine->pool = std::make_unique<ThreadPool>(engine->threads - 1);
            engine->opaque = engine->pool.get();
            engine->run = ThreadPool::run;
        }
        made = engine.release();
    });
    return made;
}

vantor_engine* vantor_engine_new_with_runner(vantor_runner* run, void* opaque, int threads) {
    vantor_engine* made = nullptr;
    guarded(nullptr, [&] {
        if (!run) throw invalid("run is null");
        checkThreads(threads, 1);
        made = new vantor_engine;
        made->threads = threads;
        made->run = run;
        made->opaque = opaque;
    });
    return made;
}

void vantor_engine_free(vantor_engine* engine) {
    const OwnEnvironment environment;
    delete engine;
}
