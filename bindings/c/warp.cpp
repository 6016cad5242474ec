#include "bindings/c/warp.h"

#include <algorithm>

#include "bindings/c/engine.h"
#include "bindings/c/failure.h"
#include "bindings/c/warp_size.h"

namespace vantor::c {
namespace {

constexpr int64_t kSamplesPerThread = 16384;

/// The planes as they are seen from a part's first sample.
WarpOutputPlanes partOf(WarpOutputPlanes planes, const vantor_rect& part) {
    planes.y = planes.lumaRow(part.y) + part.x;
    if (planes.u) {
        const std::ptrdiff_t column = std::ptrdiff_t{part.x / 2} * planes.chromaStep;
        planes.u = planes.uRow(part.y / 2) + column;
        planes.v = planes.vRow(part.y / 2) + column;
    }
    return planes;
}

void checkRange(const char* start, const char* count, int32_t first, int32_t size, int32_t limit,
                bool isEven) {
    const int least = isEven ? 2 : 1;
    if (first < 0 || first > limit - least)
        throw invalid("part: %s %d, expected 0 to %d", start, first, limit - least);
    if (size < least || size > limit - first)
        throw invalid("part: %s %d, expected %d to %d", count, size, least, limit - first);
    if (isEven && (first % 2 != 0 || size % 2 != 0))
        throw invalid("part: %s %d and %s %d, expected even numbers, as chroma has half of them", start,
                      first, count, size);
}

void checkPart(const vantor_image& dst, const vantor_rect& part) {
    checkRange("x", "width", part.x, part.width, dst.width, hasChroma(dst));
    checkRange("y", "height", part.y, part.height, dst.height, hasChroma(dst));
}

}  // namespace

void warpPart(vantor_engine* engine, Size size, const vantor_image& src, const vantor_grid& grid,
              const vantor_rect& part, const WarpOutputPlanes& output) {
    const OutputRegion region(part.x, part.y, part.x + part.width - 1, part.y + part.height - 1);
    const GdcFrame frame = requestFrame(size.width, size.height, region);
    // Enough for the whole picture, so that no later call on it allocates.
    GdcFrame whole = frame;
    whole.x.outCropSize = whole.x.sourceSize;
    WorkingMemory memory(engine, WarpPositions::workingWords(whole));
    const int workers = workersFor(engine, int64_t{part.width} * part.height, kSamplesPerThread);
    // Many more tiles than workers, so that none waits long for the last.
    const int tileRows = workers == 1
                             ? PictureWarp::kTileRows
                             : std::clamp(part.height / (16 * workers), 16, PictureWarp::kTileRows) & ~1;
    const PictureWarp picture(frame, warpPlanes<const uint8_t>(src), grid.dx, grid.dy, memory.words(),
                              tileRows);
    forEachTile(engine, workers, picture.tiles(), [&](int tile) { picture.run(tile, output); });
}

}  // namespace vantor::c

using namespace vantor::c;

int vantor_warp(vantor_engine* engine, const vantor_image* dst, const vantor_image* src,
                const vantor_grid* grid) {
    if (!dst) return report(engine, invalid("dst is null"));
    const vantor_rect whole{0, 0, dst->width, dst->height};
    return vantor_warp_part(engine, dst, src, grid, &whole);
}

int vantor_warp_part(vantor_engine* engine, const vantor_image* dst, const vantor_image* src,
                     const vantor_grid* grid, const vantor_rect* part) {
    return guarded(engine, [&] {
        checkImages(dst, src, kWarpLimit);
        if (dst->width != src->width || dst->height != src->height) {
            throw invalid("src: %dx%d, expected the size of dst, %dx%d", src->width, src->height, dst->width,
                          dst->height);
        }
        if (!grid) throw invalid("grid is null");
        if (!part) throw invalid("part is null");
        checkPart(*dst, *part);
        const vantor::Size extended = extendedSize({src->width, src->height});
        warpPart(engine, extended, *src, *grid, *part, partOf(warpPlanes<uint8_t>(*dst), *part));
    });
}
