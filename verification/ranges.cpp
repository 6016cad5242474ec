#include "verification/ranges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "scaler/interp4_axis.h"

namespace vantor::verification {
namespace {

constexpr int kMinSide = 4;
constexpr size_t kMaxFree = 16;
constexpr int64_t kFar = std::numeric_limits<int64_t>::max();

/// What a register is as a function of the operands that are free: linear, but for an error between two
/// bounds.
struct Linear {
    std::array<double, kMaxFree> factors{};
    double constant = 0;
    double errorLow = 0;
    double errorHigh = 0;
    size_t count = 0;  ///< of factors that may differ from 0; of a constant 0

    static Linear of(double value) {
        Linear linear;
        linear.constant = value;
        return linear;
    }
    bool isConstant() const { return count == 0 && errorLow == 0 && errorHigh == 0; }
};

Linear sum(const Linear& a, const Linear& b, double sign) {
    Linear result = a;
    result.count = std::max(a.count, b.count);
    for (size_t i = 0; i < b.count; ++i) result.factors[i] += sign * b.factors[i];
    result.constant += sign * b.constant;
    result.errorLow += std::min(sign * b.errorLow, sign * b.errorHigh);
    result.errorHigh += std::max(sign * b.errorLow, sign * b.errorHigh);
    return result;
}

Linear scaled(const Linear& a, double by) {
    Linear result = a;
    for (size_t i = 0; i < a.count; ++i) result.factors[i] *= by;
    result.constant *= by;
    result.errorLow = std::min(by * a.errorLow, by * a.errorHigh);
    result.errorHigh = std::max(by * a.errorLow, by * a.errorHigh);
    return result;
}

struct Interval {
    double low;
    double high;
};

/// The analysis of one unit at fixed values of all operands but the first `free`, each of which has its
/// interval.
class Analysis {
public:
    Analysis(const Unit& unit, std::vector<Interval> free, std::vector<Range>& ranges)
        : unit_(unit),
          free_(std::move(free)),
          ranges_(ranges),
          linear_(unit.fresh.size()),
          values_(unit.fresh) {
        for (size_t i = 0; i < linear_.size(); ++i)
            linear_[i] = Linear::of(static_cast<double>(unit.fresh[i]));
    }

    /// `fixed` are the operands after the free ones.
    void run(const std::vector<int64_t>& fixed) {
        if (free_.empty()) return exactly(fixed);
        for (size_t i = 0; i < free_.size(); ++i) {
            linear_[i] = Linear{};
            linear_[i].factors[i] = 1;
            linear_[i].count = free_.size();
        }
        for (size_t i = 0; i < fixed.size(); ++i) {
            linear_[free_.size() + i] = Linear::of(static_cast<double>(fixed[i]));
            values_[free_.size() + i] = fixed[i];
        }
        for (size_t i = 0; i < unit_.quantities.size(); ++i) widen(i);
    }

private:
    void exactly(const std::vector<int64_t>& operands) {
        std::copy(operands.begin(), operands.end(), values_.begin());
        unit_.evaluate(values_.data());
        for (size_t i = 0; i < unit_.quantities.size(); ++i) {
            const int64_t value = values_[static_cast<size_t>(unit_.slotOf(i))];
            Range& range = ranges_[i];
            range.low = range.least = std::min(range.least, value);
            range.high = range.most = std::max(range.most, value);
        }
    }

    void widen(size_t index) {
        const Quantity& quantity = unit_.quantities[index];
        Linear value = result(quantity.formula);
        if (quantity.rounding) {
            const double divisor = quantity.shift
                                       ? std::ldexp(1.0, static_cast<int>(constant(*quantity.shift)))
                                       : constant(*quantity.divisor);
            value = quotient(value, divisor, *quantity.rounding);
        }
        Interval bounds = interval(value);
        const Linear unclamped = value;
        if (quantity.clamp) {
            const Interval low = interval(result(quantity.clamp->first));
            const Interval high = interval(result(quantity.clamp->second));
            if (bounds.low < low.low || bounds.high > high.high) {
                bounds = {std::clamp(bounds.low, low.low, high.high),
                          std::clamp(bounds.high, low.low, high.high)};
                value = errorOnly(bounds);
            }
        }
        linear_[static_cast<size_t>(unit_.slotOf(index))] = value;
        Range& range = ranges_[index];
        const auto low = static_cast<int64_t>(std::ceil(bounds.low - kSlack));
        const auto high = static_cast<int64_t>(std::floor(bounds.high + kSlack));
        range.low = std::min(range.low, low);
        range.high = std::max(range.high, high);
        if (low < range.least) range.least = std::min(range.least, atVertex(unclamped, index, false));
        if (high > range.most) range.most = std::max(range.most, atVertex(unclamped, index, true));
    }

