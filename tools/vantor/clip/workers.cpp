#include "tools/vantor/clip/workers.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

template <typename Message>
bool sendMessage(int socket, const Message& message) {
    ssize_t sent = 0;
    do {
        sent = send(socket, &message, sizeof message, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == ssize_t{sizeof message};
}

/// False if the other side has closed the connection.
template <typename Message>
bool receiveMessage(int socket, Message& message) {
    ssize_t received = 0;
    do {
        received = recv(socket, &message, sizeof message, 0);
    } while (received < 0 && errno == EINTR);
    return received == ssize_t{sizeof message};
}

std::string describeEnd(int status) {
    if (WIFSIGNALED(status)) {
        return "ended by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) +
               ")";
    }
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

Workers::Workers(size_t count, Work work) : work_(std::move(work)) {
    while (count > 1 && workers_.size() < count) startWorker();
}

Workers::~Workers() {
    for (Worker& worker : workers_) end(worker);
    for (const Worker& worker : workers_) close(worker.socket);
}

void Workers::startWorker() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        throw UserError(std::string("cannot start a worker: ") + std::strerror(errno));
    }
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(kFailed);
        close(ends[0]);
        for (const Worker& worker : workers_) close(worker.socket);
        serve(ends[1]);
    }
    const int error = errno;
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        throw UserError(std::string("cannot start a worker: ") + std::strerror(error));
    }
    workers_.push_back({process, ends[0]});
}

void Workers::serve(int socket) const {
    size_t piece = 0;
    while (receiveMessage(socket, piece) && sendMessage(socket, work_(piece))) continue;
    _exit(kDone);
}

void Workers::start(size_t piece) {
    if (workers_.empty()) {
        own_ = work_(piece);
    } else if (!sendMessage(workerOf(piece).socket, piece)) {
        failOf(piece);
    }
}

WorkerMessage Workers::wait(size_t piece) {
    WorkerMessage outcome = own_;
    if (!workers_.empty() && !receiveMessage(workerOf(piece).socket, outcome)) failOf(piece);
    if (outcome.isFailure) throw UserError(outcome.text);
    return outcome;
}

int Workers::end(Worker& worker) {
    int status = 0;
    if (worker.process == 0) return status;
    kill(worker.process, SIGKILL);  // which leaves the status of one that has ended
    waitpid(std::exchange(worker.process, 0), &status, 0);
    return status;
}

void Workers::failOf(size_t piece) {
    Worker& worker = workers_[piece % workers_.size()];
    const std::string process = std::to_string(worker.process);
    throw UserError("worker process " + process + " " + describeEnd(end(worker)));
}

}  // namespace vantor::tool
