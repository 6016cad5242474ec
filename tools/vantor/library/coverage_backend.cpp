#include "tools/vantor/library/coverage_backend.h"

#include <cstring>
#include <utility>
#include <vector>

#include "bindings/c/grid_view.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {
namespace {

/// A picture's region, copied, as the service's memory is the next request's.
class Copy {
public:
    explicit Copy(const BackendPicture& picture) : size_{picture.region.width, picture.region.height} {
        const auto [left, top, width, height] = picture.region;
        const auto take = [this](const uint8_t* from, std::ptrdiff_t stride, int columns, int rows) {
            for (int row = 0; row < rows; ++row, from += stride)
                samples_.insert(samples_.end(), from, from + columns);
        };
        const vantor_image& image = picture.image;
        take(image.plane[0] + top * image.stride[0] + left, image.stride[0], width, height);
        take(image.plane[1] + top / 2 * image.stride[1] + left, image.stride[1], width, height / 2);
    }

    Size size() const { return size_; }
    verification::PictureView view() const {
        return {samples_.data(), size_.width, samples_.data() + size_.pixels(), size_.width, size_};
    }

private:
    Size size_;
    std::vector<uint8_t> samples_;
};

bool isWhole(const BackendPicture& picture) {
    return picture.region.width == picture.image.width && picture.region.height == picture.image.height;
}

}  // namespace

void CoverageAccounts::add(Entry entry) {
    std::unique_lock<std::mutex> lock(mutex_);
    isChanged_.wait(lock, [&] { return waiting_.size() < kMaxWaiting; });
    waiting_.push_back(std::move(entry));
    isChanged_.notify_all();
}

std::string CoverageAccounts::finish() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnding_ = true;
    }
    isChanged_.notify_all();
    if (thread_.joinable()) thread_.join();
    return coverage_.json();
}

void CoverageAccounts::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        isChanged_.wait(lock, [&] { return isEnding_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        const Entry entry = std::move(waiting_.front());
        lock.unlock();
        entry(coverage_);
        lock.lock();
        waiting_.pop_front();  // only now, so that it counts as waiting
        isChanged_.notify_all();
    }
}

int32_t CoverageBackend::scale(const BackendPicture& dst, const BackendPicture& src) {
    const int32_t status = answer_->scale(dst, src);
    if (status != 0) return status;
    const auto copy = std::make_shared<const Copy>(src);
    const Size target{dst.region.width, dst.region.height};
    accounts_->add([copy, target](verification::Coverage& coverage) {
        coverage.scaled(copy->view(), target, "runCSC " + toString(copy->size()) + " to " + toString(target));
    });
    return 0;
}

int32_t CoverageBackend::warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) {
    const int32_t status = answer_->warp(dst, src, grid);
    if (status != 0 || !isWhole(dst)) return status;
    BackendPicture whole = src;
    whole.region = dst.region;
    const auto copy = std::make_shared<const Copy>(whole);
    accounts_->add([copy, nodes = c::gridOf(grid)](verification::Coverage& coverage) {
        coverage.warped(copy->view(), nodes, "runGDC " + toString(copy->size()));
    });
    return 0;
}

}  // namespace vantor::tool
