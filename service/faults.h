// Faults of the service that tests of clients order.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/service_packet.h"
#include "service/backend.h"

namespace vantor {

/// What arrives in place of a reply.
enum class ReplyFault { None, Truncated, Magic, Version, Kind, Size, Sequence, Text, Long, Empty, Closed };

/// What goes wrong with one request; as it is made, nothing.
struct Faults {
    enum class Death { None, Before, During, After };
    struct Rows {
        int first;
        int last;
    };

    std::chrono::milliseconds delay{};        ///< before the work; ends early where the client goes
    std::chrono::milliseconds delayDuring{};  ///< after the first half of the rows was written
    bool areBuffersClosed = false;
    std::optional<int32_t> status{};  ///< instead of the work
    std::optional<Rows> corrupt{};    ///< rows of the region, from 0, whose samples are inverted
    Death death = Death::None;        ///< of this process, around the work or between its rows
    ReplyFault reply = ReplyFault::None;

    /// Whether rows are written in two steps.
    bool isSplit() const { return death == Death::During || delayDuring.count() > 0; }

    /// Ends this process at once, if it is to end here.
    void dieAt(Death here) const;
};

/// Which requests suffer what, line by line: "warp 3: status -5".
class FaultScript {
public:
    /// Empty lines, and what follows a "#", do not count. Throws std::runtime_error, which begins with
    /// `where`, for lines that are not OPERATION COUNT: ACTION.
    void add(const std::string& where, const std::string& line);

    /// The faults of the next request, from all lines that it matches; of two that exclude each other, the
    /// later. Thread-safe.
    Faults next(bool isWarp);

private:
    struct Line {
        bool isForScales;
        bool isForWarps;
        uint64_t first;  ///< request of these operations, from 1
        uint64_t last;
        std::string action;
        std::string argument;
        uint64_t count = 0;  ///< of requests so far
    };

    std::mutex mutex_;
    std::vector<Line> lines_;
};

/// Inverts the samples of these rows of a picture's region.
void corruptRows(const BackendPicture& picture, Faults::Rows rows);

/// The packet that arrives where a request has this fault, or nullopt: the connection is closed without one.
std::optional<std::vector<uint8_t>> packetOf(const remote::Reply& reply, ReplyFault fault);

}  // namespace vantor
