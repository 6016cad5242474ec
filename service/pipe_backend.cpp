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
        for (int y = 0; y < picture.height >> plane; ++y)
            use(plane, y, picture.plane[plane] + y * picture.stride[plane]);
    }
}

void append(std::vector<uint8_t>& bytes, const vantor_image& picture) {
    forEachRow(picture,
               [&](int, int, const uint8_t* row) { bytes.insert(bytes.end(), row, row + picture.width); });
}

void copy(const vantor_image& from, const vantor_image& to) {
    forEachRow(to, [&](int plane, int y, uint8_t* row) {
        std::copy_n(from.plane[plane] + y * from.stride[plane], to.width, row);
    });
}

}  // namespace

int32_t PipeBackend::scale(const BackendPicture& dst, const BackendPicture& src) {
    const vantor_image from = regionOf(src);
    const std::string line = "scale " + sizeOf(from) + " " + sizeOf(regionOf(dst)) + "\n";
    input_.assign(line.begin(), line.end());
    append(input_, from);
    const vantor_image to = regionOf(dst);
    copy(run(to.width, to.height), to);
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
    copy(regionOf({run(src.image.width, src.image.height), part}), regionOf(dst));
    return 0;
}

vantor_image PipeBackend::run(int width, int height) {
    const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
    output_.resize(luma + luma / 2);
    command_.run(input_, output_);
    return {VANTOR_NV12, width, height, {output_.data(), output_.data() + luma, nullptr}, {width, width, 0}};
}

}  // namespace vantor
