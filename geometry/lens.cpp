#include "geometry/lens.h"

#include <cmath>

namespace vantor {
namespace {

constexpr int kMaxSteps = 50;
constexpr double kPrecision = 1e-12;

/// The distance from the axis at which a fisheye puts light that comes in at an angle from it.
double fisheyeRadius(const Lens& lens, double angle) {
    const auto& k = lens.coefficients;
    const double a2 = angle * angle;
    return angle * (1 + a2 * (k[0] + a2 * (k[1] + a2 * (k[2] + a2 * k[3]))));
}

double fisheyeSlope(const Lens& lens, double angle) {
    const auto& k = lens.coefficients;
    const double a2 = angle * angle;
    return 1 + a2 * (3 * k[0] + a2 * (5 * k[1] + a2 * (7 * k[2] + a2 * 9 * k[3])));
}

Point distortedByFisheye(const Lens& lens, Point p) {
    const double radius = length(p);
    const double factor = radius > 0 ? fisheyeRadius(lens, std::atan(radius)) / radius : 1;
    return {p.x * factor, p.y * factor};
}

Point distortedByPolynomial(const Lens& lens, Point p) {
    const auto& [k1, k2, p1, p2, k3, k4, k5, k6, s1, s2, s3, s4] = lens.coefficients;
    const auto [x, y] = p;
    const double r2 = x * x + y * y;
    const double radial = (1 + r2 * (k1 + r2 * (k2 + r2 * k3))) / (1 + r2 * (k4 + r2 * (k5 + r2 * k6)));
    return {x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x) + r2 * (s1 + r2 * s2),
            y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y + r2 * (s3 + r2 * s4)};
}

std::optional<Point> straightenedByFisheye(const Lens& lens, Point bent) {
    const double radius = length(bent);
    if (radius == 0) return bent;
    double angle = radius;
    for (int step = 0; step < kMaxSteps; ++step) {
        const double slope = fisheyeSlope(lens, angle);
        const double change = (fisheyeRadius(lens, angle) - radius) / slope;
        angle -= change;
        if (!(slope > 0 && angle > 0 && angle < std::acos(0.0))) return std::nullopt;
        if (std::abs(change) < kPrecision) {
            const double factor = std::tan(angle) / radius;
            return Point{bent.x * factor, bent.y * factor};
        }
    }
    return std::nullopt;
}

/// Newton's method from the bent position, which leads along the branch of the formula that passes the axis.
std::optional<Point> straightenedByPolynomial(const Lens& lens, Point bent) {
    constexpr double kStep = 1e-6;
    Point p = bent;
    for (int step = 0; step < kMaxSteps; ++step) {
        const Point at = distortedByPolynomial(lens, p);
        const Point right = distortedByPolynomial(lens, {p.x + kStep, p.y});
        const Point below = distortedByPolynomial(lens, {p.x, p.y + kStep});
        const Point across{(right.x - at.x) / kStep, (right.y - at.y) / kStep};
        const Point down{(below.x - at.x) / kStep, (below.y - at.y) / kStep};
        const double determinant = across.x * down.y - across.y * down.x;
        if (!(determinant > 0)) return std::nullopt;
        const Point miss{at.x - bent.x, at.y - bent.y};
        const Point change{(miss.x * down.y - miss.y * down.x) / determinant,
                           (miss.y * across.x - miss.x * across.y) / determinant};
        p = {p.x - change.x, p.y - change.y};
        if (length(change) < kPrecision) return p;
    }
    return std::nullopt;
}

}  // namespace

Point distorted(const Lens& lens, Point straight) {
    return lens.isFisheye ? distortedByFisheye(lens, straight) : distortedByPolynomial(lens, straight);
}

std::optional<Point> straightened(const Lens& lens, Point bent) {
    return lens.isFisheye ? straightenedByFisheye(lens, bent) : straightenedByPolynomial(lens, bent);
}

}  // namespace vantor
