#include "bindings/gstreamer/negotiation.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <memory>

namespace vantor::gstreamer {
namespace {

constexpr char kWidth[] = "width";
constexpr char kHeight[] = "height";
constexpr char kPixelAspect[] = "pixel-aspect-ratio";

struct Fraction {
    int numerator = 1;
    int denominator = 1;
};

struct Shape {
    int width = 1;
    int height = 1;
    Fraction pixelAspect;

    double displayAspect() const {
        return static_cast<double>(width) * pixelAspect.numerator /
               (static_cast<double>(height) * pixelAspect.denominator);
    }
};

/// Pixels of no width count as square.
Fraction pixelAspectOf(int numerator, int denominator) {
    return numerator > 0 ? Fraction{numerator, denominator} : Fraction{};
}

Shape shapeOf(const GstStructure* structure) {
    Shape shape;
    int numerator = 0;
    int denominator = 1;
    gst_structure_get_int(structure, kWidth, &shape.width);
    gst_structure_get_int(structure, kHeight, &shape.height);
    gst_structure_get_fraction(structure, kPixelAspect, &numerator, &denominator);
    shape.pixelAspect = pixelAspectOf(numerator, denominator);
    return shape;
}

Shape shapeOf(const GstVideoInfo& info) {
    return {GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info),
            pixelAspectOf(GST_VIDEO_INFO_PAR_N(&info), GST_VIDEO_INFO_PAR_D(&info))};
}

int toSide(double side) {
    return static_cast<int>(std::clamp(std::round(side), 1.0, double{std::numeric_limits<int>::max()}));
}

struct FreeStructure {
    void operator()(GstStructure* structure) const { gst_structure_free(structure); }
};
using Structure = std::unique_ptr<GstStructure, FreeStructure>;

/// What a structure of caps can be fixated to, side by side and then the rest, in turn.
class Candidate {
public:
    explicit Candidate(const GstStructure* open) : structure_(gst_structure_copy(open)) {}

    Candidate& width(double side) { return nearest(kWidth, side); }
    Candidate& height(double side) { return nearest(kHeight, side); }
    Candidate& pixelAspect(Fraction value) {
        gst_structure_fixate_field_nearest_fraction(structure_.get(), kPixelAspect, value.numerator,
                                                    value.denominator);
        return *this;
    }

    Shape shape() const { return shapeOf(structure_.get()); }

private:
    Candidate& nearest(const char* field, double side) {
        gst_structure_fixate_field_nearest_int(structure_.get(), field, toSide(side));
        return *this;
    }

    Structure structure_;
};

/// The pixel aspect ratio with which a size has a display aspect ratio, where that can be written.
Fraction pixelAspectFor(const Shape& from, const Shape& size) {
    Fraction ratio = from.pixelAspect;
    if (gst_util_fraction_multiply(from.width, from.height, ratio.numerator, ratio.denominator,
                                   &ratio.numerator, &ratio.denominator)) {
        gst_util_fraction_multiply(ratio.numerator, ratio.denominator, size.height, size.width,
                                   &ratio.numerator, &ratio.denominator);
    }
    return ratio;
}

/// Of the ways to fixate: the first of those that come nearest to the display aspect ratio.
Shape bestShape(const GstStructure* open, const Shape& from) {
    const double aspect = from.displayAspect();
    Candidate sides(open);
    sides.width(from.width).height(from.height);
    sides.pixelAspect(pixelAspectFor(from, sides.shape()));
    Candidate tall(open);
    tall.height(from.height).pixelAspect(from.pixelAspect);
    const auto widthOfPixel = [](const Candidate& candidate) {
        const Fraction ratio = candidate.shape().pixelAspect;
        return static_cast<double>(ratio.numerator) / ratio.denominator;
    };
    tall.width(tall.shape().height * aspect / widthOfPixel(tall));
    Candidate wide(open);
    wide.width(from.width).pixelAspect(from.pixelAspect);
    wide.height(wide.shape().width * widthOfPixel(wide) / aspect);

    const auto error = [&](const Shape& shape) { return std::abs(std::log(shape.displayAspect() / aspect)); };
    const Shape shapes[] = {sides.shape(), tall.shape(), wide.shape()};
    return *std::min_element(std::begin(shapes), std::end(shapes),
                             [&](const Shape& a, const Shape& b) { return error(a) < error(b); });
}

/// Left alone if it is there, or if both would be 1/1.
void setPixelAspect(GstStructure* structure, Fraction ratio) {
    if (gst_structure_has_field(structure, kPixelAspect) || ratio.numerator != ratio.denominator)
        gst_structure_set(structure, kPixelAspect, GST_TYPE_FRACTION, ratio.numerator, ratio.denominator,
                          nullptr);
}

/// Chosen, if there are several texts to choose from.
void setText(GstStructure* structure, const char* field, const gchar* text) {
    if (!text) return;
    if (gst_structure_has_field(structure, field)) {
        gst_structure_fixate_field_string(structure, field, text);
    } else {
        gst_structure_set(structure, field, G_TYPE_STRING, text, nullptr);
    }
}

void carryColour(const GstCaps* caps, GstStructure* to) {
    GstVideoInfo info;
    if (!gst_video_info_from_caps(&info, caps)) return;
    gchar* const colorimetry = gst_video_colorimetry_to_string(&info.colorimetry);
    setText(to, "colorimetry", colorimetry);
    g_free(colorimetry);
    if (GST_VIDEO_INFO_N_PLANES(&info) > 1)
        setText(to, "chroma-site", gst_video_chroma_to_string(GST_VIDEO_INFO_CHROMA_SITE(&info)));
}

}  // namespace

