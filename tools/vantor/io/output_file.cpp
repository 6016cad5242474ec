#include "tools/vantor/io/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/pipe.h"

namespace vantor::tool {
namespace {

namespace fs = std::filesystem;

/// SIGPIPE comes from standard error, where the reader of a note may have gone.
constexpr int kFatalSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGXCPU};

/// Blocks fatal signals: no temporary file is left between two steps that belong together.
class SignalBlocker {
public:
    SignalBlocker() {
        sigset_t signals;
        sigemptyset(&signals);
        for (int signal : kFatalSignals) sigaddset(&signals, signal);
        sigprocmask(SIG_BLOCK, &signals, &before_);
    }
    ~SignalBlocker() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalBlocker(const SignalBlocker&) = delete;
    SignalBlocker& operator=(const SignalBlocker&) = delete;

private:
    sigset_t before_;
};

/// A signal handler: calls async-signal-safe functions only.
void removeAllAndReraise(int signal) {
    OutputFile::removeAll();
    std::signal(signal, SIG_DFL);
    raise(signal);
}

/// Where a path leads in the end, so that a link stays and its target is replaced, or created.
fs::path throughLinks(fs::path path) {
    constexpr int kMaxLinks = 40;
    std::error_code ignored;
    for (int i = 0; i < kMaxLinks && fs::is_symlink(fs::symlink_status(path, ignored)); ++i) {
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path;
}

/// Devices and pipes may be written to twice.
bool isSameFile(const std::string& a, const std::string& b) {
    if (a == "-" || b == "-") return a == b;
    std::error_code ignored;
    if (fs::exists(a, ignored) && !fs::is_regular_file(a, ignored)) return false;
    const auto whole = [&](const std::string& path) {
        return fs::weakly_canonical(fs::absolute(path, ignored), ignored);
    };
    return fs::equivalent(a, b, ignored) || whole(a) == whole(b);
}

std::string directoryOf(const std::string& path) {
    const fs::path directory = fs::path(path).parent_path();
    return directory.empty() ? "." : directory.string();
}

/// The path by which an open file without a name can be linked to.
std::string linkOf(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

/// Takes `done` bytes off the front of both parts.
void advance(iovec (&parts)[2], size_t done) {
    for (iovec& part : parts) {
        const size_t taken = std::min(done, part.iov_len);
        part.iov_base = static_cast<char*>(part.iov_base) + taken;
        part.iov_len -= taken;
        done -= taken;
    }
}

}  // namespace

OutputFile* OutputFile::first_ = nullptr;

OutputFile::OutputFile(const std::string& path)
    : name_(path == "-" ? "standard output" : path), target_(path) {
    struct stat old {};
    const bool exists = path != "-" && stat(path.c_str(), &old) == 0;
    if (path != "-" && !exists && errno != ENOENT) fail();
    if (exists && S_ISDIR(old.st_mode)) throw UserError(path + ": cannot write: is a directory");
    if (path == "-" || (exists && !S_ISREG(old.st_mode))) {
        openDirectly();
    } else {
        openTemporary();
    }
}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());
    OutputFile** at = &first_;
    while (*at && *at != this) at = &(*at)->next_;
    if (*at) *at = next_;
}

void OutputFile::fail() const {
    throw UserError(name_ + ": cannot write: " + std::strerror(errno));
}

void OutputFile::openDirectly() {
    isDirect_ = true;
    descriptor_ = target_ == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                 : open(target_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail();
    if (isatty(descriptor_)) throw UserError(name_ + ": expected a file or a pipe, not a terminal");
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error like any other
    enlargePipe(descriptor_);
}

void OutputFile::openTemporary() {
    target_ = throughLinks(target_);
    if (access(target_.c_str(), W_OK) != 0 && errno != ENOENT) fail();  // renaming would not check
    const std::string directory = directoryOf(target_);
    descriptor_ = open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
    if (descriptor_ >= 0 && access(linkOf(descriptor_).c_str(), F_OK) == 0) return;
    if (descriptor_ >= 0) close(descriptor_);
    openNamed(directory);
}

void OutputFile::openNamed(const std::string& directory) {
    std::string name = directory + "/.vantor-XXXXXX";
    const SignalBlocker blocker;
    descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0) fail();
    temporary_ = std::move(name);
    next_ = std::exchange(first_, this);
    for (int signal : kFatalSignals) {
        struct sigaction current {};
        sigaction(signal, nullptr, &current);
        if (current.sa_handler == SIG_DFL)
            std::signal(signal, removeAllAndReraise);  // others end the tool in order
    }
}

void OutputFile::removeAll() {
    for (const OutputFile* file = first_; file; file = file->next_) unlink(file->temporary_.c_str());
}

void OutputFile::write(const std::string& head, const uint8_t* bytes, size_t count) {
    iovec parts[] = {{const_cast<char*>(head.data()), head.size()}, {const_cast<uint8_t*>(bytes), count}};
    while (parts[0].iov_len + parts[1].iov_len > 0) {
        const ssize_t done = writev(descriptor_, parts, 2);
        if (done < 0 && errno != EINTR) fail();
        if (done > 0) advance(parts, static_cast<size_t>(done));
    }
}

void OutputFile::finish() {
    if (!isDirect_ && fchmod(descriptor_, permissions()) != 0) fail();
    const SignalBlocker blocker;
    if (!isDirect_ && temporary_.empty()) linkTemporary();
    if (close(std::exchange(descriptor_, -1)) != 0) fail();
    if (!isDirect_ && std::rename(temporary_.c_str(), target_.c_str()) != 0) fail();
    temporary_.clear();
}

/// linkat() cannot replace a file; rename() can, but needs a name.
void OutputFile::linkTemporary() {
    const std::string link = linkOf(descriptor_);
    const std::string start = directoryOf(target_) + "/.vantor-" + std::to_string(getpid()) + "-";
    for (int i = 0; temporary_.empty(); ++i) {
        std::string name = start + std::to_string(i);
        if (linkat(AT_FDCWD, link.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            temporary_ = std::move(name);
        } else if (errno != EEXIST) {
            fail();
        }
    }
}

/// Those of the file that is replaced, if it is the caller's own, or of a new one. Setuid and setgid were
/// meant for the old content.
mode_t OutputFile::permissions() const {
    struct stat old {};
    if (stat(target_.c_str(), &old) == 0 && old.st_uid == geteuid()) return old.st_mode & 0777;
    const mode_t mask = umask(0);  // of the whole process: one thread finishes files
    umask(mask);
    return 0666 & ~mask;
}

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    OutputFile file(path);
    file.write(bytes.data(), bytes.size());
    file.finish();
}

void writeFile(const std::string& path, const std::string& text) {
    OutputFile file(path);
    file.write(text, nullptr, 0);
    file.finish();
}

void makeDirectory(const std::string& name, const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) throw UserError(name + ": cannot make the directory: " + error.message());
}

void expectOtherFile(const std::string& option, const std::string& path,
                     const std::vector<std::string>& others, const std::string& hint) {
    for (const std::string& other : others) {
        if (!path.empty() && !other.empty() && isSameFile(path, other)) {
            throw UserError(option + " " + path + ": expected another file than " +
                            (other == "-" ? "standard output, which another output takes" : other) + hint);
        }
    }
}

}  // namespace vantor::tool
