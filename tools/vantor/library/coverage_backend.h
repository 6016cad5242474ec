// A back end of the service that accounts for what clients' pictures exercise of the arithmetic, while
// another back end answers.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "service/backend.h"
#include "verification/coverage.h"

namespace vantor::tool {

/// The accounts of all engines. A picture takes seconds, more than clients wait: a thread of its own does
/// them.
class CoverageAccounts {
public:
    CoverageAccounts() : thread_([this] { work(); }) {}
    ~CoverageAccounts() { finish(); }
    CoverageAccounts(const CoverageAccounts&) = delete;
    CoverageAccounts& operator=(const CoverageAccounts&) = delete;

    using Entry = std::function<void(verification::Coverage& coverage)>;

    /// Accounts for a request later. Waits while kMaxWaiting others do. Thread-safe.
    void add(Entry entry);

    /// All entries, and the report. There are no others after it.
    std::string finish();

private:
    static constexpr size_t kMaxWaiting = 16;

    void work();

    verification::Coverage coverage_;
    std::mutex mutex_;
    std::condition_variable isChanged_;
    std::deque<Entry> waiting_;
    bool isEnding_ = false;
    std::thread thread_;
};

/// Accounts for what was answered with status 0. Warps of a part of the picture do not count.
class CoverageBackend final : public vantor::Backend {
public:
    CoverageBackend(std::shared_ptr<CoverageAccounts> accounts, std::unique_ptr<vantor::Backend> answer)
        : accounts_(std::move(accounts)), answer_(std::move(answer)) {}

    int32_t scale(const BackendPicture& dst, const BackendPicture& src) override;
    int32_t warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) override;

private:
    std::shared_ptr<CoverageAccounts> accounts_;
    std::unique_ptr<vantor::Backend> answer_;
};

}  // namespace vantor::tool
