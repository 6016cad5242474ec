#include "tools/vantor/grid_plot.h"

#include <cairo.h>

#include <algorithm>
#include <memory>

#include "gdc_model/grid_interp.h"
#include "tools/vantor/io/error.h"

namespace vantor::tool {
namespace {

/// Room around the picture, as a part of its width, for nodes that point outside.
constexpr double kMargin = 0.1;

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int length) {
    auto* out = static_cast<std::vector<uint8_t>*>(bytes);
    out->insert(out->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

/// Draws in pixels of the picture, scaled down so that picture and margin fill the plot.
class Plot {
public:
    explicit Plot(Size frame)
        : frame_(frame),
          surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, frame.width, frame.height),
                   cairo_surface_destroy),
          cairo_(cairo_create(surface_.get()), cairo_destroy) {
        cairo_set_source_rgb(cairo_.get(), 1, 1, 1);
        cairo_paint(cairo_.get());
        const double scale = 1 / (1 + 2 * kMargin);
        cairo_translate(cairo_.get(), frame.width * kMargin * scale, frame.height * kMargin * scale);
        cairo_scale(cairo_.get(), scale, scale);
        cairo_set_line_join(cairo_.get(), CAIRO_LINE_JOIN_ROUND);
    }

    void text(const std::string& title) {
        cairo_set_source_rgb(cairo_.get(), 0.2, 0.2, 0.2);
        cairo_select_font_face(cairo_.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(cairo_.get(), frame_.height * kMargin * 0.4);
        cairo_move_to(cairo_.get(), 0, -frame_.height * kMargin * 0.4);
        cairo_show_text(cairo_.get(), title.c_str());
    }

    void outline() {
        color(0.93, 0.94, 0.97);
        cairo_rectangle(cairo_.get(), 0, 0, frame_.width, frame_.height);
        cairo_fill_preserve(cairo_.get());
        color(0.5, 0.5, 0.5);
        stroke(2);
    }

    void line(const std::vector<Point>& points, bool isStrong) {
        for (const Point& point : points) cairo_line_to(cairo_.get(), point.x, point.y);
        color(0.1, 0.25, isStrong ? 0.45 : 0.7);
        stroke(isStrong ? 2.2 : 0.8);
    }

    std::vector<uint8_t> png() {
        std::vector<uint8_t> bytes;
        const cairo_status_t status = cairo_surface_write_to_png_stream(surface_.get(), append, &bytes);
        if (status != CAIRO_STATUS_SUCCESS)
            throw UserError(std::string("cannot plot: ") + cairo_status_to_string(status));
        return bytes;
    }

private:
    void color(double r, double g, double b) { cairo_set_source_rgb(cairo_.get(), r, g, b); }

    /// Widths in thousandths of the picture's width.
    void stroke(double width) {
        cairo_set_line_width(cairo_.get(), width * frame_.width / 1000);
        cairo_stroke(cairo_.get());
    }

    Size frame_;
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface_;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> cairo_;
};

}  // namespace

std::vector<uint8_t> plotGrid(const Grid& grid, Size frame, double exaggeration, const std::string& title) {
    const auto node = [&](int row, int column) {
        // Far outside is all the same, and cairo's coordinates are limited.
        const auto drawn = [exaggeration](double place, double move, int size) {
            return std::clamp(place + exaggeration * move, -4.0 * size, 5.0 * size);
        };
        const Point place = nodePlace(row, column, frame);
        const Point move = nodeMove(grid, row, column, frame);
        return Point{drawn(place.x, move.x, frame.width), drawn(place.y, move.y, frame.height)};
    };
    Plot plot(frame);
    plot.outline();
    for (int i = 0; i < kGridNodes; ++i) {
        std::vector<Point> across, down;
        for (int j = 0; j < kGridNodes; ++j) {
            across.push_back(node(i, j));
            down.push_back(node(j, i));
        }
        plot.line(across, i % 8 == 0);
        plot.line(down, i % 8 == 0);
    }
    plot.text(title);
    return plot.png();
}

}  // namespace vantor::tool
