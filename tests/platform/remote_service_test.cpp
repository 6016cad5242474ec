// The client's side of a service in another process, against services that say nothing, nonsense, or die.
#include "platform/linux/remote_service.h"

#include <android/log.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

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

Deadline soon() { return Deadline::clock::now() + std::chrono::minutes(1); }

/// The other end of a connection.
class Peer {
public:
    explicit Peer(int socket) : socket_(socket) {}
    ~Peer() { close(socket_); }

    /// The header of the next packet; false if the client has closed.
    bool receive() {
        Packet packet;
        if (receivePacket(socket_, packet, soon()) != 0 || !packet.getHeader(header_)) return false;
        descriptors = packet.descriptors.count();
        return true;
    }
    template <typename Message>
    Message message() const {
        Message message{};
        message.header = headerOf<Message>(header_.sequence);
        return message;
    }
    Reply reply(int32_t status = 0, const char* text = "") const {
        auto reply = message<Reply>();
        reply.status = status;
        putText(reply.text, text);
        return reply;
    }
    template <typename Message>
    void send(const Message& message, const std::vector<int>& with = {}) {
        sendMessage(socket_, message, soon(), with.data(), static_cast<int>(with.size()));
    }
    void send(const std::vector<uint8_t>& bytes) {
        sendPacket(socket_, bytes.data(), bytes.size(), nullptr, 0, soon());
    }
    void welcome() {
        auto answer = message<Welcome>();
        std::memset(answer.release, '\x1b', sizeof answer.release);  // no end, and no text
        putText(answer.backend, "fake");
        if (receive()) send(answer);
    }

    int descriptors = 0;

private:
    int socket_;
    Header header_{};
};

using Script = std::function<void(Peer&)>;

/// Serves requests until the client closes.
void serve(Peer& peer) {
    peer.welcome();
    while (peer.receive()) peer.send(peer.reply());
}

/// Listens; one script for each connection, in turn, the last for all others too. Without any it accepts none.
class FakeService {
public:
    explicit FakeService(std::vector<Script> scripts, int type = SOCK_SEQPACKET)
        : path("/tmp/vantor_" + std::to_string(getpid()) + ".sock"), listener_(socket(AF_UNIX, type, 0)) {
        sockaddr_un address{AF_UNIX, {}};
        std::strcpy(address.sun_path, path.c_str());
        unlink(path.c_str());
        EXPECT_EQ(0, bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address));
        EXPECT_EQ(0, listen(listener_, 0));
        setenv(kServiceVariable, ("unix:" + path).c_str(), 1);
        accepting_ = std::thread([this, scripts] {
            for (size_t i = 0; !scripts.empty(); ++i) {
                const int connection = accept(listener_, nullptr, nullptr);
                if (connection < 0) break;
                serving_.emplace_back([script = scripts[std::min(i, scripts.size() - 1)], connection] {
                    Peer peer(connection);
                    script(peer);
                });
            }
        });
    }
    ~FakeService() {
        shutdown(listener_, SHUT_RDWR);
        accepting_.join();
        for (std::thread& thread : serving_) thread.join();
        close(listener_);
        unlink(path.c_str());
    }

    const std::string path;

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

/// A message whose bytes are changed.
template <typename Message, typename Change>
Message changed(Message message, Change&& change) {
    change(message);
    return message;
}

