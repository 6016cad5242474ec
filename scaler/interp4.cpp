#include "scaler/interp4.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "scaler/bands.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/linear.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"

namespace vantor {
namespace {

constexpr Interp4Filter kFilter = makeInterp4Filter();

/// Sources smaller than this, in either direction, cannot hold all four taps.
constexpr int kTaps = 4;

const Interp4Kernels& lumaKernels(const int16_t* coefficients) {
    static const Interp4Kernels& kernels = bestTable(kInterp4Tables);
    return fitBytes(coefficients) ? kernels : kInterp4Plain;
}

const BilinearChromaKernels& pairKernels() {
    static const BilinearChromaKernels& kernels = bestTable(kBilinearChromaRoundedTables);
    return kernels;
}

/// Source positions of output columns, or rows, in 1/32 sample, clamped so that four taps fit in the source.
class Interp4Axis {
public:
    /// The step is in 1/262144 sample. Its inner quotient is rounded to single precision, which moves the
    /// step by one unit for some pairs of sizes.
    Interp4Axis(int srcSize, int cropStart, int cropSize, int dstSize)
        : srcSize_(srcSize),
          origin_(int64_t{cropStart} * kUnit),
          step_(static_cast<int64_t>(
              kUnit / static_cast<double>(static_cast<float>(dstSize) / static_cast<float>(cropSize)) +
              0.5)) {}

    int64_t position(int i) const { return inside(origin_ + i * step_); }

    /// Calls `store(position)` for `count` columns from `first` on, `every` columns apart.
    template <typename Store>
    void walk(int first, int count, int every, Store&& store) const {
        int64_t exact = origin_ + first * step_;
        for (int i = 0; i < count; ++i, exact += every * step_) store(inside(exact));
    }

    int srcSize() const { return srcSize_; }

private:
    static constexpr int kUnit = 262144;

    int64_t inside(int64_t exact) const {
        return std::min(std::max<int64_t>((exact + 4096) >> 13, 32), int64_t{32} * srcSize_ - 65);
    }

    int srcSize_;
    int64_t origin_;
    int64_t step_;
};

/// Rows of a picture, packed.
struct Plane {
    const uint8_t* data;
    int width;
    int height;

    const uint8_t* row(int y) const { return data + std::ptrdiff_t{y} * width; }
};

/// Consecutive output columns of the luma with their taps and filter rows.
class Interp4Strip {
public:
    Interp4Strip(const Interp4Kernels& kernels, const Interp4Axis& axis, int firstColumn, int columns,
                 const int16_t* coefficients)
        : srcWidth_(axis.srcSize()), columns_(kernels, taps(axis, firstColumn, columns), coefficients) {}

    void filter(const uint8_t* row, const uint8_t* next, int16_t* out) const {
        uint8_t padded[2 * kPadding];
        if (isNarrow()) {
            for (int i = 0; i < 2 * kPadding; ++i)
                padded[i] = row[std::clamp(i - kPadding, 0, srcWidth_ - 1)];
            row = padded;
        }
        columns_.filter(row, next, out);
    }

private:
    /// The taps of a narrow source lie between this many columns before its first and two behind it.
    static constexpr int kPadding = 3;

    bool isNarrow() const { return srcWidth_ < kTaps; }

    ColumnTaps taps(const Interp4Axis& axis, int firstColumn, int columns) {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        const int offset = isNarrow() ? kPadding - 1 : -1;
        axis.walk(firstColumn, columns, 1, [&](int64_t position) {
            *tap++ = static_cast<uint32_t>((position >> 5) + offset);
            *phase++ = static_cast<uint8_t>(position & 31);
        });
        return table_.padded(columns);
    }

    int srcWidth_;
    ColumnTable table_;
    PlannedColumns<Interp4Kernels, Interp4Plan> columns_;
};

/// A rectangle of destination samples, one row `stride` bytes behind the other.
struct Target {
    uint8_t* data;
    int stride;
    int firstColumn;
    int endColumn;
    int firstRow;
    int endRow;