GstCaps* withAnySize(const GstCaps* caps) {
    GstCaps* const result = gst_caps_copy(caps);
    for (guint i = 0; i < gst_caps_get_size(result); ++i) {
        GstStructure* const structure = gst_caps_get_structure(result, i);
        gst_structure_set(structure, kWidth, GST_TYPE_INT_RANGE, 1, G_MAXINT, kHeight, GST_TYPE_INT_RANGE, 1,
                          G_MAXINT, nullptr);
        if (gst_structure_has_field(structure, kPixelAspect)) {
            gst_structure_set(structure, kPixelAspect, GST_TYPE_FRACTION_RANGE, 1, G_MAXINT, G_MAXINT, 1,
                              nullptr);
        }
    }
    return result;
}

GstCaps* fixated(GstPadDirection direction, const GstCaps* caps, GstCaps* others) {
    GstCaps* const result = gst_caps_make_writable(gst_caps_truncate(others));
    GstStructure* const structure = gst_caps_get_structure(result, 0);
    const Shape from = shapeOf(gst_caps_get_structure(caps, 0));

    // Upstream square pixels are what caps without a ratio mean; downstream any can be given.
    const Structure open(gst_structure_copy(structure));
    if (direction == GST_PAD_SINK && !gst_structure_has_field(open.get(), kPixelAspect)) {
        gst_structure_set(open.get(), kPixelAspect, GST_TYPE_FRACTION_RANGE, 1, G_MAXINT, G_MAXINT, 1,
                          nullptr);
    }
    const Shape shape = bestShape(open.get(), from);
    gst_structure_set(structure, kWidth, G_TYPE_INT, shape.width, kHeight, G_TYPE_INT, shape.height, nullptr);
    setPixelAspect(structure, shape.pixelAspect);
    if (direction == GST_PAD_SINK && (shape.width != from.width || shape.height != from.height))
        carryColour(caps, structure);
    return gst_caps_fixate(result);
}

vantor_rect placeOf(const GstVideoInfo& from, const GstVideoInfo& to) {
    const Shape out = shapeOf(to);
    const double share = shapeOf(from).displayAspect() / out.displayAspect();  // above 1: too wide
    const bool hasChroma = GST_VIDEO_INFO_N_PLANES(&to) > 1;
    // A picture that is off by less than a sample fills its frame.
    const auto within = [&](int side, double wanted) {
        if (side - wanted < 1) return side;
        const int inner = std::max(static_cast<int>(std::lround(wanted)), 1);
        return hasChroma ? std::min(side, (inner + 1) / 2 * 2) : inner;
    };
    const auto offset = [&](int side, int inner) {
        return hasChroma ? (side - inner) / 4 * 2 : (side - inner) / 2;
    };
    const int width = within(out.width, out.width * std::min(share, 1.0));
    const int height = within(out.height, out.height / std::max(share, 1.0));
    return {offset(out.width, width), offset(out.height, height), width, height};
}

}  // namespace vantor::gstreamer
