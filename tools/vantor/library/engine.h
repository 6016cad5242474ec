// The engine of the C library, on pictures.
#pragma once

#include <memory>

#include "bindings/c/vantor/vantor.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {

/// Not thread-safe; any number of engines work side by side.
class Engine {
public:
    /// With 0, a thread per CPU.
    explicit Engine(size_t threads);

    /// Makes `dst` from `src` as a software request says. Both are in one format, anything but RGB. Warps
    /// take any size that the device takes once its last column and row are repeated.
    RequestResult run(const Planes& dst, const Planes& src, const Request& request);

    /// Makes pictures whose bytes are published.
    struct Selftest {
        int pictures;
        int right;

        bool isRight() const { return right == pictures; }
    };
    Selftest selftest();

private:
    /// Throws what the engine says where it failed.
    void expectDone(int status) const;

    struct Free {
        void operator()(vantor_engine* engine) const { vantor_engine_free(engine); }
    };

    std::unique_ptr<vantor_engine, Free> engine_;
};

}  // namespace vantor::tool
