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

#include "tools/vantor/io/error.h"
#include "tools/vantor/io/pipe.h"

namespace vantor::tool {
namespace {

namespace fs = std::filesystem;

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

/// Where a path leads in the end, so that a link stays and its goal is replaced, or made.
fs::path throughLinks(fs::path path) {
    constexpr int kMostLinks = 40;
    std::error_code ignored;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, ignored)); ++i) {
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path;
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

OutputFile::OutputFile(const std::string& path) : name_(path == "-" ? "standard output" : path), goal_(path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (path != "-" && fs::is_directory(status)) throw UserError(path + ": cannot write: is a directory");
    if (path == "-" || (fs::exists(status) && !fs::is_regular_file(status))) {
        openDirectly();
    } else {
        openTemporary();
    }
}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!temporary_.empty()) unlink(temporary_.c_str());  // which is there unless it was renamed
    OutputFile** at = &first_;
    while (*at && *at != this) at = &(*at)->next_;
    if (*at) *at = next_;
}

void OutputFile::fail() const {
    throw UserError(name_ + ": cannot write: " + std::strerror(errno));
}

void OutputFile::openDirectly() {
    descriptor_ =
        goal_ == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0) : open(goal_.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail();
    if (isatty(descriptor_)) throw UserError(name_ + ": expected a file or a pipe, not a terminal");
    std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is an error like any other
    enlargePipe(descriptor_);
}

void OutputFile::openTemporary() {
    goal_ = throughLinks(goal_);
    std::string name = fs::path(goal_).parent_path() / ".vantor-XXXXXX";
    descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0) fail();
    temporary_ = name;
    next_ = std::exchange(first_, this);
    for (int signal : kEndingSignals) {
        if (std::signal(signal, removeAllAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

/// A signal handler: calls nothing but what is safe there.
void OutputFile::removeAllAndEnd(int signal) {
    for (const OutputFile* file = first_; file; file = file->next_) unlink(file->temporary_.c_str());
    std::signal(signal, SIG_DFL);
    raise(signal);
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
    const bool isTemporary = !temporary_.empty();
    if (isTemporary && fchmod(descriptor_, rights()) != 0) fail();
    if (close(std::exchange(descriptor_, -1)) != 0) fail();
    if (isTemporary && std::rename(temporary_.c_str(), goal_.c_str()) != 0) fail();
}

/// Those of the file that is replaced, or of a new one.
mode_t OutputFile::rights() const {
    struct stat old {};
    if (stat(goal_.c_str(), &old) == 0) return old.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

void writeWhole(const std::string& path, const std::vector<uint8_t>& bytes) {
    OutputFile file(path);
    file.write(bytes.data(), bytes.size());
    file.finish();
}

}  // namespace vantor::tool
