// The service as its clients' processes reach it: connections that begin in any way, and then packets, which are sound
// requests, changed ones or arbitrary bytes, with descriptors of several kinds. A sound request is done; anything else
// is answered, or ends the connection; and another client is served all the while.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>

#include "fuzz/policy.h"
#include "service/model_backend.h"
#include "service/server.h"

namespace vantor::fuzz {
namespace {

using namespace remote;

constexpr int kWidth = 16;
constexpr int kHeight = 8;
constexpr int kUsedAtMost = 200;  // descriptors, of a process whose numbers are given out from the lowest on

Deadline soon() { return Deadline::clock::now() + std::chrono::seconds(10); }

/// A service in a thread of this process, which it ends with.
class Service {
public:
    ~Service() {
        server_.stop();
        thread_.join();
    }

    const std::string path = "/tmp/vantor_fuzz_server_" + std::to_string(getpid());

private:
    static ServerOptions options() {
        ServerOptions options;
        options.backend = [] { return std::make_unique<ModelBackend>(); };
        return options;
    }

    ListeningSocket socket_{path, false};
    Server server_{socket_, options()};
    std::thread thread_{[this] { server_.run(); }};
};

const std::string& servicePath() {
    static const Service service;
    return service.path;
}

/// A client's buffer.
struct Memory {
    Memory() {
        const Bytes bytes(kWidth * kHeight * 3 / 2, 77);
        FUZZ_EXPECT(write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    }
    int descriptor = memfd_create("fuzz", MFD_CLOEXEC);
};

class Client {
public:
    Client() {
        sockaddr_un address{AF_UNIX, {}};
        servicePath().copy(address.sun_path, sizeof address.sun_path - 1);
        FUZZ_EXPECT(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
    }
    ~Client() { close(socket_); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool send(const Bytes& bytes, const std::vector<int>& descriptors) {
        const int count = static_cast<int>(descriptors.size());
        return sendPacket(socket_, bytes.data(), bytes.size(), descriptors.data(), count, soon()) == 0;
    }
    /// Whether there is an answer, and not the end. One of them has to come.
    bool receive() {
        const int error = receivePacket(socket_, answer, soon(), 0);
        FUZZ_EXPECT(error == 0 || error == ECONNRESET);
        return error == 0;
    }

    Packet answer;

private:
    int socket_ = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
};

template <typename Message>
Bytes bytesOf(const Message& message) {
    const auto* const first = reinterpret_cast<const uint8_t*>(&message);
    return {first, first + sizeof message};
}

template <typename Request>
Bytes request(uint32_t sequence) {
    const Geometry whole{kWidth, kHeight, 0, 0, kWidth - 1, kHeight - 1};
    Request request{};
    request.header = headerOf<Request>(sequence);
    request.dst = request.src = whole;
    request.dstBuffers = request.srcBuffers = 1;
    return bytesOf(request);
}

void expectDone(Client& client, uint32_t sequence) {
    Reply reply{};
    FUZZ_EXPECT(client.receive() && client.answer.get(reply) && reply.header.sequence == sequence);
    FUZZ_EXPECT(reply.status == 0);
}

/// Bits changed, bytes cut, or other bytes. Returns whether it did anything.
bool change(Input& input, Bytes& bytes) {
    const Bytes before = bytes;
    for (int i = input.seldom(4); i > 0; --i) {
        const int place = input.between(0, input.ConsumeBool() ? 71 : static_cast<int>(bytes.size()) - 1);
        bytes[static_cast<size_t>(place) % bytes.size()] = input.ConsumeIntegral<uint8_t>();
    }
    if (input.seldom(1) != 0) bytes.resize(static_cast<size_t>(input.between(0, kMaxPacketBytes + 9)));
    if (input.seldom(1) != 0) bytes = input.content(static_cast<size_t>(input.between(1, 100)));
    return bytes != before;
}

void talk(Input& input) {
    static const Memory dst, src;
    static const int kForeign[] = {open("/dev/zero", O_RDWR | O_CLOEXEC), open("/", O_RDONLY | O_CLOEXEC),
                                   open("/proc/version", O_RDONLY | O_CLOEXEC)};
    static Client other;
    static const bool isWelcome = other.send(bytesOf(Hello{headerOf<Hello>(0)}), {}) && other.receive();
    FUZZ_EXPECT(isWelcome);
    Client client;
    Bytes hello = bytesOf(Hello{headerOf<Hello>(0)});
    bool isSound = !change(input, hello);
    if (!client.send(hello, {}) || !client.receive()) return FUZZ_EXPECT(!isSound);
    Welcome welcome;
    FUZZ_EXPECT(!isSound || client.answer.get(welcome));
    for (uint32_t sequence = 1; input.between(0, 3) != 0; ++sequence) {
        Bytes packet = input.ConsumeBool() ? request<ScaleRequest>(sequence) : request<WarpRequest>(sequence);
        std::vector<int> descriptors{dst.descriptor, src.descriptor};
        isSound = isSound && !change(input, packet);
        for (int i = input.seldom(kMaxDescriptors); i > 0; --i, isSound = false)
            descriptors.push_back(input.PickValueInArray(kForeign));
        if (descriptors.size() > kMaxDescriptors) descriptors.erase(descriptors.begin(), descriptors.end() - 4);
        if (!client.send(packet, descriptors)) return FUZZ_EXPECT(!isSound);
        if (isSound) {
            expectDone(client, sequence);
        } else if (!client.receive()) {
            break;
        }
    }
    FUZZ_EXPECT(other.send(request<ScaleRequest>(9), {dst.descriptor, src.descriptor}));
    expectDone(other, 9);
    const int next = dup(STDERR_FILENO);
    FUZZ_EXPECT(next < kUsedAtMost);
    close(next);
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantor::fuzz::Input input(data, size);
    vantor::fuzz::talk(input);
    return 0;
}
