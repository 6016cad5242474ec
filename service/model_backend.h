// The software: scalers and model on all CPUs.
#pragma once

#include "service/backend.h"

namespace vantor {

class ModelBackend final : public Backend {
public:
    /// Throws std::bad_alloc.
    ModelBackend();

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override;
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override;

private:
    struct Free {
        void operator()(vantor_engine* engine) const { vantor_engine_free(engine); }
    };

    /// Throws std::bad_alloc or a Refusal where `status` says so.
    int32_t checked(int status) const;

    std::unique_ptr<vantor_engine, Free> engine_;
};

/// The view of a picture's region.
vantor_image regionOf(const BackendPicture& picture);

}  // namespace vantor
