#include "tools/vantor/picture/difference.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "bindings/c/compare.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {
namespace {

c::SampleView viewOf(const Component& component) {
    return {component.first, static_cast<std::ptrdiff_t>(component.stride),
            static_cast<std::ptrdiff_t>(component.step)};
}

Difference measure(const Component& a, const Component& b) {
    const vantor_difference d = c::difference(viewOf(a), viewOf(b), a.size);
    return {a.name,    a.size.pixels(), static_cast<size_t>(d.differing),
            d.largest, d.squares,       0,
            d.first_x, d.first_y,       d.first_a,
            d.first_b};
}

void print(const Difference& d, bool isOfClip) {
    if (d.differing == 0) {
        printLine("%s: equal (%zu samples)", d.component, d.samples);
        return;
    }
    const std::string frame = isOfClip ? "in frame " + std::to_string(d.firstFrame) + " " : "";
    printLine(
        "%s: %zu of %zu samples differ, first %sat (%d, %d): %d and %d; largest difference %d, PSNR %.2f "
        "dB",
        d.component, d.differing, d.samples, frame.c_str(), d.firstX, d.firstY, d.firstA, d.firstB, d.largest,
        d.psnr());
}

}  // namespace

void Difference::add(const Difference& later, uintmax_t frame) {
    if (differing == 0 && later.differing != 0) {
        firstFrame = frame;
        firstX = later.firstX;
        firstY = later.firstY;
        firstA = later.firstA;
        firstB = later.firstB;
    }
    samples += later.samples;
    differing += later.differing;
    largest = std::max(largest, later.largest);
    squares += later.squares;
}

bool areComparable(const FrameShape& a, const FrameShape& b) {
    return a.size == b.size && (a.format == b.format || (isSubsampled(a.format) && isSubsampled(b.format)));
}

std::vector<Difference> measure(const Picture& a, const Picture& b) {
    const std::vector<Component> fromA = components(a);
    const std::vector<Component> fromB = components(b);
    std::vector<Difference> differences;
    for (size_t i = 0; i < fromA.size(); ++i) differences.push_back(measure(fromA[i], fromB[i]));
    return differences;
}

nlohmann::ordered_json toJson(const std::vector<Difference>& differences, bool isOfClip) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Difference& d : differences) {
        nlohmann::ordered_json json{
            {"component", d.component}, {"samples", d.samples}, {"differing", d.differing}};
        if (d.differing != 0) {
            json["first"] = nlohmann::ordered_json::object();
            if (isOfClip) json["first"]["frame"] = d.firstFrame;
            json["first"].update({{"x", d.firstX}, {"y", d.firstY}, {"a", d.firstA}, {"b", d.firstB}});
            json["largest"] = d.largest;
            json["psnr"] = d.psnr();
        }
        list.push_back(json);
    }
    return list;
}

void print(const std::vector<Difference>& differences, bool isOfClip) {
    for (const Difference& difference : differences) print(difference, isOfClip);
}

}  // namespace vantor::tool
