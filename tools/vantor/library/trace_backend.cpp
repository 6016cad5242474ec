#include "tools/vantor/library/trace_backend.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "bindings/c/grid_view.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/library/build_facts.h"
#include "tools/vantor/library/timed.h"

namespace vantor::tool {
namespace {

namespace fs = std::filesystem;

void copyRegion(const BackendPicture& from, const Planes& to) {
    const vantor_rect& region = from.region;
    for (int plane = 0; plane < 2; ++plane) {
        uint8_t* const rows = plane == 0 ? to.luma : to.chroma;
        for (int y = region.y >> plane; y < (region.y + region.height) >> plane; ++y) {
            const uint8_t* const row = from.image.plane[plane] + y * from.image.stride[plane] + region.x;
            std::copy_n(row, region.width, rows + static_cast<ptrdiff_t>(y) * to.size.width + region.x);
        }
    }
}

/// The region, in a picture of zeros: elsewhere there may be samples of other requests.
RecordedPicture recordedRegion(const BackendPicture& picture) {
    const vantor_rect& region = picture.region;
    Picture copy = makePicture(PixelFormat::Nv12, {picture.image.width, picture.image.height});
    copyRegion(picture, planesOf(copy));
    return recordedPicture(planesOf(copy),
                           {region.x, region.y, region.x + region.width - 1, region.y + region.height - 1});
}

}  // namespace

TraceDirectory::TraceDirectory(const std::string& path) : path_(path) {
    makeDirectory("--record " + path, path);
    while (fs::exists(fileOf(last_ + 1))) ++last_;
}

std::string TraceDirectory::next() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return fileOf(++last_);
}

void TraceDirectory::write(const std::string& file, const Record& record) {
    const std::lock_guard<std::mutex> lock(mutex_);
    writeRecord(file, record);
}

std::string TraceDirectory::fileOf(int number) const {
    char name[40];
    std::snprintf(name, sizeof name, "/request-%06d.vrec", number);
    return path_ + name;
}

int32_t TraceBackend::scale(const BackendPicture& dst, const BackendPicture& src) {
    return recorded(scalingRequest(tool::Backend::Hardware), dst, src,
                    [&] { return answer_->scale(dst, src); });
}

int32_t TraceBackend::warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) {
    BackendPicture whole = src;
    whole.region = {0, 0, src.image.width, src.image.height};
    return recorded(warpingRequest(tool::Backend::Hardware, c::gridOf(grid)), dst, whole,
                    [&] { return answer_->warp(dst, src, grid); });
}

template <typename Ask>
int32_t TraceBackend::recorded(const Request& request, const BackendPicture& dst, const BackendPicture& src,
                               Ask&& ask) {
    Record record{
        request, PixelFormat::Nv12, recordedRegion(src), {{dst.image.width, dst.image.height}, {}, {}, {}},
        {},      buildFacts()};
    const vantor_rect& region = dst.region;
    record.result.region = {region.x, region.y, region.x + region.width - 1, region.y + region.height - 1};
    record.madeBy["answered_by"] = answerName_;
    const std::string file = directory_->next();
    directory_->write(file, record);
    RequestResult result{};
    result.milliseconds = timed([&] { result.status = ask(); });
    result.isMade = result.status == 0;
    if (result.isMade) {
        record.result = recordedRegion(dst);
    } else {
        result.error = "back end's status " + std::to_string(result.status);
    }
    record.requestResult = result;
    directory_->write(file, record);
    return result.status;
}

}  // namespace vantor::tool
