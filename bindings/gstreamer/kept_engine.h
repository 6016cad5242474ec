// An engine of the C library, whose number of threads can change between frames.
#pragma once

#include <atomic>
#include <memory>

#include "vantor/vantor.h"

namespace vantor::gstreamer {

class KeptEngine {
public:
    /// From any thread; takes effect when the engine is next asked for. 0 is one per processor.
    void setThreads(int threads) { threads_ = threads; }
    int threads() const { return threads_; }

    /// For the thread that has frames. Throws where there is no memory.
    vantor_engine* get();
    void release() { engine_.reset(); }

private:
    struct Free {
        void operator()(vantor_engine* engine) const { vantor_engine_free(engine); }
    };

    std::atomic<int> threads_{1};
    int made_ = 0;  ///< with so many threads
    std::unique_ptr<vantor_engine, Free> engine_;
};

}  // namespace vantor::gstreamer
