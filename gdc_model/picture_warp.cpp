#include "gdc_model/picture_warp.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <optional>

#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_state.h"
#include "gdc_model/run_state.h"
#include "gdc_model/source_samples.h"
#include "gdc_model/warp_positions.h"
#include "gdc_model/zeroed.h"

namespace vantor {
namespace {

using SourcePlanes = GdcPlanes<const uint8_t>;
using OutputPlanes = GdcPlanes<uint8_t>;

/// Rows whose grid rows are kept while the walk goes from one run of columns to the next: the source samples
/// of such a tile stay in the cache, whichever way the picture is turned.
constexpr int kTileRows = 64;

constexpr uint8_t kNoChroma[2] = {};

const WarpKernels& kernelsFor(int width, int height) {
    static const WarpKernels& best = bestTable(kWarpTables);
    const auto [smaller, larger] = std::minmax(width, height);
    return smaller < kMinWarpSide || larger > kMaxWarpSide ? kWarpPlain : best;
}

/// The last of an axis' columns (rows) that have chroma, counted from the region's first; -1 if there is
/// none.
int lastWithChroma(const GdcAxis& axis) {
    const int last = axis.outCropSize - 1;
    return last - (wrapAdd(axis.outCropStart, last) & 1);
}

class PictureWalk {
public:
    PictureWalk(const GdcFrame& frame, const SourcePlanes& src)
        : frame_(frame),
          src_(src),
          hasChroma_(src.chromaStep != 0),
          kernelSource_{src.y,
                        src.u,
                        src.v,
                        src.stride,
                        src.stride,
                        src.stride,
                        src.chromaStep,
                        frame.x.sourceSize,
                        frame.y.sourceSize},
          kernels_(kernelsFor(frame.x.sourceSize, frame.y.sourceSize)),
          positions_(frame) {}

    /// Whether there was memory for the walk; without, nothing else may be asked.
    bool isReady() const { return positions_.isReady(); }

    /// Leaves the state of a run, whose last pixels this computes.
    void storeState() {
        storeLastPosition(frame_);
        const int column = lastWithChroma(frame_.x);
        const int row = lastWithChroma(frame_.y);
        if (column < 0 || row < 0) return;
        locate(gridRows(row), row, column, 1);
        const PixelSource at = pixelSource(frame_, x_[0], y_[0]);
        storeBilinear(Bilinear(chromaQuad(frame_, src_, src_.v, at), at.x, at.y, frame_.settings));
    }

    void run(const OutputPlanes& dst) {
        const int rows = frame_.y.outCropSize;
        const int columns = frame_.x.outCropSize;
        // With an odd width, the last chroma sample of a row and the first of the next share an address: the
        // later write wins.
        const int tileRows = columns % 2 != 0 ? 1 : kTileRows;
        GridRows grids[kTileRows];
        for (int top = 0; top < rows; top += tileRows) {
            const int bottom = std::min(top + tileRows, rows);
            for (int row = top; row < bottom; ++row) grids[row - top] = gridRows(row);
            for (int left = 0; left < columns; left += kWarpRunColumns) {
                const int count = std::min(kWarpRunColumns, columns - left);
                for (int row = top; row < bottom; ++row) {
                    locate(grids[row - top], row, left, count);
                    writeRun(dst, row, left, count);
                }
            }
        }
    }

private:
    GridRows gridRows(int row) const { return positions_.row(m_curGrid_dX, m_curGrid_dY, row); }

    void locate(const GridRows& grids, int row, int left, int count) {
        positions_.compute(kernels_, grids, row, left, count, x_, y_);
    }

    void writeRun(const OutputPlanes& dst, int row, int left, int count) {
        uint8_t* const luma = dst.y + std::ptrdiff_t{row} * dst.stride + left;
        borders_ = listBorder(kernels_.luma(kernelSource_, x_, y_, count, luma), count);
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
        const auto width = static_cast<uint32_t>(frame_.x.sourceSize);
        const auto height = static_cast<uint32_t>(frame_.y.sourceSize);
        const auto isBetween = [](int32_t position, int32_t first, uint32_t samples) {
            return static_cast<uint32_t>(wrapSub(position, first)) < samples * 256;
        };
        int found = 0;
        for (int i = 0; i < count; ++i) {
            if ((groups >> (i / kWarpLanes) & 1) == 0) {
                i += kWarpLanes - 1;
                continue;
            }
            const bool isInside = isBetween(x_[i], 0, width) && isBetween(y_[i], 0, height);
            // Indexes 2 to size - 2: none in pictures of 3 samples and fewer.
            const bool isInterior = isBetween(x_[i], 384, std::max(width, 3U) - 3) &&
                                    isBetween(y_[i], 384, std::max(height, 3U) - 3);
            border_[found] = i;
            found += isInside && !isInterior;
        }
        return found;
    }

