#include "tools/vantor/drawing/drawing.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

constexpr double kHeadLength = 7;

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int length) {
    auto* out = static_cast<std::vector<uint8_t>*>(bytes);
    out->insert(out->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

/// cairo drops drawing operations, or aborts, where there is no memory: so more than it takes must be
/// available.
cairo_surface_t* newSurface(int width, int height) {
    constexpr size_t kBesidesPixels = size_t{8} << 20;
    const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
    ::operator delete(::operator new(kBesidesPixels + 8 * pixels));
    return cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
}

void check(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS)
        throw UserError(std::string("cannot draw: ") + cairo_status_to_string(status));
}

}  // namespace

Drawing::Drawing(int width, int height)
    : surface_(newSurface(width, height), cairo_surface_destroy),
      cairo_(cairo_create(surface_.get()), cairo_destroy) {
    check(cairo_status(cairo_.get()));
    cairo_set_line_join(cairo_.get(), CAIRO_LINE_JOIN_ROUND);
    ink(0xFFFFFF);
    cairo_paint(cairo_.get());
    cairo_surface_flush(surface_.get());
}

void Drawing::pixel(int x, int y, uint32_t color) {
    unsigned char* row = cairo_image_surface_get_data(surface_.get()) +
                         static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface_.get());
    reinterpret_cast<uint32_t*>(row)[x] = color;
}

void Drawing::rectangle(Point corner, Point size, uint32_t color) {
    ink(color);
    cairo_rectangle(cairo_.get(), corner.x, corner.y, size.x, size.y);
    cairo_fill(cairo_.get());
}

void Drawing::line(const std::vector<Point>& points, uint32_t color, double width) {
    ink(color);
    cairo_new_path(cairo_.get());  // text sets a current point
    for (const Point& point : points) cairo_line_to(cairo_.get(), point.x, point.y);
    cairo_set_line_width(cairo_.get(), width);
    width > 0 ? cairo_stroke(cairo_.get()) : cairo_fill(cairo_.get());
}

void Drawing::arrow(Point from, Point to, uint32_t color, double width) {
    line({from, to}, color, width);
    line(arrowHead(from, to, kHeadLength), color, 0);
}

void Drawing::text(Point at, const std::string& text, uint32_t color, double size, Align align) {
    ink(color);
    // cairo's built-in font looks the same on every machine.
    cairo_select_font_face(cairo_.get(), "@cairo:sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo_.get(), size);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_.get(), text.c_str(), &extents);
    const double before = align == Align::Left ? 0 : align == Align::Center ? 0.5 : 1;
    cairo_move_to(cairo_.get(), at.x - before * extents.x_advance, at.y);
    cairo_show_text(cairo_.get(), text.c_str());
}

void Drawing::clip(Point corner, Point size) {
    cairo_reset_clip(cairo_.get());
    if (size.x == 0 && size.y == 0) return;
    cairo_rectangle(cairo_.get(), corner.x, corner.y, size.x, size.y);
    cairo_clip(cairo_.get());
}

std::vector<uint8_t> Drawing::png() {
    check(cairo_status(cairo_.get()));  // of all that was drawn
    cairo_surface_mark_dirty(surface_.get());
    std::vector<uint8_t> bytes;
    check(cairo_surface_write_to_png_stream(surface_.get(), append, &bytes));
    return bytes;
}

void Drawing::ink(uint32_t color) {
    cairo_set_source_rgb(cairo_.get(), (color >> 16 & 255) / 255.0, (color >> 8 & 255) / 255.0,
                         (color & 255) / 255.0);
}

std::vector<Point> arrowHead(Point from, Point to, double length) {
    const double distance = std::hypot(to.x - from.x, to.y - from.y);
    if (distance == 0) return {};
    const double along = std::min(length, distance / 2) / distance;
    const Point back{(from.x - to.x) * along, (from.y - to.y) * along};
    return {to,
            {to.x + back.x - back.y / 2.5, to.y + back.y + back.x / 2.5},
            {to.x + back.x + back.y / 2.5, to.y + back.y - back.x / 2.5}};
}

}  // namespace vantor::tool
