// The socket on which a service's clients arrive.
#pragma once

#include <string>

#include "service/owned_descriptor.h"

namespace vantor {

/// Listens on a path of its own until its end, or on a socket that whoever started the process listens on.
class ListeningSocket {
public:
    /// Beside the socket, PATH.lock is locked as long as a service listens there: a socket whose lock is free
    /// was left behind, and is replaced. Throws a Refusal where a service listens there already, where
    /// something else than a socket is, and where the path does not do. With `isForGroup` the group of this
    /// process may connect, otherwise the owner only.
    ListeningSocket(const std::string& path, bool isForGroup);
    ~ListeningSocket();
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// Whether the process was started with a socket, as the protocol of LISTEN_PID and LISTEN_FDS says.
    static bool isInherited();

    /// Takes the inherited socket, which stays at the end. Throws a Refusal unless there is exactly one that
    /// listens for packets.
    ListeningSocket();

    int descriptor() const { return socket_.get(); }
    /// Where it listens; empty for inherited ones.
    const std::string& path() const { return path_; }

private:
    std::string path_;
    OwnedDescriptor lock_;
    OwnedDescriptor socket_;
};

/// vantor.sock in $XDG_RUNTIME_DIR. Throws a Refusal where that is not set.
std::string defaultSocketPath();

}  // namespace vantor