TEST_F(RemoteService, FailuresAreStatusesOfOneLineAndTheNextRequestConnectsAgain) {
    const Script silent = [](Peer& peer) { EXPECT_FALSE(peer.receive()); };
    const auto header = [](auto&& change) -> Script {
        return [=](Peer& peer) { peer.send(changed(peer.reply(), [&](Reply& reply) { change(reply.header); })); };
    };
    const std::string noReply = "the answer is not a reply",
                      noPacket = "the answer is not a packet of a vantor service";
    const struct {
        Script answer;
        int32_t status;
        std::string cause;
    } cases[] = {
        {silent, -ETIMEDOUT, "no answer within 0.25 s"},
        {[](Peer&) {}, -ECONNRESET, "the service closed the connection"},
        {header([](Header& h) { ++h.magic; }), -EPROTO, noReply},
        {header([](Header& h) { ++h.version; }), -EPROTO, noReply},
        {header([](Header& h) { --h.kind; }), -EPROTO, noReply},
        {header([](Header& h) { ++h.size; }), -EPROTO, noReply},
        {header([](Header& h) { ++h.sequence; }), -EPROTO, "reply to request 2, expected 1"},
        {[](Peer& peer) { peer.send(std::vector<uint8_t>(15)); }, -EPROTO, noReply},
        {[](Peer& peer) { peer.send(std::vector<uint8_t>(kMaxPacketBytes + 1)); }, -EPROTO, noPacket},
        {[](Peer& peer) {
             peer.send(peer.reply(), {0, 0, 0, 0});
         },
         -EPROTO, noPacket},
    };
    for (const auto& [answer, status, cause] : cases) {
        const size_t open = openDescriptors();
        {
            FakeService fake({[answer = answer](Peer& peer) {
                                  peer.welcome();
                                  EXPECT_TRUE(peer.receive() && peer.descriptors == 2);
                                  answer(peer);
                              },
                              serve});
            timeout(status == -ETIMEDOUT ? "0.25" : "5");
            const Service service = get();
            EXPECT_TRUE(service->isRemote());
            const auto start = Deadline::clock::now();
            EXPECT_EQ(scale(service), status);
            EXPECT_TRUE(status != -ETIMEDOUT || Deadline::clock::now() - start >= std::chrono::milliseconds(250));
            EXPECT_EQ(takeLines(), Lines{"runCSC failed: unix:" + fake.path + ": " + cause});
            EXPECT_EQ(scale(service), 0);
        }
        EXPECT_EQ(openDescriptors(), open) << cause;
    }
}

TEST_F(RemoteService, ItsStatusAndTextAreTheServicesWithoutWhatATerminalObeys) {
    FakeService fake({[](Peer& peer) {
        peer.welcome();
        for (const char* text : {"runCSC refused: \x1b[31m\xc3\xa9\n\x7f.", ""}) {
            EXPECT_TRUE(peer.receive());
            peer.send(peer.reply(-22, text));
        }
        EXPECT_TRUE(peer.receive());
        peer.send(changed(peer.reply(7), [](Reply& reply) { std::fill_n(reply.text, sizeof reply.text, 'x'); }));
    }});
    const Service service = get();
    EXPECT_EQ(scale(service), -22);
    EXPECT_EQ(scale(service), -22);
    EXPECT_EQ(scale(service), 7);
    const Lines expected{"runCSC refused: ?[31m????.", "runCSC failed: status -22", std::string(236, 'x')};
    EXPECT_EQ(takeLines(), expected);
}

TEST_F(RemoteService, HandlesThatCannotBeSentAreRefusedAsInProcess) {
    FakeService fake({serve});
    const Service service = get();
    EXPECT_EQ(service->runCSC({}, handle_, {}, nullptr, nullptr), -22);
    handle_->numFds = 3;
    EXPECT_EQ(service->runGDC({}, handle_, {}, handle_, {}, nullptr), -22);
    handle_->numFds = 2;
    const int descriptor = std::exchange(handle_->data[1], -1);
    EXPECT_EQ(scale(service), -22);
    handle_->data[1] = descriptor;
    EXPECT_EQ(scale(service), 0);
    const Lines expected{"runCSC refused: src: no buffers", "runGDC refused: src: 3 buffers, expected 1 or 2",
                         "runCSC refused: src: buffer 1: Bad file descriptor"};
    EXPECT_EQ(takeLines(), expected);
}

