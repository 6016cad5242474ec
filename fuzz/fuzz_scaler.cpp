// The scalers: every instruction set's kernel table against the plain one, and the public entries against a
// literal walk over pixels.
#include "fuzz/policy.h"
#include "hardware/vantorClient/vantor_client.h"
#include "scaler/bicubic_luma.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/interpolate.h"
#include "scaler/planned_columns.h"
#include "tests/scaler/reference.h"

namespace vantor::fuzz {
namespace {

/// Ascending columns, evenly apart or not, at any phases.
ColumnTaps columns(Input& input, ColumnTable<>& table, int maxColumns, int phases, int elementStep) {
    const int count = input.between(1, maxColumns);
    const bool isEven = input.ConsumeBool();
    const double step = input.between(0, 6000) / 256.0;
    const Bytes offsets = input.content(static_cast<size_t>(count));
    const Bytes places = input.content(static_cast<size_t>(count));
    uint32_t tap = 0;
    for (int i = 0; i < count; ++i) {
        const auto k = static_cast<size_t>(i);
        tap = isEven ? static_cast<uint32_t>(i * step) : tap + offsets[k] % 32;
        table.tap[i] = tap * static_cast<uint32_t>(elementStep);
        table.phase[i] = static_cast<uint8_t>(places[k] % phases);
    }
    return table.padded(count);
}

template <typename Plan, typename Sample, typename Kernels, int Count, typename... More>
void filterRows(Input& input, const Kernels* const (&tables)[Count], int maxColumns, int phases, int outputs,
                More... more) {
    ColumnTable<> table;
    const ColumnTaps taps = columns(input, table, maxColumns, phases, outputs);
    const Bytes row = input.content(size_t{table.tap[taps.columns - 1]} + kElementBytes);
    const auto filter = [&](const Kernels& kernels, const uint8_t* from, uint8_t* to) {
        std::vector<Sample> out(static_cast<size_t>(outputs) * kStripColumns);
        PlannedColumns<Kernels, Plan>(kernels, taps, more...).filter(from, from, out.data());
        std::memcpy(to, out.data(), static_cast<size_t>(outputs * taps.columns) * sizeof(Sample));
    };
    const size_t bytes = static_cast<size_t>(outputs * taps.columns) * sizeof(Sample);
    forEachVectorTable(tables, [&](const Kernels& vector) {
        expectSameOutput(
            row, bytes, [&](const uint8_t* from, uint8_t* to) { filter(vector, from, to); },
            [&](const uint8_t* from, uint8_t* to) { filter(*tables[0], from, to); });
    });
}

template <typename Kernels, typename Sample>
void blend(const Kernels& kernels, const Sample* const* rows, int weight, uint8_t* out, int columns) {
    kernels.blendRows(rows, weight, out, columns);
}

void blend(const Interp4Kernels& kernels, const int16_t* const* rows, const int16_t* weights, uint8_t* out,
           int columns) {
    kernels.blendRows(rows, &weights, &out, 1, columns);
}

template <size_t Rows, typename Sample, typename Kernels, int Count, typename Weight>
void blendRows(Input& input, const Kernels* const (&tables)[Count], Weight weight, int samplesPerColumn) {
    const int count = input.between(1, kStripColumns);
    const auto samples = static_cast<size_t>(samplesPerColumn * paddedColumns(count));
    const Bytes source = input.content(Rows * samples * sizeof(Sample));
    const auto blendAll = [&](const Kernels& kernels, const uint8_t* from, uint8_t* to) {
        const Sample* rows[Rows];
        for (size_t i = 0; i < Rows; ++i) rows[i] = reinterpret_cast<const Sample*>(from) + i * samples;
        blend(kernels, rows, weight, to, count);
    };
    forEachVectorTable(tables, [&](const Kernels& vector) {
        expectSameOutput(
            source, static_cast<size_t>(samplesPerColumn * count),
            [&](const uint8_t* from, uint8_t* to) { blendAll(vector, from, to); },
            [&](const uint8_t* from, uint8_t* to) { blendAll(*tables[0], from, to); });
    });
}

/// Interp4's weights: its own, or any 16-bit values.
std::vector<int16_t> filterWeights(Input& input) {
    constexpr Interp4Filter kOwn = makeInterp4Filter();
    std::vector<int16_t> weights(kOwn.begin(), kOwn.end());
    if (input.ConsumeBool()) return weights;
    const Bytes bytes = input.content(weights.size() * sizeof(int16_t));
    std::memcpy(weights.data(), bytes.data(), bytes.size());
    const int shift = input.between(0, 8);
    for (int16_t& weight : weights) weight = static_cast<int16_t>(weight >> shift);
    return weights;
}

void kernelTables(Input& input) {
    switch (input.between(0, 8)) {
        case 0:
            return filterRows<BicubicLumaPlan, uint8_t>(input, kBicubicLumaTables, kStripColumns, 32, 1);
        case 1:
            return filterRows<BilinearChromaPlan, uint8_t>(input, kBilinearChromaTruncatedTables, kStripColumns, 33, 2);
        case 2:
            return filterRows<BilinearChromaPlan, uint8_t>(input, kBilinearChromaRoundedTables, kStripColumns, 65, 2);
        case 3: {
            const std::vector<int16_t> weights = filterWeights(input);
            if (!fitBytes(weights.data())) return;
            return filterRows<Interp4Plan, int16_t>(input, kInterp4Tables, kInterp4Columns, kInterp4Phases, 1,
                                                    weights.data());
        }
        case 4:
            return blendRows<4, uint8_t>(input, kBicubicLumaTables, input.between(0, 31), 1);
        case 5:
            return blendRows<2, uint8_t>(input, kBilinearChromaTruncatedTables, input.between(0, 32), 2);
        case 6:
            return blendRows<2, uint8_t>(input, kBilinearChromaRoundedTables, input.between(0, 64), 2);
        case 7: {
            const std::vector<int16_t> weights = filterWeights(input);
            if (!fitBytes(weights.data())) return;
            return blendRows<4, int16_t>(input, kInterp4Tables, weights.data(), 1);
        }
        default: {
            const int count = input.between(1, kStripColumns);
            const Bytes row = input.content(static_cast<size_t>(paddedColumns(count)) * sizeof(int16_t));
            const auto round = [&](const Interp4Kernels& kernels, const uint8_t* from, uint8_t* to) {
                kernels.roundRow(reinterpret_cast<const int16_t*>(from), to, count);
            };
            forEachVectorTable(kInterp4Tables, [&](const Interp4Kernels& vector) {
                expectSameOutput(
                    row, static_cast<size_t>(count), [&](const uint8_t* from, uint8_t* to) { round(vector, from, to); },
                    [&](const uint8_t* from, uint8_t* to) { round(kInterp4Plain, from, to); });
            });
        }
    }
}

/// A region of one plane, which ends with the region's last byte.
struct Region {
    int width;   ///< samples
    int height;  ///< rows
    int stride;  ///< bytes
    int sampleBytes;

