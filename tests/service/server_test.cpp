// The service in another process: what the one in this process does, whatever its clients send, and whenever it dies.
#include "service/server.h"

#include <android/log.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <hidl/HidlSupport.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <atomic>
#include <filesystem>

#include "service/model_backend.h"
#include "service/software_service.h"
#include "tests/support.h"

namespace {
std::vector<std::string> lines;    // logged
std::atomic<int> stepsToLive{-1};  // calls of the functions below before the process is killed; negative: it lives

void step() {
    if (stepsToLive >= 0 && stepsToLive-- == 0) raise(SIGKILL);
}
template <typename Call>
Call* next(const char* name) {
    return reinterpret_cast<Call*>(dlsym(RTLD_NEXT, name));
}
}  // namespace

extern "C" {
/// Clients whose requests fail keep their handles, as they must.
const char* __lsan_default_suppressions() { return "leak:native_handle_create"; }
int __android_log_print(int priority, const char*, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (priority >= ANDROID_LOG_ERROR) lines.push_back(text);
    return 1;
}
ssize_t pread(int fd, void* bytes, size_t count, off_t place) {
    step();
    return next<ssize_t(int, void*, size_t, off_t)>("pread")(fd, bytes, count, place);
}
ssize_t pwrite(int fd, const void* bytes, size_t count, off_t place) {
    step();
    return next<ssize_t(int, const void*, size_t, off_t)>("pwrite")(fd, bytes, count, place);
}
ssize_t recvmsg(int fd, msghdr* message, int flags) {
    step();
    return next<ssize_t(int, msghdr*, int)>("recvmsg")(fd, message, flags);
}
ssize_t sendmsg(int fd, const msghdr* message, int flags) {
    step();
    return next<ssize_t(int, const msghdr*, int)>("sendmsg")(fd, message, flags);
}
}

namespace vantor::test {
namespace {

using hardware::vantorClient;
using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;
using Geometry = SoftwareService::Geometry;

/// Forks a child that ends with this process.
pid_t forked() {
    const pid_t process = fork();
    if (process == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
    return process;
}

/// Another process that serves until the end of this object.
class Service {
public:
    explicit Service(int steps = -1, const std::string& fault = {})
        : path_("/tmp/vantor-server-test-" + std::to_string(getpid())) {
        int ready[2];
        EXPECT_EQ(0, pipe(ready));
        process_ = forked();
        if (process_ == 0) serve(steps, fault, ready[1]);
        close(ready[1]);
        char byte;
        EXPECT_EQ(1, read(ready[0], &byte, 1));
        close(ready[0]);
        setenv("VANTOR_SERVICE", ("unix:" + path_).c_str(), 1);
    }
    ~Service() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    /// How many descriptors it has, and pages of memory.
    std::pair<size_t, long> footprint() const { return footprint(process_); }
    static std::pair<size_t, long> footprint(pid_t process) {
        const std::string directory = "/proc/" + std::to_string(process);
        long all = 0, resident = 0;
        std::ifstream(directory + "/statm") >> all >> resident;
#ifdef VANTOR_SANITIZED
        resident = 0;  // sanitizers keep freed memory
#endif
        return {count((directory + "/fd").c_str()), resident};
    }
    const std::string& path() const { return path_; }

private:
    static size_t count(const char* directory) {
        size_t entries = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(directory)) ++entries;
        return entries;
    }
    [[noreturn]] void serve(int steps, const std::string& fault, int ready) const {
        ListeningSocket socket(path_, false);
        ServerOptions options;
        options.backend = [] { return std::make_unique<ModelBackend>(); };
        options.engines = 2;
        options.faults = std::make_shared<FaultScript>();
        options.faults->add("test", fault);
        Server server(socket, std::move(options));
        EXPECT_EQ(1, write(ready, "!", 1));
        stepsToLive = steps;
        server.run();
        _exit(0);
    }

    std::string path_;
    pid_t process_;
};

/// A memory file, which others may read and write.
struct Memory {
    explicit Memory(const std::vector<uint8_t>& content) : size(content.size()), fd(memfd_create("test", MFD_CLOEXEC)) {
        EXPECT_EQ(static_cast<ssize_t>(size), write(fd, content.data(), size));
    }
    ~Memory() { close(fd); }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;
    std::vector<uint8_t> bytes() const {
        std::vector<uint8_t> content(size);
        EXPECT_EQ(static_cast<ssize_t>(size), pread(fd, content.data(), size, 0));
        return content;
    }
    /// Until the end of the process.
    uint8_t* map() const {
        return static_cast<uint8_t*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    }
    size_t size;
    int fd;
};

/// A picture's geometry, which the service takes or, one time in eight, most often does not.
Geometry anyGeometry(Random& random, int width, int height) {
    const auto span = [&](int side) {
        const int first = 2 * random.between(0, side / 2 - 2);
        return std::make_pair(first, first + 2 * random.between(2, (side - first) / 2) - 1);
    };
    const auto [left, right] = span(width);
    const auto [top, bottom] = span(height);
    Geometry geometry{width, height, left, top, right, bottom};
    if (random.between(0, 7) == 0) (&geometry.width)[random.between(0, 5)] += random.between(-9, 9);
    return geometry;
}

/// What a request does to a buffer, and how it ends.
struct Outcome {
    int32_t status;
    std::vector<std::string> log;
    std::vector<uint8_t> dst;

