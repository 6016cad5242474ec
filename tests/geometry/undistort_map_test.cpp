// The maps of calibrations against OpenCV's own, on calibrations that OpenCV wrote.
#include "geometry/undistort_map.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

#include "geometry/grid_report.h"
#include "tests/support.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/io/calibration_file.h"

namespace vantor::tool {

namespace {

TEST(UndistortMap, LeadsWhereOpenCvsMapLeads) {
    const char* made = std::getenv("VANTOR_CALIBRATIONS");
    const std::string directory = made ? made : VANTOR_CALIBRATIONS;
    std::ifstream lines(directory + "/maps.txt");
    std::string name, camera;
    Size size;
    double alpha;
    Point output, expected;
    int count = 0;
    for (; lines >> name >> camera >> size.width >> size.height >> alpha >> output.x >> output.y >> expected.x >>
           expected.y;
         ++count) {
        const CalibrationHints hints{false, {}, camera == "-" ? "" : camera, {}};
        const UndistortMap map(readCalibration(directory + "/" + name, hints), size,
                               alpha < 0 ? std::nullopt : std::optional(alpha));
        const Point source = map({output.x + 0.5, output.y + 0.5});
        const double tolerance = alpha < 0 ? 0.001 : alpha < 1 ? 0.1 : 0.5;  // OpenCV inverts the lens in five steps
        EXPECT_NEAR(source.x - 0.5, expected.x, tolerance)
            << name << " " << alpha << ": " << output.x << " " << output.y;
        EXPECT_NEAR(source.y - 0.5, expected.y, tolerance)
            << name << " " << alpha << ": " << output.x << " " << output.y;
        if (output.x == 0 && output.y == 0 && alpha < 1) {
            EXPECT_LT(measureError(makeGrid(map, size), map, size, size).largest, 0.1) << name;
        }
    }
    EXPECT_EQ(count, 252);
}

TEST(Lens, IsInvertedUpToItsFold) {
    test::Random random(test::seed());
    const Lens polynomial{{-0.2, 0.05, 0.001, -0.002, -0.01, 0.01, 0.02, 0, 0.001, 0.002, -0.001, 0.003}};
    const Lens fisheye{{0.02, -0.01, 0.004, -0.001}, true};
    for (int i = 0; i < 1000; ++i) {
        const Point p{random.between(-1000, 1000) / 1000.0, random.between(-1000, 1000) / 1000.0};
        for (const Lens& lens : {polynomial, fisheye}) {
            const std::optional<Point> back = straightened(lens, distorted(lens, p));
            ASSERT_TRUE(back) << p.x << " " << p.y;
            EXPECT_NEAR(back->x, p.x, 1e-9);
            EXPECT_NEAR(back->y, p.y, 1e-9);
        }
    }
    // A fisheye's r = a - |k| a^n turns back at a = (n |k|)^(1 / (1 - n)). Right before that, only the true slope leads
    // there in time.
    for (const int i : {0, 1, 2, 3}) {
        const double n = 3 + 2 * i, k = 0.4, fold = std::pow(n * k, 1 / (1 - n)), most = fold * (1 - 1 / n);
        Lens lens{{}, true};
        lens.coefficients[static_cast<size_t>(i)] = -k;
        const std::optional<Point> back = straightened(lens, {0, most * 0.99999});
        ASSERT_TRUE(back) << i;
        EXPECT_NEAR(distorted(lens, *back).y, most * 0.99999, 1e-9);
        EXPECT_FALSE(straightened(lens, {0, most * 1.00001})) << i;
    }
    EXPECT_FALSE(straightened(fisheye, {1.6, 0}));        // behind the lens
    EXPECT_FALSE(straightened(Lens{{-0.25}}, {0.8, 0}));  // x - x^3 / 4 is 0.77 at most
}

}  // namespace
}  // namespace vantor::tool