    Region(Input& input, int bytesASample, int smallestWidth = 1)
        : width(input.side(smallestWidth)),
          height(input.between(1, width > kMaxSide ? 8 : 64)),
          stride(width * bytesASample + input.seldom(kMaxStridePadding)),
          sampleBytes(bytesASample) {}

    size_t bytes() const { return static_cast<size_t>((height - 1) * stride + width * sampleBytes); }
};

using Band = int(unsigned char*, unsigned char*, int, int, int, int, int, int);

void bands(Input& input) {
    struct Variant {
        std::vector<Band*> bands;
        int positionBits;  ///< of luma; 0 for chroma
    };
    static const Variant kVariants[] = {
        {{interpolateBCY_neon_1, interpolateBCY_neon_2, interpolateBCY_neon_3, interpolateBCY_neon_4}, 13},
        {{interpolateBCY_1, interpolateBCY_2}, 5},
        {{interpolateBCY_neon}, 5},
        {{interpolateBCY}, 6},
        {{interpolateBLUV_neon_1, interpolateBLUV_neon_2, interpolateBLUV_neon_3, interpolateBLUV_neon_4}, 0},
    };
    const Variant& variant = kVariants[input.between(0, 4)];
    const bool isLuma = variant.positionBits != 0;
    const Region src(input, isLuma ? 1 : 2), dst(input, isLuma ? 1 : 2);
    const size_t before = isLuma && src.width <= 2 ? 1 : 0;  // is read there
    expectSameOutput(
        input.content(before + src.bytes()), dst.bytes(),
        [&](uint8_t* from, uint8_t* to) {
            for (Band* band : variant.bands) {
                FUZZ_EXPECT(
                    band(from + before, to, src.width, src.height, src.stride, dst.width, dst.height, dst.stride) == 0);
            }
        },
        [&](const uint8_t* from, uint8_t* to) {
            if (isLuma) {
                reference::luma(from + before, to, src.width, src.height, src.stride, dst.width, dst.height, dst.stride,
                                variant.positionBits);
            } else {
                reference::chroma(from, to, src.width, src.height, src.stride, dst.width, dst.height, dst.stride);
            }
        });
}

/// A region in an NV12 picture whose planes share a block. The luma has whole rows; the chroma ends with the
/// region's.
struct Place {
    int left, top, width, height, stride;