    /// The model at the extreme of the linear part, or, where there is none, along a diagonal of the domain.
    int64_t atVertex(const Linear& linear, size_t index, bool isHigh) {
        if (linear.count == 0) return onDiagonal(index, isHigh);
        for (size_t i = 0; i < free_.size(); ++i) {
            const bool isUpper = (linear.factors[i] > 0) == isHigh;
            values_[i] = static_cast<int64_t>(isUpper ? free_[i].high : free_[i].low);
        }
        return evaluated(index);
    }

    int64_t onDiagonal(size_t index, bool isHigh) {
        constexpr int kPoints = 64;
        int64_t extreme = isHigh ? -kFar : kFar;
        for (int k = 0; k < kPoints; ++k) {
            for (size_t i = 0; i < free_.size(); ++i) {
                const double step = (free_[i].high - free_[i].low) / (kPoints - 1);
                values_[i] = static_cast<int64_t>(free_[i].low + k * step);
            }
            const int64_t value = evaluated(index);
            extreme = isHigh ? std::max(extreme, value) : std::min(extreme, value);
        }
        return extreme;
    }

    int64_t evaluated(size_t index) {
        unit_.evaluate(values_.data());
        return values_[static_cast<size_t>(unit_.slotOf(index))];
    }

    Interval interval(const Linear& linear) const {
        Interval result{linear.constant + linear.errorLow, linear.constant + linear.errorHigh};
        for (size_t i = 0; i < linear.count; ++i) {
            const double atLow = linear.factors[i] * free_[i].low;
            const double atHigh = linear.factors[i] * free_[i].high;
            result.low += std::min(atLow, atHigh);
            result.high += std::max(atLow, atHigh);
        }
        return result;
    }

    static Linear errorOnly(const Interval& bounds) {
        Linear linear;
        linear.errorLow = bounds.low;
        linear.errorHigh = bounds.high;
        return linear;
    }

    Linear quotient(const Linear& value, double divisor, Rounding rounding) const {
        if (value.isConstant()) {
            return Linear::of(static_cast<double>(verification::rounded(
                static_cast<int64_t>(value.constant), static_cast<int64_t>(divisor), rounding)));
        }
        Linear result = scaled(value, 1 / divisor);
        const double most = 1 - 1 / divisor;
        const Interval bounds = interval(value);
        if (rounding == Rounding::Floor || (rounding == Rounding::Zero && bounds.high > 0))
            result.errorLow -= most;
        if (rounding == Rounding::Zero && bounds.low < 0) result.errorHigh += most;
        if (rounding != Rounding::Floor && rounding != Rounding::Zero) {
            result.errorLow -= 0.5;
            result.errorHigh += 0.5;
        }
        return result;
    }

    double constant(const Formula& formula) { return result(formula).constant; }

    const Linear& result(const Formula& formula) {
        for (const Instruction& i : formula.code) linear_[static_cast<size_t>(i.target)] = made(i);
        return linear_[static_cast<size_t>(formula.slot)];
    }

    Linear made(const Instruction& i) const {
        const auto at = [&](int slot) -> const Linear& { return linear_[static_cast<size_t>(slot)]; };
        const Linear& a = at(i.a);
        const Linear& b = at(i.b);
        const auto whole = [](const Linear& linear) { return static_cast<int64_t>(linear.constant); };
        switch (i.operation) {
            case Instruction::Add:
                return sum(a, b, 1);
            case Instruction::Subtract:
                return sum(a, b, -1);
            case Instruction::Multiply:
                if (!a.isConstant() && !b.isConstant()) break;
                return a.isConstant() ? scaled(b, a.constant) : scaled(a, b.constant);
            case Instruction::ShiftLeft:
                return scaled(a, std::ldexp(1.0, static_cast<int>(b.constant)));
            case Instruction::Min:
            case Instruction::Max: {
                const Interval x = interval(a);
                const Interval y = interval(b);
                const bool isMin = i.operation == Instruction::Min;
                const Interval both{isMin ? std::min(x.low, y.low) : std::max(x.low, y.low),
                                    isMin ? std::min(x.high, y.high) : std::max(x.high, y.high)};
                return both.low == both.high ? Linear::of(both.low) : errorOnly(both);
            }
            case Instruction::And:
                // Of what is not constant, all values below a power of two may occur.
                if (!a.isConstant()) return errorOnly({0, b.constant});
                return Linear::of(static_cast<double>(whole(a) & whole(b)));
            case Instruction::Less:
                if (!a.isConstant()) return errorOnly({0, 1});
                return Linear::of(a.constant < b.constant);
            case Instruction::Equal:
                return Linear::of(a.constant == b.constant);
            case Instruction::AtLeast:
                return Linear::of(a.constant >= b.constant);
            case Instruction::Select: {
                if (a.isConstant()) return a.constant != 0 ? b : at(i.c);
                const Interval x = interval(b);
                const Interval y = interval(at(i.c));
                return errorOnly({std::min(x.low, y.low), std::max(x.high, y.high)});
            }
            case Instruction::Table:
                return Linear::of(makeInterp4Filter()[static_cast<size_t>(4 * whole(a) + whole(b))]);
            default:
                break;
        }
        throw std::logic_error("a formula that is not linear");
    }

