#include "tools/vantor/io/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/vantor/io/error.h"

namespace vantor::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path) {
    throw UserError(path + ": cannot write: " + std::strerror(errno));
}

/// A new file beside the goal that is removed unless it is renamed to it.
class TemporaryFile {
public:
    explicit TemporaryFile(const fs::path& goal) : goal_(goal), name_(goal.parent_path() / ".vantor-XXXXXX") {
        descriptor_ = mkstemp(name_.data());
        if (descriptor_ < 0) fail(goal_);
    }
    ~TemporaryFile() {
        if (descriptor_ >= 0) close(descriptor_);
        if (!name_.empty()) unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int descriptor() const { return descriptor_; }

    void rename() {
        const bool ready = fchmod(descriptor_, rights()) == 0;
        const bool closed = close(std::exchange(descriptor_, -1)) == 0;
        if (!ready || !closed || std::rename(name_.c_str(), goal_.c_str()) != 0) fail(goal_);
        name_.clear();
    }

private:
    /// Those of the file that is replaced, or of a new one.
    mode_t rights() const {
        struct stat old {};
        if (stat(goal_.c_str(), &old) == 0) return old.st_mode & 07777;
        const mode_t mask = umask(0);
        umask(mask);
        return 0666 & ~mask;
    }

    std::string goal_;
    std::string name_;
    int descriptor_;
};

void writeAll(int descriptor, const std::vector<uint8_t>& bytes, const std::string& path) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR) fail(path);
        if (count > 0) done += static_cast<size_t>(count);
    }
}

void writeDirectly(const std::string& path, const std::vector<uint8_t>& bytes) {
    const int descriptor = open(path.c_str(), O_WRONLY);
    if (descriptor < 0) fail(path);
    try {
        writeAll(descriptor, bytes, path);
    } catch (...) {
        close(descriptor);
        throw;
    }
    if (close(descriptor) != 0) fail(path);
}

/// Where a path leads in the end, so that a link stays and its goal is replaced, or made.
fs::path throughLinks(fs::path path) {
    constexpr int kMostLinks = 40;
    std::error_code ignored;
    for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, ignored)); ++i) {
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path;
}

}  // namespace

void writeWhole(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (fs::is_directory(status)) throw UserError(path + ": cannot write: is a directory");
    if (fs::exists(status) && !fs::is_regular_file(status)) return writeDirectly(path, bytes);
    TemporaryFile file(throughLinks(path));
    writeAll(file.descriptor(), bytes, path);
    file.rename();
}

}  // namespace vantor::tool
