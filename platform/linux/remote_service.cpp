#include "platform/linux/remote_service.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/packet_channel.h"

namespace vantor::remote {
namespace {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;
using ::android::hidl::base::V1_0::IBase;
using ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid;
using ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;
using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;

constexpr char kTimeoutVariable[] = "VANTOR_SERVICE_TIMEOUT";
constexpr char kScheme[] = "unix:";
constexpr size_t kMaxPathBytes = sizeof(sockaddr_un::sun_path) - 1;

/// What went wrong, as a status and as text for the log.
struct Failure {
    int32_t status;
    std::string text;
    const char* verb = "failed";
};

void logError(const std::string& text) {
    __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "%s", text.c_str());
}

/// Text of others, shortened to a line's part, with nothing in it that a terminal obeys.
std::string printable(std::string text) {
    constexpr size_t kMaxText = 240;
    if (text.size() > kMaxText) text.resize(kMaxText);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

template <size_t size>
std::string printable(const char (&array)[size]) {
    return printable(std::string(array, std::find(array, array + size, '\0')));
}

/// How long a request may take.
class Timeout {
public:
    /// Reads the variable; a Failure if it is not a number within the limits.
    Timeout() {
        if (const char* given = secure_getenv(kTimeoutVariable)) text_ = given;
        const char* const end = text_.data() + text_.size();
        const auto [rest, error] = std::from_chars(text_.data(), end, seconds_);
        if (error != std::errc() || rest != end || !(seconds_ >= kMin && seconds_ <= kMax)) {
            throw Failure{-EINVAL, std::string(kTimeoutVariable) + "=" + printable(text_) +
                                       ": expected 0.001 to 3600 seconds"};
        }
    }

    Deadline fromNow() const {
        const std::chrono::duration<double> duration(seconds_);
        return Deadline::clock::now() + std::chrono::ceil<Deadline::duration>(duration);
    }

    /// In seconds, as it was given, whatever the locale writes.
    const std::string& text() const { return text_; }

private:
    static constexpr double kMin = 0.001;
    static constexpr double kMax = 3600;

    std::string text_ = "5";
    double seconds_ = 0;
};

/// Where the service is, and how long it may take.
class Address {
public:
    explicit Address(const char* text) : text_(printable(std::string(text))) {
        const size_t scheme = sizeof kScheme - 1;
        if (std::strncmp(text, kScheme, scheme) != 0 || text[scheme] == 0) {
            throw Failure{-EINVAL, std::string(kServiceVariable) + "=" + text_ + ": expected unix:PATH"};
        }
        const size_t length = std::strlen(text + scheme);
        if (length > kMaxPathBytes) {
            fail(ENAMETOOLONG, "path of " + std::to_string(length) + " bytes, expected at most " +
                                   std::to_string(kMaxPathBytes));
        }
        address_.sun_family = AF_UNIX;
        std::memcpy(address_.sun_path, text + scheme, length);
    }

    const std::string& text() const { return text_; }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address_); }
    static socklen_t size() { return sizeof(sockaddr_un); }
    Deadline deadline() const { return timeout_.fromNow(); }

    [[noreturn]] void fail(int error, const std::string& what) const {
        throw Failure{-error, text_ + ": " + what};
    }

    /// Fails with the error of a call.
    [[noreturn]] void fail(int error) const {
        if (error == EPIPE || error == ECONNRESET) fail(ECONNRESET, "the service closed the connection");
        fail(error, error == ETIMEDOUT ? "no answer within " + timeout_.text() + " s" : strerror(error));
    }

private:
    Timeout timeout_;
    std::string text_;
    sockaddr_un address_{};
};

/// Descriptors below 3 would take the place of closed standard streams, and get what is written to them.
int aboveStandardStreams(int descriptor) {
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return moved;
}

