#include "gdc_model/picture_warp.h"

#include <algorithm>
#include <numeric>

namespace vantor {
namespace {

/// Of steep rows, so that the source samples of a tile's runs stay in the first-level cache.
constexpr int kSteepRunColumns = 256;

/// Whether vector kernels can address all of a plane, with 32-bit offsets.
bool spansFewBytes(std::ptrdiff_t stride, int rows) {
    return rows <= 1 || stride <= kMaxVectorSpan / rows;
}

const WarpKernels& bestKernels() {
    static const WarpKernels& best = bestTable(kWarpTables);
    return best;
}

/// For the samples of a source.
const WarpKernels& kernelsFor(const WarpSource& src) {
    const auto [smaller, larger] = std::minmax(src.width, src.height);
    const bool fits = smaller >= kMinWarpSide && larger <= kMaxWarpSide &&
                      spansFewBytes(src.yStride, src.height) && spansFewBytes(src.uStride, src.height / 2) &&
                      spansFewBytes(src.vStride, src.height / 2);
    return fits ? bestKernels() : kWarpPlain;
}

WarpSource kernelSource(const WarpSourcePlanes& src) {
    return {src.y,          src.u,     src.v,     src.yStride, src.uTwoRows / 2, src.vTwoRows / 2,
            src.chromaStep, src.width, src.height};
}

/// The last of an axis' columns (rows) that have chroma, counted from the region's first; -1 if there is
/// none.
int lastWithChroma(const GdcAxis& axis) {
    const int last = axis.outCropSize - 1;
    return last - (wrapAdd(axis.outCropStart, last) & 1);
}

}  // namespace

/// The walk over one tile, run of columns by run of columns.
class TileWalk {
public:
    explicit TileWalk(const PictureWarp& warp) : warp_(warp), frame_(warp.frame_), src_(warp.src_) {}

    void run(int top, int bottom, const WarpOutputPlanes& dst) {
        GridRows grids[PictureWarp::kTileRows];
        bool isSteep = false;
        for (int row = top; row < bottom; ++row) {
            grids[row - top] = warp_.gridRows(row);
            isSteep |= grids[row - top].isSteep;
        }
        // Level rows are faster one by one: memory is read and written as it follows.
        const int rows = isSteep ? bottom - top : 1;
        const int columns = isSteep ? kSteepRunColumns : kWarpRunColumns;
        for (int first = top; first < bottom; first += rows) {
            for (int left = 0; left < frame_.x.outCropSize; left += columns) {
                const int count = std::min(columns, frame_.x.outCropSize - left);
                for (int row = first; row < first + rows; ++row) {
                    locate(grids[row - top], row, left, count);
                    writeRun(dst, row, left, count);
                }
            }
        }
    }

    /// Where one pixel comes from.
    PixelSource source(int row, int column) {
        locate(warp_.gridRows(row), row, column, 1);
        return source(0);
    }

private:
    void locate(const GridRows& grids, int row, int left, int count) {
        warp_.positions_.compute(bestKernels(), grids, row, left, count, x_, y_);
    }

    void writeRun(const WarpOutputPlanes& dst, int row, int left, int count) {
        if (warp_.isSmall_) SmallSource::moveToCopy(frame_, count, x_, y_);
        uint8_t* const luma = dst.lumaRow(row) + left;
        const uint32_t incomplete = warp_.kernels_.luma(warp_.kernelSource_, x_, y_, count, luma);
        borders_ = warp_.isSmall_ ? 0 : listBorder(incomplete, count);
        for (int i = 0; i < borders_; ++i) {
            const PixelSource at = source(border_[i]);
            luma[border_[i]] = static_cast<uint8_t>(
                Bicubic(lumaBlock(frame_, src_, at), at.x.fraction, at.y.fraction, frame_.settings).value);
        }
        if (dst.u && (wrapAdd(frame_.y.outCropStart, row) & 1) == 0) writeChroma(dst, row, left, count);
    }

