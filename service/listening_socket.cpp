#include "service/listening_socket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "service/refusal.h"

namespace vantor {
namespace {

constexpr int kFirstInherited = 3;

[[noreturn]] void refuse(const std::string& what) {
    throw Refusal{what};
}

[[noreturn]] void refuseFor(const std::string& path, int error) {
    refuse(path + ": " + strerror(error));
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    constexpr size_t kMost = sizeof address.sun_path - 1;
    if (path.empty()) refuse("the socket's path is empty");
    if (path.size() > kMost) {
        refuse(path + ": " + std::to_string(path.size()) + " bytes, expected a path of at most " +
               std::to_string(kMost) + " for a socket");
    }
    path.copy(address.sun_path, kMost);
    return address;
}

/// Whether the file that is open is still the one at the path.
bool isStillAt(const std::string& path, int descriptor) {
    struct stat open {};
    struct stat named {};
    return fstat(descriptor, &open) == 0 && stat(path.c_str(), &named) == 0 && open.st_ino == named.st_ino &&
           open.st_dev == named.st_dev;
}

OwnedDescriptor lockBeside(const std::string& path) {
    const std::string name = path + ".lock";
    for (;;) {
        OwnedDescriptor file(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file.get() < 0) refuseFor(name, errno);
        if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) refuse(path + ": a service listens there already");
            refuseFor(name, errno);
        }
        // The service that had the lock may have removed it meanwhile.
        if (isStillAt(name, file.get())) return file;
    }
}

void removeStale(const std::string& path) {
    struct stat file {};
    if (lstat(path.c_str(), &file) != 0) {
        if (errno != ENOENT) refuseFor(path, errno);
        return;
    }
    if (!S_ISSOCK(file.st_mode)) refuse(path + ": exists and is not a socket");
    if (unlink(path.c_str()) != 0) refuseFor(path, errno);
}

int option(int socket, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    return getsockopt(socket, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
}

}  // namespace

ListeningSocket::ListeningSocket(const std::string& path, bool isForGroup) {
    const sockaddr_un address = addressOf(path);
    lock_ = lockBeside(path);
    removeStale(path);
    socket_ = OwnedDescriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket_.get() < 0) refuseFor(path, errno);
    // The socket's own mode becomes that of the file, so that nobody else can connect at any time.
    if (fchmod(socket_.get(), isForGroup ? 0660 : 0600) != 0 ||
        bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        (isForGroup && chmod(path.c_str(), 0660) != 0)) {
        refuseFor(path, errno);
    }
    path_ = path;
    if (listen(socket_.get(), SOMAXCONN) != 0) refuseFor(path, errno);
}

ListeningSocket::~ListeningSocket() {
    if (path_.empty()) return;
    unlink(path_.c_str());
    unlink((path_ + ".lock").c_str());
}

bool ListeningSocket::isInherited() {
    const char* const pid = std::getenv("LISTEN_PID");
    return pid && std::getenv("LISTEN_FDS") && std::to_string(getpid()) == pid;
}

ListeningSocket::ListeningSocket() {
    const std::string count = std::getenv("LISTEN_FDS");
    if (count != "1") refuse("LISTEN_FDS=" + count + ": expected one socket");
    if (option(kFirstInherited, SO_TYPE) != SOCK_SEQPACKET || option(kFirstInherited, SO_DOMAIN) != AF_UNIX ||
        option(kFirstInherited, SO_ACCEPTCONN) != 1) {
        refuse("descriptor 3 is not a listening Unix socket for packets (ListenSequentialPacket=)");
    }
    fcntl(kFirstInherited, F_SETFD, FD_CLOEXEC);
    fcntl(kFirstInherited, F_SETFL, fcntl(kFirstInherited, F_GETFL) | O_NONBLOCK);
    socket_ = OwnedDescriptor(kFirstInherited);
}

std::string defaultSocketPath() {
    const char* const directory = secure_getenv("XDG_RUNTIME_DIR");
    if (!directory || !*directory)
        refuse("XDG_RUNTIME_DIR is not set: expected the path of a socket (--socket PATH)");
    return std::string(directory) + "/vantor.sock";
}

}  // namespace vantor
