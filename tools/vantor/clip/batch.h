// Many files, worked on in parallel.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "tools/vantor/base/json.h"

namespace vantor::tool {

/// One file's part of a batch, which holds what is between its steps.
class BatchJob {
public:
    virtual ~BatchJob() = default;
    /// What takes time, in a worker's thread.
    virtual void work() = 0;
    /// What is left to do, in the thread of the batch, in the order of the files.
    virtual void finish() = 0;
};

struct BatchWork {
    /// Makes the job of a file, in the thread of the batch; none for a file that is skipped.
    std::function<std::unique_ptr<BatchJob>(size_t file)> start;
    /// A file was skipped, in the order of the files.
    std::function<void(size_t file)> skip;
    /// One of the steps failed, in the order of the files. The others go on.
    std::function<void(size_t file, const std::string& reason)> fail;
};

struct BatchTotals {
    size_t done = 0;
    size_t skipped = 0;
    size_t failed = 0;
    double seconds = 0;

    /// Such as "197 done, 2 skipped, 1 failed, in 9.50 s, 21.1 a second".
    std::string text() const;
    nlohmann::ordered_json json() const;
};

/// Of that many files, with so many threads.
size_t batchWorkers(size_t threads, size_t files);

/// Prints why a file failed, with its name, which most reasons begin with.
void printFailure(const std::string& file, const std::string& reason);

/// With so many workers, for each of which two files at most are in flight. Shows progress.
BatchTotals runBatch(size_t files, size_t workers, const BatchWork& work);

}  // namespace vantor::tool