    /// The columns whose taps are folded at the source's borders: kernels leave them out, and name the groups
    /// of columns that they may be in.
    int listBorder(uint32_t groups, int count) {
        const auto isBetween = [](int32_t position, int32_t first, int samples) {
            return static_cast<uint32_t>(wrapSub(position, first)) < static_cast<uint32_t>(samples) * 256;
        };
        int found = 0;
        for (; groups != 0; groups &= groups - 1) {
            const int first = kWarpLanes * __builtin_ctz(groups);
            const int end = std::min(first + kWarpLanes, count);
            for (int i = first; i < end; ++i) {
                const bool isInside =
                    isBetween(x_[i], 0, frame_.x.sourceSize) && isBetween(y_[i], 0, frame_.y.sourceSize);
                // Indexes 2 to size - 2: none in pictures of 3 samples and fewer.
                const bool isInterior = isBetween(x_[i], 384, std::max(src_.width, 3) - 3) &&
                                        isBetween(y_[i], 384, std::max(src_.height, 3) - 3);
                border_[found] = i;
                found += isInside && !isInterior;
            }
        }
        return found;
    }

    void writeChroma(const WarpOutputPlanes& dst, int row, int left, int count) {
        const int first = wrapAdd(frame_.x.outCropStart, left) & 1;
        const int pairs = (count - first + 1) / 2;
        uint8_t values[kWarpRunColumns];
        uint8_t* const u = dst.uRow(row / 2) + std::ptrdiff_t{left / 2} * dst.chromaStep;
        uint8_t* const out = dst.chromaStep == 2 ? u : values;
        if (src_.chromaStep != 0) {
            warp_.kernels_.chroma(warp_.kernelSource_, x_ + first, y_ + first, pairs, out);
        } else {
            borders_ = count;
            std::iota(border_, border_ + count, 0);
        }
        for (int i = 0; i < borders_; ++i) {
            if ((border_[i] & 1) != first) continue;
            const PixelSource at = source(border_[i]);
            const ChromaQuads quads = chromaQuads(frame_, src_, at);
            uint8_t* const pair = out + (border_[i] - first);
            pair[0] = static_cast<uint8_t>(Bilinear(quads.u, at.x, at.y, frame_.settings).value);
            pair[1] = static_cast<uint8_t>(Bilinear(quads.v, at.x, at.y, frame_.settings).value);
        }
        if (out != values) return;
        uint8_t* const v = dst.vRow(row / 2) + left / 2;
        for (int i = 0; i < pairs; ++i) {
            u[i] = values[2 * i];
            v[i] = values[2 * i + 1];
        }
    }

    PixelSource source(int column) const { return pixelSource(frame_, x_[column], y_[column]); }

    const PictureWarp& warp_;
    const GdcFrame& frame_;
    const WarpSourcePlanes& src_;
    int borders_ = 0;
    int border_[kWarpRunColumns];
    int32_t x_[kWarpRunColumns + 2 * kWarpLanes] = {};
    int32_t y_[kWarpRunColumns + 2 * kWarpLanes] = {};
};

PictureWarp::PictureWarp(const GdcFrame& frame, const WarpSourcePlanes& src, const int32_t* gridX,
                         const int32_t* gridY, int32_t* memory, int tileRows)
    : frame_(frame),
      src_(src),
      grids_(gridX, gridY),
      tileRows_(tileRows),
      isSmall_(SmallSource::fits(frame, src)),
      kernelSource_(isSmall_ ? small_.copy(frame, src) : kernelSource(src)),
      kernels_(kernelsFor(kernelSource_)),
      positions_(frame_, memory) {}

GridRows PictureWarp::gridRows(int row) const {
    return positions_.row(bestKernels(), grids_, row);
}

void PictureWarp::run(int tile, const WarpOutputPlanes& dst) const {
    const int top = tile * tileRows_;
    TileWalk(*this).run(top, std::min(top + tileRows_, frame_.y.outCropSize), dst);
}

void PictureWarp::run(const WarpOutputPlanes& dst) const {
    for (int tile = 0; tile < tiles(); ++tile) run(tile, dst);
}

std::optional<Bilinear> PictureWarp::lastBilinear() const {
    const int column = lastWithChroma(frame_.x);
    const int row = lastWithChroma(frame_.y);
    if (column < 0 || row < 0) return std::nullopt;
    const PixelSource at = TileWalk(*this).source(row, column);
    return Bilinear(chromaQuads(frame_, src_, at).v, at.x, at.y, frame_.settings);
}

}  // namespace vantor