    static constexpr double kSlack = 1e-6;

    const Unit& unit_;
    std::vector<Interval> free_;
    std::vector<Range>& ranges_;
    std::vector<Linear> linear_;
    std::vector<int64_t> values_;
};

/// Ends of the values of an operand that matter one by one.
using Fixed = std::vector<int64_t>;
using Each = std::function<void(const Fixed&)>;

void forPhases(int count, const Each& use) {
    for (int t = 0; t < count; ++t) use({t});
}

void forPhasePairs(int count, const Each& use) {
    for (int y = 0; y < count; ++y) {
        for (int x = 0; x < count; ++x) use({x, y});
    }
}

GdcFrame wholeFrame(Size size) {
    return requestFrame(size.width, size.height, {0, 0, size.width - 1, size.height - 1});
}

/// Frames of all sizes that the device takes.
void forFrames(const Limits& limits, Direction direction,
               const std::function<void(const GdcAxis&, int cellSize)>& use) {
    if (direction != Direction::Down) {
        for (int width = 96; width <= limits.warped.width; width += 16)
            use(wholeFrame({width, 64}).x, kVirtualCellWidth);
    }
    if (direction == Direction::Across) return;
    for (int height = 64; height <= limits.warped.height; height += 2)
        use(wholeFrame({96, height}).y, kVirtualCellHeight);
}

int largestSide(const Limits& limits, Direction direction) {
    if (direction == Direction::Across) return limits.scaled.width;
    if (direction == Direction::Down) return limits.scaled.height;
    return std::max(limits.scaled.width, limits.scaled.height);
}

/// Ends of reductions and enlargements of all sizes: positions are monotonic in between.
void forScalings(const Limits& limits, int longest, bool isReduction, bool isChroma, const Each& use) {
    const int halves = isChroma ? 2 : 1;
    for (const int source : {kMinSide, limits.longestReduced(longest), longest}) {
        const int samples = isReduction ? source / halves : source;
        for (int target = kMinSide / halves; target <= (isReduction ? source : longest) / halves; ++target) {
            if (!limits.takes(source, target * halves)) continue;
            const int64_t second =
                isReduction ? target : Interp4Axis(source, 0, source, target * halves).step();
            for (const int i : {0, target / 2, target - 1}) use({samples, second, i});
        }
    }
}

}  // namespace

Format Range::bound() const {
    Format format{low < 0, 1, 0};
    while (!format.holds(low) || !format.holds(high)) ++format.bits;
    return format;
}

Format Range::witness() const {
    return Range{least, most, least, most}.bound();
}

Limits Limits::parse(const std::string& text) {
    Limits limits;
    const auto read = [](const std::string& part, const char* format, int low, int high, int& value) {
        int end = 0;
        return std::sscanf(part.c_str(), format, &value, &end) == 1 && end > 0 &&
               static_cast<size_t>(end) == part.size() && value >= low && value <= high;
    };
    std::istringstream parts(text);
    std::string part;
    std::getline(parts, part, ',');
    const size_t x = std::min(part.find('x'), part.size());
    bool isGood = read(part.substr(0, x), "%5d%n", 96, 16384, limits.scaled.width) &&
                  read(part.substr(x), "x%5d%n", 64, 16384, limits.scaled.height) && text.back() != ',';
    while (isGood && std::getline(parts, part, ',')) {
        isGood = read(part, "%8d%n", 256, 1 << 23, limits.node) ||
                 read(part, "reduce=%5d%n", 2, kMaxRatio, limits.reduction) ||
                 read(part, "enlarge=%5d%n", 2, kMaxRatio, limits.enlargement);
    }
    if (!isGood) {
        throw std::runtime_error(text +
                                 ": expected 96x64 to 16384x16384, then a limit of the nodes from 256 to "
                                 "8388608, reduce= or enlarge= from 2 to 4096");
    }
    limits.warped = {std::min(limits.scaled.width, limits.warped.width),
                     std::min(limits.scaled.height, limits.warped.height)};
    return limits;
}

bool Limits::takes(int source, int target) const {
    return source <= reduction * target && target <= enlargement * source;
}

int Limits::longestReduced(int longest) const {
    const int ratio = std::min(reduction, longest / kMinSide);
    return ratio * (longest / ratio & ~1);
}

int Limits::shortestTarget(int source) const {
    const int target = (source + reduction - 1) / reduction;
    return std::max(target + (target & 1), kMinSide);
}

bool hasTies(const Limits& limits, Direction direction) {
    bool found = false;
    forFrames(limits, direction, [&](const GdcAxis& axis, int) {
        // Odd multiples of the scale are rounded.
        const int divisor = 1 << (axis.scaleShifter + 8);
        found |= axis.scale % divisor == divisor / 2;
    });
    return found;
}

bool dependsOnLimits(const Unit& unit) {
    constexpr const char* kSamplers[] = {"bicubic",        "bilinear",        "colour",
                                         "cubic",          "interp4_across",  "interp4_down",
                                         "linear_rounded", "linear_truncated"};
    return std::find(std::begin(kSamplers), std::end(kSamplers), unit.name) == std::end(kSamplers);
}

std::vector<Range> rangesOf(const Unit& unit, const Limits& limits, const Use& place) {
    const int largest = largestSide(limits, place.direction);
    std::vector<Range> ranges(unit.quantities.size(), Range{kFar, -kFar, kFar, -kFar});
    const auto analyze = [&](const std::vector<Interval>& free) {
        return [analysis = std::make_shared<Analysis>(unit, free, ranges)](const Fixed& fixed) {
            analysis->run(fixed);
        };
    };
    const auto samples = [](size_t count) { return std::vector<Interval>(count, {0, 255}); };
    const std::string& name = unit.name;
    if (name == "cubic") {
        forPhases(32, analyze(samples(4)));
    } else if (name == "linear_truncated") {
        forPhases(32, analyze(samples(2)));
    } else if (name == "linear_rounded") {
        forPhases(64, analyze(samples(2)));
    } else if (name == "interp4_across") {
        forPhases(32, analyze(samples(4)));
    } else if (name == "interp4_down") {
        const Range row = rangesOf(unitNamed("interp4_across"), limits).back();
        forPhases(32, analyze(std::vector<Interval>(4, {double(row.low), double(row.high)})));
    } else if (name == "bicubic") {
        forPhasePairs(256, analyze(samples(16)));
    } else if (name == "bilinear") {
        forPhasePairs(512, analyze(samples(4)));
    } else if (name == "grid_row" || name == "grid_curve") {
        const bool isRow = name == "grid_row";
        const Range row = isRow ? Range{-limits.node, limits.node - 1, 0, 0}
                                : rangesOf(unitNamed("grid_row"), limits).back();
        const Interval any{double(row.low), double(row.high)};
        const Interval none{0, 0};
        for (const int cell : {1, 2, kGridCells}) {
            const auto use = analyze({cell == 1 ? none : any, any, any, cell == kGridCells ? none : any});
            for (int t = 0; t < (isRow ? kVirtualCellHeight : kVirtualCellWidth); ++t) use({cell, t});
        }
    } else if (name == "source_position") {
        const Range displacement = rangesOf(unitNamed("grid_curve"), limits).back();
        const auto use = analyze({{double(displacement.low), double(displacement.high)}});
        forFrames(limits, place.direction, [&](const GdcAxis& axis, int) {
            for (const int i : {0, axis.sourceSize - 1}) use({axis.invScale, i, axis.sourceSize});
        });
    } else if (name == "virtual_axis") {
        const auto use = analyze({});
        forFrames(limits, place.direction, [&](const GdcAxis& axis, int cellSize) {
            const int last = axis.sourceSize - 1;
            const bool isSmall = last < 256;
            // Positions are monotonic: in large frames, ends and their neighbours.
            for (int i = 0; i <= last; i += isSmall || i < 64 || i > last - 64 ? 1 : last - 127)
                use({i, axis.scale, axis.scaleShifter, cellSize});
        });
    } else if (name == "warp_taps" || name == "warp_pair_taps") {
        const auto use = analyze({});
        forFrames(limits, place.direction, [&](const GdcAxis& axis, int) {
            const int size = axis.sourceSize;
            for (int index = 0; index <= size; index += index < 2 || index > size - 3 ? 1 : size - 5) {
                if (name == "warp_taps") {
                    use({index, size});
                } else {
                    for (const int fraction : {0, 127, 128, 255})
                        use({index, 256 * index + fraction, fraction, size / 2});
                }
            }
        });
    } else if (name == "reduce_axis") {
        forScalings(limits, largest, true, place.isChroma, analyze({}));
    } else if (name == "enlarge_axis") {
        forScalings(limits, largest, false, false, analyze({}));
    } else if (name == "enlarge_chroma_axis") {
        forScalings(limits, largest, false, true, analyze({}));
    } else if (name == "colour") {
        const auto use = analyze({});
        for (const int channel : {0, 1}) use({channel});
    } else {
        const auto use = analyze({});
        const int last = name == "pair_taps" ? largest / 2 : largest;
        for (const int index : {0, 1, last - 1}) use({last, index});
    }
    return ranges;
}

}  // namespace vantor::verification
