// Drawings with text, as PNG files.
#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "geometry/point.h"

namespace vantor::tool {

/// A white sheet to draw on, in its own pixels. Colours are 0xRRGGBB.
class Drawing {
public:
    enum class Align { Left, Center, Right };

    Drawing(int width, int height);

    void pixel(int x, int y, uint32_t color);
    void rectangle(Point corner, Point size, uint32_t color);
    /// A line through all points; closed and filled if `width` is 0.
    void line(const std::vector<Point>& points, uint32_t color, double width);
    /// A line with a head; short ones have a small head.
    void arrow(Point from, Point to, uint32_t color, double width);
    /// `at` is on the baseline.
    void text(Point at, const std::string& text, uint32_t color, double size, Align align = Align::Left);
    /// From here on draws within the rectangle only, and with no width and height everywhere again.
    void clip(Point corner, Point size);

    std::vector<uint8_t> png();

private:
    void ink(uint32_t color);

    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface_;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> cairo_;
};

/// The tip of an arrow: its point and the ends of its barbs, `length` long at most.
std::vector<Point> arrowHead(Point from, Point to, double length);

}  // namespace vantor::tool