    uint8_t* row(int y) const { return data + std::ptrdiff_t{y} * stride; }
};

/// As at phase 0 of the scaler's own filter.
bool isSecondTapOnly(const int16_t* weights) {
    return weights[0] == 0 && weights[1] == 4096 && weights[2] == 0 && weights[3] == 0;
}

void scaleLumaStrip(const Interp4Kernels& kernels, const Plane& src, const Target& dst,
                    const int16_t* coefficients, const Interp4Strip& strip, const Interp4Axis& rowAxis,
                    int firstColumn, int columns) {
    RowRing<int16_t, 4, kInterp4Columns> ring(src.height, false);
    const auto weights = [&](int y) { return coefficients + kTaps * (rowAxis.position(y) & 31); };
    const auto sourceRows = [&](int y) {
        const int i = static_cast<int>(rowAxis.position(y) >> 5);
        return isSecondTapOnly(weights(y)) ? SourceRows{i, i} : SourceRows{i - 1, i + 2};
    };
    for (int y = dst.firstRow; y < dst.endRow; ++y) {
        uint8_t* const out = dst.row(y) + firstColumn;
        const SourceRows rows = sourceRows(y);
        const int16_t* taps[kTaps];
        ring.fetch(rows, sourceRows(y + 1), taps, [&](int row, int next, int16_t* filtered) {
            strip.filter(src.row(row), src.row(next), filtered);
        });
        if (rows.first == rows.last) {
            kernels.roundRow(taps[0], out, columns);
        } else {
            kernels.blendRows(taps, weights(y), out, columns);
        }
    }
}

void scaleLuma(const Plane& src, const Target& dst, const int16_t* coefficients,
               const Interp4Axis& columnAxis, const Interp4Axis& rowAxis) {
    const Interp4Kernels& kernels = lumaKernels(coefficients);
    const int step = stripColumns(dst.endColumn - dst.firstColumn, kInterp4Columns);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        const int columns = std::min(step, dst.endColumn - x);
        const Interp4Strip strip(kernels, columnAxis, x, columns, coefficients);
        scaleLumaStrip(kernels, src, dst, coefficients, strip, rowAxis, x, columns);
    }
}

/// Where output chroma column or row `i` lies: at the position of luma column or row 2i, taken in 1/64 pair.
struct ChromaPosition {
    int left;
    int right;
    int weight;

    ChromaPosition(const Interp4Axis& axis, int i) {
        const int64_t position = axis.position(2 * i);
        left = static_cast<int>(position >> 6);
        right = left + 1;
        weight = static_cast<int>(position & 63);
        if (axis.srcSize() < kTaps) {
            const int last = std::max(axis.srcSize() / 2 - 1, 0);
            left = std::clamp(left, 0, last);
            right = std::clamp(right, 0, last);
        }
    }
};

/// Consecutive output pairs of the chroma with their positions.
class Interp4ChromaStrip {
public:
    Interp4ChromaStrip(const Plane& src, const Interp4Axis& axis, int firstPair, int pairs)
        : src_(src),
          planeBytes_((int64_t{src.width} * src.height) >> 1),
          axis_(axis),
          firstPair_(firstPair),
          pairs_(pairs) {
        if (src.width < kTaps) return;
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        axis.walk(2 * firstPair, pairs, 2, [&](int64_t position) {
            *tap++ = 2 * static_cast<uint32_t>(position >> 6);
            *phase++ = static_cast<uint8_t>(position & 63);
        });
        columns_.emplace(pairKernels(), table_.padded(pairs));
    }

    int pairs() const { return pairs_; }

    /// With an odd height the last row is not whole.
    int planeRows() const { return (src_.height + 1) / 2; }

    void filter(int row, int next, uint8_t* out) const {
        if (columns_ && offset(row, table_.tap[pairs_ - 1] + 3) < planeBytes_) {
            columns_->filter(src_.row(row), src_.row(next), out);
        } else {
            for (int i = 0; i < 2 * pairs_; ++i) out[i] = sampleAtPlaneEnd(row, i / 2, i & 1);
        }
    }

private:
    int64_t offset(int row, uint32_t byte) const { return int64_t{row} * src_.width + byte; }

    /// For rows whose samples may lie behind the plane's last byte: there the row above stands for this one,
    /// and the left neighbour for the right one. A plane too small for any sample is neutral.
    uint8_t sampleAtPlaneEnd(int row, int pair, uint32_t component) const {
        const ChromaPosition position(axis_, firstPair_ + pair);
        const uint32_t left = 2 * static_cast<uint32_t>(position.left) + component;
        const uint32_t right = 2 * static_cast<uint32_t>(position.right) + component;
        while (row > 0 && offset(row, left) >= planeBytes_) --row;
        if (offset(row, left) >= planeBytes_) return 128;
        const uint8_t* samples = src_.row(row);
        return linear<6, 32>(samples[left], samples[offset(row, right) < planeBytes_ ? right : left],
                             position.weight);
    }