    void writeChroma(const OutputPlanes& dst, int row, int left, int count) {
        const int first = wrapAdd(frame_.x.outCropStart, left) & 1;
        const int pairs = (count - first + 1) / 2;
        uint8_t values[kWarpRunColumns];
        const std::ptrdiff_t start = dst.chromaRow(row / 2) + std::ptrdiff_t{left / 2} * dst.chromaStep;
        uint8_t* const out = dst.chromaStep == 2 ? dst.u + start : values;
        if (hasChroma_) {
            kernels_.chroma(kernelSource_, x_ + first, y_ + first, pairs, out);
        } else {
            borders_ = count;
            std::iota(border_, border_ + count, 0);
        }
        for (int i = 0; i < borders_; ++i) {
            if ((border_[i] & 1) != first) continue;
            const PixelSource at = source(border_[i]);
            const auto value = [&](const uint8_t* plane) {
                const Quad quad = chromaQuad(frame_, src_, plane, at);
                return static_cast<uint8_t>(Bilinear(quad, at.x, at.y, frame_.settings).value);
            };
            uint8_t* const pair = out + (border_[i] - first);
            pair[0] = value(src_.u);
            pair[1] = value(src_.v);
        }
        if (out != values) return;
        for (int i = 0; i < pairs; ++i) {
            dst.u[start + i] = values[2 * i];
            dst.v[start + i] = values[2 * i + 1];
        }
    }

    PixelSource source(int column) const { return pixelSource(frame_, x_[column], y_[column]); }

    const GdcFrame& frame_;
    SourcePlanes src_;
    bool hasChroma_;
    WarpSource kernelSource_;
    const WarpKernels& kernels_;
    WarpPositions positions_;
    int borders_ = 0;
    int border_[kWarpRunColumns];
    int32_t x_[kWarpRunColumns + 2 * kWarpLanes] = {};
    int32_t y_[kWarpRunColumns + 2 * kWarpLanes] = {};
};

/// A picture's bytes in one of its planes.
struct Span {
    const uint8_t* first;
    size_t size;

    bool overlaps(const Span& other) const {
        const std::less<const uint8_t*> less;
        return first && other.first && less(first, other.first + other.size) &&
               less(other.first, first + size);
    }
};

/// Whether writing the output's planes may change the source, or one of them the other.
bool overlap(const PlanePair<const uint8_t>& src, const PlanePair<uint8_t>& dst, size_t luma) {
    const Span sources[] = {{src.y, luma}, {src.uv, luma / 2}};
    const Span outputs[] = {{dst.y, luma}, {dst.uv, luma / 2}};
    return outputs[0].overlaps(outputs[1]) ||
           std::any_of(std::begin(sources), std::end(sources), [&](const Span& source) {
               return source.overlaps(outputs[0]) || source.overlaps(outputs[1]);
           });
}

/// Three consecutive planes, of `luma` x 3 / 2 bytes, to the output's planes.
void copyPlanes(const uint8_t* planes, size_t luma, const PlanePair<uint8_t>& dst) {
    std::copy_n(planes, luma, dst.y);
    if (!dst.uv) return;
    const uint8_t* const u = planes + luma;
    const uint8_t* const v = u + luma / 4;
    for (size_t i = 0; i < luma / 4; ++i) {
        dst.uv[2 * i] = u[i];
        dst.uv[2 * i + 1] = v[i];
    }
}

}  // namespace

bool warpPicture(int width, int height, const OutputRegion& region, const PlanePair<const uint8_t>& src,
                 const PlanePair<uint8_t>& dst, const int32_t* gridX, const int32_t* gridY) noexcept {
    const GdcFrame frame = requestFrame(width, height, region);
    loadState(frame, gridX, gridY);
    const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
    SourcePlanes source(src.y, src.uv ? src.uv : kNoChroma, width);
    if (!src.uv) source.chromaStep = 0;

    const bool isEmpty = region.width < 1 || region.height < 1;
    std::optional<PictureWalk> walk;
    if (!isEmpty) {
        if (!walk.emplace(frame, source).isReady()) return false;
        walk->storeState();
    }
    if (!dst.y) return true;
    if (region.width == width && region.height == height && !overlap(src, dst, luma)) {
        walk->run(OutputPlanes(dst.y, dst.uv, width));
        return true;
    }
    const auto planes = zeroedIfPossible<uint8_t>(
        std::max(luma / 2 * 3, gdcPictureSamples(frame.x.outCropSize, frame.y.outCropSize)));
    if (!planes) return false;
    if (!isEmpty) {
        walk->run(OutputPlanes(planes.get(), frame.x.outCropSize, frame.y.outCropSize, frame.settings));
    }
    copyPlanes(planes.get(), luma, dst);
    return true;
}

}  // namespace vantor