TEST_F(RemoteService, NobodyWhoSaysWelcomeIsNull) {
    const auto expectNull = [](const std::string& line) {
        EXPECT_EQ(get(), nullptr);
        EXPECT_EQ(takeLines(), Lines{line});
    };
    timeout("0.25");
    const auto answers = [](auto&& answer) -> Script {
        return [=](Peer& peer) {
            EXPECT_TRUE(peer.receive());
            peer.send(answer(peer));
        };
    };
    const std::pair<Script, std::string> cases[] = {
        {[](Peer& peer) {
             while (peer.receive()) {}
         },
         "no answer within 0.25 s"},
        {[](Peer&) {}, "the service closed the connection"},
        {answers([](Peer& peer) { return peer.reply(); }), "not a vantor service"},
        {answers([](Peer& peer) { return peer.reply(-13, "only for\nits owner"); }), "only for?its owner"},
        {answers([](Peer&) { return std::vector<uint8_t>(128, 'x'); }), "not a vantor service"},
        {answers([](Peer& peer) { return changed(peer.reply(), [](Reply& reply) { reply.header.version = 9; }); }),
         "version 9 of the protocol, expected 1"},
    };
    for (const auto& [script, cause] : cases) {
        FakeService fake({script});
        expectNull("unix:" + fake.path + ": " + cause);
    }
    {
        FakeService full({});  // takes two connections, and accepts none
        for (int i = 0; i < 2; ++i) expectNull("unix:" + full.path + ": no answer within 0.25 s");
        const Service ofOtherName = IVantorService::getService("other", false);
        EXPECT_TRUE(ofOtherName == nullptr && takeLines().empty());
    }
    std::string path;
    {
        FakeService stream({}, SOCK_STREAM);
        path = "unix:" + stream.path;
        expectNull(path + ": not a vantor service");
    }
    expectNull(path + ": nobody listens (No such file or directory)");
    for (const char* wrong : {"", "unix:", "/tmp/x"}) {
        setenv(kServiceVariable, wrong, 1);
        expectNull(std::string("VANTOR_SERVICE=") + wrong + ": expected unix:PATH");
    }
    path = "unix:" + std::string(108, 'x');
    setenv(kServiceVariable, path.c_str(), 1);
    expectNull(path + ": path of 108 bytes, expected at most 107");
    for (const char* wrong : {"", "0", "0,5", "0.5s", "3600.1", "nan", " 1"}) {
        timeout(wrong);
        expectNull(std::string("VANTOR_SERVICE_TIMEOUT=") + wrong + ": expected 0.001 to 3600 seconds");
    }
}

TEST_F(RemoteService, AForkedChildConnectsAndTheParentsConnectionStaysItsOwn) {
    FakeService fake({[](Peer& peer) {
                          peer.welcome();
                          while (peer.receive() && peer.descriptors == 2) peer.send(peer.reply());
                          EXPECT_FALSE(peer.receive());  // the client's end, though the child has a copy of it
                      },
                      serve});
    timeout("0.25");
    const Service service = get();
    EXPECT_EQ(scale(service), 0);
    int done[2];
    ASSERT_EQ(0, pipe(done));
    const pid_t child = fork();
    if (child == 0) {
        close(STDERR_FILENO);  // whose place the socket must not take
        const bool isServed = scale(service) == 0 && fcntl(STDERR_FILENO, F_GETFD) < 0;
        static_cast<void>(write(done[1], &isServed, 1));
        for (;;) pause();
    }
    bool isServed = false;
    EXPECT_EQ(1, read(done[0], &isServed, 1));
    EXPECT_TRUE(isServed);
    EXPECT_EQ(scale(service), 0);
    handle_->numFds = 2;
    EXPECT_EQ(scale(service), -ETIMEDOUT);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    for (int end : done) close(end);
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
    EXPECT_EQ(takeLines(), Lines{});
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
    const auto expectLines = [&](const std::string& method, const std::string& fallback) {
        const Lines logged = takeLines();
        ASSERT_EQ(logged.size(), 3U);
        EXPECT_EQ(logged[0], method + " failed: unix:" + fake.path + ": the service closed the connection");
        EXPECT_NE(logged[1].find(method + "() failed"), std::string::npos) << logged[1];
        EXPECT_NE(logged[2].find(fallback), std::string::npos) << logged[2];
    };
    expectLines("runCSC", "Error occurs, run SW scaler instead");
    dst = test::wholePicture(to, 96, 64);
    EXPECT_EQ(vantorClient::runGDCGrid(dst, src, {}, hardware::IMAGE_FORMAT_NV12, hardware::GDC_HW), -38);
    EXPECT_EQ(to, from);
    expectLines("runGDC", "Error occurs, run SW scaler (memcpy) instead");
    EXPECT_EQ(vantorClient::runGDCGrid(dst, src, {}, hardware::IMAGE_FORMAT_NV12, hardware::GDC_HW), 0);
    EXPECT_EQ(takeLines(), Lines{});
    unsetenv(kServiceVariable);
    EXPECT_EQ(vantorClient::init(), -38);  // lets go of the service, and finds none
}

}  // namespace
}  // namespace vantor::remote