    Plane src_;
    int64_t planeBytes_;
    const Interp4Axis& axis_;
    int firstPair_;
    int pairs_;
    ColumnTable table_;
    std::optional<PlannedColumns<BilinearChromaKernels, BilinearChromaPlan>> columns_;
};

void scaleChromaStrip(const Target& dst, const Interp4ChromaStrip& strip, const Interp4Axis& rowAxis,
                      int firstPair) {
    RowRing<uint8_t, 2, 2 * kStripColumns> ring(strip.planeRows(), false);
    const auto sourceRows = [&](int y) {
        const ChromaPosition position(rowAxis, y);
        return SourceRows{position.left, position.weight == 0 ? position.left : position.right};
    };
    for (int y = dst.firstRow; y < dst.endRow; ++y) {
        uint8_t* const out = dst.row(y) + 2 * std::ptrdiff_t{firstPair};
        const SourceRows rows = sourceRows(y);
        const uint8_t* taps[2];
        ring.fetch(rows, sourceRows(y + 1), taps,
                   [&](int row, int next, uint8_t* filtered) { strip.filter(row, next, filtered); });
        if (rows.first == rows.last) {
            std::copy_n(taps[0], 2 * strip.pairs(), out);
        } else {
            pairKernels().blendRows(taps, ChromaPosition(rowAxis, y).weight, out, strip.pairs());
        }
    }
}

void scaleChroma(const Plane& src, const Target& dst, const Interp4Axis& columnAxis,
                 const Interp4Axis& rowAxis) {
    const int step = stripColumns(dst.endColumn - dst.firstColumn);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        const Interp4ChromaStrip strip(src, columnAxis, x, std::min(step, dst.endColumn - x));
        scaleChromaStrip(dst, strip, rowAxis, x);
    }
}

/// The arguments of one NV12_Interp4_Interpolate call, in their order.
struct Interp4Band {
    unsigned char* srcY;
    unsigned char* srcUV;
    unsigned char* dstY;
    unsigned char* dstUV;
    short* coefficients;
    int srcWidth;
    int srcHeight;
    int srcCropX;
    int srcCropY;
    int srcCropWidth;
    int srcCropHeight;
    int dstWidth;
    int dstHeight;
    int bandX;
    int bandY;
    int bandWidth;
    int bandHeight;
    bool lumaOnly;
};

void run(const Interp4Band& b) {
    NV12_Interp4_Interpolate(b.srcY, b.srcUV, b.dstY, b.dstUV, b.coefficients, b.srcWidth, b.srcHeight,
                             b.srcCropX, b.srcCropY, b.srcCropWidth, b.srcCropHeight, b.dstWidth, b.dstHeight,
                             b.bandX, b.bandY, b.bandWidth, b.bandHeight, b.lumaOnly);
}

void* runBandThread(void* band) {
    run(*static_cast<const Interp4Band*>(band));
    return nullptr;
}

}  // namespace
}  // namespace vantor

using namespace vantor;

int NV12_Interp4_Interpolate(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY,
                             unsigned char* dstUV, short* coefficients, int srcWidth, int srcHeight,
                             int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, int dstWidth,
                             int dstHeight, int bandX, int bandY, int bandWidth, int bandHeight,
                             bool lumaOnly) {
    if (std::min({srcWidth, srcHeight, srcCropWidth, srcCropHeight, dstWidth, dstHeight}) <= 0) return 0;
    const Interp4Axis columnAxis(srcWidth, srcCropX, srcCropWidth, dstWidth);
    const Interp4Axis rowAxis(srcHeight, srcCropY, srcCropHeight, dstHeight);
    const int endX = bandX + bandWidth;
    const int endY = bandY + bandHeight;
    scaleLuma({srcY, srcWidth, srcHeight}, {dstY, dstWidth, bandX, endX, bandY, endY}, coefficients,
              columnAxis, rowAxis);
    if (!lumaOnly) {
        scaleChroma({srcUV, srcWidth, srcHeight}, {dstUV, dstWidth, bandX, endX / 2, bandY / 2, endY / 2},
                    columnAxis, rowAxis);
    }
    return 0;
}

void Interp4_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                     int srcWidth, int srcHeight, int /*srcStride*/, int dstWidth, int dstHeight,
                     int /*dstStride*/, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight,
                     bool lumaOnly) {
    Interp4Filter filter = kFilter;
    const int quarter = dstHeight / 4;
    const auto band = [&](int index, int rows) {
        return Interp4Band{srcY,          srcUV,     dstY,      dstUV,    filter.data(),
                           srcWidth,      srcHeight, srcCropX,  srcCropY, srcCropWidth,
                           srcCropHeight, dstWidth,  dstHeight, 0,        index * quarter,
                           dstWidth,      rows,      lumaOnly};
    };
    Interp4Band bands[kBandThreads] = {band(0, quarter), band(1, quarter), band(2, quarter)};
    runBands({{runBandThread, &bands[0]}, {runBandThread, &bands[1]}, {runBandThread, &bands[2]}},
             [&] { run(band(3, dstHeight - 3 * quarter)); });
}
