#include "service/shell_command.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/linux/packet_channel.h"
#include "service/owned_descriptor.h"

extern char** environ;

namespace vantor {
namespace {

using remote::Deadline;

void check(int error, const char* call) {
    if (error != 0) throw std::system_error(error, std::generic_category(), call);
}

/// Writing to a pipe without a reader fails with EPIPE and sends this thread no signal while this exists.
class NoPipeSignal {
public:
    NoPipeSignal() {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    ~NoPipeSignal() {
        constexpr timespec kNow{};
        if (sigismember(&before_, SIGPIPE) == 0) sigtimedwait(&signal_, nullptr, &kNow);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

private:
    sigset_t signal_;
    sigset_t before_;
};

struct Pipe {
    Pipe() {
        int ends[2];
        check(pipe2(ends, O_CLOEXEC) == 0 ? 0 : errno, "pipe2");
        read = OwnedDescriptor(ends[0]);
        write = OwnedDescriptor(ends[1]);
    }
    OwnedDescriptor read;
    OwnedDescriptor write;
};

OwnedDescriptor nonBlocking(OwnedDescriptor&& descriptor) {
    fcntl(descriptor.get(), F_SETFL, fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
    return std::move(descriptor);
}

void close(OwnedDescriptor& descriptor) {
    descriptor = OwnedDescriptor();
}

/// How a shell is started: as the leader of a process group, with the signals of a fresh process.
class SpawnRules {
public:
    SpawnRules(int in, int out, int error) {
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~SpawnRules() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
    }
    SpawnRules(const SpawnRules&) = delete;
    SpawnRules& operator=(const SpawnRules&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

/// One run of a command.
class Run {
public:
    explicit Run(const ShellCommand& command)
        : command_(command), deadline_(Deadline::clock::now() + command.timeout) {
        Pipe in, out, error;
        const SpawnRules rules(in.read.get(), out.write.get(), error.write.get());
        const char* const words[] = {"sh", "-c", command.text.c_str(), nullptr};
        check(posix_spawn(&process_, "/bin/sh", &rules.actions, &rules.attributes,
                          const_cast<char* const*>(words), environ),
              "posix_spawn /bin/sh");
        in_ = nonBlocking(std::move(in.write));
        out_ = nonBlocking(std::move(out.read));
        error_ = nonBlocking(std::move(error.read));
    }
    ~Run() {
        kill(-process_, SIGKILL);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) continue;
        readError();
        if (!line_.empty()) logLine();
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void exchange(const std::vector<uint8_t>& input, std::vector<uint8_t>& output) {
        const NoPipeSignal noSignal;
        size_t sent = 0;
        size_t received = 0;
        while (out_.get() >= 0) {
            wait(out_.get(), in_.get());
            send(input, sent);
            receive(output, received);
            readError();
        }
        close(in_);
        while (!hasExited()) {
            constexpr int kMillisecondsBetweenLooks = 2;
            wait(-1, -1, kMillisecondsBetweenLooks);
            readError();
        }
        checkStatus();
        if (received < output.size())
            fail("wrote " + std::to_string(received) + " of " + std::to_string(output.size()) + " bytes");
        if (sent < input.size()) fail("did not read its " + std::to_string(input.size()) + " bytes of input");
    }

private:
    [[noreturn]] void fail(const std::string& what) const { throw std::runtime_error("the command " + what); }

    /// Until something can be read or written, or for some milliseconds.
    void wait(int out, int in, int milliseconds = INT32_MAX) {
        const int left = remote::millisecondsUntil(deadline_);
        if (left == 0) {
            fail("took longer than " + std::to_string(command_.timeout.count()) + " ms");
        }
        pollfd waiting[] = {{out, POLLIN, 0}, {in, POLLOUT, 0}, {error_.get(), POLLIN, 0}};
        poll(waiting, std::size(waiting), std::min(left, milliseconds));
    }

    void send(const std::vector<uint8_t>& input, size_t& sent) {
        if (in_.get() < 0) return;
        const ssize_t done = ::write(in_.get(), input.data() + sent, input.size() - sent);
        if (done > 0) sent += static_cast<size_t>(done);
        if ((done < 0 && errno == EPIPE) || sent == input.size()) close(in_);
    }

    void receive(std::vector<uint8_t>& output, size_t& received) {
        uint8_t more;
        const bool isFull = received == output.size();
        const ssize_t done = ::read(out_.get(), isFull ? &more : output.data() + received,
                                    isFull ? 1 : output.size() - received);
        if (done > 0 && isFull) fail("wrote more than " + std::to_string(output.size()) + " bytes");
        if (done > 0) received += static_cast<size_t>(done);
        if (done == 0) close(out_);
    }

    /// Reads what a pipe holds, once, as there may be no end to it, and hands on whole lines.
    void readError() {
        constexpr size_t kMaxLine = 400;
        constexpr size_t kPipe = 65536;
        if (error_.get() < 0) return;
        char bytes[kPipe];
        const ssize_t count = ::read(error_.get(), bytes, sizeof bytes);
        if (count == 0) close(error_);
        for (const char c : std::string_view(bytes, static_cast<size_t>(std::max<ssize_t>(count, 0)))) {
            if (c != '\n') line_ += c;
            if (c == '\n' || line_.size() == kMaxLine) logLine();
        }
    }

    void logLine() {
        constexpr int kMaxLines = 1000;
        if (lines_ < kMaxLines) command_.log(line_);
        if (lines_ == kMaxLines) command_.log("(more than " + std::to_string(kMaxLines) + " lines)");
        ++lines_;
        line_.clear();
    }

    /// It stays a zombie, so that no other process can get its number.
    bool hasExited() const {
        siginfo_t state{};
        if (waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) != 0) {
            check(errno, "waitid");
        }
        return state.si_pid == process_;
    }

    void checkStatus() const {
        siginfo_t state{};
        waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOWAIT);
        if (state.si_code != CLD_EXITED) fail("was ended by signal " + std::to_string(state.si_status));
        if (state.si_status != 0) fail("exited with status " + std::to_string(state.si_status));
    }

    const ShellCommand& command_;
    Deadline deadline_;
    pid_t process_ = 0;
    OwnedDescriptor in_;
    OwnedDescriptor out_;
    OwnedDescriptor error_;
    std::string line_;   ///< of its standard error, as far as it was read
    int64_t lines_ = 0;  ///< before that
};

}  // namespace

void ShellCommand::run(const std::vector<uint8_t>& input, std::vector<uint8_t>& output) const {
    Run(*this).exchange(input, output);
}

}  // namespace vantor
