#include "tools/vantor/drawing/heatmap.h"

#include <algorithm>
#include <cstdlib>

#include "tools/vantor/drawing/drawing.h"

namespace vantor::tool {
namespace {

/// Of differences from 1, 2, 4, 8, 16, 32, 64 and 128 on.
constexpr uint32_t kColors[] = {0x2B3FA8, 0x0079C8, 0x00A79A, 0x4CBB3C,
                                0xC8C81E, 0xF79A14, 0xEB3C23, 0xFFFFFF};
constexpr int kBands = 8;

constexpr int kLegendHeight = 52;
constexpr int kBandWidth = 78;
constexpr int kMargin = 8;
constexpr double kTextSize = 13;

int bandOf(int difference) {
    int band = 0;
    while (difference >> (band + 1) != 0) ++band;
    return band;
}

void drawDifferences(Drawing& drawing, const Picture& a, const Picture& b, int tolerance) {
    const std::vector<Component> fromA = components(a);
    const std::vector<Component> fromB = components(b);
    for (int y = 0; y < a.size.height; ++y) {
        for (int x = 0; x < a.size.width; ++x) {
            int largest = 0;
            for (size_t i = 0; i < fromA.size(); ++i) {
                const int column = x * fromA[i].size.width / a.size.width;
                const int row = y * fromA[i].size.height / a.size.height;
                largest = std::max(largest, std::abs(fromA[i].at(column, row) - fromB[i].at(column, row)));
            }
            drawing.pixel(x, y, largest > tolerance ? kColors[bandOf(largest)] : 0);
        }
    }
}

void drawLegend(Drawing& drawing, int top, int tolerance, const std::string& title) {
    const auto swatch = [&](int place, uint32_t color, const std::string& meaning) {
        const double x = kMargin + place * kBandWidth;
        drawing.rectangle({x - 1, top + kMargin - 1.0}, {16, 16}, 0x808080);
        drawing.rectangle({x, top + kMargin + 0.0}, {14, 14}, color);
        drawing.text({x + 19, top + kMargin + 12.0}, meaning, 0, kTextSize);
    };
    swatch(0, 0, tolerance == 0 ? "0" : "0-" + std::to_string(tolerance));
    int place = 1;
    for (int band = bandOf(tolerance + 1); band < kBands; ++band) {
        const int first = std::max(1 << band, tolerance + 1);
        const int last = (2 << band) - 1;
        swatch(place++, kColors[band],
               first == last ? std::to_string(first) : std::to_string(first) + "-" + std::to_string(last));
    }
    drawing.text({kMargin, top + kLegendHeight - 10.0}, title, 0, kTextSize);
}

}  // namespace

std::vector<uint8_t> heatmap(const Picture& a, const Picture& b, int tolerance, const std::string& title) {
    const int width = std::max(a.size.width, 2 * kMargin + (kBands + 1) * kBandWidth);
    Drawing drawing(width, a.size.height + kLegendHeight);
    drawLegend(drawing, a.size.height, tolerance, title);
    drawDifferences(drawing, a, b, tolerance);
    return drawing.png();
}

}  // namespace vantor::tool
