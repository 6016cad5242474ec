#include <algorithm>
#include <vector>

#include "bindings/c/failure.h"
#include "published/hashes.h"
#include "published/inputs.h"

namespace vantor::c {
namespace {

using namespace vantor::selftest;

/// A gray or an NV12 picture. In the latter, chroma follows the luma without a gap, in either format.
struct Picture {
    Picture(int width, int height, bool hasChroma)
        : bytes(static_cast<size_t>(width * height * 3 / 2), kBlank),
          view{hasChroma ? VANTOR_NV12 : VANTOR_GRAY8,
               width,
               height,
               {bytes.data(), bytes.data() + width * height, nullptr},
               {width, width, 0}} {}

    Picture(const Picture&) = delete;

    void generate(bool isExtreme) { generatePicture(view.width, view.height, isExtreme, bytes); }

    std::vector<uint8_t> bytes;
    vantor_image view;
};

/// Whether the C entries do the same: they have no chroma of odd sizes, and leave that of gray pictures
/// alone, which the device reduces.
bool isTaken(const Scaling& r) {
    if (r.format != 0) return (r.srcWidth | r.srcHeight | r.dstWidth | r.dstHeight) % 2 == 0;
    return r.dstWidth > r.srcWidth || r.dstHeight > r.srcHeight ||
           (r.dstWidth == r.srcWidth && r.dstHeight == r.srcHeight);
}
/// And they leave parts where they are in the picture.
bool isTaken(const GridWarp& r) {
    return r.region.width == 0;
}
bool isTaken(const MatrixWarp&) {
    return true;
}

int run(vantor_engine* engine, const Scaling& request, Picture& dst) {
    Picture src(request.srcWidth, request.srcHeight, request.format != 0);
    src.generate(request.isExtreme != 0);
    return vantor_scale(engine, &dst.view, &src.view);
}

int warp(vantor_engine* engine, const vantor_grid& grid, Picture& dst) {
    Picture src(dst.view.width, dst.view.height, dst.view.format != VANTOR_GRAY8);
    src.generate(false);
    return vantor_warp(engine, &dst.view, &src.view, &grid);
}

int run(vantor_engine* engine, const GridWarp& request, Picture& dst) {
    vantor_grid grid;
    generateGrid(request, grid.dx, grid.dy);
    return warp(engine, grid, dst);
}

int run(vantor_engine* engine, const MatrixWarp& request, Picture& dst) {
    vantor_grid grid;
    vantor_grid_from_matrix(&grid, request.matrix, request.width, request.height);
    return warp(engine, grid, dst);
}

Picture destination(const Scaling& r) {
    return {r.dstWidth, r.dstHeight, r.format != 0};
}
Picture destination(const GridWarp& r) {
    return {r.width, r.height, r.format != 0};
}
Picture destination(const MatrixWarp& r) {
    return {r.width, r.height, true};
}

struct Score {
    int right = 0;
    int32_t all = 0;
};

template <typename Requests>
void compute(vantor_engine* engine, const Requests& requests, Score& score) {
    for (const auto& request : requests) {
        if (!isTaken(request)) continue;
        Picture dst = destination(request);
        const int status = run(engine, request, dst);
        if (status == VANTOR_NO_MEMORY) throw noMemory();
        score.right += status == VANTOR_OK && hashOf(dst.bytes) == request.hash;
        ++score.all;
    }
}

}  // namespace
}  // namespace vantor::c

using namespace vantor::c;

int vantor_selftest(vantor_engine* engine, int32_t* pictures) {
    Score score;
    const int status = guarded(engine, [&] {
        compute(engine, kEntry, score);
        compute(engine, kGridWarps, score);
        compute(engine, kMatrixWarps, score);
        if (pictures) *pictures = score.all;
    });
    return status == VANTOR_OK ? score.right : status;
}
