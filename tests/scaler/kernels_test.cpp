// The choice among kernel tables, and the vector kernels.

#include <numeric>

#include "scaler/bicubic_luma.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/linear.h"
#include "scaler/planned_columns.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

TEST(Kernels, EveryTableHasItsTurn) {
    reportTables("bicubic luma", kBicubicLumaTables);
    reportTables("bilinear chroma, truncated", kBilinearChromaTruncatedTables);
    reportTables("bilinear chroma, rounded", kBilinearChromaRoundedTables);
    reportTables("interp4", kInterp4Tables);
}

TEST(Kernels, UsersLimitTheInstructionSets) {
    const char* limit = std::getenv("VANTOR_CPU");
    ASSERT_TRUE(isInstructionSetLimit(limit)) << limit;
    EXPECT_FALSE(isInstructionSetLimit("neon"));
    const std::string last = limit ? limit : "avx512";
    const auto lastSet = last == "plain"  ? InstructionSet::Plain
                         : last == "avx2" ? InstructionSet::Avx2
                                          : InstructionSet::Avx512;
    for (InstructionSet set : kInstructionSets) {
        EXPECT_EQ(isUsable(set), cpuHas(set) && set <= lastSet) << instructionSetName(set);
    }
}

/// Ascending columns at any ratio of sizes, half of which repeat but for one, and a row that begins and ends with
/// their elements, next to unmapped pages.
class Columns {
public:
    Columns(Random& random, int count, int phases, uint32_t elementStep) {
        const bool repeats = random.between(0, 1) == 1, isMoved = random.between(0, 1) == 1;
        const double step = repeats ? random.between(1, 32) / 8.0 : std::exp2(random.between(-30, 45) / 10.0);
        const int different = random.between(0, count - 1);
        for (int i = 0; i < count; ++i) {
            table_.tap[i] = static_cast<uint32_t>(i * step + (isMoved && i >= different)) * elementStep;
            table_.phase[i] = static_cast<uint8_t>(random.between(0, phases - 1));
            if (repeats && i >= 8 && (isMoved || i != different)) table_.phase[i] = table_.phase[i - 8];
        }
        taps = table_.padded(count);
        row = random.content(table_.tap[count - 1] + 4);
    }

    /// All `outputs` samples per column, filtered where the row touches the guard.
    template <typename Plan, typename Sample, typename Kernels, typename... More>
    std::vector<Sample> filter(const Kernels& kernels, Guard guard, int outputs, More... more) const {
        GuardedPlane guarded(row, guard);
        GuardedPlane out(static_cast<size_t>(outputs * paddedColumns(taps.columns)) * sizeof(Sample), Guard::Back);
        auto* const samples = reinterpret_cast<Sample*>(out.data());
        PlannedColumns<Kernels, Plan>(kernels, taps, more...).filter(guarded.data(), guarded.data(), samples);
        return {samples, samples + outputs * taps.columns};
    }

    ColumnTaps taps;
    std::vector<uint8_t> row;

private:
    ColumnTable<> table_;
};

/// Each vector table that this CPU can run against the plain one, over columns of any number and position.
template <typename Plan, typename Sample, typename Kernels, int Count, typename... More>
void expectSameFilter(const Kernels* const (&tables)[Count], int phases, int outputs, More... more) {
    Random random(seed());
    for (int round = 0; round < 300; ++round) {
        const int count = round < 200 ? round + 1 : random.between(1, kInterp4Columns);
        const auto columns = std::make_unique<Columns>(random, count, phases, static_cast<uint32_t>(outputs));
        const auto expected = columns->template filter<Plan, Sample>(*tables[0], Guard::Back, outputs, more...);
        for (const Kernels* table : tables) {
            if (table == tables[0] || !cpuHas(table->set)) continue;
            ASSERT_NE(table->filterRow, tables[0]->filterRow);
            for (Guard guard : {Guard::Front, Guard::Back}) {
                ASSERT_EQ((columns->template filter<Plan, Sample>(*table, guard, outputs, more...)), expected)
                    << instructionSetName(table->set) << ", " << count << " columns, seed " << seed();
            }
        }
    }
}

