#include "bindings/gstreamer/kept_engine.h"

#include <stdexcept>

namespace vantor::gstreamer {

vantor_engine* KeptEngine::get() {
    const int threads = threads_;
    if (!engine_ || made_ != threads) {
        engine_.reset(vantor_engine_new(threads));
        if (!engine_) throw std::runtime_error(vantor_message(nullptr));
        made_ = threads;
    }
    return engine_.get();
}

}  // namespace vantor::gstreamer
