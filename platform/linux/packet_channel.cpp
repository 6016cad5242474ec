#include "platform/linux/packet_channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

namespace vantor::remote {
namespace {

/// Room for the descriptors of one packet; the kernel closes those that do not fit.
struct Control {
    alignas(cmsghdr) char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/// Waits until the socket is ready for `events`. Returns 0 or an error number.
int await(int socket, short events, Deadline deadline) {
    for (;;) {
        pollfd waiting{socket, events, 0};
        const int ready = poll(&waiting, 1, millisecondsUntil(deadline));
        if (ready > 0) return 0;
        if (ready == 0) return ETIMEDOUT;
        if (errno != EINTR) return errno;
    }
}

/// Repeats a non-blocking call until it did something or the deadline passes. Returns 0 or an error number.
template <typename Call>
int repeated(int socket, short events, Deadline deadline, ssize_t& result, Call&& call) {
    while ((result = call()) < 0) {
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return errno;
        if (const int error = await(socket, events, deadline)) return error;
    }
    return 0;
}

void takeDescriptors(msghdr& message, Descriptors& to) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int descriptor;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof descriptor, sizeof descriptor);
            to.add(descriptor);
        }
    }
}

}  // namespace

int millisecondsUntil(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Deadline::clock::now());
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT_MAX));
}

Descriptors::Descriptors(Descriptors&& other) noexcept {
    *this = std::move(other);
}

Descriptors& Descriptors::operator=(Descriptors&& other) noexcept {
    std::swap(descriptors_, other.descriptors_);
    std::swap(count_, other.count_);
    return *this;
}

void Descriptors::add(int descriptor) {
    if (count_ == kMaxDescriptors) {
        ::close(descriptor);
    } else {
        descriptors_[static_cast<size_t>(count_++)] = descriptor;
    }
}

void Descriptors::close() {
    for (; count_ > 0; --count_) ::close(descriptors_[static_cast<size_t>(count_ - 1)]);
}

bool Packet::getHeader(Header& header) const {
    if (size < sizeof header) return false;
    std::memcpy(&header, bytes.data(), sizeof header);
    return header.magic == kMagic && header.size == size;
}

int sendPacket(int socket, const void* bytes, size_t size, const int* descriptors, int count,
               Deadline deadline) {
    iovec data{const_cast<void*>(bytes), size};
    Control control{};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    if (count > 0) {
        const size_t length = static_cast<size_t>(count) * sizeof(int);
        message.msg_control = control.bytes;
        message.msg_controllen = CMSG_SPACE(length);
        cmsghdr* const part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(length);
        std::memcpy(CMSG_DATA(part), descriptors, length);
    }
    ssize_t sent;
    return repeated(socket, POLLOUT, deadline, sent,
                    [&] { return sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL); });
}

int receivePacket(int socket, Packet& packet, Deadline deadline, int maxDescriptors) {
    iovec data{packet.bytes.data(), packet.bytes.size()};
    Control control{};
    msghdr message{};
    packet.descriptors.close();
    ssize_t received;
    const int error = repeated(socket, POLLIN, deadline, received, [&] {
        message = {};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        if (maxDescriptors != 0) {
            message.msg_control = control.bytes;
            message.msg_controllen = sizeof control;
        }
        return recvmsg(socket, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    });
    if (error) return error;
    takeDescriptors(message, packet.descriptors);
    if (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) return EPROTO;
    if (received == 0) return ECONNRESET;
    packet.size = static_cast<size_t>(received);
    return 0;
}

bool isClosed(int socket) {
    pollfd state{socket, POLLRDHUP, 0};
    return poll(&state, 1, 0) > 0;
}

}  // namespace vantor::remote
