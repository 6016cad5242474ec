// The model: its core and the client's warps against a literal walk over pixels, and every instruction set's warp
// kernels against the plain ones.
#include <iterator>

#include "fuzz/policy.h"
#include "gdc_model/gdc_core.h"
#include "gdc_model/gdc_frame.h"
#include "gdc_model/gdc_grid.h"
#include "gdc_model/gdc_state.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/warp_kernels.h"
#include "gdc_model/warp_positions.h"
#include "hardware/vantorClient/vantor_client.h"
#include "tests/gdc_model/gdc_reference.h"

namespace vantor::fuzz {
namespace {

using hardware::vantorClient;
using Grid = vantorClient::_GDCGrid;
using Samples = std::vector<uint16_t>;

constexpr int kNodes = 33;
constexpr size_t kValues = kNodes * kNodes;

/// Displacements of the nodes of one axis: none, one, a slope, noise, or anything.
void fillNodes(Input& input, int32_t (&nodes)[kValues]) {
    const int kind = input.between(0, 4);
    const int32_t shift = input.ConsumeBool() ? input.any() : input.between(-300000, 300000);
    const int across = input.between(-20000, 20000), down = input.between(-20000, 20000);
    const Bytes noise = input.content(kind >= 3 ? kValues * sizeof(int32_t) : 0);
    const int noiseShift = input.between(0, 24);
    for (size_t k = 0; k < kValues; ++k) {
        const int row = static_cast<int>(k) / kNodes - 16, column = static_cast<int>(k) % kNodes - 16;
        int32_t any = 0;
        if (kind >= 3) std::memcpy(&any, &noise[k * sizeof any], sizeof any);
        const int32_t choices[] = {0, shift, across * column + down * row, any >> noiseShift,
                                   any < 0 ? INT32_MIN : INT32_MAX};
        nodes[k] = choices[kind];
    }
}

/// One axis as the core takes it.
struct Axis {
    int size, shifter, scale, invScale, outScale, outStart, outSize;
};

/// The samples that the core may touch, of which those of odd sizes are a few more than 3 / 2 per pixel.
size_t samplesOf(int width, int height) {
    if (width < 1 || height < 1) return 0;
    return static_cast<size_t>(width * height * 5 / 4 + (height - 1) / 2 * width / 2 + (width + 1) / 2);
}

/// The state that pixels leave, of the library and of the reference, starting from zeros.
class State {
public:
    State() {
        for (int* variable : library()) *variable = 0;
    }

    void expectSame() {
        const auto mine = library(), theirs = literal();
        for (size_t i = 0; i < mine.size(); ++i) FUZZ_EXPECT(*mine[i] == *theirs[i]);
        fuzz::expectSame(m_curGrid_dX, reference.m_curGrid_dX, sizeof m_curGrid_dX);
        fuzz::expectSame(m_curGrid_dY, reference.m_curGrid_dY, sizeof m_curGrid_dY);
    }