/// Rows in which each column is another of all combinations of `levels`.
template <size_t Rows, typename Sample>
std::vector<std::vector<Sample>> combinations(const std::vector<Sample>& levels) {
    size_t columns = 1;
    for (size_t row = 0; row < Rows; ++row) columns *= levels.size();
    std::vector<std::vector<Sample>> rows(Rows, std::vector<Sample>(columns + kVectorColumns));
    for (size_t column = 0; column < columns; ++column) {
        for (size_t row = 0, rest = column; row < Rows; ++row, rest /= levels.size()) {
            rows[row][column] = levels[rest % levels.size()];
        }
    }
    return rows;
}

template <typename Kernels, typename Sample>
void blend(const Kernels& kernels, const Sample* const* rows, int weight, uint8_t* out, int columns) {
    kernels.blendRows(rows, weight, out, columns);
}

/// Output rows that are blended together; one of them is looked at.
struct SharingRows {
    std::vector<const int16_t*> weights;
    size_t shown;
};

void blend(const Interp4Kernels& kernels, const int16_t* const* rows, const SharingRows& sharing, uint8_t* out,
           int columns) {
    std::vector<uint8_t> others(static_cast<size_t>(columns));
    std::vector<uint8_t*> outs(sharing.weights.size(), others.data());
    outs[sharing.shown] = out;
    kernels.blendRows(rows, sharing.weights.data(), outs.data(), static_cast<int>(outs.size()), columns);
}

/// Blends the combinations by every table, up to a guard, each weight those of one column less.
template <size_t Rows, typename Sample, typename Kernels, int Count, typename Weight>
void expectSameBlend(const Kernels* const (&tables)[Count], const std::vector<Sample>& levels,
                     const std::vector<Weight>& weights, size_t samplesPerColumn) {
    const auto samples = combinations<Rows>(levels);
    const Sample* rows[Rows];
    for (size_t row = 0; row < Rows; ++row) rows[row] = samples[row].data();
    const size_t maxColumns = (samples[0].size() - kVectorColumns) / samplesPerColumn;
    for (size_t i = 0; i < weights.size(); ++i) {
        const Weight& weight = weights[i];
        const size_t columns = maxColumns - i % kVectorColumns;
        GuardedPlane expected(columns * samplesPerColumn, Guard::Back), out(columns * samplesPerColumn, Guard::Back);
        blend(*tables[0], rows, weight, expected.data(), static_cast<int>(columns));
        for (const Kernels* table : tables) {
            if (table == tables[0] || !cpuHas(table->set)) continue;
            ASSERT_NE(table->blendRows, tables[0]->blendRows);
            blend(*table, rows, weight, out.data(), static_cast<int>(columns));
            ASSERT_EQ(out.bytes(), expected.bytes()) << instructionSetName(table->set);
        }
    }
}

std::vector<int> upTo(int last) {
    std::vector<int> values(static_cast<size_t>(last) + 1);
    std::iota(values.begin(), values.end(), 0);
    return values;
}

TEST(Kernels, VectorTablesFilterRowsAsThePlainOnesDo) {
    Random random(seed());
    std::vector<int16_t> coefficients(4 * kInterp4Phases);
    for (size_t i = 0; i < coefficients.size(); i += 4) {
        int left = 126;  // of the coarse weights
        for (size_t tap = 0; tap < 4; ++tap) {
            const int coarse = tap == 3 ? left : random.between(0, left);
            left -= coarse;
            const int sign = random.between(0, 1) ? 1 : -1;
            coefficients[i + (tap + i / 4) % 4] = static_cast<int16_t>(sign * 64 * coarse + random.between(-32, 31));
        }
    }
    ASSERT_TRUE(fitBytes(coefficients.data()));
    expectSameFilter<BicubicLumaPlan, uint8_t>(kBicubicLumaTables, 32, 1);
    expectSameFilter<BilinearChromaPlan, uint8_t>(kBilinearChromaTruncatedTables, 33, 2);
    expectSameFilter<BilinearChromaPlan, uint8_t>(kBilinearChromaRoundedTables, 65, 2);
    expectSameFilter<Interp4Plan, int16_t>(kInterp4Tables, kInterp4Phases, 1, coefficients.data());
    expectSameFilter<Interp4Plan, int16_t>(kInterp4Tables, kInterp4Phases, 1, makeInterp4Filter().data());
}