    Place(Input& input, int smallestWidth)
        : left(input.seldom(9)),
          top(input.seldom(9)),
          width(input.side(smallestWidth)),
          height(input.between(1, width > kMaxSide ? 8 : 64)),
          stride(left + width + input.seldom(kMaxStridePadding)) {}

    size_t chromaAt() const { return static_cast<size_t>((top + height) * stride); }
    size_t bytes() const {
        const int rows = std::max(height / 2 - 1, 0);
        return chromaAt() + static_cast<size_t>((top * stride >> 1) + (left & ~1) + rows * stride + (width & ~1));
    }
};

void interpolate(Input& input) {
    const Place src(input, 3), dst(input, 1);
    const bool singlePass = input.ConsumeBool();
    const auto with = [&](auto* function, auto* from, auto* to) {
        function(from, from + src.chromaAt(), to, to + dst.chromaAt(), -1, -1, src.stride, -1, -1, dst.stride, src.left,
                 src.top, src.width, src.height, dst.left, dst.top, dst.width, dst.height, singlePass);
    };
    expectSameOutput(
        input.content(src.bytes()), dst.bytes(),
        [&](uint8_t* from, uint8_t* to) { with(Interpolate_process, from, to); },
        [&](const uint8_t* from, uint8_t* to) { with(reference::interpolate, from, to); });
}

void interp4(Input& input) {
    const int srcWidth = input.side(), srcHeight = input.between(1, 64);
    const int dstWidth = input.side(), dstHeight = input.between(1, dstWidth > kMaxSide ? 8 : 64);
    const int cropX = input.between(0, srcWidth - 1), cropY = input.between(0, srcHeight - 1);
    const int cropWidth = input.between(1, srcWidth - cropX);
    const int cropHeight = input.between(1, srcHeight - cropY);
    const bool isWhole = input.ConsumeBool(), lumaOnly = input.ConsumeBool();
    const int bandX = isWhole ? 0 : input.between(0, dstWidth - 1) / 2;
    const int bandY = isWhole ? 0 : input.between(0, dstHeight - 1);
    const int bandWidth = isWhole ? dstWidth : input.between(0, dstWidth - bandX);
    const int bandHeight = isWhole ? dstHeight : input.between(0, dstHeight - bandY);
    std::vector<int16_t> weights = filterWeights(input);
    const auto srcLuma = static_cast<size_t>(srcWidth * srcHeight);
    const auto dstLuma = static_cast<size_t>(dstWidth * dstHeight);
    const auto band = [&](auto* function, auto* from, auto* to) {
        function(from, from + srcLuma, to, to + dstLuma, weights.data(), srcWidth, srcHeight, cropX, cropY, cropWidth,
                 cropHeight, dstWidth, dstHeight, bandX, bandY, bandWidth, bandHeight, lumaOnly);
    };
    constexpr Interp4Filter kOwn = makeInterp4Filter();
    const bool isProcess = isWhole && std::equal(kOwn.begin(), kOwn.end(), weights.begin());
    expectSameOutput(
        input.content(srcLuma + srcLuma / 2), dstLuma + dstLuma / 2,
        [&](uint8_t* from, uint8_t* to) {
            if (!isProcess) return void(band(NV12_Interp4_Interpolate, from, to));
            Interp4_process(from, from + srcLuma, to, to + dstLuma, srcWidth, srcHeight, -1, dstWidth, dstHeight, -1,
                            cropX, cropY, cropWidth, cropHeight, lumaOnly);
        },
        [&](const uint8_t* from, uint8_t* to) { band(reference::interp4, from, to); });
}

/// Whole pictures by the client's entry: copied, enlarged or reduced.
void request(Input& input) {
    using hardware::vantorClient;
    const int format = input.between(0, 1);
    const int srcWidth = input.side(3), srcHeight = input.between(1, 64);
    const bool isCopy = input.between(0, 7) == 0;
    const int dstWidth = isCopy ? srcWidth : input.side();
    const int dstHeight = isCopy ? srcHeight : input.between(1, 64);
    const auto srcLuma = static_cast<size_t>(srcWidth * srcHeight);
    const auto dstLuma = static_cast<size_t>(dstWidth * dstHeight);
    const bool hasPlanes = input.ConsumeBool();
    const Interp4Filter own = makeInterp4Filter();
    std::vector<int16_t> weights(own.begin(), own.end());
    expectSameOutput(
        input.content(srcLuma + srcLuma / 2), dstLuma + dstLuma / 2,
        [&](uint8_t* from, uint8_t* to) {
            vantorClient::BufferData src, dst;
            src.y = from, src.width = srcWidth, src.height = srcHeight;
            dst.y = to, dst.width = dstWidth, dst.height = dstHeight;
            if (hasPlanes) src.uv = from + srcLuma, dst.uv = to + dstLuma;
            FUZZ_EXPECT(vantorClient::runInterpBicubic(dst, src, format) == 0);
        },
        [&](const uint8_t* from, uint8_t* to) {
            if (dstWidth == srcWidth && dstHeight == srcHeight) {
                std::memcpy(to, from, format == 0 ? srcLuma : srcLuma + srcLuma / 2);
            } else if (dstWidth > srcWidth || dstHeight > srcHeight) {
                reference::interp4(from, from + srcLuma, to, to + dstLuma, weights.data(), srcWidth, srcHeight, 0, 0,
                                   srcWidth, srcHeight, dstWidth, dstHeight, 0, 0, dstWidth, dstHeight, format == 0);
            } else {
                reference::interpolate(from, from + srcLuma, to, to + dstLuma, srcWidth, srcHeight, srcWidth, dstWidth,
                                       dstHeight, dstWidth, 0, 0, srcWidth, srcHeight, 0, 0, dstWidth, dstHeight, true);
            }
        });
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantor::fuzz::Input input(data, size);
    constexpr void (*kTargets[])(vantor::fuzz::Input&) = {vantor::fuzz::kernelTables, vantor::fuzz::bands,
                                                          vantor::fuzz::interpolate, vantor::fuzz::interp4,
                                                          vantor::fuzz::request};
    input.PickValueInArray(kTargets)(input);
    return 0;
}
