// Every kernel table of every family, and the vector kernels on top of them, one sample at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "scaler/bicubic_luma.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_kernels.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

/// Calls `check` with every table that this processor can run, and says which; at least the plain one runs,
/// and tables stand in order of preference.
template <typename Kernels, int Count, typename Check>
void forEachTable(const char* family, const Kernels* const (&tables)[Count], Check&& check) {
    EXPECT_EQ(tables[0]->set, InstructionSet::Plain);
    for (int i = 0; i < Count; ++i) {
        const bool runs = processorHas(tables[i]->set);
        std::printf("kernel table %s/%s: %s\n", family, instructionSetName(tables[i]->set),
                    runs ? "tested" : "not supported by this processor");
        EXPECT_TRUE(i == 0 || tables[i - 1]->set < tables[i]->set);
        if (runs) check(*tables[i]);
    }
}

TEST(Kernels, UsersLimitTheInstructionSets) {
    const char* limit = std::getenv("VANTOR_CPU");
    ASSERT_TRUE(isInstructionSetLimit(limit)) << limit;
    EXPECT_FALSE(isInstructionSetLimit("neon"));
    const std::string last = limit ? limit : "avx512";
    const int lastSet = last == "plain" ? 0 : last == "avx2" ? 2 : 3;
    for (InstructionSet set : kInstructionSets) {
        EXPECT_EQ(isUsable(set), processorHas(set) && static_cast<int>(set) <= lastSet)
            << instructionSetName(set);
    }
}

/// A row of which every tap may be the last byte before an unmapped page, and taps in any order that reach
/// both ends.
struct Columns {
    Columns(Random& random, int count, int rowBytes, int phases)
        : row(random.content(static_cast<size_t>(rowBytes)), Guard::Back),
          tap(static_cast<size_t>(count)),
          phase(static_cast<size_t>(count)) {
        for (uint32_t& t : tap) t = static_cast<uint32_t>(random.between(0, rowBytes - 4));
        for (uint8_t& p : phase) p = static_cast<uint8_t>(random.between(0, phases - 1));
        if (count > 0) tap.front() = static_cast<uint32_t>(rowBytes - 4);
    }

    uint8_t* at(size_t i) { return row.data() + tap[i]; }

    GuardedPlane row;
    std::vector<uint32_t> tap;
    std::vector<uint8_t> phase;
};

int bilinear(int a, int b, int t, int bits, int bias) {
    return (((1 << bits) - t) * a + t * b + bias) >> bits;
}

/// The column counts that matter: none, one, all tails, and 2, 3 and 17 groups with tails.
constexpr int kCounts[] = {0, 1, 7, 8, 15, 16, 17, 31, 33, 64, 141};

TEST(Kernels, LumaTablesComputeTheCubicAtEveryPhase) {
    Random random(seed());
    forEachTable("bicubic luma", kLumaTables, [&](const LumaKernels& kernels) {
        for (int count : kCounts) {
            for (int phase = 0; phase < 32; ++phase) {
                Columns columns(random, count, random.between(4, 300), 32);
                GuardedPlane out(static_cast<size_t>(count), Guard::Back);
                kernels.filterRow(columns.row.data(), columns.tap.data(), columns.phase.data(), out.data(),
                                  count);
                for (size_t i = 0; i < columns.tap.size(); ++i) {
                    ASSERT_EQ(out.data()[i], cubicinterpolate(columns.at(i), columns.phase[i]))
                        << "seed " << seed();
                }
                std::vector<std::vector<uint8_t>> rows;
                for (int r = 0; r < 4; ++r) rows.push_back(random.content(static_cast<size_t>(count) + 1));
                const uint8_t* const taps[] = {&rows[0][1], &rows[1][1], &rows[2][1], &rows[3][1]};
                kernels.blendRows(taps, phase, out.data(), count);
                for (int i = 0; i < count; ++i) {
                    uint8_t p[] = {taps[0][i], taps[1][i], taps[2][i], taps[3][i]};
                    ASSERT_EQ(out.data()[i], cubicinterpolate(p, phase)) << "seed " << seed();
                }
            }
        }
    });
}

TEST(Kernels, ChromaTablesComputeTheBilinearAtEveryPhase) {
    Random random(seed());
    const auto check = [&](auto filter, auto blend, int bits, int bias) {
        for (int count : kCounts) {
            for (int phase = 0; phase < 1 << bits; ++phase) {
                Columns columns(random, count, random.between(4, 300), 1 << bits);
                GuardedPlane out(2 * static_cast<size_t>(count), Guard::Back);
                filter(columns.row.data(), columns.tap.data(), columns.phase.data(), out.data(), count);
                for (size_t i = 0; i < 2 * columns.tap.size(); ++i) {
                    const uint8_t* p = columns.at(i / 2) + i % 2;
                    ASSERT_EQ(out.data()[i], bilinear(p[0], p[2], columns.phase[i / 2], bits, bias));
                }
                const std::vector<uint8_t> a = random.content(2 * static_cast<size_t>(count));
                const std::vector<uint8_t> b = random.content(2 * static_cast<size_t>(count));
                blend(a.data(), b.data(), phase, out.data(), count);
                for (size_t i = 0; i < a.size(); ++i) {
                    ASSERT_EQ(out.data()[i], bilinear(a[i], b[i], phase, bits, bias));
                }
            }
        }
    };
    forEachTable("bilinear chroma", kChromaTables,
                 [&](const ChromaKernels& kernels) { check(kernels.filterRow, kernels.blendRows, 5, 0); });
    forEachTable("four-tap chroma", kFourTapTables, [&](const FourTapKernels& kernels) {
        check(kernels.filterPairs, kernels.blendPairs, 6, 32);
    });
}