/// A socket of the process that made it. A forked child only closes its copy; the process itself ends
/// the connection, whoever has a copy of the socket.
class Socket {
public:
    explicit Socket(int descriptor) : descriptor_(descriptor) {}
    ~Socket() {
        if (descriptor_ < 0) return;
        if (isOwn()) shutdown(descriptor_, SHUT_RDWR);
        close(descriptor_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int get() const { return descriptor_; }
    bool isOwn() const { return owner_ == getpid(); }

private:
    int descriptor_;
    pid_t owner_ = getpid();
};

/// A connection to the service.
class Connection {
public:
    /// Connects, and learns what is at the other side. A Failure after the deadline at the latest.
    Connection(const Address& address, Deadline deadline)
        : socket_(aboveStandardStreams(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))) {
        if (socket_.get() < 0) address.fail(errno);
        connect(address, deadline);
        if (const int error = sendMessage(socket_.get(), Hello{headerOf<Hello>(0)}, deadline))
            address.fail(error);
        Packet packet;
        receive(packet, address, deadline);
        if (packet.get(welcome_)) return;
        Reply reply{};
        Header header{};
        if (packet.get(reply) && reply.status != 0) throw refusal(reply, address);
        if (packet.getHeader(header) && header.version != kVersion) {
            address.fail(EPROTO, "version " + std::to_string(header.version) + " of the protocol, expected " +
                                     std::to_string(kVersion));
        }
        address.fail(EPROTO, "not a vantor service");
    }

    bool isOwn() const { return socket_.isOwn(); }

    std::string description() const {
        return printable(welcome_.backend) + ", release " + printable(welcome_.release);
    }

    /// Sends a request. Returns 0 or an error number.
    template <typename Request>
    int send(Request& request, const int* descriptors, int count, Deadline deadline) {
        request.header = headerOf<Request>(++sequence_);
        return sendMessage(socket_.get(), request, deadline, descriptors, count);
    }

    /// The reply to it.
    Reply reply(const Address& address, Deadline deadline) const {
        Packet packet;
        Reply reply{};
        receive(packet, address, deadline);
        if (!packet.get(reply)) address.fail(EPROTO, "the answer is not a reply");
        if (reply.header.sequence != sequence_) {
            address.fail(EPROTO, "reply to request " + std::to_string(reply.header.sequence) + ", expected " +
                                     std::to_string(sequence_));
        }
        return reply;
    }

private:
    /// The kernel's own deadline bounds the wait for a service that accepts no more connections.
    void connect(const Address& address, Deadline deadline) const {
        using std::chrono::microseconds;
        for (;;) {
            const auto left = std::chrono::ceil<microseconds>(deadline - Deadline::clock::now()).count();
            if (left <= 0) address.fail(ETIMEDOUT);
            timeval wait{};  // zeros would mean for ever
            wait.tv_sec = static_cast<decltype(wait.tv_sec)>(left / 1000000);
            wait.tv_usec = static_cast<decltype(wait.tv_usec)>(left % 1000000);
            setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
            if (::connect(socket_.get(), address.get(), Address::size()) == 0) return;
            if (errno == EINTR || errno == EAGAIN) continue;  // the latter at the deadline
            if (errno == ENOENT || errno == ECONNREFUSED)
                address.fail(errno, std::string("nobody listens (") + strerror(errno) + ")");
            if (errno == EPROTOTYPE) address.fail(errno, "not a vantor service");
            address.fail(errno);
        }
    }

    /// Descriptors have no business in answers: there is no room for any, so the kernel drops them.
    void receive(Packet& packet, const Address& address, Deadline deadline) const {
        const int error = receivePacket(socket_.get(), packet, deadline, 0);
        if (error == EPROTO) address.fail(error, "the answer is not a packet of a vantor service");
        if (error != 0) address.fail(error);
    }

    static Failure refusal(const Reply& reply, const Address& address) {
        return {reply.status, address.text() + ": " + printable(reply.text)};
    }

    Socket socket_;
    Welcome welcome_{};
    uint32_t sequence_ = 0;
};

/// One connection that waits for the next request. There is no lock that a forked child could inherit.
class IdleConnection {
public:
    ~IdleConnection() { put(nullptr); }

    void put(std::unique_ptr<Connection> connection) {
        const std::unique_ptr<Connection> old(connection_.exchange(connection.release()));
    }

    /// Null if there is none of this process.
    std::unique_ptr<Connection> take() {
        std::unique_ptr<Connection> connection(connection_.exchange(nullptr));
        return connection && connection->isOwn() ? std::move(connection) : nullptr;
    }

private:
    std::atomic<Connection*> connection_{nullptr};
};

/// A picture's handle. A Failure, worded as the service words it, unless it holds one or two open
/// descriptors.
const native_handle_t& checked(const std::string& name, const hidl_handle& handle) {
    const auto refuse = [&](const std::string& what) {
        throw Failure{-EINVAL, name + ": " + what, "refused"};
    };
    const native_handle_t* buffers = handle.getNativeHandle();
    if (!buffers) refuse("no buffers");
    const int count = buffers->numFds;
    if (count != 1 && count != 2) refuse(std::to_string(count) + " buffers, expected 1 or 2");
    for (int i = 0; i < count; ++i) {
        if (fcntl(buffers->data[i], F_GETFD) < 0)
            refuse("buffer " + std::to_string(i) + ": " + strerror(errno));
    }
    return *buffers;
}

/// The service's line, which names the method.
std::string reasonOf(const Reply& reply, const char* method) {
    const std::string text = printable(reply.text);
    return text.empty() ? std::string(method) + " failed: status " + std::to_string(reply.status) : text;
}

Geometry geometryOf(const ImageGeometry& g) {
    return {g.width, g.height, g.cropLeft, g.cropTop, g.cropRight, g.cropBottom};
}

class RemoteService final : public IVantorService {
public:
    /// Connects, so that a service that is not there is found out now.
    explicit RemoteService(const char* address) : address_(address) {
        idle_.put(std::make_unique<Connection>(address_, address_.deadline()));
    }

