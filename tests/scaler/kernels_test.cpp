// The choice among kernel tables, and the vector kernels.

#include "scaler/bicubic_luma.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_kernels.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

/// Prints the table that this run uses. The tests run under every limit that users can set, so that each
/// table this processor supports has its turn.
template <typename Kernels, int Count>
void reportTables(const char* family, const Kernels* const (&tables)[Count]) {
    EXPECT_EQ(tables[0]->set, InstructionSet::Plain);
    std::printf("kernel table tested: %s/%s\n", family, instructionSetName(bestTable(tables).set));
    for (int i = 1; i < Count; ++i) EXPECT_LT(tables[i - 1]->set, tables[i]->set);
}

TEST(Kernels, EveryTableHasItsTurn) {
    reportTables("bicubic luma", kLumaTables);
    reportTables("bilinear chroma", kChromaTables);
    reportTables("four-tap", kFourTapTables);
}

TEST(Kernels, UsersLimitTheInstructionSets) {
    const char* limit = std::getenv("VANTOR_CPU");
    ASSERT_TRUE(isInstructionSetLimit(limit)) << limit;
    EXPECT_FALSE(isInstructionSetLimit("neon"));
    const std::string last = limit ? limit : "avx512";
    const int lastSet = last == "plain" ? 0 : last == "avx2" ? 2 : 3;
    for (InstructionSet set : kInstructionSets) {
        EXPECT_EQ(isUsable(set), processorHas(set) && static_cast<int>(set) <= lastSet) << instructionSetName(set);
    }
}

/// A row of which every tap may be the last byte before an unmapped page, and taps in any order that reach both ends.
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

int bilinear(int a, int b, int t, int bits, int bias) { return (((1 << bits) - t) * a + t * b + bias) >> bits; }

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
        allocate_cubicinterpolate_opt_asm_2(row, phase.data(), out.data(), groups, flat.data(), row, row, phaseY,
                                            tap.data());
        for (size_t i = 0; i < lanes; ++i) {
            const auto h = static_cast<uint8_t>(cubicinterpolate(columns.at(i), phase[i]));
            uint8_t vertical[] = {h, 0, h, h};
            ASSERT_EQ(out.data()[i], cubicinterpolate(vertical, phaseY));
        }
        bilinear_neon(columns.phase.data(), groups, columns.tap.data(), row, flat.data(), out.data(), phaseY);
        for (size_t i = 0; i < 2 * lanes; ++i) {
            const uint8_t* p = columns.at(i / 2) + i % 2;
            ASSERT_EQ(out.data()[i], bilinear(bilinear(p[0], p[2], columns.phase[i / 2], 5, 0), 0, phaseY, 5, 0));
        }
    }
}

}  // namespace
}  // namespace vantor::test