    reference::GdcState reference;

private:
    static std::vector<int*> library() {
        return {&m_VirtCordX, &m_VirtCordY, &m_VirtStepShiftX, &m_VirtStepShiftY, &m_LT_val,       &m_RT_val,
                &m_LB_val,    &m_RB_val,    &m_dltL,           &m_dltT,           &m_StepXShifter, &m_StepYShifter};
    }
    std::vector<int*> literal() {
        reference::GdcState& s = reference;
        return {&s.m_VirtCordX, &s.m_VirtCordY, &s.m_VirtStepShiftX, &s.m_VirtStepShiftY,
                &s.m_LT_val,    &s.m_RT_val,    &s.m_LB_val,         &s.m_RB_val,
                &s.m_dltL,      &s.m_dltT,      &s.m_StepXShifter,   &s.m_StepYShifter};
    }
};

/// The scale parameters that drivers compute for a size.
void setScales(Axis& x, Axis& y) {
    double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    static _pos points[kValues];
    getGridSet(x.size, y.size, identity, points, &x.shifter, &y.shifter, &x.scale, &y.scale, &x.invScale, &y.invScale,
               1);
}

/// The literal walk at the drivers' settings.
void walk(reference::GdcState& state, const Axis& x, const Axis& y, const Grid& grid, const uint16_t* src,
          uint16_t* dst) {
    reference::gdcCore(state, {}, dst, src, grid.dX, grid.dY, x.size, y.size, 0, 0, x.shifter, y.shifter, x.scale,
                       y.scale, x.invScale, y.invScale, x.outScale, y.outScale, x.outStart, y.outStart, x.outSize,
                       y.outSize);
}

Samples widened(const Bytes& bytes) { return Samples(bytes.begin(), bytes.end()); }

/// The core with any step, position, region and scale.
void core(Input& input) {
    Axis x{input.between(2, kMaxWarpSide), 0, 0, 0, 128, 0, 0};
    Axis y{input.between(2, kMaxWarpSide), 0, 0, 0, 128, 0, 0};
    setScales(x, y);
    for (Axis* axis : {&x, &y}) {
        const auto vary = [&](int& value, int low, int high) {
            const int kind = input.between(0, 7);
            if (kind == 0) value = input.any();
            if (kind == 1) value = input.between(low, high);
        };
        vary(axis->scale, 0, 3 * axis->scale);
        vary(axis->invScale, 0, 3 * axis->invScale);
        vary(axis->outScale, -20, 300);
        vary(axis->outStart, -5, axis->size);
        axis->outSize = input.ConsumeBool() ? axis->size : input.between(-1, kMaxWarpSide);
    }
    static Grid grid;
    fillNodes(input, grid.dX);
    fillNodes(input, grid.dY);
    const Samples src = widened(input.content(samplesOf(x.size, y.size)));
    Samples given = src;
    const size_t bytes = samplesOf(x.outSize, y.outSize) * sizeof(uint16_t);
    Output actual(bytes), expected(bytes);
    State state;
    GdcCore(reinterpret_cast<uint16_t*>(actual.data()), given.data(), grid.dX, grid.dY, x.size, y.size, -1, -1,
            x.shifter, y.shifter, x.scale, y.scale, x.invScale, y.invScale, x.outScale, y.outScale, x.outStart,
            y.outStart, x.outSize, y.outSize);
    walk(state.reference, x, y, grid, src.data(), reinterpret_cast<uint16_t*>(expected.data()));
    FUZZ_EXPECT(given == src);
    expectSame(actual.data(), expected.data(), bytes);
    state.expectSame();
}

/// Source coordinates of `count` columns, with the padding that kernels need after them.
struct Positions {
    int count;
    std::vector<int32_t> x, y;

