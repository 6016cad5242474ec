#include "bindings/gstreamer/filter.h"

#include <exception>
#include <stdexcept>
#include <string>

namespace vantor::gstreamer {
namespace {

constexpr guint kThreads = 1;  // the property's number

GstStaticPadTemplate sinkTemplate =
    GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
                            GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ NV12, NV21, I420, GRAY8 }")));
GstStaticPadTemplate srcTemplate = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("{ NV12, NV21, I420, GRAY8 }")));

}  // namespace

G_DEFINE_ABSTRACT_TYPE(VantorFilter, vantor_filter, GST_TYPE_VIDEO_FILTER)

namespace {

VantorFilter* filterOf(gpointer object) {
    return static_cast<VantorFilter*>(object);
}

void setProperty(GObject* object, guint property, const GValue* value, GParamSpec* parameter) {
    if (property == kThreads) {
        filterOf(object)->state->engine.setThreads(static_cast<int>(g_value_get_uint(value)));
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, parameter);
    }
}

void getProperty(GObject* object, guint property, GValue* value, GParamSpec* parameter) {
    if (property == kThreads) {
        g_value_set_uint(value, static_cast<guint>(filterOf(object)->state->engine.threads()));
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, parameter);
    }
}

void finalize(GObject* object) {
    delete filterOf(object)->state;
    G_OBJECT_CLASS(vantor_filter_parent_class)->finalize(object);
}

gboolean stop(GstBaseTransform* transform) {
    FilterState& state = *filterOf(transform)->state;
    state.engine.release();
    state.evenPictures = {};
    state.refused.clear();
    return TRUE;
}

/// Why frames like these cannot be computed; empty if they can.
std::string refusal(const GstVideoInfo& info, Size maxSize) {
    const int width = GST_VIDEO_INFO_WIDTH(&info);
    const int height = GST_VIDEO_INFO_HEIGHT(&info);
    if (width > maxSize.width || height > maxSize.height) {
        return "pictures of " + std::to_string(width) + "x" + std::to_string(height) + ": expected 1x1 to " +
               std::to_string(maxSize.width) + "x" + std::to_string(maxSize.height);
    }
    if (GST_VIDEO_INFO_INTERLACE_MODE(&info) != GST_VIDEO_INTERLACE_MODE_PROGRESSIVE) {
        return std::string("interlaced video (interlace-mode=") +
               gst_video_interlace_mode_to_string(GST_VIDEO_INFO_INTERLACE_MODE(&info)) +
               "): expected progressive frames, such as deinterlace makes";
    }
    return {};
}

gboolean setInfo(GstVideoFilter* base, GstCaps*, GstVideoInfo* from, GstCaps*, GstVideoInfo* to) {
    const Size maxSize = reinterpret_cast<VantorFilterClass*>(G_OBJECT_GET_CLASS(base))->maxSize;
    std::string& refused = filterOf(base)->state->refused;
    for (const GstVideoInfo* info : {from, to}) {
        const std::string text = refusal(*info, maxSize);
        if (text.empty()) continue;
        if (text != refused) GST_ELEMENT_ERROR(base, STREAM, FORMAT, ("%s", text.c_str()), (nullptr));
        refused = text;
        return FALSE;
    }
    refused.clear();
    return TRUE;
}

GstFlowReturn transformFrame(GstVideoFilter* base, GstVideoFrame* from, GstVideoFrame* to) {
    try {
        const auto process = reinterpret_cast<VantorFilterClass*>(G_OBJECT_GET_CLASS(base))->process;
        process(filterOf(base), *to, *from);
        return GST_FLOW_OK;
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(base, STREAM, FAILED, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
}

}  // namespace

static void vantor_filter_init(VantorFilter* filter) {
    filter->state = new FilterState;
}

static void vantor_filter_class_init(VantorFilterClass* filterClass) {
    GObjectClass* const object = G_OBJECT_CLASS(filterClass);
    object->set_property = setProperty;
    object->get_property = getProperty;
    object->finalize = finalize;
    g_object_class_install_property(
        object, kThreads,
        g_param_spec_uint("threads", "Threads", "Threads that work on a frame; 0 for as many as processors",
                          0, 256, 1, kPropertyFlags));
    GstElementClass* const element = GST_ELEMENT_CLASS(filterClass);
    gst_element_class_add_static_pad_template(element, &sinkTemplate);
    gst_element_class_add_static_pad_template(element, &srcTemplate);
    GST_BASE_TRANSFORM_CLASS(filterClass)->stop = stop;
    GST_VIDEO_FILTER_CLASS(filterClass)->set_info = setInfo;
    GST_VIDEO_FILTER_CLASS(filterClass)->transform_frame = transformFrame;
}

void compute(VantorFilter* filter, const vantor_image& dst, const vantor_image& src, const EngineCall& call) {
    vantor_engine* const engine = filter->state->engine.get();
    filter->state->evenPictures.run(dst, src, [&](const vantor_image& evenDst, const vantor_image& evenSrc) {
        if (call(engine, &evenDst, &evenSrc) != VANTOR_OK) throw std::runtime_error(vantor_message(engine));
    });
}

}  // namespace vantor::gstreamer
