// The client's side of a service in another process, against services that say nothing, nonsense, or die.
#include "platform/linux/remote_service.h"

#include <android/log.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <thread>

#include "platform/linux/packet_channel.h"
#include "tests/support.h"

namespace {
std::vector<std::string> lines;  // logged
std::mutex linesMutex;
}  // namespace

extern "C" int __android_log_print(int priority, const char*, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(linesMutex);
    if (priority >= ANDROID_LOG_ERROR) lines.emplace_back(text);
    return 1;
}

namespace vantor::remote {
namespace {

using ::hardware::vantorClient;
using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;
using Lines = std::vector<std::string>;
using Service = ::android::sp<IVantorService>;

Lines takeLines() { return std::exchange(lines, {}); }

Deadline soon() { return Deadline::clock::now() + std::chrono::seconds(20); }

/// The other end of a connection.
struct Peer {
    /// Takes the next packet; false if the client has closed.
    bool receive() {
        Packet packet;
        error = receivePacket(socket, packet, soon());
        if (error != 0 || !packet.getHeader(header)) return false;
        descriptors = packet.descriptors.count();
        return true;
    }
    /// What answers it.
    template <typename Message = Reply>
    Message answer() const {
        Message message{};
        message.header = headerOf<Message>(header.sequence);
        return message;
    }
    template <typename Message>
    void send(const Message& message, const std::vector<int>& with = {}) const {
        sendMessage(socket, message, soon(), with.data(), static_cast<int>(with.size()));
    }
    void send(int32_t status, const std::string& text) const {
        auto reply = answer();
        reply.status = status;
        text.copy(reply.text, sizeof reply.text);  // without an end if it fills the array
        send(reply);
    }
    void welcome() {
        if (receive()) send(answer<Welcome>());
    }

    int socket;
    int error = 0;
    int descriptors = 0;
    Header header{};
};

using Script = std::function<void(Peer&)>;

/// Serves requests of two descriptors, until the client closes or sends another.
void serve(Peer& peer) {
    peer.welcome();
    while (peer.receive() && peer.descriptors == 2) peer.send(peer.answer());
}

/// Listens; one script for each connection, in turn, the last for all others too. Without any it accepts none.
class FakeService {
public:
    explicit FakeService(std::vector<Script> scripts, int type = SOCK_SEQPACKET) : listener_(socket(AF_UNIX, type, 0)) {
        sockaddr_un name{AF_UNIX, {}};
        std::strcpy(name.sun_path, address.c_str() + 5);
        unlink(name.sun_path);
        EXPECT_EQ(0, bind(listener_, reinterpret_cast<sockaddr*>(&name), sizeof name));
        EXPECT_EQ(0, listen(listener_, 0));
        setenv(kServiceVariable, address.c_str(), 1);
        accepting_ = std::thread([this, scripts] {
            for (size_t i = 0; !scripts.empty(); ++i) {
                const int connection = accept(listener_, nullptr, nullptr);
                if (connection < 0) break;
                serving_.emplace_back([script = scripts[std::min(i, scripts.size() - 1)], connection] {
                    Peer peer{connection};
                    script(peer);
                    close(connection);
                });
            }
        });
    }
    ~FakeService() {
        shutdown(listener_, SHUT_RDWR);
        accepting_.join();
        for (std::thread& thread : serving_) thread.join();
        close(listener_);
        unlink(address.c_str() + 5);
    }

    const std::string address = "unix:/tmp/vantor_" + std::to_string(getpid()) + ".sock";

private:
    int listener_;
    std::thread accepting_;
    std::vector<std::thread> serving_;
};

class RemoteService : public testing::Test {
protected:
    RemoteService() {
        takeLines();
        timeout("5");
        for (int i = 0; i < 4; ++i) handle_->data[i] = memfd_create("picture", MFD_CLOEXEC);
        handle_->numFds = 1;
    }
    ~RemoteService() override {
        unsetenv(kServiceVariable);
        for (int i = 0; i < 4; ++i) close(handle_->data[i]);
        native_handle_delete(handle_);
    }

