#include "tests/golden.h"

#include "scaler/bicubic_luma.h"

namespace vantor::test {
namespace {

std::string scaledHash(const std::string& kind, std::istream& numbers) {
    int srcWidth, srcHeight, dstWidth, dstHeight, variant, isExtreme;
    numbers >> srcWidth >> srcHeight >> dstWidth >> dstHeight >> variant >> isExtreme;
    GoldenPicture src(srcWidth, srcHeight), dst(dstWidth, dstHeight);
    src.generate(isExtreme != 0);
    if (kind == "entry") {
        EXPECT_EQ(0, hardware::vantorClient::runInterpBicubic(dst.data, src.data, variant));
        return hash(dst.bytes);
    }
    const auto run = [&](auto* kernel) {
        kernel(src.data.y, dst.data.y, srcWidth, srcHeight, srcWidth, dstWidth, dstHeight, dstWidth);
    };
    if (variant == 6) {
        run(interpolateBCY);
    } else {
        run(interpolateBCY_1);
        run(interpolateBCY_2);
    }
    dst.bytes.resize(static_cast<size_t>(dstWidth * dstHeight));
    return hash(dst.bytes);
}

TEST(Scaler, GivesTheGoldenBytes) { expectGolden(GOLDEN_SCALER, 32, scaledHash); }

}  // namespace
}  // namespace vantor::test
