// Packets between a client's process and the service's. To the client: a service's answers, which are sound ones,
// changed ones, arbitrary bytes, silence or the connection's end, with descriptors. A request ends with the status of a
// sound answer, or with a failed one and a line that no terminal obeys; no descriptor stays.
#include <android/log.h>
#include <cutils/native_handle.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdarg>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "fuzz/policy.h"
#include "platform/linux/packet_channel.h"
#include "platform/linux/remote_service.h"

namespace vantor::fuzz {
namespace {

using namespace remote;

int lines = 0;  // logged

/// The service's side, which has its turn whenever the client has sent a packet.
class Peer {
public:
    explicit Peer(Input& input) : input_(input) {}
    ~Peer() { close(connection_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Reads the client's packet, of a new connection if there is one, and answers.
    void answer() {
        const int added = accept4(listener(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (added >= 0) {
            close(std::exchange(connection_, added));
            isOrderly_ = true;
        }
        Packet packet;
        Header header{};
        FUZZ_EXPECT(receivePacket(connection_, packet, {}) == 0 && packet.getHeader(header));
        const bool isHello = header.kind == static_cast<uint16_t>(Kind::Hello);
        FUZZ_EXPECT(packet.descriptors.count() == (isHello ? 0 : 2));
        status_.reset();
        if (isHello) {
            send(headerOf<Welcome>(header.sequence), sizeof(Welcome));
        } else {
            send(headerOf<Reply>(header.sequence), sizeof(Reply));
        }
        if (input_.seldom(1) != 0) {
            close(std::exchange(connection_, -1));
        } else if (input_.seldom(1) != 0) {
            isOrderly_ = false;
            send(headerOf<Reply>(header.sequence + 1), sizeof(Reply));
        }
    }

    /// Whether a request has to end with this status; only while each packet was answered by one at most.
    bool isRight(int32_t status) const { return !isOrderly_ || (status_ ? status == *status_ : status < 0); }

    /// The socket where the client connects.
    static int listener() {
        static const int socket = [] {
            const int listening = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            const std::string path = "/tmp/vantor_fuzz_" + std::to_string(getpid());
            sockaddr_un address{AF_UNIX, {}};
            std::strcpy(address.sun_path, path.c_str());
            unlink(path.c_str());
            FUZZ_EXPECT(bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
            FUZZ_EXPECT(listen(listening, 1) == 0);
            setenv(kServiceVariable, ("unix:" + path).c_str(), 1);
            return listening;
        }();
        return socket;
    }

private:
    /// Sends a packet that begins with this header, or something else.
    void send(const Header& header, size_t size) {
        constexpr int kNoDescriptors[kMaxDescriptors] = {};
        if (input_.between(0, 31) == 0) return;
        Bytes bytes = input_.content(size);
        std::memcpy(bytes.data(), &header, sizeof header);
        if (input_.ConsumeBool()) std::memset(&bytes[sizeof header], 0, sizeof(int32_t));  // the status of a reply
        for (int i = input_.seldom(3); i > 0; --i) {
            bytes[static_cast<size_t>(input_.between(0, 31))] = input_.ConsumeIntegral<uint8_t>();
        }
        if (input_.seldom(1) != 0) bytes = input_.content(static_cast<size_t>(input_.between(0, kMaxPacketBytes + 9)));
        const int descriptors = input_.seldom(kMaxDescriptors);
        const bool isSound = descriptors == 0 && bytes.size() == size &&
                             std::memcmp(bytes.data(), &header, sizeof header) == 0 && size == sizeof(Reply);
        if (isSound) std::memcpy(&status_.emplace(), &bytes[sizeof header], sizeof *status_);
        sendPacket(connection_, bytes.data(), bytes.size(), kNoDescriptors, descriptors, {});
    }

    Input& input_;
    int connection_ = -1;
    bool isOrderly_ = true;
    std::optional<int32_t> status_;  // of the last answer, if that was a sound reply
};

Peer* peer = nullptr;  // while a client sends

/// The lowest free descriptor: the same before and after, unless one was kept.
int freeDescriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

/// A client that gets any answers.
void answers(Input& input) {
    using ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid;
    static const int kBuffer = memfd_create("fuzz", MFD_CLOEXEC);
    static native_handle_t* const kHandle = native_handle_create(1, 0);
    static const GdcGrid kGrid{};
    kHandle->data[0] = kBuffer;
    Peer::listener();
    const int descriptor = freeDescriptor();
    {
        Peer service(input);
        peer = &service;
        lines = 0;
        const auto proxy = connectToService(serviceAddress());
        FUZZ_EXPECT(lines == (proxy == nullptr ? 1 : 0));
        for (int i = input.between(0, 4); proxy != nullptr && i > 0; --i) {
            lines = 0;
            const int32_t status = input.ConsumeBool() ? proxy->runCSC({}, kHandle, {}, kHandle, nullptr)
                                                       : proxy->runGDC({}, kHandle, {}, kHandle, kGrid, nullptr);
            FUZZ_EXPECT(service.isRight(status));
            FUZZ_EXPECT(lines == (status == 0 ? 0 : 1));
        }
        peer = nullptr;
    }
    FUZZ_EXPECT(freeDescriptor() == descriptor);
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags) {
    static const auto call = reinterpret_cast<decltype(&sendmsg)>(dlsym(RTLD_NEXT, "sendmsg"));
    const ssize_t sent = call(socket, message, flags);
    using vantor::fuzz::peer;
    if (auto* const turn = sent > 0 ? std::exchange(peer, nullptr) : nullptr) {
        turn->answer();
        peer = turn;
    }
    return sent;
}

extern "C" int __android_log_print(int, const char*, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    FUZZ_EXPECT(length > 0 && static_cast<size_t>(length) < sizeof text);
    FUZZ_EXPECT(std::all_of(text, text + length, [](char c) { return c >= ' ' && c <= '~'; }));
    return ++vantor::fuzz::lines;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) { return setenv("VANTOR_SERVICE_TIMEOUT", "0.001", 1); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantor::fuzz::Input input(data, size);
    vantor::fuzz::answers(input);
    return 0;
}
