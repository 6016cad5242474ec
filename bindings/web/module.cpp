// What the page calls beside the C library's functions.
#include <cstdint>
#include <exception>
#include <string_view>
#include <typeinfo>

#include "bindings/c/failure.h"
#include "bindings/c/grid_view.h"
#include "bindings/c/source_map.h"
#include "bindings/c/warp_size.h"
#include "bindings/web/rgba.h"
#include "gdc_model/warp_kernels.h"
#include "geometry/error.h"
#include "geometry/grid_report.h"
#include "vantor/vantor.h"

using namespace vantor;
using namespace vantor::c;

// The module is built without exceptions: what is thrown goes to the page, which leaves the call by an
// exception of its own language, and takes back the stack. Nothing is unwound, so errors are thrown before
// work begins.
extern "C" {

__attribute__((import_module("env"), import_name("fail"), noreturn)) void failInPage(const char* text);

void* __cxa_allocate_exception(size_t) noexcept {
    alignas(16) static char room[sizeof(Failure) + 64];
    return room;
}

[[noreturn]] void __cxa_throw(void* thrown, std::type_info* type, void (*)(void*)) {
    if (*type == typeid(Failure)) failInPage(static_cast<Failure*>(thrown)->text);
    if (*type == typeid(GeometryError)) failInPage(static_cast<GeometryError*>(thrown)->what());
    failInPage("the call failed");
}
}

namespace {

/// What `vantor grid` reports.
struct Report {
    double least[2];  ///< displacement, in pixels
    double largest[2];
    double beyondRange;  ///< values
    double folded;       ///< cells
    double outside;      ///< share of the picture
};

struct Error {
    double largest;
    double at[2];
    double rms;
    double beyondHalf;  ///< pixels
    double pixels;
};

struct Mesh {
    double frame[2];  ///< what the nodes span, in pixels
    double unitsPerPixel[2];
    double sources[VANTOR_GRID_NODES][2];
    uint8_t isBeyondRange[VANTOR_GRID_NODES];
    uint8_t isFolded[kGridCells * kGridCells];
};

}  // namespace

extern "C" {

const char* vantor_web_kernels() {
    return instructionSetName(bestTable(kWarpTables).set);
}

void vantor_web_rgba(const vantor_image* image, const vantor_rect* part, int encoding, uint8_t* rgba) {
    web::toRgba(*image, *part, encoding, rgba);
}

/// Where nodes lead in pictures of a size, and what a grid cannot hold.
void vantor_web_mesh(const vantor_grid* grid, int width, int height, Mesh* mesh) {
    const Size frame = extendedSize({width, height});
    const Grid nodes = gridOf(*grid);
    Grid unit{};
    unit.dX[0] = unit.dY[0] = 1 << 20;
    const Point pixels = nodeDisplacement(unit, 0, 0, frame);
    mesh->frame[0] = frame.width;
    mesh->frame[1] = frame.height;
    mesh->unitsPerPixel[0] = unit.dX[0] / pixels.x;
    mesh->unitsPerPixel[1] = unit.dY[0] / pixels.y;
    for (int i = 0; i < VANTOR_GRID_NODES; ++i) {
        const Point source = nodeSource(nodes, i / kGridNodes, i % kGridNodes, frame);
        mesh->sources[i][0] = source.x;
        mesh->sources[i][1] = source.y;
        mesh->isBeyondRange[i] = isBeyondRange(nodes.dX[i]) || isBeyondRange(nodes.dY[i]);
    }
    const auto folded = foldedCells(nodes, frame);
    for (size_t i = 0; i < folded.size(); ++i) mesh->isFolded[i] = folded[i];
}

void vantor_web_report(const vantor_grid* grid, int width, int height, Report* report) {
    const GridReport found = examine(gridOf(*grid), extendedSize({width, height}));
    *report = {{found.minDisplacement.x, found.minDisplacement.y},
               {found.maxDisplacement.x, found.maxDisplacement.y},
               static_cast<double>(found.nodesBeyondRange),
               static_cast<double>(found.foldedCells),
               found.outside};
}

/// How far a grid is from a calibration, or, where that is null, from a transform.
void vantor_web_error(const vantor_grid* grid, const vantor_transform* transform,
                      const vantor_calibration* calibration, const double* rotation, const double* projection,
                      int width, int height, Error* error) {
    const Size picture{width, height};
    const SourceMap map =
        finiteMap(calibration ? SourceMap(undistortMap(*calibration, rotation, projection, picture))
                              : SourceMap(transformMap(*transform, picture)));
    const GridError found = measureError(gridOf(*grid), map, picture, extendedSize(picture));
    *error = {found.largest,
              {static_cast<double>(found.largestX), static_cast<double>(found.largestY)},
              found.rms,
              static_cast<double>(found.beyondHalf),
              static_cast<double>(found.pixels)};
}
}
