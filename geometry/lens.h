// How lenses bend: the models that calibrations use.
#pragma once

#include <array>
#include <optional>

#include "geometry/point.h"

namespace vantor {

/// Positions are on a plane at distance 1 before the lens, around its axis.
struct Lens {
    /// Polynomial: k1, k2, p1, p2, k3, k4, k5, k6, s1, s2, s3, s4, in the order in which calibrations list
    /// them. Fisheye: k1 to k4, in the first four.
    std::array<double, 12> coefficients{};
    bool isFisheye = false;
};

/// Where the lens puts what a pinhole would put at `straight`.
///
/// Polynomial, with r the distance from the axis: both coordinates times
/// (1 + k1 r^2 + k2 r^4 + k3 r^6) / (1 + k4 r^2 + k5 r^4 + k6 r^6), and, added to them,
/// 2 p1 x y + p2 (r^2 + 2 x^2) + s1 r^2 + s2 r^4 and p1 (r^2 + 2 y^2) + 2 p2 x y + s3 r^2 + s4 r^4.
///
/// Fisheye, with theta = atan r: at the distance theta (1 + k1 theta^2 + k2 theta^4 + k3 theta^6 + k4
/// theta^8).
Point distorted(const Lens& lens, Point straight);

/// The way back. Nothing where the lens puts no part of the half space before it, or a fold of its formula.
std::optional<Point> straightened(const Lens& lens, Point bent);

}  // namespace vantor
