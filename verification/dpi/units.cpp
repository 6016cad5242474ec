// The arithmetic, unit by unit, by the model's own functions.
#include <algorithm>
#include <array>

#include "bindings/c/picture_view.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/sampling.h"
#include "scaler/cubic.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/linear.h"
#include "verification/dpi/arguments.h"
#include "verification/dpi/dpi.h"
#include "verification/dpi/objects.h"

namespace vantor::dpi {
namespace {

using c::guarded;

/// Sample `i` of a packed array of bytes.
int byteAt(const svBitVecVal* packed, int i) {
    return static_cast<int>(packed[i / 4] >> (i % 4 * 8) & 255);
}

int intAt(const svBitVecVal* packed, int i) {
    return static_cast<int32_t>(packed[i]);
}

int sizeLimit(int isY) {
    return isY ? c::kWarpLimit.height : c::kWarpLimit.width;
}

int cellSize(int isY) {
    return isY ? kVirtualCellHeight : kVirtualCellWidth;
}

GdcAxis axisOf(int isY, int size) {
    checkRange("size", size, 1, sizeLimit(isY));
    const OutputRegion region(0, 0, size - 1, size - 1);
    const GdcFrame frame = requestFrame(size, size, region);
    return isY ? frame.y : frame.x;
}

void checkCell(const char* cellName, int cell, const char* withinName, int within, int isY) {
    checkRange(cellName, cell, 1, kGridCells);
    checkRange(withinName, within, 0, cellSize(isY));
}

/// Four rows of four nodes, the second and third in both directions being the cell's corners.
GridRow rowOf(const svBitVecVal* nodes, int cellX, const VirtualPosition& y) {
    GdcGrid grid = {};
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 4; ++i) {
            const int column = cellX - 2 + i;
            const int row = y.cell - 2 + j;
            if (std::min(column, row) >= 0 && std::max(column, row) < kGridNodes)
                grid[row][column] = intAt(nodes, 4 * j + i);
        }
    }
    return {grid, y};
}

/// One column of interp4's taps.
struct OneColumn {
    uint32_t tap = 0;
    uint8_t phase;
    explicit OneColumn(int ofPhase) : phase(static_cast<uint8_t>(ofPhase)) {}
    ColumnTaps taps() const { return {&tap, &phase, 1}; }
};

constexpr Interp4Filter kInterp4Filter = makeInterp4Filter();

int filterDown(const std::array<int, 4>& rows, int phase) {
    return cubic(rows[0], rows[1], rows[2], rows[3], phase);
}

int filterAcross(const svBitVecVal* samples, int first, int phase) {
    std::array<int, 4> taps{};
    for (int i = 0; i < 4; ++i) taps[static_cast<size_t>(i)] = byteAt(samples, first + i);
    return filterDown(taps, phase);
}

constexpr int kLastPhase = 31;
constexpr int kLastWeight = 32;  // of a pair that has no right neighbour

void storeTaps(const int* taps, int count, svBitVecVal* out) {
    for (int i = 0; i < count; ++i) out[i] = static_cast<svBitVecVal>(taps[i]);
}

}  // namespace
}  // namespace vantor::dpi

using namespace vantor;
using namespace vantor::dpi;

int vantor_dpi_luma_filter(const svBitVecVal* samples, int phase) {
    return valueOf([&] {
        checkRange("phase", phase, 0, kLastPhase);
        return filterAcross(samples, 0, phase);
    });
}

int vantor_dpi_luma_filter_2d(const svBitVecVal* samples, int phase_x, int phase_y) {
    return valueOf([&] {
        checkRange("phase_x", phase_x, 0, kLastPhase);
        checkRange("phase_y", phase_y, 0, kLastPhase);
        std::array<int, 4> rows{};
        for (int j = 0; j < 4; ++j) rows[static_cast<size_t>(j)] = filterAcross(samples, 4 * j, phase_x);
        return filterDown(rows, phase_y);
    });
}

int vantor_dpi_chroma_filter(int left, int right, int phase) {
    return valueOf([&] {
        checkRange("left", left, 0, 255);
        checkRange("right", right, 0, 255);
        checkRange("phase", phase, 0, kLastWeight);
        return linear<5, 0>(left, right, phase);
    });
}

int vantor_dpi_chroma_filter_2d(const svBitVecVal* samples, int phase_x, int phase_y) {
    return valueOf([&] {
        checkRange("phase_x", phase_x, 0, kLastWeight);
        checkRange("phase_y", phase_y, 0, kLastPhase);
        const int top = linear<5, 0>(byteAt(samples, 0), byteAt(samples, 1), phase_x);
        const int bottom = linear<5, 0>(byteAt(samples, 2), byteAt(samples, 3), phase_x);
        return linear<5, 0>(top, bottom, phase_y);
    });
}

int vantor_dpi_interp4_row(const svBitVecVal* samples, int phase, int* filtered) {
    return guarded(nullptr, [&] {
        checkRange("phase", phase, 0, kLastPhase);
        const OneColumn column(phase);
        Interp4Plan::Memory<1> memory;
        Interp4Plan plan(memory);
        kInterp4Plain.plan(column.taps(), kInterp4Filter.data(), plan);
        uint8_t row[4];
        for (int i = 0; i < 4; ++i) row[i] = static_cast<uint8_t>(byteAt(samples, i));
        int16_t out = 0;
        kInterp4Plain.filterRow(plan, row, row, &out);
        *filtered = out;
    });
}