    bool isRemote() const override { return true; }

    Return<int32_t> runCSC(const ImageGeometry& dstGeometry, const hidl_handle& dstBuffers,
                           const ImageGeometry& srcGeometry, const hidl_handle& srcBuffers,
                           const sp<IBase>&) override {
        ScaleRequest request{};
        return run("runCSC", request, dstGeometry, dstBuffers, srcGeometry, srcBuffers);
    }

    Return<int32_t> runGDC(const ImageGeometry& dstGeometry, const hidl_handle& dstBuffers,
                           const ImageGeometry& srcGeometry, const hidl_handle& srcBuffers,
                           const GdcGrid& grid, const sp<IBase>&) override {
        WarpRequest request{};
        std::copy_n(grid.dX.data(), std::size(request.dx), request.dx);
        std::copy_n(grid.dY.data(), std::size(request.dy), request.dy);
        return run("runGDC", request, dstGeometry, dstBuffers, srcGeometry, srcBuffers);
    }

    Return<void> debug(const hidl_handle& to, const hidl_vec<hidl_string>&) override {
        const native_handle_t* handle = to.getNativeHandle();
        std::unique_ptr<Connection> connection = idle_.take();
        if (!handle || handle->numFds < 1 || !connection) return Void();
        dprintf(handle->data[0], "service at %s: %s", address_.text().c_str(),
                connection->description().c_str());
        idle_.put(std::move(connection));
        return Void();
    }

private:
    /// The status of a request, in which every failure ends: a client must abort on those of the transport.
    template <typename Request>
    int32_t run(const char* method, Request& request, const ImageGeometry& dst, const hidl_handle& dstBuffers,
                const ImageGeometry& src, const hidl_handle& srcBuffers) {
        request.dst = geometryOf(dst);
        request.src = geometryOf(src);
        try {
            const Reply reply = exchange(request, dstBuffers, srcBuffers);
            if (reply.status != 0) logError(reasonOf(reply, method));
            return reply.status;
        } catch (const Failure& failure) {
            logError(std::string(method) + " " + failure.verb + ": " + failure.text);
            return failure.status;
        } catch (const std::exception& error) {
            logError(std::string(method) + " failed: " + error.what());
            return -ENOMEM;
        }
    }

    template <typename Request>
    Reply exchange(Request& request, const hidl_handle& dstBuffers, const hidl_handle& srcBuffers) {
        const native_handle_t& src = checked("src", srcBuffers);
        const native_handle_t& dst = checked("dst", dstBuffers);
        request.dstBuffers = static_cast<uint32_t>(dst.numFds);
        request.srcBuffers = static_cast<uint32_t>(src.numFds);
        int descriptors[kMaxDescriptors];
        std::copy_n(src.data, src.numFds, std::copy_n(dst.data, dst.numFds, descriptors));
        const Deadline deadline = address_.deadline();
        const auto send = [&](Connection& connection) {
            return connection.send(request, descriptors, dst.numFds + src.numFds, deadline);
        };
        std::unique_ptr<Connection> connection = idle_.take();
        // The service may have closed an idle one, or died.
        if (!connection || send(*connection) != 0) {
            connection = std::make_unique<Connection>(address_, deadline);
            if (const int error = send(*connection)) address_.fail(error);
        }
        const Reply reply = connection->reply(address_, deadline);
        idle_.put(std::move(connection));
        return reply;
    }

    const Address address_;
    IdleConnection idle_;
};

}  // namespace

const char* serviceAddress() {
    return secure_getenv(kServiceVariable);
}

sp<IVantorService> connectToService(const char* address) {
    try {
        return new RemoteService(address);
    } catch (const Failure& failure) {
        logError(failure.text);
        return nullptr;
    }
}

}  // namespace vantor::remote
