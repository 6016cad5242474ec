#include "service/peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace vantor {
namespace {

/// The supplementary groups; none where the kernel does not say.
std::vector<gid_t> groupsOf(int socket) {
    std::vector<gid_t> groups(32);
    for (;;) {
        auto size = static_cast<socklen_t>(groups.size() * sizeof groups[0]);
        const int result = getsockopt(socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size);
        const bool isLonger = result != 0 && errno == ERANGE;
        groups.resize(result == 0 || isLonger ? size / sizeof groups[0] : 0);
        if (!isLonger) return groups;
    }
}

}  // namespace

Peer::Peer(int socket) {
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return;
    process_ = credentials.pid;
    user_ = credentials.uid;
    groups_ = groupsOf(socket);
    groups_.push_back(credentials.gid);
}

std::string Peer::refusal(bool isForGroup) const {
    if (user_ == geteuid()) return {};
    if (isForGroup && std::find(groups_.begin(), groups_.end(), getegid()) != groups_.end()) return {};
    return "process " + std::to_string(process_) + " of user " + std::to_string(user_) + ", expected user " +
           std::to_string(geteuid()) + (isForGroup ? " or one of group " + std::to_string(getegid()) : "");
}

}  // namespace vantor
