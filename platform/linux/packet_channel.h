// Packets with descriptors over a SOCK_SEQPACKET socket. Every wait has a deadline, and nothing that the
// other side sends is trusted to be a packet of ours.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/linux/service_packet.h"

namespace vantor::remote {

using Deadline = std::chrono::steady_clock::time_point;

/// Milliseconds until then for poll(): 0 if it has passed, else at least 1.
int millisecondsUntil(Deadline deadline);

/// The descriptors that came with a packet, open as long as this object lives.
class Descriptors {
public:
    Descriptors() = default;
    Descriptors(Descriptors&& other) noexcept;
    Descriptors& operator=(Descriptors&& other) noexcept;
    ~Descriptors() { close(); }

    /// Takes one over; closes it at once if there are kMaxDescriptors.
    void add(int descriptor);
    void close();
    int count() const { return count_; }
    const int* data() const { return descriptors_.data(); }

private:
    std::array<int, kMaxDescriptors> descriptors_{};
    int count_ = 0;
};

/// One packet as it came.
struct Packet {
    alignas(8) std::array<uint8_t, kMaxPacketBytes> bytes;
    size_t size = 0;
    Descriptors descriptors;

    /// Copies the packet if it is a whole one of this kind and version.
    template <typename Message>
    bool get(Message& message) const {
        if (size != sizeof message) return false;
        std::memcpy(&message, bytes.data(), sizeof message);
        const Header& header = message.header;
        return header.magic == kMagic && header.version == kVersion && header.size == size &&
               header.kind == static_cast<uint16_t>(Message::kKind);
    }

    /// The header of any packet of ours, whatever its kind and version.
    bool getHeader(Header& header) const;
};

/// A packet's header.
template <typename Message>
Header headerOf(uint32_t sequence) {
    static_assert(sizeof(Message) <= kMaxPacketBytes);
    return {kMagic, kVersion, static_cast<uint16_t>(Message::kKind), sizeof(Message), sequence};
}

/// Sends `size` bytes as one packet with `count` descriptors, at most kMaxDescriptors, which stay the
/// caller's. Returns 0 or an error number: ETIMEDOUT at the deadline.
int sendPacket(int socket, const void* bytes, size_t size, const int* descriptors, int count,
               Deadline deadline);

template <typename Message>
int sendMessage(int socket, const Message& message, Deadline deadline, const int* descriptors = nullptr,
                int count = 0) {
    return sendPacket(socket, &message, sizeof message, descriptors, count, deadline);
}

/// Receives one packet with up to kMaxDescriptors descriptors, or with 0. Returns 0 or an error number:
/// ETIMEDOUT at the deadline, ECONNRESET where the other side has closed, EPROTO for a packet that is too
/// long or brings too many descriptors. With 0, they are not even opened here: closing one can take for ever,
/// where a file system of the sender's has to agree (FUSE).
int receivePacket(int socket, Packet& packet, Deadline deadline, int maxDescriptors = kMaxDescriptors);

/// Whether the other side has closed the connection.
bool isClosed(int socket);

/// Copies text to a packet's array, shortened where it has to be.
template <size_t size>
void putText(char (&array)[size], const char* text) {
    std::strncpy(array, text, size - 1);
    array[size - 1] = 0;
}

}  // namespace vantor::remote