    static void timeout(const char* seconds) { setenv("VANTOR_SERVICE_TIMEOUT", seconds, 1); }
    static Service get() { return IVantorService::getService("default", false); }
    int32_t scale(const Service& service) { return service->runCSC({}, handle_, {}, handle_, nullptr); }

    native_handle_t* handle_ = native_handle_create(4, 0);
};

size_t openDescriptors() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

TEST_F(RemoteService, FailuresAreStatusesOfOneLineAndTheNextRequestConnectsAgain) {
    const std::string noReply = "the answer is not a reply",
                      noPacket = "the answer is not a packet of a vantor service";
    const struct {
        std::function<void(Peer&, Reply)> answer;
        int32_t status;
        std::string cause;
    } cases[] = {
        {[](Peer& peer, Reply) { EXPECT_FALSE(peer.receive()); }, -ETIMEDOUT, "no answer within 0.25 s"},
        {[](Peer&, Reply) {}, -ECONNRESET, "the service closed the connection"},
        {[](Peer& peer, Reply reply) { ++reply.header.magic, peer.send(reply); }, -EPROTO, noReply},
        {[](Peer& peer, Reply reply) { ++reply.header.version, peer.send(reply); }, -EPROTO, noReply},
        {[](Peer& peer, Reply reply) { --reply.header.kind, peer.send(reply); }, -EPROTO, noReply},
        {[](Peer& peer, Reply reply) { ++reply.header.size, peer.send(reply); }, -EPROTO, noReply},
        {[](Peer& peer, Reply reply) { ++reply.header.sequence, peer.send(reply); }, -EPROTO,
         "reply to request 2, expected 1"},
        {[](Peer& peer, Reply reply) { peer.send(reply.header); }, -EPROTO, noReply},
        {[](Peer& peer, Reply) { sendMessage(peer.socket, std::array<char, kMaxPacketBytes + 1>{}, soon()); }, -EPROTO,
         noPacket},
        {[](Peer& peer, Reply reply) {
             peer.send(reply, {0, 0, 0, 0});
         },
         -EPROTO, noPacket},
    };
    const size_t open = openDescriptors();
    for (const auto& [answer, status, cause] : cases) {
        const Script failing = [answer = answer](Peer& peer) {
            peer.welcome();
            EXPECT_TRUE(peer.receive() && peer.descriptors == 2);
            answer(peer, peer.answer());
        };
        FakeService fake({failing, serve});
        timeout(status == -ETIMEDOUT ? "0.25" : "5");
        const Service service = get();
        EXPECT_TRUE(service->isRemote());
        const auto start = Deadline::clock::now();
        EXPECT_EQ(scale(service), status);
        EXPECT_TRUE(status != -ETIMEDOUT || Deadline::clock::now() - start >= std::chrono::milliseconds(250));
        EXPECT_EQ(takeLines(), Lines{"runCSC failed: " + fake.address + ": " + cause});
        EXPECT_EQ(scale(service), 0);
    }
    EXPECT_EQ(openDescriptors(), open);
}

TEST_F(RemoteService, RefusalsReadAsInProcessWithoutWhatATerminalObeys) {
    FakeService fake({[](Peer& peer) {
        peer.welcome();
        const std::string endless(sizeof(Reply::text), 'x');
        for (const auto& text : {std::string("runCSC refused: \x1b[31m\xc3\xa9\n\x7f."), std::string(), endless}) {
            EXPECT_TRUE(peer.receive());
            peer.send(7, text);
        }
    }});
    const Service service = get();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(scale(service), 7);
    EXPECT_EQ(service->runCSC({}, handle_, {}, nullptr, nullptr), -22);
    handle_->numFds = 3;
    EXPECT_EQ(service->runGDC({}, handle_, {}, handle_, {}, nullptr), -22);
    handle_->numFds = 2;
    const int descriptor = std::exchange(handle_->data[1], -1);
    EXPECT_EQ(scale(service), -22);
    handle_->data[1] = descriptor;
    const Lines expected{"runCSC refused: ?[31m????.",
                         "runCSC failed: status 7",
                         std::string(236, 'x'),
                         "runCSC refused: src: no buffers",
                         "runGDC refused: src: 3 buffers, expected 1 or 2",
                         "runCSC refused: src: buffer 1: Bad file descriptor"};
    EXPECT_EQ(takeLines(), expected);
}

TEST_F(RemoteService, IsNullUnlessItSaysWelcome) {
    const auto expectNull = [](const std::string& line) {
        EXPECT_EQ(get(), nullptr);
        EXPECT_EQ(takeLines(), Lines{line});
    };
    timeout("0.25");
    const std::pair<std::function<void(Peer&, Reply)>, std::string> cases[] = {
        {[](Peer& peer, Reply) { EXPECT_FALSE(peer.receive()); }, "no answer within 0.25 s"},
        {[](Peer&, Reply) {}, "the service closed the connection"},
        {[](Peer& peer, Reply reply) { peer.send(reply); }, "not a vantor service"},
        {[](Peer& peer, Reply) { peer.send(-13, "only for\nits owner"); }, "only for?its owner"},
        {[](Peer& peer, Reply) { peer.send(Welcome{}); }, "not a vantor service"},
        {[](Peer& peer, Reply reply) { reply.header.version = 9, peer.send(reply); },
         "version 9 of the protocol, expected 1"},
    };
    for (const auto& [answer, cause] : cases) {
        FakeService fake({[answer = answer](Peer& peer) {
            EXPECT_TRUE(peer.receive());
            answer(peer, peer.answer());
        }});
        expectNull(fake.address + ": " + cause);
    }
    std::string address;
    {
        FakeService full({});  // the kernel takes a connection or two for it
        address = full.address + ": ";
        for (int i = 0; i < 2; ++i) expectNull(address + "no answer within 0.25 s");
        EXPECT_EQ(IVantorService::getService("other", false), nullptr);
        EXPECT_EQ(takeLines(), Lines{});
    }
    {
        FakeService stream({}, SOCK_STREAM);
        expectNull(address + "not a vantor service");
    }
    expectNull(address + "nobody listens (No such file or directory)");
    for (const char* wrong : {"", "unix:", "/tmp/x"}) {
        setenv(kServiceVariable, wrong, 1);
        expectNull(std::string("VANTOR_SERVICE=") + wrong + ": expected unix:PATH");
    }
    address = "unix:" + std::string(108, 'x');
    setenv(kServiceVariable, address.c_str(), 1);
    expectNull(address + ": path of 108 bytes, expected at most 107");
    for (const char* wrong : {"", "0", "0,5", "0.5s", "3600.1", "nan", " 1"}) {
        timeout(wrong);
        expectNull(std::string("VANTOR_SERVICE_TIMEOUT=") + wrong + ": expected 0.001 to 3600 seconds");
    }
}

/// What another thread sets, once. (32-bit ARM without hard floats has no std::promise.)
int awaited(const std::atomic<int>& value) {
    while (value < 0) usleep(1000);
    return value;
}

TEST_F(RemoteService, AForkedChildConnectsAndTheParentsConnectionStaysItsOwn) {
    std::atomic<int> ended{-1};
    const Script ofParent = [&](Peer& peer) {
        peer.welcome();
        for (int expected : {2, 2, 4}) {
            EXPECT_TRUE(peer.receive() && peer.descriptors == expected);
            if (expected == 2) peer.send(peer.answer());
        }
        peer.receive();
        ended = peer.error;
    };
    FakeService fake({ofParent, serve});
    timeout("0.25");
    const Service service = get();
    EXPECT_EQ(scale(service), 0);
    int done[2];
    ASSERT_EQ(0, pipe(done));
    const auto forked = [](const std::function<void()>& work) {
        const pid_t child = fork();
        if (child != 0) return child;
        work();
        for (;;) pause();
    };
    const pid_t idle = forked([] {});
    const pid_t busy = forked([&] {
        close(STDERR_FILENO);  // whose place the socket must not take
        const bool isServed = scale(service) == 0 && fcntl(STDERR_FILENO, F_GETFD) < 0;
        static_cast<void>(write(done[1], &isServed, 1));
    });
    bool isServed = false;
    EXPECT_TRUE(read(done[0], &isServed, 1) == 1 && isServed);
    EXPECT_EQ(scale(service), 0);
    handle_->numFds = 2;
    EXPECT_EQ(scale(service), -ETIMEDOUT);
    EXPECT_EQ(awaited(ended), ECONNRESET);  // though a child has a copy
    for (pid_t child : {idle, busy}) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    for (int end : done) close(end);
}

TEST_F(RemoteService, AnIdleConnectionThatTheServiceClosedIsReplaced) {
    std::atomic<int> closed{-1};
    const Script closing = [&](Peer& peer) {
        peer.welcome();
        shutdown(peer.socket, SHUT_RDWR);
        closed = 1;
    };
    FakeService fake({closing, serve});
    const Service service = get();
    awaited(closed);
    EXPECT_EQ(scale(service), 0);
}

TEST_F(RemoteService, ManyRequestsOfSeveralThreadsLeaveNothingOpen) {
    const size_t open = openDescriptors();
    {
        FakeService fake({serve});
        const Service service = get();
        const auto work = [&] {
            for (int i = 0; i < 250; ++i) EXPECT_EQ(scale(service), 0);
        };
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) threads.emplace_back(work);
        for (std::thread& thread : threads) thread.join();
    }
    EXPECT_EQ(openDescriptors(), open);
}

TEST_F(RemoteService, AClientWhoseServiceDiesFallsBack) {
    const Script dying = [](Peer& peer) {
        peer.welcome();
        EXPECT_TRUE(peer.receive());
    };
    FakeService fake({dying, dying, serve});
    EXPECT_EQ(vantorClient::init(), 0);
    std::vector<uint8_t> from, to, expected;
    const auto src = test::wholePicture(from, 96, 64);
    std::generate(from.begin(), from.end(), [i = 0]() mutable { return static_cast<uint8_t>(i++ * 7); });
    auto dst = test::wholePicture(to, 48, 32);
    vantorClient::runInterpBicubic(test::wholePicture(expected, 48, 32), src, hardware::IMAGE_FORMAT_NV12);
    EXPECT_EQ(vantorClient::runCSC(dst, src, hardware::IMAGE_FORMAT_NV12), -38);
    EXPECT_EQ(to, expected);
    dst = test::wholePicture(to, 96, 64);
    const auto warp = [&] {
        return vantorClient::runGDCGrid(dst, src, {}, hardware::IMAGE_FORMAT_NV12, hardware::GDC_HW);
    };
    EXPECT_EQ(warp(), -38);
    EXPECT_EQ(to, from);
    const Lines logged = takeLines();
    const std::string cause = " failed: " + fake.address + ": the service closed the connection";
    const std::string ends[] = {"runCSC" + cause, "runCSC() failed", "Error occurs, run SW scaler instead",
                                "runGDC" + cause, "runGDC() failed", "Error occurs, run SW scaler (memcpy) instead"};
    ASSERT_EQ(logged.size(), std::size(ends));
    for (size_t i = 0; i < logged.size(); ++i) EXPECT_NE(logged[i].find(ends[i]), std::string::npos) << logged[i];
    EXPECT_EQ(warp(), 0);
    unsetenv(kServiceVariable);
    EXPECT_EQ(vantorClient::init(), -38);  // lets go of the service, and finds none
}

}  // namespace
}  // namespace vantor::remote
