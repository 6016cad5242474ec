// What computes the service's requests.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "vantor/vantor_backend.h"

namespace vantor {

using BackendPicture = vantor_backend_picture;

/// Answers one request at a time, as the functions of a vantor_backend_table do. What it throws becomes a
/// status.
class Backend {
public:
    virtual ~Backend() = default;

    virtual int32_t scale(const BackendPicture& dst, const BackendPicture& src) = 0;
    virtual int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) = 0;
};

/// Makes one more; called for each request that is computed beside others.
using BackendMaker = std::function<std::unique_ptr<Backend>()>;

}  // namespace vantor
