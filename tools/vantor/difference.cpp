#include "tools/vantor/difference.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "tools/vantor/terminal.h"

namespace vantor::tool {
namespace {

Difference measure(const Component& a, const Component& b) {
    Difference difference{a.name, a.size.pixels()};
    for (int y = 0; y < a.size.height; ++y) {
        for (int x = 0; x < a.size.width; ++x) {
            const int distance = std::abs(a.at(x, y) - b.at(x, y));
            if (distance == 0) continue;
            if (difference.differing == 0) {
                difference.firstX = x;
                difference.firstY = y;
                difference.firstA = a.at(x, y);
                difference.firstB = b.at(x, y);
            }
            ++difference.differing;
            difference.largest = std::max(difference.largest, distance);
            difference.squares += distance * distance;
        }
    }
    return difference;
}

}  // namespace

bool areComparable(const Picture& a, const Picture& b) {
    const std::vector<Component> fromA = components(a);
    const std::vector<Component> fromB = components(b);
    return a.size == b.size && fromA.size() == fromB.size() && std::string(fromA[0].name) == fromB[0].name;
}

std::vector<Difference> measure(const Picture& a, const Picture& b) {
    const std::vector<Component> fromA = components(a);
    const std::vector<Component> fromB = components(b);
    std::vector<Difference> differences;
    for (size_t i = 0; i < fromA.size(); ++i) differences.push_back(measure(fromA[i], fromB[i]));
    return differences;
}

nlohmann::ordered_json toJson(const std::vector<Difference>& differences) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Difference& d : differences) {
        nlohmann::ordered_json json{
            {"component", d.component}, {"samples", d.samples}, {"differing", d.differing}};
        if (d.differing != 0) {
            json["first"] = {{"x", d.firstX}, {"y", d.firstY}, {"a", d.firstA}, {"b", d.firstB}};
            json["largest"] = d.largest;
            json["psnr"] = d.psnr();
        }
        list.push_back(json);
    }
    return list;
}

void print(const Difference& d) {
    if (d.differing == 0) {
        printLine("%s: equal (%zu samples)", d.component, d.samples);
        return;
    }
    printLine(
        "%s: %zu of %zu samples differ, first at (%d, %d): %d and %d; largest difference %d, PSNR %.2f dB",
        d.component, d.differing, d.samples, d.firstX, d.firstY, d.firstA, d.firstB, d.largest, d.psnr());
}

}  // namespace vantor::tool
