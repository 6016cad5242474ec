// Who is at the other end of a Unix socket.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace vantor {

/// A client's process as it was when it connected.
class Peer {
public:
    explicit Peer(int socket);

    int process() const { return process_; }

    /// Why it is not served: it is neither of this process's user nor, with `isForGroup`, of its group. Empty
    /// if it is served.
    std::string refusal(bool isForGroup) const;

private:
    int process_ = 0;
    uid_t user_ = static_cast<uid_t>(-1);
    std::vector<gid_t> groups_;
};

}  // namespace vantor