TEST(Kernels, VectorTablesBlendRowsAsThePlainOnesDo) {
    const std::vector<uint8_t> levels = {0, 1, 2, 31, 64, 127, 128, 190, 250, 254, 255};
    expectSameBlend<4>(kBicubicLumaTables, levels, upTo(31), 1);
    const std::vector<int> bytes = upTo(255);
    const std::vector<uint8_t> all(bytes.begin(), bytes.end());
    expectSameBlend<2>(kBilinearChromaTruncatedTables, all, upTo(32), 2);
    expectSameBlend<2>(kBilinearChromaRoundedTables, all, upTo(64), 2);
    const std::vector<int16_t> extremes = {INT16_MIN, INT16_MIN + 1, -4096, -1, 0, 1, 4080, INT16_MAX};
    const auto weightRows = combinations<4>(std::vector<int16_t>{-4096, -256, 0, 1, 2304, 4096});
    std::vector<std::array<int16_t, 4>> weights;
    for (size_t i = 0; i + kVectorColumns < weightRows[0].size(); ++i) {
        weights.push_back({weightRows[0][i], weightRows[1][i], weightRows[2][i], weightRows[3][i]});
    }
    std::vector<SharingRows> sharing;
    for (size_t i = 0; i < weights.size(); ++i) {
        sharing.push_back({{}, i / 5 % (i % 5 + 1)});
        for (size_t k = 0; k <= i % 5; ++k) sharing[i].weights.push_back(weights[i - k].data());
    }
    expectSameBlend<4>(kInterp4Tables, extremes, sharing, 1);
    std::vector<int16_t> words(65536 + kVectorColumns);
    std::iota(words.begin(), words.end(), INT16_MIN);
    GuardedPlane expected(65536, Guard::Back), out(65536, Guard::Back);
    kInterp4Plain.roundRow(words.data(), expected.data(), 65536);
    for (const Interp4Kernels* table : kInterp4Tables) {
        if (!cpuHas(table->set)) continue;
        table->roundRow(words.data(), out.data(), 65536);
        EXPECT_EQ(out.bytes(), expected.bytes());
    }
}

TEST(Kernels, VectorKernelsTakeAnyTapOrderAndStopAtTheLastTap) {
    Random random(seed());
    const auto truncated = linear<5, 0>;
    const uint8_t zeros[65539] = {};
    GuardedPlane flat({zeros, zeros + sizeof zeros}, Guard::Back);
    for (int groups : {-1, 0, 1, 2, 3, 17, 130}) {
        const auto lanes = static_cast<size_t>(std::max(0, 8 * groups));
        GuardedPlane row(random.content(65539), Guard::Back);  // taps to 65535, the first one up to the guard
        std::vector<uint32_t> tap(lanes);
        std::vector<uint8_t> phase(lanes);
        for (size_t i = 0; i < lanes; ++i) {
            tap[i] = i == 0 ? 65535 : static_cast<uint32_t>(random.between(0, 65535));
            phase[i] = static_cast<uint8_t>(random.between(0, 31));
        }
        const std::vector<short> shortTap(tap.begin(), tap.end()), shortPhase(phase.begin(), phase.end());
        const int phaseY = random.between(0, 31);
        GuardedPlane out(2 * lanes, Guard::Back);
        allocate_cubicinterpolate_opt_asm_2(row.data(), shortPhase.data(), out.data(), groups, flat.data(), row.data(),
                                            row.data(), phaseY, shortTap.data());
        for (size_t i = 0; i < lanes; ++i) {
            const auto h = static_cast<uint8_t>(cubicinterpolate(row.data() + tap[i], phase[i]));
            uint8_t vertical[] = {h, 0, h, h};
            ASSERT_EQ(out.data()[i], cubicinterpolate(vertical, phaseY));
        }
        bilinear_neon(phase.data(), groups, tap.data(), row.data(), flat.data(), out.data(), phaseY);
        for (size_t i = 0; i < 2 * lanes; ++i) {
            const uint8_t* p = row.data() + tap[i / 2] + i % 2;
            ASSERT_EQ(out.data()[i], truncated(truncated(p[0], p[2], phase[i / 2]), 0, phaseY));
        }
    }
}

}  // namespace
}  // namespace vantor::test
