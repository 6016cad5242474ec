#include "bindings/gstreamer/warp_element.h"

#include <exception>
#include <mutex>
#include <optional>
#include <string>

#include "bindings/gstreamer/filter.h"
#include "bindings/gstreamer/frame_view.h"
#include "bindings/gstreamer/warp_source.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::gstreamer {
namespace {

/// What C++ constructs.
struct WarpState {
    std::mutex mutex;  ///< of the two below
    WarpSource source;
    bool hasChanged = true;

    // Of the thread that has frames.
    Size size{0, 0};
    std::optional<MadeWarp> made;  ///< for pictures of that size; none if it cannot be made
};

struct VantorWarp {
    VantorFilter parent;
    WarpState* state;
};

struct VantorWarpClass {
    VantorFilterClass parent;
};

}  // namespace

G_DEFINE_TYPE(VantorWarp, vantor_warp, vantor_filter_get_type())

namespace {

WarpState& stateOf(gpointer object) {
    return *static_cast<VantorWarp*>(object)->state;
}

/// The number of a property is the kind of warp that it holds.
struct WarpProperty {
    WarpKind kind;
    const char* name;
    const char* text;
};

constexpr WarpProperty kProperties[] = {
    {WarpKind::Grid, "grid", "Grid file, such as vantor grid makes; replaces the other warps"},
    {WarpKind::Matrix, "matrix",
     "A,B,C,D,E,F: a pixel comes from (A x + B y + C, D x + E y + F); integers, A, B, D, E in 1/4096 "
     "and C, F in 1/32 pixel; replaces the other warps"},
    {WarpKind::Calibration, "calibration",
     "File of a camera's calibration, of which pictures are undistorted; replaces the other warps"},
    {WarpKind::Lens, "lens",
     "K1[,K2[,K3[,P1,P2]]] of a lens whose distortion is corrected, for radii in units of half the diagonal; "
     "replaces the other warps"}};

/// Without a text there is no warp, unless it is another property's.
void setSource(WarpState& state, WarpKind kind, const char* text) {
    const std::lock_guard<std::mutex> lock(state.mutex);
    const bool isEmpty = !text || !*text;
    if (isEmpty && state.source.kind != kind) return;
    state.source = isEmpty ? WarpSource{} : WarpSource{kind, text};
    state.hasChanged = true;
}

void setProperty(GObject* object, guint property, const GValue* value, GParamSpec*) {
    setSource(stateOf(object), static_cast<WarpKind>(property), g_value_get_string(value));
}

void getProperty(GObject* object, guint property, GValue* value, GParamSpec*) {
    WarpState& state = stateOf(object);
    const std::lock_guard<std::mutex> lock(state.mutex);
    const bool isHeld = state.source.kind == static_cast<WarpKind>(property);
    g_value_set_string(value, isHeld ? state.source.text.c_str() : nullptr);
}

/// The warp as it is now wanted; nothing if it is that of the frame before.
std::optional<WarpSource> changedSource(WarpState& state, Size size) {
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!state.hasChanged && state.size == size) return {};
    state.hasChanged = false;
    return state.source;
}

void remake(VantorWarp* warp, const WarpSource& source, Size size) {
    WarpState& state = *warp->state;
    state.size = size;
    state.made.reset();
    try {
        state.made = makeWarp(source, size);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(warp, RESOURCE, SETTINGS, ("%s", tool::escapeForTerminal(error.what()).c_str()),
                          (nullptr));
        return;
    }
    for (const std::string& note : state.made->notes)
        GST_ELEMENT_WARNING(warp, RESOURCE, SETTINGS, ("%s", tool::escapeForTerminal(note).c_str()),
                            (nullptr));
}

/// Frames pass as they are while the warp moves nothing.
void beforeTransform(GstBaseTransform* base, GstBuffer*) {
    if (!GST_VIDEO_FILTER(base)->negotiated) return;
    auto* const warp = reinterpret_cast<VantorWarp*>(base);
    const GstVideoInfo& info = GST_VIDEO_FILTER(base)->in_info;
    const Size size{GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
    const std::optional<WarpSource> source = changedSource(*warp->state, size);
    if (!source) return;
    remake(warp, *source, size);
    const gboolean isIdentity = warp->state->made && warp->state->made->isIdentity;
    if (isIdentity == gst_base_transform_is_passthrough(base)) return;
    gst_base_transform_set_passthrough(base, isIdentity);
    gst_base_transform_reconfigure_src(base);  // the next element's buffers, if it now needs any
}

GstFlowReturn transformFrame(GstVideoFilter* base, GstVideoFrame* from, GstVideoFrame* to) {
    if (!stateOf(base).made) return GST_FLOW_ERROR;  // which was posted
    return GST_VIDEO_FILTER_CLASS(vantor_warp_parent_class)->transform_frame(base, from, to);
}

void process(VantorFilter* filter, const GstVideoFrame& to, const GstVideoFrame& from) {
    const MadeWarp& made = *stateOf(filter).made;
    const GstVideoInfo& info = filter->parent.in_info;
    compute(filter, viewOf(to, info), viewOf(from, info),
            [&](vantor_engine* engine, const vantor_image* dst, const vantor_image* src) {
                return vantor_warp(engine, dst, src, &made.grid);
            });
}

gboolean stop(GstBaseTransform* base) {
    WarpState& state = stateOf(base);
    state.made.reset();
    state.size = {0, 0};
    return GST_BASE_TRANSFORM_CLASS(vantor_warp_parent_class)->stop(base);
}

void finalize(GObject* object) {
    delete static_cast<VantorWarp*>(static_cast<gpointer>(object))->state;
    G_OBJECT_CLASS(vantor_warp_parent_class)->finalize(object);
}

}  // namespace

static void vantor_warp_init(VantorWarp* warp) {
    warp->state = new WarpState;
}

static void vantor_warp_class_init(VantorWarpClass* warpClass) {
    warpClass->parent.maxSize = {8192, 6144};
    warpClass->parent.process = process;
    GObjectClass* const object = G_OBJECT_CLASS(warpClass);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    for (const WarpProperty& property : kProperties) {
        g_object_class_install_property(
            object, static_cast<guint>(property.kind),
            g_param_spec_string(property.name, property.name, property.text, nullptr, kPropertyFlags));
    }
    GST_BASE_TRANSFORM_CLASS(warpClass)->before_transform = beforeTransform;
    GST_BASE_TRANSFORM_CLASS(warpClass)->stop = stop;
    GST_VIDEO_FILTER_CLASS(warpClass)->transform_frame = transformFrame;
    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(warpClass), "Exact video warp", "Filter/Effect/Video",
        "Warps video through a grid of displacements with the bytes of libvantor: lenses, cameras, matrices",
        VANTOR_AUTHOR);
}

}  // namespace vantor::gstreamer
