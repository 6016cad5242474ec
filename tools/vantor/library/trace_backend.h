// A back end of the service that keeps a record of each request, which another back end answers.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "service/backend.h"
#include "tools/vantor/library/record_file.h"

namespace vantor::tool {

/// A directory with records, each of a request of its own: "request-000001.vrec" and so on.
class TraceDirectory {
public:
    /// Makes the directory if there is none. Counts on from the records that are in it.
    explicit TraceDirectory(const std::string& path);

    /// The next record's file. Thread-safe.
    std::string next();

    /// Thread-safe, as writeRecord() is not.
    void write(const std::string& file, const Record& record);

private:
    std::string fileOf(int number) const;

    std::string path_;
    std::mutex mutex_;
    int last_ = 0;
};

/// Writes a record before the answer too, so that a back end that crashes leaves it.
class TraceBackend final : public vantor::Backend {
public:
    TraceBackend(std::shared_ptr<TraceDirectory> directory, std::string answerName,
                 std::unique_ptr<vantor::Backend> answer)
        : directory_(std::move(directory)), answerName_(std::move(answerName)), answer_(std::move(answer)) {}

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override;
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override;

private:
    template <typename Ask>
    int32_t recorded(const Request& request, const BackendPicture& dst, const BackendPicture& src, Ask&& ask);

    std::shared_ptr<TraceDirectory> directory_;
    std::string answerName_;
    std::unique_ptr<vantor::Backend> answer_;
};

}  // namespace vantor::tool
