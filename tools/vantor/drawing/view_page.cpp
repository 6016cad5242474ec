#include "tools/vantor/drawing/view_page.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/vantor/drawing/drawing.h"
#include "tools/vantor/drawing/grid_mesh.h"
#include "tools/vantor/drawing/page_data.h"
#include "tools/vantor/drawing/view_page_html.h"
#include "tools/vantor/io/png_file.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string asUri(const std::string& name, const Picture& picture) {
    const std::vector<uint8_t> png = encodePng(name, picture);
    return "data:image/png;base64," + base64(png.data(), png.size());
}

Picture toGray(const Component& component) {
    Picture gray = makePicture(PixelFormat::Gray, component.size);
    auto out = gray.bytes.begin();
    for (int y = 0; y < component.size.height; ++y) {
        for (int x = 0; x < component.size.width; ++x) *out++ = static_cast<uint8_t>(component.at(x, y));
    }
    return gray;
}

/// The picture as browsers show it, and its own samples: in that PNG, or, where there is chroma, in one per
/// component.
Json toJson(const ViewedPicture& viewed) {
    const auto& [name, picture] = viewed;
    const bool isShown = picture.format == PixelFormat::Rgb || picture.format == PixelFormat::Gray;
    Json json{{"name", name}, {"png", asUri(name, isShown ? picture : convert(picture, PixelFormat::Rgb))}};
    if (isShown) {
        Json names;
        for (const Component& component : components(picture)) names.push_back(component.name);
        json["planes"] = {{{"names", names}}};
        return json;
    }
    for (const Component& component : components(picture)) {
        json["planes"].push_back({{"names", {component.name}}, {"png", asUri(name, toGray(component))}});
    }
    return json;
}

/// "M x,y x,y ...", in pixels.
std::string toPath(const std::vector<Point>& points) {
    std::string path = "M";
    for (const Point& point : points) {
        char text[64];
        std::snprintf(text, sizeof text, "%.2f,%.2f ", point.x, point.y);
        path += text;
    }
    return path;
}

template <typename NodePoint>
std::string meshPath(NodePoint&& at) {
    std::string path;
    for (const std::vector<Point>& line : meshLines(at)) path += toPath(line);
    return path;
}

std::string arrowsPath(const ViewedGrid& viewed) {
    const double headLength = viewed.frame.width / 200.0;
    std::string path;
    for (int row = 0; row < kGridNodes; ++row) {
        for (int column = 0; column < kGridNodes; ++column) {
            const Point from = nodePosition(row, column, viewed.frame);
            const Point to = nodeSource(viewed.grid, row, column, viewed.frame);
            if (from.x == to.x && from.y == to.y) continue;
            path += toPath({from, to}) + toPath(arrowHead(from, to, headLength)) + "Z";
        }
    }
    return path;
}

}  // namespace

std::vector<uint8_t> viewPage(const std::vector<ViewedPicture>& pictures,
                              const std::optional<ViewedGrid>& grid) {
    const Size size = pictures[0].picture.size;
    std::string title = pictures[0].name;
    if (pictures.size() > 1) title += " (A) and " + pictures[1].name + " (B)";
    Json json{{"title", title + ", " + toString(size)}, {"size", {size.width, size.height}}};
    for (const ViewedPicture& picture : pictures) json["pictures"].push_back(toJson(picture));
    if (grid) {
        json["legend"] =
            grid->name + (pictures.size() > 1
                              ? ": mesh on A: where its cells come from; on B: the cells; arrows: from "
                                "a node to its source"
                              : ": mesh: where its cells come from; arrows: from a node to its source");
        json["mesh"] =
            meshPath([&](int row, int column) { return nodeSource(grid->grid, row, column, grid->frame); });
        json["cells"] = meshPath([&](int row, int column) { return nodePosition(row, column, grid->frame); });
        json["arrows"] = arrowsPath(*grid);
    }
    return filledPage(kViewPage, "VANTOR_VIEW_DATA", json);
}

}  // namespace vantor::tool
