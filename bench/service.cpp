// vantor-bench-service [REPETITIONS]: times requests of the client to a service in this process and in
// another one against the same work without a service, in turns, and prints the least times and the
// acceptance ratios.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "bench/picture.h"
#include "hardware/vantorClient/connection.h"
#include "hardware/vantorClient/vantor_client.h"
#include "service/model_backend.h"
#include "service/server.h"
#include "service/software_service.h"

namespace vantor::bench {
namespace {

using hardware::vantorClient;
using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;
using Service = ::android::sp<IVantorService>;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "vantor-bench-service: %s failed\n", what);
    std::exit(2);
}

void expect(bool isTrue, const char* what) {
    if (!isTrue) fail(what);
}

/// A service in a process that ends with this one.
class OtherProcess {
public:
    OtherProcess() {
        int ready[2];
        expect(pipe(ready) == 0, "pipe()");
        process_ = fork();
        if (process_ == 0) serve(ready[1]);
        close(ready[1]);
        char byte;
        expect(read(ready[0], &byte, 1) == 1, "starting the service");
        close(ready[0]);
    }
    ~OtherProcess() {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    Service connect() const {
        setenv("VANTOR_SERVICE", ("unix:" + path_).c_str(), 1);
        Service service = IVantorService::getService("default", false);
        expect(service != nullptr, "getService()");
        return service;
    }

private:
    static inline Server* running = nullptr;

    [[noreturn]] void serve(int ready) const {
        ListeningSocket socket(path_, false);
        ServerOptions options;
        options.backend = [] { return std::make_unique<ModelBackend>(); };
        Server server(socket, std::move(options));
        running = &server;
        std::signal(SIGTERM, [](int) { running->stop(); });
        expect(write(ready, "!", 1) == 1, "write()");
        server.run();
        socket.~ListeningSocket();
        _exit(0);
    }

    std::string path_ = "/tmp/vantor-bench-" + std::to_string(getpid()) + ".sock";
    pid_t process_;
};

/// A picture in memory of the client's own, and the same in a shared buffer.
class Buffers {
public:
    explicit Buffers(Size size) : size_(size), bytes_(static_cast<size_t>(size.width * size.height * 3 / 2)) {
        for (size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = static_cast<uint8_t>(i * 2654435761u >> 24);
        descriptor_ = memfd_create("bench", MFD_CLOEXEC);
        const auto written = write(descriptor_, bytes_.data(), bytes_.size());
        expect(written == static_cast<ssize_t>(bytes_.size()), "memfd_create()");
    }

    vantorClient::BufferData copied() { return data(-1); }
    vantorClient::BufferData imported() { return data(descriptor_); }

private:
    vantorClient::BufferData data(int descriptor) {
        return {bytes_.data(),   nullptr,         descriptor, -1, size_.width, size_.height, 0, 0,
                size_.width - 1, size_.height - 1};
    }

    Size size_;
    std::vector<uint8_t> bytes_;
    int descriptor_;
};

struct Timed {
    std::string name;
    Service service;
    std::function<int32_t()> call;
    double least = std::numeric_limits<double>::infinity();
};

/// Descriptors of buffers that the client allocates stay open: here they are closed after each call, all of
/// them above the others, between which no number is free.
constexpr int kOthers = 64;

void occupyLowDescriptors() {
    int last;
    do last = dup(STDERR_FILENO);
    while (last < kOthers);
}

void run(Timed& timed) {
    hardware::vantorService = timed.service;
    const auto start = std::chrono::steady_clock::now();
    const int32_t status = timed.call();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    expect(status == 0, timed.name.c_str());
    timed.least = std::min(timed.least, time.count());
    close_range(kOthers + 1, ~0u, 0);
}

void report(const char* name, double milliseconds, double limit) {
    std::printf("%-56s %8.3f ms  at most %6.3f%s\n", name, milliseconds, limit,
                milliseconds > limit ? "  missed" : "");
}

/// One operation directly, and by each service, copied and imported.
class Case {
public:
    using Call = std::function<int32_t(const vantorClient::BufferData&, const vantorClient::BufferData&)>;

    Case(const std::string& name, Size src, Size dst, const Call& direct, const Call& asked,
         const Service& here, const Service& there)
        : src_(src), dst_(dst) {
        const auto add = [&](const char* how, const Service& service, const Call& call, bool isImported) {
            const auto from = isImported ? src_.imported() : src_.copied();
            const auto to = isImported ? dst_.imported() : dst_.copied();
            timed_.push_back({name + ", " + how, service, [=] { return call(to, from); }});
        };
        add("direct", here, direct, false);
        add("imported, service in this process", here, asked, true);
        add("copied, service in this process", here, asked, false);
        add("imported, service in another process", there, asked, true);
        add("copied, service in another process", there, asked, false);
    }

    void run() {
        for (Timed& timed : timed_) bench::run(timed);
    }
    void print() const {
        for (const Timed& timed : timed_) std::printf("%-56s %8.3f ms\n", timed.name.c_str(), timed.least);
    }
    double direct() const { return timed_[0].least; }
    double imported() const { return timed_[3].least; }
    double copied() const { return timed_[4].least; }

private:
    Buffers src_, dst_;
    std::vector<Timed> timed_;
};

void benchmark(int repetitions) {
    const OtherProcess other;
    const Service there = other.connect();
    const Service here = new SoftwareService;
    expect(vantorClient::init() == 0, "init()");
    const auto software = [](const auto& dst, const auto& src) {
        return vantorClient::runInterpBicubic(dst, src, 1);
    };
    const auto scale = [](const auto& dst, const auto& src) { return vantorClient::runCSC(dst, src, 1); };
    auto grid = std::make_shared<vantorClient::_GDCGrid>();
    for (int k = 0; k < 1089; ++k) grid->dX[k] = 40 * (k % 33 - 16), grid->dY[k] = 40 * (k / 33 - 16);
    const auto warp = [grid](int32_t target) {
        return [grid, target](const auto& dst, const auto& src) {
            return vantorClient::runGDCGrid(dst, src, *grid, 1, target);
        };
    };
    Case large("1920x1080 to 1280x720", {1920, 1080}, {1280, 720}, software, scale, here, there);
    Case small("32x32 to 24x24", {32, 32}, {24, 24}, software, scale, here, there);
    Case warped("warp of 1920x1080", {1920, 1080}, {1920, 1080}, warp(hardware::GDC_C_MODEL),
                warp(hardware::GDC_HW), here, there);
    occupyLowDescriptors();
    for (int i = 0; i < repetitions; ++i) {
        large.run();
        small.run();
        warped.run();
    }
    for (const Case* one : {&large, &small, &warped}) one->print();
    report("1920x1080 to 1280x720, copied", large.copied(), 4.5);
    report("1920x1080 to 1280x720, imported: 2.5 times direct", large.imported(), 2.5 * large.direct());
    report("32x32, copied", small.copied(), 0.3);
    report("warp of 1920x1080, imported: direct and 1.5 ms", warped.imported(), warped.direct() + 1.5);
    report("warp of 1920x1080, copied: direct and 1.5 ms", warped.copied(), warped.direct() + 1.5);
}

}  // namespace
}  // namespace vantor::bench

int main(int argc, char** argv) {
    vantor::bench::benchmark(argc > 1 ? std::atoi(argv[1]) : 100);
}