    explicit Positions(int columns)
        : count(columns),
          x(static_cast<size_t>((columns + kWarpLanes - 1) / kWarpLanes * kWarpLanes + kWarpLanes)),
          y(x.size()) {}
    size_t bytes() const { return static_cast<size_t>(count) * sizeof(int32_t); }
};

/// Positions along a row of any grid, region and scale. All tables' are the same.
Positions positionsOfRow(Input& input, int width, int height) {
    const int left = input.ConsumeBool() ? 0 : input.any(), columns = input.side();
    const auto right = static_cast<int32_t>(std::min<int64_t>(int64_t{left} + columns - 1, INT32_MAX));
    GdcFrame frame = requestFrame(width, height, {left, 0, right, height - 1});
    for (GdcAxis* axis : {&frame.x, &frame.y}) {
        const int kind = input.between(0, 15);
        if (kind == 0) axis->scale = input.any();
        if (kind == 1) axis->outScale = input.any();
        if (kind == 2) axis->invScale = input.any();
        if (kind == 3) axis->mirror = 1;
        if (kind > 7) axis->invScale = input.between(0, kMaxVectorScale + 1);
    }
    static Grid grid;
    fillNodes(input, grid.dX);
    fillNodes(input, grid.dY);
    std::vector<int32_t> memory(WarpPositions::workingWords(frame));
    const WarpPositions rows(frame, memory.data());
    const int row = input.between(0, height - 1), first = input.between(0, frame.x.outCropSize - 1);
    const GridTables tables(grid.dX, grid.dY);
    Positions plain(std::min(input.between(1, kWarpRunColumns), frame.x.outCropSize - first));
    const auto compute = [&](const WarpKernels& kernels, uint8_t* to) {
        Positions positions(plain.count);
        rows.compute(kernels, rows.row(kernels, tables, row), row, first, plain.count, positions.x.data(),
                     positions.y.data());
        std::memcpy(to, positions.x.data(), positions.bytes());
        std::memcpy(to + positions.bytes(), positions.y.data(), positions.bytes());
    };
    forEachVectorTable(kWarpTables, [&](const WarpKernels& vector) {
        expectSameOutput(
            {}, 2 * plain.bytes(), [&](const uint8_t*, uint8_t* to) { compute(vector, to); },
            [&](const uint8_t*, uint8_t* to) { compute(kWarpPlain, to); });
    });
    rows.compute(kWarpPlain, rows.row(kWarpPlain, tables, row), row, first, plain.count, plain.x.data(),
                 plain.y.data());
    return plain;
}

/// Positions that no grid makes, near the picture's centre or anywhere.
Positions anyPositions(Input& input, int width, int height) {
    Positions positions(input.between(1, kWarpRunColumns));
    const int shift = input.between(0, 24);
    const auto fill = [&](std::vector<int32_t>& axis, int size) {
        const Bytes noise = input.content(axis.size() * sizeof(int32_t));
        std::memcpy(axis.data(), noise.data(), noise.size());
        for (int32_t& position : axis) position = wrapAdd(position >> shift, size * 128);
    };
    fill(positions.x, width);
    fill(positions.y, height);
    return positions;
}

/// Every instruction set's kernels against the plain ones.
void kernelTables(Input& input) {
    const int width = input.side(kMinWarpSide) & ~1, height = 2 * input.between(kMinWarpSide / 2, 40);
    const Positions at =
        input.ConsumeBool() ? positionsOfRow(input, width, height) : anyPositions(input, width, height);
    const Bytes luma = input.content(static_cast<size_t>(width * height));
    const Bytes chroma = input.content(luma.size() / 2);
    const int first = input.between(0, 1), pairs = (at.count - first + 1) / 2;
    forEachVectorTable(kWarpTables, [&](const WarpKernels& vector) {
        const auto sampleLuma = [&](const WarpKernels& kernels, const uint8_t* from, uint8_t* to) {
            return kernels.luma({from, nullptr, nullptr, width, 0, 0, 2, width, height}, at.x.data(), at.y.data(),
                                at.count, to);
        };
        const auto sampleChroma = [&](const WarpKernels& kernels, const uint8_t* from, uint8_t* to) {
            kernels.chroma({nullptr, from, from + 1, 0, width, width, 2, width, height}, at.x.data() + first,
                           at.y.data() + first, pairs, to);
        };
        uint32_t incomplete = 0, incompletePlain = 0;
        expectSameOutput(
            luma, static_cast<size_t>(at.count),
            [&](const uint8_t* from, uint8_t* to) { incomplete = sampleLuma(vector, from, to); },
            [&](const uint8_t* from, uint8_t* to) { incompletePlain = sampleLuma(kWarpPlain, from, to); });
        FUZZ_EXPECT((incompletePlain & ~incomplete) == 0);
        expectSameOutput(
            chroma, static_cast<size_t>(2 * pairs),
            [&](const uint8_t* from, uint8_t* to) { sampleChroma(vector, from, to); },
            [&](const uint8_t* from, uint8_t* to) { sampleChroma(kWarpPlain, from, to); });
    });
}

/// A packed NV12 picture as three planes, and the way back.
Bytes toPlanes(const Bytes& picture, size_t luma) {
    Bytes planes = picture;
    for (size_t i = 0; i < luma / 2; ++i) planes[luma + (i % 2) * (luma / 4) + i / 2] = picture[luma + i];
    return planes;
}
Bytes fromPlanes(const Samples& planes, size_t luma) {
    Bytes picture(luma * 3 / 2);
    for (size_t i = 0; i < picture.size(); ++i) {
        const size_t from = i < luma ? i : luma + ((i - luma) % 2) * (luma / 4) + (i - luma) / 2;
        picture[i] = static_cast<uint8_t>(planes[from]);
    }
    return picture;
}

/// Displacements that a matrix (a, b, d, e in 1/4096, c, f in 1/32 pixel) represents, as drivers make them.
void gridOf(const int16_t (&matrix)[6], int width, int height, Grid& grid) {
    double values[9] = {0, 0, 0, 0, 0, 0, 0, 0, 1};
    for (int i = 0; i < 6; ++i) values[i] = matrix[i] / (i % 3 == 2 ? 32.0 : 4096.0);
    static _pos points[kValues];
    int unused[6];
    getGridSet(width, height, values, points, &unused[0], &unused[1], &unused[2], &unused[3], &unused[4], &unused[5],
               1);
    const auto toInt = [](double v) {
        return static_cast<int32_t>(std::clamp(v, double{INT32_MIN}, double{INT32_MAX}));
    };
    for (size_t k = 0; k < kValues; ++k) grid.dX[k] = toInt(points[k].x), grid.dY[k] = toInt(points[k].y);
}

/// A client's warp by a grid or a matrix, with any region of interest that the working memory can hold.
void request(Input& input) {
    const int width = 16 * input.between(6, kMaxWarpWidth / 16);
    const int height = 2 * input.between(32, kMaxWarpHeight / 2);
    const auto luma = static_cast<size_t>(width * height);
    const int format = input.between(0, 1);
    const bool hasPlanes = input.ConsumeBool();
    vantorClient::BufferData src, dst;
    src.width = dst.width = width, src.height = dst.height = height;
    dst.cropRight = width - 1, dst.cropBottom = height - 1;
    if (input.ConsumeBool()) {
        const int kind = input.between(0, 3);
        dst.cropLeft = kind == 0 ? input.any() : input.between(-9, width);
        dst.cropTop = kind == 0 ? input.any() : input.between(-9, height);
        dst.cropRight = static_cast<int>(
            std::clamp<int64_t>(int64_t{dst.cropLeft} + input.between(-2, width + 9), INT32_MIN, INT32_MAX));
        dst.cropBottom = static_cast<int>(
            std::clamp<int64_t>(int64_t{dst.cropTop} + input.between(-2, height + 9), INT32_MIN, INT32_MAX));
    }
    static Grid grid;
    int16_t matrix[6];
    const bool isMatrix = input.ConsumeBool();
    if (isMatrix) {
        constexpr int16_t kIdentity[6] = {4096, 0, 0, 0, 4096, 0};
        const int reach = input.ConsumeBool() ? 400 : INT16_MAX;
        for (int i = 0; i < 6; ++i) {
            matrix[i] = static_cast<int16_t>(
                std::clamp(kIdentity[i] + input.between(-reach, reach), int{INT16_MIN}, int{INT16_MAX}));
        }
        gridOf(matrix, width, height, grid);
    } else {
        fillNodes(input, grid.dX);
        fillNodes(input, grid.dY);
    }

    const size_t given = format == hardware::IMAGE_FORMAT_GRAYSCALE ? luma : luma * 3 / 2;
    const auto outWidth = static_cast<int>(int64_t{dst.cropRight} - dst.cropLeft + 1);
    const auto outHeight = static_cast<int>(int64_t{dst.cropBottom} - dst.cropTop + 1);
    Axis x{width, 0, 0, 0, 128, dst.cropLeft, outWidth}, y{height, 0, 0, 0, 128, dst.cropTop, outHeight};
    setScales(x, y);
    expectSameOutput(
        input.content(given), given,
        [&](uint8_t* from, uint8_t* to) {
            src.y = from, dst.y = to;
            if (hasPlanes && given > luma) src.uv = from + luma, dst.uv = to + luma;
            const int32_t status = isMatrix
                                       ? vantorClient::runGDCMatrix(dst, src, matrix, format, hardware::GDC_C_MODEL)
                                       : vantorClient::runGDCGrid(dst, src, grid, format, hardware::GDC_C_MODEL);
            FUZZ_EXPECT(status == 0);
        },
        [&](const uint8_t* from, uint8_t* to) {
            Bytes picture(from, from + given);
            picture.resize(luma * 3 / 2);
            const Samples planes = widened(toPlanes(picture, luma));
            Samples warped(std::max(planes.size(), samplesOf(outWidth, outHeight)));
            reference::GdcState state;
            walk(state, x, y, grid, planes.data(), warped.data());
            const Bytes result = fromPlanes(warped, luma);
            std::copy_n(result.begin(), given, to);
        });
}

/// Requests of any numbers, which are refused before a plane is looked at.
void refusal(Input& input) {
    vantorClient::BufferData src, dst;
    src.width = input.any(), src.height = input.any();
    dst.width = input.any(), dst.height = input.any();
    dst.cropRight = input.any(), dst.cropBottom = input.any();
    const int32_t format = input.any();
    // No target makes a request fail that fits otherwise.
    const int32_t target = 2 + (input.any() & 0xFFFF);
    static const Grid grid{};
    FUZZ_EXPECT(vantorClient::runGDCGrid(dst, src, grid, format, target) != 0);
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) { return setenv("VANTOR_LOG", "off", 1); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantor::fuzz::Input input(data, size);
    // Requests are slow: none is smaller than 96 x 64.
    using namespace vantor::fuzz;
    constexpr void (*kTargets[])(Input&) = {core,         core,         core,         core,         core,    core,
                                            kernelTables, kernelTables, kernelTables, kernelTables, refusal, request};
    input.PickValueInArray(kTargets)(input);
    return 0;
}
