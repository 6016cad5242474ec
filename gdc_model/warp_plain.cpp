#include "gdc_model/grid_interp.h"
#include "gdc_model/sampling.h"
#include "gdc_model/warp_kernels.h"

namespace vantor {
namespace {

/// Both axes of one position.
struct Place {
    SourcePosition x;
    SourcePosition y;

    Place(int32_t atX, int32_t atY) : x(atX, true), y(atY, true) {}

    bool isInterior(const WarpSource& src) const {
        return hasPlainTaps(x, src.width) && hasPlainTaps(y, src.height);
    }
};

NodeBounds nodes(const GdcGrid& grid, int cell, int within, int32_t* values) {
    const GridRow row(grid, {0, cell, within});
    std::copy_n(row.value, kGridNodes, values);
    return row.bounds();
}

void locate(const WarpRun& run, const WarpLine& line, int32_t* out) {
    const CellCurve curve{line.start, line.difference, line.slopeChange, line.excess};
    int32_t base = line.base;
    for (int i = 0; i < run.count; ++i) {
        const int32_t displacement = curve.displacement(run.within[i], run.bulge[i]);
        out[i] = wrapAdd(base, sourceDisplacement(line.invScale, line.mirror, displacement));
        base = wrapAdd(base, line.step);
    }
}

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    locate(run, run.x, x);
    locate(run, run.y, y);
}

uint8_t lumaValue(const WarpSource& src, const Place& at) {
    LumaBlock block;
    const uint8_t* row = src.y + (at.y.index - 2) * src.yStride + (at.x.index - 2);
    for (auto& samples : block) {
        std::copy_n(row, 4, samples.begin());
        row += src.yStride;
    }
    return static_cast<uint8_t>(Bicubic(block, at.x.fraction, at.y.fraction, {}).value);
}

uint32_t luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    uint32_t incomplete = 0;
    for (int i = 0; i < count; ++i) {
        const Place at(x[i], y[i]);
        const bool isInterior = at.isInterior(src);
        out[i] = isInterior ? lumaValue(src, at) : 0;
        incomplete |= uint32_t{!isInterior} << (i / kWarpLanes);
    }
    return incomplete;
}

uint8_t chromaValue(const uint8_t* plane, std::ptrdiff_t stride, int step, const Place& at) {
    const uint8_t* top = plane + ((at.y.index - 1) >> 1) * stride + ((at.x.index - 1) >> 1) * step;
    const uint8_t* bottom = top + stride;
    const Quad quad{top[0], top[step], bottom[0], bottom[step]};
    return static_cast<uint8_t>(Bilinear(quad, at.x, at.y, {}).value);
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    for (int i = 0; i < pairs; ++i, out += 2) {
        const Place at(x[2 * i], y[2 * i]);
        out[0] = out[1] = 128;
        if (!at.isInterior(src)) continue;
        out[0] = chromaValue(src.u, src.uStride, src.chromaStep, at);
        out[1] = chromaValue(src.v, src.vStride, src.chromaStep, at);
    }
}

}  // namespace

const WarpKernels kWarpPlain = {InstructionSet::Plain, nodes, positions, nullptr, luma, chroma};

}  // namespace vantor
