#include "tools/vantor/drawing/grid_plot.h"

#include <algorithm>
#include <cmath>

#include "tools/vantor/drawing/drawing.h"
#include "tools/vantor/drawing/grid_mesh.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {
namespace {

/// The margin for nodes that point outside, as a fraction of the picture.
constexpr double kAround = 0.1;

/// The largest plot, and its margins, in pixels of the drawing.
constexpr double kPlotWidth = 1400;
constexpr double kPlotHeight = 1000;
constexpr double kLeft = 80;
constexpr double kRight = 30;
constexpr double kTop = 116;
constexpr double kBottom = 64;
constexpr double kMinWidth = 900;  ///< that holds the text

constexpr double kTextSize = 15;
constexpr double kTickLength = 6;

constexpr uint32_t kInk = 0x303030;
constexpr uint32_t kPaper = 0xEEF1F7;
constexpr uint32_t kMeshInk = 0x1A40B3;
constexpr uint32_t kArrowInk = 0xD2551E;

/// The largest of 1, 2 and 5 times a power of ten that is not above a length.
double roundLength(double length) {
    const double power = std::pow(10, std::floor(std::log10(length)));
    for (const double digit : {5.0, 2.0}) {
        if (digit * power <= length) return digit * power;
    }
    return power;
}

std::string inDigits(double number) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%g", number);
    return digits;
}

class Plot {
public:
    Plot(const Grid& grid, Size frame, double exaggeration)
        : grid_(grid),
          frame_(frame),
          exaggeration_(exaggeration),
          scale_(std::min(kPlotWidth / frame.width, kPlotHeight / frame.height) / (1 + 2 * kAround)),
          area_{scale_ * frame.width * (1 + 2 * kAround), scale_ * frame.height * (1 + 2 * kAround)},
          width_(std::max(kLeft + area_.x + kRight, kMinWidth)),
          drawing_(static_cast<int>(std::lround(width_)),
                   static_cast<int>(std::lround(kTop + area_.y + kBottom))) {}

    std::vector<uint8_t> png(const std::string& title) {
        drawing_.rectangle(drawn({0, 0}), {scale_ * frame_.width, scale_ * frame_.height}, kPaper);
        drawing_.clip({kLeft, kTop}, area_);
        drawMesh();
        drawArrows();
        drawing_.clip({}, {});
        drawAxes();
        drawing_.text({kLeft, 30}, title + ", for pictures of " + toString(frame_), kInk, 1.25 * kTextSize);
        drawKey();
        return drawing_.png();
    }

private:
    Point drawn(Point pixel) const {
        return {kLeft + scale_ * (pixel.x + kAround * frame_.width),
                kTop + scale_ * (pixel.y + kAround * frame_.height)};
    }

    Point drawnNode(int row, int column) const {
        // Beyond that nothing is visible, and cairo's coordinates are limited.
        const auto exaggerated = [this](double position, double displacement, int size) {
            return std::clamp(position + exaggeration_ * displacement, -4.0 * size, 5.0 * size);
        };
        const Point position = nodePosition(row, column, frame_);
        const Point displacement = nodeDisplacement(grid_, row, column, frame_);
        return drawn({exaggerated(position.x, displacement.x, frame_.width),
                      exaggerated(position.y, displacement.y, frame_.height)});
    }

    void drawMesh() {
        const auto lines = meshLines([this](int row, int column) { return drawnNode(row, column); });
        for (size_t i = 0; i < lines.size(); ++i) drawing_.line(lines[i], kMeshInk, i % 16 < 2 ? 2 : 0.8);
    }

    void drawArrows() {
        for (int row = 0; row < kGridNodes; ++row) {
            for (int column = 0; column < kGridNodes; ++column) {
                drawing_.arrow(drawn(nodePosition(row, column, frame_)), drawnNode(row, column), kArrowInk,
                               1.2);
            }
        }
    }

    void drawAxes() {
        const Point end{kLeft + area_.x, kTop + area_.y};
        drawing_.line({{kLeft, kTop}, {end.x, kTop}, end, {kLeft, end.y}, {kLeft, kTop}}, kInk, 1);
        const double step = roundLength(std::max(frame_.width, frame_.height) / 6.0);
        for (double x = 0; x <= frame_.width * (1 + kAround); x += step) {
            const double at = drawn({x, 0}).x;
            drawing_.line({{at, end.y}, {at, end.y + kTickLength}}, kInk, 1);
            drawing_.text({at, end.y + kTickLength + 1.1 * kTextSize}, inDigits(x), kInk, kTextSize,
                          Drawing::Align::Center);
        }
        for (double y = 0; y <= frame_.height * (1 + kAround); y += step) {
            const double at = drawn({0, y}).y;
            drawing_.line({{kLeft - kTickLength, at}, {kLeft, at}}, kInk, 1);
            drawing_.text({kLeft - 1.5 * kTickLength, at + kTextSize / 3}, inDigits(y), kInk, kTextSize,
                          Drawing::Align::Right);
        }
        drawing_.text({kLeft + area_.x / 2, end.y + kTickLength + 2.6 * kTextSize}, "x in pixels", kInk,
                      kTextSize, Drawing::Align::Center);
        drawing_.text({kTickLength, kTop - 0.6 * kTextSize}, "y in pixels", kInk, kTextSize);
    }

    /// What the lines mean, and an arrow to measure the others by.
    void drawKey() {
        const double y = 56;
        const double displacement = roundLength(120 / (scale_ * std::max(std::abs(exaggeration_), 1e-6)));
        const Point tail{kLeft, y - kTextSize / 3};
        const Point head{tail.x + displacement * scale_ * std::abs(exaggeration_), tail.y};
        drawing_.arrow(tail, head, kArrowInk, 1.2);
        drawing_.text({head.x + 8, y},
                      "displacement of " + inDigits(displacement) +
                          (displacement == 1 ? " pixel" : " pixels") +
                          (exaggeration_ == 1 ? "" : ", drawn " + inDigits(exaggeration_) + " times as long"),
                      kArrowInk, kTextSize);
        drawing_.text({kLeft, y + 1.6 * kTextSize}, "mesh: where the 32 x 32 cells take their pixels from",
                      kMeshInk, kTextSize);
    }

    const Grid& grid_;
    Size frame_;
    double exaggeration_;
    double scale_;  ///< pixels of the drawing per pixel of the picture
    Point area_;    ///< the plot's size
    double width_;
    Drawing drawing_;
};

}  // namespace

std::vector<uint8_t> plotGrid(const Grid& grid, Size frame, double exaggeration, const std::string& title) {
    return Plot(grid, frame, exaggeration).png(title);
}

}  // namespace vantor::tool
