#include "bindings/c/engine.h"

namespace vantor::c {

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

int vantor_engine_threads(const vantor_engine* engine) {
    return engine ? engine->threads : 1;
}

const char* vantor_version(void) {
    return VANTOR_VERSION;
}