TEST(Kernels, FourTapTablesSaturateAndWrapAsPromised) {
    Random random(seed());
    forEachTable("four-tap luma", kFourTapTables, [&](const FourTapKernels& kernels) {
        for (int count : kCounts) {
            for (int limit : {300, 4300, 32767}) {
                Columns columns(random, count, random.between(4, 300), 32);
                std::vector<int16_t> weights(128);
                for (int16_t& weight : weights)
                    weight = static_cast<int16_t>(random.between(-limit - 1, limit));
                std::vector<int16_t> filtered(static_cast<size_t>(count));
                kernels.filterRow(columns.row.data(), columns.tap.data(), columns.phase.data(),
                                  weights.data(), filtered.data(), count);
                for (size_t i = 0; i < filtered.size(); ++i) {
                    int64_t sum = 128;
                    for (size_t k = 0; k < 4; ++k)
                        sum += weights[4 * columns.phase[i] + k] * columns.at(i)[k];
                    ASSERT_EQ(filtered[i], std::clamp<int64_t>(sum >> 8, INT16_MIN, INT16_MAX));
                }
                std::vector<int16_t> rows(4 * static_cast<size_t>(count) + 4);
                for (int16_t& h : rows) h = static_cast<int16_t>(random.between(-limit - 1, limit));
                const int16_t* const taps[] = {&rows[0], &rows[1], &rows[2], &rows[3]};
                std::vector<uint8_t> out(static_cast<size_t>(count));
                kernels.blendRows(taps, weights.data() + 8, out.data(), count);
                for (size_t i = 0; i < out.size(); ++i) {
                    int64_t sum = 0;
                    for (size_t k = 0; k < 4; ++k) sum += int64_t{weights[8 + k]} * taps[k][i];
                    const int64_t wrapped = (sum & 0xFFFFFFFF) - ((sum & 0x80000000) << 1);
                    ASSERT_EQ(out[i], std::clamp<int64_t>((wrapped + 32768) >> 16, 0, 255)) << "sum " << sum;
                }
            }
        }
    });
}

TEST(Kernels, VectorKernelsTakeAnyTapOrderAndStopAtTheLastTap) {
    Random random(seed());
    for (int groups : {-1, 0, 1, 2, 3, 17}) {
        const int count = std::max(0, 8 * groups);
        const auto lanes = static_cast<size_t>(count);
        Columns columns(random, count, 65539, 32);  // taps to 65535
        std::vector<short> tap(columns.tap.begin(), columns.tap.end());
        std::vector<short> phase(columns.phase.begin(), columns.phase.end());
        uint8_t* const row = columns.row.data();
        const int phaseY = random.between(0, 31);
        const uint8_t zeros[65539] = {};
        GuardedPlane flat({zeros, zeros + sizeof zeros}, Guard::Back);
        GuardedPlane out(2 * lanes, Guard::Back);
        allocate_cubicinterpolate_opt_asm_2(row, phase.data(), out.data(), groups, flat.data(), row, row,
                                            phaseY, tap.data());
        for (size_t i = 0; i < lanes; ++i) {
            const auto h = static_cast<uint8_t>(cubicinterpolate(columns.at(i), phase[i]));
            uint8_t vertical[] = {h, 0, h, h};
            ASSERT_EQ(out.data()[i], cubicinterpolate(vertical, phaseY));
        }
        bilinear_neon(columns.phase.data(), groups, columns.tap.data(), row, flat.data(), out.data(), phaseY);
        for (size_t i = 0; i < 2 * lanes; ++i) {
            const uint8_t* p = columns.at(i / 2) + i % 2;
            ASSERT_EQ(out.data()[i],
                      bilinear(bilinear(p[0], p[2], columns.phase[i / 2], 5, 0), 0, phaseY, 5, 0));
        }
    }
}

TEST(Kernels, CubicMatchesNumbersWorkedOutByHand) {
    struct Case {
        uint8_t p[4];
        int t;
        int expected;
    };
    const Case cases[] = {
        {{10, 20, 30, 40}, 0, 20},     // phase 0 is the sample itself
        {{10, 20, 30, 40}, 16, 25},    // a straight line stays one: 20 + (16 x 20 >> 6)
        {{12, 200, 90, 33}, 11, 182},  // 3861 >> 5 = 120; -5819 >> 5 = -182; 200 + (-1144 >> 6 = -18)
        {{0, 255, 0, 255}, 16, 127},   // 510; -510; 255 + (-8160 >> 6 = -128)
        {{255, 0, 0, 255}, 16, 0},     // -32 is clamped
        {{0, 255, 255, 0}, 16, 255},   // and 286
        {{0, 0, 255, 255}, 63, 0},     // twice the interval: -1005; -473; -13734 >> 6 = -215
    };
    for (const Case& c : cases) {
        uint8_t p[] = {c.p[0], c.p[1], c.p[2], c.p[3]};
        EXPECT_EQ(cubicinterpolate(p, c.t), c.expected) << int{p[0]} << " " << int{p[1]} << " at " << c.t;
    }
}

}  // namespace
}  // namespace vantor::test
