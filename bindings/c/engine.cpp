#include "bindings/c/engine.h"

#include <sched.h>

#include <new>

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

WorkingMemory::WorkingMemory(vantor_engine* engine, size_t words) {
    if (!engine) {
        own_.reset(new int32_t[words]);
        words_ = own_.get();
        return;
    }
    if (engine->memoryWords < words) {
        engine->memory.reset(new int32_t[words]);
        engine->memoryWords = words;
    }
    words_ = engine->memory.get();
}

int workersFor(const vantor_engine* engine, int64_t samples, int64_t share) {
    if (!engine) return 1;
    return static_cast<int>(std::clamp<int64_t>(samples / share, 1, engine->threads));
}

}  // namespace vantor::c

using namespace vantor::c;

vantor_engine* vantor_engine_new(int threads) {
    vantor_engine* made = nullptr;
    guarded(nullptr, [&] {
        checkThreads(threads, 0);
        auto engine = std::make_unique<vantor_engine>();
        engine->threads = threads == 0 ? usableProcessors() : threads;
        if (engine->threads > 1) {
            engine->opaque = &engine->pool.emplace(engine->threads - 1);
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

int vantor_engine_threads(const vantor_engine* engine) {
    return engine ? engine->threads : 1;
}

const char* vantor_version(void) {
    return VANTOR_VERSION;
}
