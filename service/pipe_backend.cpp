#include "service/pipe_backend.h"

#include <algorithm>
#include <string_view>

#include "service/model_backend.h"

namespace vantor {
namespace {

std::string sizeOf(const vantor_image& picture) {
    return std::to_string(picture.width) + "x" + std::to_string(picture.height);
}

/// Calls `use` with the bytes of each row.
template <typename Use>
void forEachRow(const vantor_image& picture, Use&& use) {
    for (int plane = 0; plane < 2; ++plane) {
        for (int y = 0; y < picture.height >> plane; ++y) {
            use(picture.plane[plane] + y * picture.stride[plane], static_cast<size_t>(picture.width));
        }
    }
}

void append(std::vector<uint8_t>& bytes, const vantor_image& picture) {
    forEachRow(picture,
               [&](const uint8_t* row, size_t count) { bytes.insert(bytes.end(), row, row + count); });
}

}  // namespace

int32_t PipeBackend::scale(const BackendPicture& dst, const BackendPicture& src) {
    const vantor_image from = regionOf(src);
    const std::string line = "scale " + sizeOf(from) + " " + sizeOf(regionOf(dst)) + "\n";
    input_.assign(line.begin(), line.end());
    append(input_, from);
    runTo(dst);
    return 0;
}

int32_t PipeBackend::warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) {
    const vantor_rect& part = dst.region;
    const std::string line = "warp " + sizeOf(src.image) + " " + std::to_string(part.x) + "," +
                             std::to_string(part.y) + "," + std::to_string(part.width) + "," +
                             std::to_string(part.height) + "\n";
    input_.assign(line.begin(), line.end());
    const auto* bytes = reinterpret_cast<const uint8_t*>(&grid);
    input_.insert(input_.end(), bytes, bytes + sizeof grid);
    append(input_, src.image);
    runTo(dst);
    return 0;
}

void PipeBackend::runTo(const BackendPicture& dst) {
    const vantor_image to = regionOf(dst);
    output_.resize(static_cast<size_t>(to.width) * static_cast<size_t>(to.height) * 3 / 2);
    command_.run(input_, output_);
    const uint8_t* from = output_.data();
    forEachRow(to, [&](uint8_t* row, size_t count) {
        std::copy_n(from, count, row);
        from += count;
    });
}

}  // namespace vantor
