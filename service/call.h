// One request of the service from its first check to its last written byte, from whatever process it came.
#pragma once

#include <functional>
#include <memory>

#include "platform/linux/service_packet.h"
#include "service/backend.h"
#include "service/client_picture.h"
#include "service/faults.h"
#include "service/working_memory.h"

namespace vantor {

/// What computes one request at a time, and where.
struct Seat {
    std::unique_ptr<Backend> backend;
    WorkingMemory memory{};
};

/// A request, of which nothing is checked yet.
struct Call {
    ImageGeometry dstGeometry;
    Buffers dstBuffers;
    ImageGeometry srcGeometry;
    Buffers srcBuffers;
    const vantor_grid* grid;  ///< of a warp, which nobody else can write to; null for scaling
    Faults faults{};

    /// As log lines name it.
    const char* method() const { return grid ? "runGDC" : "runCSC"; }
};

struct Answer {
    int32_t status = 0;
    char text[sizeof remote::Reply::text] = "";  ///< why not, as one line for the log; empty for status 0
};

/// Does a request on the seat that `takeSeat` gives, or refuses it. `isWanted` is asked before the work, and
/// between it and the first byte that is written to the client's buffers: the request ends there if it says
/// no. Of the faults, those of the reply are left to the caller.
Answer answer(
    const Call& call, const std::function<Seat&()>& takeSeat,
    const std::function<bool()>& isWanted = [] { return true; }) noexcept;

}  // namespace vantor
