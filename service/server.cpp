#include "service/server.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <thread>

#include "service/peer.h"
#include "service/refusal.h"

namespace vantor {
namespace {

using remote::isClosed;
using Clock = remote::Deadline::clock;

/// How long a client may take from connecting to its Hello.
constexpr auto kHelloTime = std::chrono::seconds(2);
/// After which a connection that asks for nothing may be closed for one that waits. Its client connects
/// again.
constexpr auto kIdleTime = std::chrono::seconds(1);

OwnedDescriptor newEvent() {
    OwnedDescriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (event.get() < 0) throw Refusal{std::string("eventfd: ") + strerror(errno)};
    return event;
}

void raise(const OwnedDescriptor& event) noexcept {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(event.get(), &one, sizeof one);
}

void clear(const OwnedDescriptor& event) {
    uint64_t count;
    [[maybe_unused]] const ssize_t taken = read(event.get(), &count, sizeof count);
}

/// A request out of its packet, whose descriptors it refers to.
struct ReceivedCall {
    Call call{};
    vantor_grid grid;
    uint32_t sequence = 0;

    ReceivedCall() = default;
    ReceivedCall(const ReceivedCall&) = delete;
    ReceivedCall& operator=(const ReceivedCall&) = delete;

    /// Whether the packet is a request with the descriptors that it speaks of.
    bool take(const remote::Packet& packet) {
        if (take<remote::ScaleRequest>(packet)) return true;
        if (!take<remote::WarpRequest>(packet)) return false;
        call.grid = &grid;
        return true;
    }

private:
    static ImageGeometry geometry(const remote::Geometry& g) {
        return {g.width, g.height, g.left, g.top, g.right, g.bottom};
    }

    template <typename Request>
    bool take(const remote::Packet& packet) {
        Request request;
        if (!packet.get(request)) return false;
        const int* const descriptors = packet.descriptors.data();
        const auto count = static_cast<uint32_t>(packet.descriptors.count());
        if (request.dstBuffers > count || request.srcBuffers != count - request.dstBuffers) return false;
        sequence = request.header.sequence;
        call.dstGeometry = geometry(request.dst);
        call.srcGeometry = geometry(request.src);
        call.dstBuffers = {descriptors, static_cast<int>(request.dstBuffers)};
        call.srcBuffers = {descriptors + request.dstBuffers, static_cast<int>(request.srcBuffers)};
        if constexpr (Request::kKind == remote::Kind::Warp) {
            std::memcpy(grid.dx, request.dx, sizeof grid.dx);
            std::memcpy(grid.dy, request.dy, sizeof grid.dy);
        }
        return true;
    }
};

}  // namespace

Server::Server(ListeningSocket& socket, ServerOptions options)
    : socket_(socket), options_(std::move(options)), stopping_(newEvent()), answered_(newEvent()) {
    for (int i = 0; i < options_.engines; ++i) seats_.push_back({options_.backend()});
    done_.reserve(kMaxConnections);
}

void Server::stop() noexcept {
    raise(stopping_);
}

void Server::run() {
    struct Workers {
        Server& server;
        std::vector<std::thread> threads;

        ~Workers() {
            {
                const std::lock_guard<std::mutex> lock(server.mutex_);
                server.isEnding_ = true;
            }
            server.hasWork_.notify_all();
            for (std::thread& thread : threads) thread.join();
        }
    } workers{*this, {}};
    for (Seat& seat : seats_) workers.threads.emplace_back([this, &seat] { work(seat); });
    serveAll();
}

Server::~Server() {
    for (Connection& connection : connections_) closer_.close(connection.packet.descriptors);
}

void Server::serveAll() {
    constexpr size_t kEvents = 3;
    std::vector<pollfd> waiting;
    for (;;) {
        const Time before = Clock::now();
        waiting.assign({{stopping_.get(), POLLIN, 0},
                        {answered_.get(), POLLIN, 0},
                        {hasRoom(before) ? socket_.descriptor() : -1, POLLIN, 0}});
        for (const Connection& connection : connections_) {
            const bool isBusy = connection.state == Connection::State::Busy;
            waiting.push_back({isBusy ? -1 : connection.socket.get(), POLLIN, 0});
        }
        if (poll(waiting.data(), waiting.size(), waitingTime(before)) < 0) {
            if (errno == EINTR) continue;
            throw Refusal{std::string("poll: ") + strerror(errno)};
        }
        if (waiting[0].revents) return;
        const Time now = Clock::now();
        auto ready = waiting.begin() + kEvents;
        for (auto at = connections_.begin(); at != connections_.end(); ++ready) {
            const bool goesOn = ready->revents ? receive(*at) : !isLate(*at, now);
            at = goesOn ? std::next(at) : connections_.erase(at);
        }
        if (waiting[1].revents) takeBackAnswered();
        if (waiting[2].revents) accept();
    }
}

bool Server::isLate(const Connection& connection, Time now) {
    return connection.state == Connection::State::New && now >= connection.since + kHelloTime;
}

bool Server::canGo(const Connection& connection, Time now) {
    return connection.state == Connection::State::Idle && now >= connection.since + kIdleTime;
}

bool Server::hasRoom(Time now) const {
    return connections_.size() < kMaxConnections ||
           std::any_of(connections_.begin(), connections_.end(),
                       [&](const Connection& connection) { return canGo(connection, now); });
}

int Server::waitingTime(Time now) const {
    std::optional<Time> first;
    const auto until = [&](Time time) { first = std::min(first.value_or(time), time); };
    const bool isFull = !hasRoom(now);
    for (const Connection& connection : connections_) {
        if (connection.state == Connection::State::New) until(connection.since + kHelloTime);
        if (connection.state == Connection::State::Idle && isFull) until(connection.since + kIdleTime);
    }
    return first ? remote::millisecondsUntil(*first) : -1;
}

void Server::accept() {
    OwnedDescriptor socket(accept4(socket_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (socket.get() < 0) {
        // Without descriptors or memory it would be ready again at once.
        if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) poll(nullptr, 0, 50);
        return;
    }
    const Peer peer(socket.get());
    if (const std::string why = peer.refusal(options_.isForGroup); !why.empty()) {
        if (options_.refused) options_.refused(why);
        return;
    }
    const Time now = Clock::now();
    if (connections_.size() >= kMaxConnections) {
        const auto longest = std::min_element(
            connections_.begin(), connections_.end(), [&](const Connection& a, const Connection& b) {
                return std::make_pair(!canGo(a, now), a.since) < std::make_pair(!canGo(b, now), b.since);
            });
        connections_.erase(longest);
    }
    Connection& connection = connections_.emplace_back();
    connection.socket = std::move(socket);
    connection.client = peer.process();
    connection.since = now;
}

bool Server::receive(Connection& connection) {
    const int error = remote::receivePacket(connection.socket.get(), connection.packet, Clock::now());
    if (error == ETIMEDOUT) return true;  // nothing there after all
    const bool goesOn = error == 0 && (connection.state == Connection::State::New ? welcome(connection)
                                                                                  : enqueue(connection));
    if (connection.state != Connection::State::Busy) closer_.close(connection.packet.descriptors);
    return goesOn;
}

bool Server::enqueue(Connection& connection) {
    if (ReceivedCall received; !received.take(connection.packet)) return false;
    connection.state = Connection::State::Busy;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back(&connection);
    }
    hasWork_.notify_one();
    return true;
}

bool Server::welcome(Connection& connection) {
    remote::Hello hello;
    if (!connection.packet.get(hello)) {
        remote::Header header;
        if (connection.packet.getHeader(header) && header.version != remote::kVersion) {
            remote::Reply reply{remote::headerOf<remote::Reply>(header.sequence), -EPROTONOSUPPORT, ""};
            std::snprintf(reply.text, sizeof reply.text, "version %u of the protocol, expected %u",
                          header.version, remote::kVersion);
            remote::sendMessage(connection.socket.get(), reply, Clock::now());
        }
        return false;
    }
    remote::Welcome answer{remote::headerOf<remote::Welcome>(hello.header.sequence), "", ""};
    remote::putText(answer.release, vantor_version());
    remote::putText(answer.backend, options_.backendName.c_str());
    connection.state = Connection::State::Idle;
    connection.since = Clock::now();
    return remote::sendMessage(connection.socket.get(), answer, connection.since) == 0;
}

void Server::takeBackAnswered() {
    clear(answered_);
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const Answered& answered : done_) {
        answered.connection->state = Connection::State::Idle;
        answered.connection->since = Clock::now();
        if (answered.goesOn) continue;
        connections_.remove_if(
            [&](const Connection& connection) { return &connection == answered.connection; });
    }
    done_.clear();
}

