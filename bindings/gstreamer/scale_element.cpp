#include "bindings/gstreamer/scale_element.h"

#include "bindings/gstreamer/filter.h"
#include "bindings/gstreamer/frame_view.h"
#include "bindings/gstreamer/negotiation.h"

namespace vantor::gstreamer {
namespace {

constexpr guint kAddBorders = 1;  // the property's number

struct VantorScale {
    VantorFilter parent;
    gint addBorders;  ///< read and written atomically
};

struct VantorScaleClass {
    VantorFilterClass parent;
};

}  // namespace

G_DEFINE_TYPE(VantorScale, vantor_scale, vantor_filter_get_type())

namespace {

gint* addBordersOf(gpointer object) {
    return &static_cast<VantorScale*>(object)->addBorders;
}

void setProperty(GObject* object, guint property, const GValue* value, GParamSpec* parameter) {
    if (property == kAddBorders) {
        g_atomic_int_set(addBordersOf(object), g_value_get_boolean(value));
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, parameter);
    }
}

void getProperty(GObject* object, guint property, GValue* value, GParamSpec* parameter) {
    if (property == kAddBorders) {
        g_value_set_boolean(value, g_atomic_int_get(addBordersOf(object)));
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, property, parameter);
    }
}

GstCaps* transformCaps(GstBaseTransform*, GstPadDirection, GstCaps* caps, GstCaps* filter) {
    GstCaps* const any = withAnySize(caps);
    if (!filter) return any;
    GstCaps* const result = gst_caps_intersect_full(filter, any, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(any);
    return result;
}

GstCaps* fixateCaps(GstBaseTransform*, GstPadDirection direction, GstCaps* caps, GstCaps* others) {
    return fixated(direction, caps, others);
}

/// Regions of interest and their like are scaled too.
gboolean transformMeta(GstBaseTransform* base, GstBuffer* to, GstMeta* meta, GstBuffer* from) {
    const GstMetaInfo* const info = meta->info;
    if (info->transform_func && gst_meta_api_type_has_tag(info->api, g_quark_from_static_string("size"))) {
        GstVideoFilter* const filter = GST_VIDEO_FILTER(base);
        GstVideoMetaTransform transform{&filter->in_info, &filter->out_info};
        info->transform_func(to, meta, from, gst_video_meta_transform_scale_get_quark(), &transform);
        return FALSE;  // done
    }
    return GST_BASE_TRANSFORM_CLASS(vantor_scale_parent_class)->transform_meta(base, to, meta, from);
}

void process(VantorFilter* filter, const GstVideoFrame& to, const GstVideoFrame& from) {
    const GstVideoInfo& in = filter->parent.in_info;
    const GstVideoInfo& out = filter->parent.out_info;
    const vantor_image whole = viewOf(to, out);
    vantor_rect place{0, 0, whole.width, whole.height};
    if (g_atomic_int_get(addBordersOf(filter))) {
        place = placeOf(in, out);
        blackenAround(whole, place, out.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255);
    }
    compute(filter, viewOf(to, out, place), viewOf(from, in), vantor_scale);
}

}  // namespace

static void vantor_scale_init(VantorScale* scale) {
    scale->addBorders = TRUE;
}

static void vantor_scale_class_init(VantorScaleClass* scaleClass) {
    scaleClass->parent.maxSize = {16384, 16384};
    scaleClass->parent.process = process;
    GObjectClass* const object = G_OBJECT_CLASS(scaleClass);
    object->set_property = setProperty;
    object->get_property = getProperty;
    g_object_class_install_property(
        object, kAddBorders,
        g_param_spec_boolean("add-borders", "Add borders",
                             "Keep the display aspect ratio by black borders where the caps do not", TRUE,
                             kPropertyFlags));
    GstBaseTransformClass* const transform = GST_BASE_TRANSFORM_CLASS(scaleClass);
    transform->transform_caps = transformCaps;
    transform->fixate_caps = fixateCaps;
    transform->transform_meta = transformMeta;
    transform->passthrough_on_same_caps = TRUE;
    gst_element_class_set_static_metadata(
        GST_ELEMENT_CLASS(scaleClass), "Exact video scaler", "Filter/Converter/Video/Scaler",
        "Scales video with the bytes of libvantor: bicubic reduction, four-tap enlargement", VANTOR_AUTHOR);
}

}  // namespace vantor::gstreamer
