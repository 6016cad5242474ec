#include "tools/selftest/selftest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "scaler/bicubic_luma.h"

// Instead of the library's.
int interpolateBCY(unsigned char*, unsigned char*, int, int, int, int, int, int) { return 0; }

TEST(Selftest, TellsWhichRequestsDiffer) {
    using vantor::selftest::Result;
    testing::internal::CaptureStdout();
    const Result all = vantor::selftest::compute([](const Result& result) {
        EXPECT_EQ(result.isSame(), result.name.find("luma in 1/64") != 0) << result.name;
        if (!result.isSame()) print(result);
    });
    print(all);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4) << text;
    EXPECT_NE(text.find(", expected 64402a0a\n"), std::string::npos) << text;
    EXPECT_FALSE(all.isSame());
}