int vantor_dpi_interp4_column(const svBitVecVal* filtered, int phase) {
    return valueOf([&] {
        checkRange("phase", phase, 0, kLastPhase);
        int16_t rows[4];
        const int16_t* pointers[4];
        for (int i = 0; i < 4; ++i) {
            checkRange("filtered", intAt(filtered, i), INT16_MIN, INT16_MAX);
            rows[i] = static_cast<int16_t>(intAt(filtered, i));
            pointers[i] = rows + i;
        }
        const int16_t* const weights = kInterp4Filter.data() + kInterp4Taps * phase;
        uint8_t out = 0;
        uint8_t* const outs = &out;
        kInterp4Plain.blendRows(pointers, &weights, &outs, 1, 1);
        return int{out};
    });
}

int vantor_dpi_interp4_chroma(int left, int right, int weight) {
    return valueOf([&] {
        checkRange("left", left, 0, 255);
        checkRange("right", right, 0, 255);
        checkRange("weight", weight, 0, 63);
        return linear<6, 32>(left, right, weight);
    });
}

int vantor_dpi_axis(int is_y, int size, int* scale, int* shifter, int* inv_scale) {
    return guarded(nullptr, [&] {
        const GdcAxis axis = axisOf(is_y, size);
        *scale = axis.scale;
        *shifter = axis.scaleShifter;
        *inv_scale = axis.invScale;
    });
}

int vantor_dpi_virtual_position(int is_y, int size, int position, int* cell, int* within) {
    return guarded(nullptr, [&] {
        const GdcAxis axis = axisOf(is_y, size);
        checkRange("position", position, 0, size - 1);
        const VirtualPosition at = virtualPosition(axis, position, cellSize(is_y));
        *cell = at.cell;
        *within = at.within;
    });
}

int vantor_dpi_displacement(const svBitVecVal* nodes, int cell_x, int within_x, int cell_y, int within_y,
                            int* displacement) {
    return guarded(nullptr, [&] {
        checkCell("cell_x", cell_x, "within_x", within_x, 0);
        checkCell("cell_y", cell_y, "within_y", within_y, 1);
        *displacement = rowOf(nodes, cell_x, {0, cell_y, within_y}).displacement({0, cell_x, within_x});
    });
}

int vantor_dpi_source_position(int is_y, int size, int position, int displacement, int* coordinate,
                               int* index, int* fraction) {
    return guarded(nullptr, [&] {
        const GdcAxis axis = axisOf(is_y, size);
        checkRange("position", position, 0, size - 1);
        const int32_t source = sourceCoordinate(axis, position, displacement);
        const SourcePosition at(source, isInside(source, size));
        *coordinate = at.coordinate;
        *index = at.index;
        *fraction = at.fraction;
    });
}

int vantor_dpi_grid_position(void* grid, int width, int height, int x, int y, int* source_x, int* source_y) {
    return guarded(nullptr, [&] {
        const vantor_grid& nodes = gridAt(grid);
        const GdcAxis across = axisOf(0, width);
        const GdcAxis down = axisOf(1, height);
        checkRange("x", x, 0, width - 1);
        checkRange("y", y, 0, height - 1);
        const GridTables tables(nodes.dx, nodes.dy);
        const VirtualPosition column = virtualPosition(across, x, kVirtualCellWidth);
        const VirtualPosition row = virtualPosition(down, y, kVirtualCellHeight);
        *source_x = sourceCoordinate(across, x, GridRow(tables.x, row).displacement(column));
        *source_y = sourceCoordinate(down, y, GridRow(tables.y, row).displacement(column));
    });
}

int vantor_dpi_luma_taps(int index, int size, svBitVecVal* taps) {
    return guarded(nullptr, [&] {
        checkRange("size", size, 1, sizeLimit(0));
        checkRange("index", index, 0, size);
        storeTaps(lumaTaps(index, size).data(), 4, taps);
    });
}

int vantor_dpi_chroma_taps(int index, int size, svBitVecVal* taps) {
    return guarded(nullptr, [&] {
        checkRange("size", size, 1, sizeLimit(0));
        checkRange("index", index, 0, size);
        // The coordinate in the middle of those that have this index.
        const ChromaTaps at = chromaTaps(SourcePosition(index * 256, true), size);
        const int both[] = {at.first, at.second};
        storeTaps(both, 2, taps);
    });
}

int vantor_dpi_bicubic_sampler(const svBitVecVal* samples, int fraction_x, int fraction_y) {
    return valueOf([&] {
        checkRange("fraction_x", fraction_x, 0, kTapPhases - 1);
        checkRange("fraction_y", fraction_y, 0, kTapPhases - 1);
        LumaBlock block{};
        for (int i = 0; i < 16; ++i)
            block[static_cast<size_t>(i / 4)][static_cast<size_t>(i % 4)] = byteAt(samples, i);
        return Bicubic(block, fraction_x, fraction_y, {}).value;
    });
}

int vantor_dpi_chroma_sampler(const svBitVecVal* samples, int index_x, int fraction_x, int index_y,
                              int fraction_y) {
    return valueOf([&] {
        const auto at = [](const char* indexName, int index, const char* fractionName, int fraction) {
            checkRange(indexName, index, 0, sizeLimit(0));
            checkRange(fractionName, fraction, 0, kTapPhases - 1);
            return SourcePosition(index * 256 + fraction - 128, true);
        };
        const Quad quad{byteAt(samples, 0), byteAt(samples, 1), byteAt(samples, 2), byteAt(samples, 3)};
        return Bilinear(quad, at("index_x", index_x, "fraction_x", fraction_x),
                        at("index_y", index_y, "fraction_y", fraction_y), {})
            .value;
    });
}