    bool operator==(const Outcome& other) const {
        return status == other.status && log == other.log && dst == other.dst;
    }
};

Outcome run(IVantorService& service, const Geometry& to, const Geometry& from, const std::vector<uint8_t>& content,
            const SoftwareService::GdcGrid* grid) {
    Memory src(content), dst(std::vector<uint8_t>(content.size(), 9));
    native_handle_t* const handles[] = {native_handle_create(1, 0), native_handle_create(1, 0)};
    handles[0]->data[0] = dst.fd;
    handles[1]->data[0] = src.fd;
    lines.clear();
    const int32_t status = grid ? service.runGDC(to, handles[0], from, handles[1], *grid, nullptr)
                                : service.runCSC(to, handles[0], from, handles[1], nullptr);
    for (native_handle_t* handle : handles) native_handle_delete(handle);
    return {status, lines, dst.bytes()};
}

int rounds(int usual) {
    const char* const requests = std::getenv("VANTOR_REQUESTS");
    return requests ? std::atoi(requests) : usual;
}

TEST(Server, DoesWhatTheServiceInTheProcessDoes) {
    const Service other;
    const auto remote = IVantorService::getService("default", false);
    ASSERT_NE(nullptr, remote.get());
    SoftwareService local;
    Random random(seed());
    std::pair<size_t, long> before, mine;
    int refused = 0;
    for (int i = 0, count = rounds(200); i < count; ++i) {
        const int width = 2 * random.between(2, 120), height = 2 * random.between(2, 60);
        const bool isWarp = random.between(0, 1) == 1;
        const Geometry src = anyGeometry(random, width, height);
        const Geometry dst = isWarp ? anyGeometry(random, width, height)
                                    : anyGeometry(random, 2 * random.between(2, 120), 2 * random.between(2, 60));
        SoftwareService::GdcGrid grid;
        for (int32_t* node : {&grid.dX[0][0], &grid.dY[0][0]})
            for (int k = 0; k < 1089; ++k) node[k] = random.between(-90000, 90000);
        const auto content = random.content(240 * 120 * 3 / 2);
        const Outcome expected = run(local, dst, src, content, isWarp ? &grid : nullptr);
        ASSERT_TRUE(run(*remote, dst, src, content, isWarp ? &grid : nullptr) == expected) << seed() << " " << i;
        refused += expected.status != 0;
        if (i == count / 2) before = other.footprint(), mine = Service::footprint(getpid());
    }
    EXPECT_EQ(mine.first, Service::footprint(getpid()).first) << "descriptors of the client";
    EXPECT_LT(Service::footprint(getpid()).second, mine.second + 100) << "pages of the client";
    EXPECT_TRUE(refused > 0 && refused < rounds(200) / 2);
    EXPECT_EQ(before.first, other.footprint().first) << "descriptors";
    EXPECT_LT(other.footprint().second, before.second + 100) << "pages";
}

TEST(Server, MayDieAtAnyStepOfARequest) {
    std::vector<uint8_t> from, to, expected;
    vantorClient::BufferData src = wholePicture(from, 256, 140), dst = wholePicture(to, 192, 96);
    Random random(seed());
    from = random.content(from.size());
    src.y = from.data();
    expected.resize(to.size());
    ASSERT_EQ(0, vantorClient::runInterpBicubic({expected.data(), nullptr, -1, -1, 192, 96, 0, 0, 191, 95}, src, 1));
    int failed = 0, steps = 0;
    bool isConnected = false;
    for (int32_t status = -38; status != 0; ++steps) {
        Memory shared(from);
        vantorClient::BufferData given = src;
        given.fdY = shared.fd;
        given.cropRight -= 2;  // row by row
        {
            const Service dying(steps);
            if (const int32_t connected = isConnected ? 0 : vantorClient::init(); connected != 0) {
                vantorClient::deinit();
                continue;
            }
            isConnected = true;
            std::fill(to.begin(), to.end(), uint8_t{9});
            status = vantorClient::runCSC(dst, given, 1);
            failed += status != 0;
            ASSERT_TRUE(status == 0 || (status == -38 && to == expected)) << steps;
        }
        const Service next;
        ASSERT_EQ(0, vantorClient::runCSC(dst, src, 1)) << steps;
        ASSERT_EQ(expected, to) << steps;
    }
    EXPECT_GT(failed, 200);
}

using Row = std::vector<std::string>;

/// The rows of the table of faults.
std::vector<Row> documentedFaults() {
    std::vector<Row> rows;
    std::ifstream page(VANTOR_DOCS "/hardware.md");
    bool isTable = false;
    for (std::string line; std::getline(page, line);) {
        isTable = line.rfind("| fault ", 0) == 0 || (isTable && !line.empty());
        if (!isTable || line.rfind("| `", 0) != 0) continue;
        std::istringstream cells(line.substr(2));
        Row row;
        for (std::string cell; std::getline(cells, cell, '|');) {
            cell = cell.substr(cell.find_first_not_of(" `"));
            row.push_back(cell.substr(0, cell.find_last_not_of(" `") + 1));
        }
        rows.push_back(row);
    }
    return rows;
}

/// What a cell says of the destination's bytes.
std::vector<uint8_t> documentedBytes(const std::string& cell, const std::vector<uint8_t>& result,
                                     const std::vector<uint8_t>& fallback) {
    const std::vector<uint8_t> before(result.size(), 9);
    const auto rows = [&](const std::vector<uint8_t>& from, int first, int last, std::vector<uint8_t> to) {
        for (int y = 0; y < 64 * 3 / 2; ++y) {  // luma, then chroma, of 96x64
            const int luma = y < 64 ? y : (y - 64) * 2;
            if (luma >= first && luma < last) std::copy_n(from.begin() + y * 96, 96, to.begin() + y * 96);
        }
        return to;
    };
    std::vector<uint8_t> inverted = result;
    for (uint8_t& sample : inverted) sample = static_cast<uint8_t>(~sample);
    const std::map<std::string, std::vector<uint8_t>> meaning{
        {"the result", result},
        {"the fallback", fallback},
        {"as it was", before},
        {"half of the result", rows(result, 0, 32, before)},
        {"half of the result, later all of it", result},
        {"the fallback, later with the second half of the result", rows(result, 32, 64, fallback)},
        {"the result but for these rows", rows(inverted, 8, 16, result)}};
    return meaning.at(cell);
}

TEST(Server, FailsAsTheTableOfFaultsSays) {
    setenv("VANTOR_SERVICE_TIMEOUT", "0.5", 1);
    Random random(seed());
    std::vector<uint8_t> result;
    vantorClient::BufferData whole = wholePicture(result, 96, 64);
    const std::vector<uint8_t> source = random.content(result.size());
    vantorClient::_GDCGrid grid{};
    std::fill_n(grid.dX, 1089, 99999);
    vantorClient::BufferData own = whole;
    std::vector<uint8_t> copy = source;
    own.y = copy.data();
    ASSERT_EQ(0, vantorClient::runGDCGrid(whole, own, grid, 1, hardware::GDC_C_MODEL));
    const auto warp = [&](Memory& to, bool hasAddresses) {
        Memory from(source);
        vantorClient::BufferData src = whole, dst = whole;
        src.fdY = from.fd;
        dst.fdY = to.fd;
        src.y = hasAddresses ? copy.data() : nullptr;
        dst.y = hasAddresses ? to.map() : nullptr;
        return vantorClient::runGDCGrid(dst, src, grid, 1, hardware::GDC_HW);
    };
    const std::vector<Row> faults = documentedFaults();
    EXPECT_GT(faults.size(), 20u);
    for (const Row& row : faults) {
        SCOPED_TRACE(row[0]);
        for (const bool hasAddresses : {true, false}) {
            auto service = std::make_unique<Service>(-1, "warp 1: " + row[0]);
            ASSERT_EQ(0, vantorClient::init());
            Memory to(std::vector<uint8_t>(source.size(), 9));
            lines.clear();
            EXPECT_EQ(std::stoi(row[1]), warp(to, hasAddresses));
            const std::string& text = row[2];
            const size_t more = text.find("...");
            const std::string line = lines.empty() ? "none" : lines[0];
            EXPECT_EQ(0, line.compare(0, more, text, 0, more)) << line;
            const std::string end = more == std::string::npos ? "" : text.substr(more + 3);
            EXPECT_TRUE(line.size() >= end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0)
                << line;
            if (row[0].rfind("die", 0) == 0) {
                service.reset();
                service = std::make_unique<Service>();
            }
            Memory other(source);
            EXPECT_EQ(0, warp(other, false)) << "the next request";
            EXPECT_EQ(result, other.bytes());
            const auto expected = documentedBytes(row[hasAddresses ? 3 : 4], result, source);
            for (int i = 0; i < 100 && to.bytes() != expected; ++i) usleep(20000);
            EXPECT_EQ(expected, to.bytes());
            vantorClient::deinit();
        }
    }
    unsetenv("VANTOR_SERVICE_TIMEOUT");
}

/// More than fit a packet; the emulator opens those as well, and forgets them.
#ifdef VANTOR_EMULATED
constexpr int kMostDescriptors = remote::kMaxDescriptors;
#else
constexpr int kMostDescriptors = 6;
#endif

/// A client that keeps to no rules.
class Stranger {
public:
    explicit Stranger(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0)) {
        sockaddr_un address{AF_UNIX, ""};
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return;
        const remote::Hello hello{remote::headerOf<remote::Hello>(0)};
        send(&hello, sizeof hello, {});
    }
    ~Stranger() { close(socket_); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    /// More descriptors than a packet may have, too.
    void send(const void* bytes, size_t size, const std::vector<int>& descriptors) {
        iovec data{const_cast<void*>(bytes), size};
        std::vector<char> control(CMSG_SPACE(descriptors.size() * sizeof(int)));
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        if (!descriptors.empty()) {
            message.msg_control = control.data();
            message.msg_controllen = control.size();
            *CMSG_FIRSTHDR(&message) = {CMSG_LEN(descriptors.size() * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
            std::memcpy(CMSG_DATA(CMSG_FIRSTHDR(&message)), descriptors.data(), descriptors.size() * sizeof(int));
        }
        sendmsg(socket_, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    }

private:
    int socket_;
};

TEST(Server, ServesOthersWhateverOneClientSends) {
    const Service service;
    const auto remote = IVantorService::getService("default", false);
    ASSERT_NE(nullptr, remote.get());
    Random random(seed());
    const auto content = random.content(64 * 48 * 3 / 2);
    const Geometry whole{64, 48, 0, 0, 63, 47}, half{32, 24, 0, 0, 31, 23};
    const Outcome expected = run(*remote, half, whole, content, nullptr);
    ASSERT_EQ(0, expected.status);
    Memory victim(content);
    const pid_t flipping = forked();
    while (flipping == 0) {
        const uint8_t byte = static_cast<uint8_t>(random.between(0, 255));
        [[maybe_unused]] const auto done = pwrite(victim.fd, &byte, 1, random.between(0, 64 * 48 - 1));
    }
    const int foreign[] = {open("/proc/version", O_RDONLY), open("/", O_RDONLY), open("/dev/zero", O_RDWR),
                           eventfd(0, 0), victim.fd};
    std::pair<size_t, long> before;
    for (int round = 0; round < 40; ++round) {
        std::vector<std::unique_ptr<Stranger>> crowd;
        for (int i = 0; i < 100; ++i) {
            Stranger& stranger = *crowd.emplace_back(new Stranger(service.path()));
            remote::WarpRequest warp{
                remote::headerOf<remote::WarpRequest>(7), {64, 48, 0, 0, 63, 47}, {64, 48, 0, 0, 63, 47}, 1, 1, {}, {}};
            auto* const words = reinterpret_cast<uint32_t*>(&warp);
            for (int k = random.between(0, 3); k > 0; --k) words[random.between(0, 17)] ^= 1u << random.between(0, 31);
            std::vector<int> descriptors;
            for (int k = random.between(0, kMostDescriptors); k > 0; --k)
                descriptors.push_back(foreign[random.between(0, 4)]);
            if (random.between(0, 2) == 0) descriptors = {victim.fd, victim.fd};
            const bool isWhole = random.between(0, 3) != 0;
            for (int k = 0; k < 3; ++k)
                stranger.send(&warp, isWhole ? sizeof warp : static_cast<size_t>(random.between(0, 8784)), descriptors);
        }
        ASSERT_TRUE(run(*remote, half, whole, content, nullptr) == expected) << seed() << " " << round;
        if (round == 20) before = service.footprint();
    }
    for (int i = 0; i < 50; ++i) usleep(service.footprint().first > before.first ? 20000 : 0);
    EXPECT_LE(service.footprint().first, before.first) << "descriptors";
    EXPECT_LT(service.footprint().second, before.second + 500) << "pages";
    kill(flipping, SIGKILL);
    waitpid(flipping, nullptr, 0);
    EXPECT_TRUE(run(*remote, half, whole, content, nullptr) == expected);
}

}  // namespace
}  // namespace vantor::test
