#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>

#include "bindings/c/buffer.h"
#include "bindings/c/grid_view.h"
#include "bindings/c/warp.h"
#include "bindings/c/warp_size.h"
#include "geometry/pixel_steps.h"

namespace vantor::c {
namespace {

/// A list of numbers.
template <typename Numbers>
std::string list(const Numbers& numbers) {
    std::string text;
    for (const auto& number : numbers) {
        text += text.empty() ? "[" : ",";
        if constexpr (std::is_class_v<std::decay_t<decltype(number)>>) {
            text += list(number);
        } else {
            text += std::to_string(number);
        }
    }
    return text + "]";
}

std::string list(std::initializer_list<int64_t> numbers) {
    return list<std::initializer_list<int64_t>>(numbers);
}

/// An object, member by member.
class JsonObject {
public:
    JsonObject& add(const char* name, const std::string& value) {
        text_ += std::string(text_.empty() ? "{" : ",") + "\"" + name + "\":" + value;
        return *this;
    }
    JsonObject& add(const char* name, int64_t value) { return add(name, std::to_string(value)); }

    std::string text() const { return text_ + "}"; }

private:
    std::string text_;
};

std::string axis(const VirtualPosition& at, int displacement, const SourcePosition& source,
                 const std::array<int, 4>& taps) {
    JsonObject json;
    json.add("virtual_position", at.coordinate)
        .add("cell", at.cell)
        .add("within_cell", at.within)
        .add("displacement", displacement)
        .add("source_position", source.coordinate)
        .add("index", source.index)
        .add("fraction", source.fraction);
    if (source.index >= 0) json.add("taps", list(taps));
    return json.text();
}

std::string luma(const LumaBlock& samples, const Bicubic& b) {
    return JsonObject()
        .add("samples", list(samples))
        .add("weights", list(b.weights))
        .add("sum", b.sum)
        .add("weight_sum", b.weightSum)
        .add("correction", b.correction)
        .add("bounds", list({b.low, b.high}))
        .add("value", b.value)
        .text();
}

std::string chroma(const Bilinear& b) {
    const auto& [leftTop, rightTop, leftBottom, rightBottom] = b.samples;
    return JsonObject()
        .add("samples", list({leftTop, rightTop, leftBottom, rightBottom}))
        .add("weights", list({b.leftTopWeight, b.rightTopWeight, b.leftBottomWeight, b.rightBottomWeight}))
        .add("value", b.value)
        .text();
}

/// What the engine makes of the pixel: its luma, and the chroma that it shares.
std::string engineSamples(const vantor_image& src, const vantor_grid& grid, int x, int y) {
    const int left = x & ~1;
    const int top = y & ~1;
    const vantor_rect part{left, top, std::min(2, src.width - left), std::min(2, src.height - top)};
    uint8_t luma[4] = {};
    uint8_t pair[2] = {};
    warpPart(nullptr, extendedSize({src.width, src.height}), src, grid, part,
             {luma, hasChroma(src) ? pair : nullptr, pair + 1, 2, 0, 0, 2, part.width, part.height});
    if (src.format == VANTOR_NV21) std::swap(pair[0], pair[1]);
    const int value = luma[2 * (y - top) + (x - left)];
    return hasChroma(src) ? list({value, pair[0], pair[1]}) : list({value});
}

std::string toJson(const PixelSteps& steps, const std::string& engine) {
    const PixelSource& at = steps.at;
    JsonObject json;
    json.add("pixel", list({steps.column, steps.row}))
        .add("size", list({steps.frame.x.sourceSize, steps.frame.y.sourceSize}))
        .add("inside", at.inside ? "true" : "false")
        .add("x", axis(steps.x, steps.displacementX, at.x, steps.columns()))
        .add("y", axis(steps.y, steps.displacementY, at.y, steps.rows()))
        .add("luma", luma(steps.samples, steps.luma))
        .add("library", engine);
    if (steps.u) json.add("u", chroma(*steps.u)).add("v", chroma(*steps.v));
    return json.text();
}

void checkPosition(const char* name, int value, int limit) {
    if (value < 0 || value >= limit) throw invalid("%s %d, expected 0 to %d", name, value, limit - 1);
}

}  // namespace
}  // namespace vantor::c

using namespace vantor;
using namespace vantor::c;

int vantor_explain(const vantor_image* src, const vantor_grid* grid, int x, int y, char* json, size_t size,
                   size_t* needed) {
    return guarded(nullptr, [&] {
        checkImage("src", src, kWarpLimit);
        checkPointer("grid", grid);
        checkPosition("x", x, src->width);
        checkPosition("y", y, src->height);
        auto planes = warpPlanes<const uint8_t>(*src);
        if (src->format == VANTOR_NV21) std::swap(planes.u, planes.v);
        const PixelSteps steps =
            stepsOf(gridOf(*grid), extendedSize({src->width, src->height}), planes, x, y);
        const std::string text = toJson(steps, engineSamples(*src, *grid, x, y));
        deliver({text.c_str(), text.size() + 1}, "json", json, size, needed);
    });
}