void Server::work(Seat& seat) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        hasWork_.wait(lock, [&] { return isEnding_ || !queue_.empty(); });
        if (isEnding_) return;
        Connection* const connection = queue_.front();
        queue_.pop_front();
        lock.unlock();
        const bool goesOn = serve(*connection, seat);
        lock.lock();
        done_.push_back({connection, goesOn});
        raise(answered_);
    }
}

bool Server::isWanted(const Connection& connection, const Faults& faults) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return !isClosed(connection.socket.get()) && !(isEnding_ && faults.delay.count() > 0);
}

bool Server::reply(const Connection& connection, uint32_t sequence, const Answer& answer, ReplyFault fault) {
    remote::Reply reply{remote::headerOf<remote::Reply>(sequence), answer.status, ""};
    std::memcpy(reply.text, answer.text, sizeof reply.text);
    const int socket = connection.socket.get();
    if (fault == ReplyFault::None) return remote::sendMessage(socket, reply, Clock::now()) == 0;
    const auto packet = packetOf(reply, fault);
    return packet &&
           remote::sendPacket(socket, packet->data(), packet->size(), nullptr, 0, Clock::now()) == 0;
}

bool Server::serve(Connection& connection, Seat& seat) {
    const Time start = Clock::now();
    ReceivedCall received;
    received.take(connection.packet);
    Call& call = received.call;
    if (options_.faults) call.faults = options_.faults->next(call.grid != nullptr);
    const Answer result = answer(
        call, [&]() -> Seat& { return seat; }, [&] { return isWanted(connection, call.faults); });
    closer_.close(connection.packet.descriptors);
    const bool isDelivered = reply(connection, received.sequence, result, call.faults.reply);
    if (options_.said) {
        const std::chrono::duration<double, std::milli> time = Clock::now() - start;
        const std::lock_guard<std::mutex> lock(saying_);
        options_.said({connection.client, call.method(), call.dstGeometry, call.srcGeometry, result.status,
                       result.text, time.count(), isDelivered});
    }
    return isDelivered;
}

}  // namespace vantor
