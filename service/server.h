// The service for clients in other processes: docs/service.md describes it as they see it.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/packet_channel.h"
#include "service/call.h"
#include "service/descriptor_closer.h"
#include "service/listening_socket.h"

namespace vantor {

/// One request as it was answered.
struct ServedRequest {
    int client;  ///< its process
    const char* method;
    ImageGeometry dst;
    ImageGeometry src;
    int32_t status;
    const char* text;  ///< as of Answer
    double milliseconds;
    bool isDelivered;  ///< the client got the reply
};

struct ServerOptions {
    BackendMaker backend;
    std::string backendName;
    int engines = 1;                                  ///< requests that are computed at once
    bool isForGroup = false;                          ///< users of this process's group are served, too
    std::function<void(const ServedRequest&)> said;   ///< called after each request, by one thread at a time
    std::function<void(const std::string&)> refused;  ///< of connections: the same
    std::shared_ptr<FaultScript> faults;              ///< null: none
};

/// Serves at most kMaxConnections clients at a time; others wait until one goes, or until one that asks for
/// nothing is let go. One thread waits for all of them, and as many as there are engines compute. What
/// clients send is copied and checked; a client that sends anything else than requests is disconnected.
class Server {
public:
    static constexpr size_t kMaxConnections = 64;
    static constexpr int kMaxEngines = 64;

    /// Makes the engines' back ends. Throws what these throw.
    Server(ListeningSocket& socket, ServerOptions options);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves until stop(). Requests that are computed then are answered. Throws a Refusal where waiting is
    /// not possible.
    void run();

    /// Async-signal-safe.
    void stop() noexcept;

private:
    using Time = remote::Deadline;

    struct Connection {
        OwnedDescriptor socket;
        int client;  ///< its process
        Time since;  ///< the last change of state
        enum class State { New, Idle, Busy } state = State::New;
        remote::Packet packet{};  ///< the request while Busy
    };
    void serveAll();
    /// Whether a connection has not begun in time.
    static bool isLate(const Connection& connection, Time now);
    /// Whether a connection may be closed for another.
    static bool canGo(const Connection& connection, Time now);
    bool hasRoom(Time now) const;
    /// Milliseconds until one of these may change; negative: none will.
    int waitingTime(Time now) const;
    void accept();
    /// Takes the next packet of a connection, and returns whether it goes on.
    bool receive(Connection& connection);
    bool welcome(Connection& connection);
    bool enqueue(Connection& connection);
    void takeBackAnswered();

    void work(Seat& seat);
    /// Whether the client still waits; a request that is delayed to order does not outlast the service.
    bool isWanted(const Connection& connection, const Faults& faults);
    /// Sends the reply, or what its fault makes of it, and returns whether anything could be sent.
    bool reply(const Connection& connection, uint32_t sequence, const Answer& answer, ReplyFault fault);
    /// Answers the request of a connection, and returns whether it goes on.
    bool serve(Connection& connection, Seat& seat);

    ListeningSocket& socket_;
    ServerOptions options_;
    OwnedDescriptor stopping_;  ///< an event each
    OwnedDescriptor answered_;
    DescriptorCloser closer_;
    std::vector<Seat> seats_;
    std::list<Connection> connections_;  ///< of the waiting thread, but for what is Busy

    std::mutex mutex_;
    std::condition_variable hasWork_;
    bool isEnding_ = false;
    std::deque<Connection*> queue_;
    struct Answered {
        Connection* connection;
        bool goesOn;
    };
    std::vector<Answered> done_;
    std::mutex saying_;
};

}  // namespace vantor
