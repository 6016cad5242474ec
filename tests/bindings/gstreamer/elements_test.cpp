// The elements in harnesses: bytes as of the C library, negotiation as of videoscale, refusals.
#include <gst/check/gstharness.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "vantor/vantor.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Format {
    const char* name;
    int32_t layout;
    int planes;
};
constexpr Format kFormats[] = {
    {"NV12", VANTOR_NV12, 2}, {"NV21", VANTOR_NV21, 2}, {"I420", VANTOR_I420, 3}, {"GRAY8", VANTOR_GRAY8, 1}};

struct Size {
    int width, height;
};

/// A picture with gaps: planes in any order, strides that share nothing with those that GStreamer chooses.
struct Padded {
    Format format;
    Size size;
    gsize offset[4]{};
    gint stride[4]{};
    Bytes bytes;

    Padded(const Format& f, Size s) : format(f), size(s) {
        for (const int plane : {2, 1, 0}) {
            if (plane >= f.planes) continue;
            offset[plane] = bytes.size() + 3;
            stride[plane] = rowBytes(plane) + 7 + plane;
            bytes.resize(offset[plane] + static_cast<size_t>(stride[plane]) * static_cast<size_t>(rows(plane)));
        }
    }
    int rowBytes(int plane) const {
        const int half = (size.width + 1) / 2;
        return plane == 0 ? size.width : format.planes == 3 ? half : 2 * half;
    }
    int rows(int plane) const { return plane == 0 ? size.height : (size.height + 1) / 2; }
    uint8_t* row(int plane, int y) { return bytes.data() + offset[plane] + y * stride[plane]; }
    vantor_image view() {
        vantor_image image{format.layout, size.width, size.height, {}, {}};
        for (int plane = 0; plane < format.planes; ++plane) {
            image.plane[plane] = row(plane, 0);
            image.stride[plane] = stride[plane];
        }
        return image;
    }
    /// With even sides, if there is chroma: the last column and row repeated.
    Padded even() {
        Padded result(format, format.planes == 1 ? size : Size{(size.width + 1) / 2 * 2, (size.height + 1) / 2 * 2});
        for (int plane = 0; plane < format.planes; ++plane) {
            for (int y = 0; y < result.rows(plane); ++y) {
                for (int x = 0; x < result.rowBytes(plane); ++x)
                    result.row(plane, y)[x] =
                        row(plane, std::min(y, rows(plane) - 1))[std::min(x, rowBytes(plane) - 1)];
            }
        }
        return result;
    }
    GstBuffer* buffer() {
        GstBuffer* const made = gst_buffer_new_memdup(bytes.data(), bytes.size());
        gst_buffer_add_video_meta_full(made, GST_VIDEO_FRAME_FLAG_NONE, gst_video_format_from_string(format.name),
                                       static_cast<guint>(size.width), static_cast<guint>(size.height),
                                       static_cast<guint>(format.planes), offset, stride);
        return made;
    }
    std::string caps(const std::string& more = "") const {
        return std::string("video/x-raw,format=") + format.name + ",width=" + std::to_string(size.width) +
               ",height=" + std::to_string(size.height) + ",framerate=25/1" + more;
    }
};

Padded noise(const Format& format, Size size, unsigned seed = 1) {
    Padded picture(format, size);
    std::mt19937 random(seed);
    for (uint8_t& byte : picture.bytes) byte = static_cast<uint8_t>(random());
    return picture;
}

class Element {
public:
    explicit Element(const std::string& description)
        : harness_(gst_harness_new_parse(description.c_str())), bus_(gst_bus_new()) {
        gst_element_set_bus(harness_->element, bus_);
    }
    ~Element() {
        gst_element_set_bus(harness_->element, nullptr);
        gst_object_unref(bus_);
        gst_harness_teardown(harness_);
    }

    GstHarness* harness() { return harness_; }
    /// As long as this lives.
    GstElement* named(const char* type) {
        GstElement* const found = gst_harness_find_element(harness_, type);
        gst_object_unref(found);
        return found;
    }
    void caps(const std::string& in, const std::string& out = "video/x-raw") {
        gst_harness_set_sink_caps_str(harness_, out.c_str());
        gst_harness_set_src_caps_str(harness_, in.c_str());
    }
    GstFlowReturn push(Padded picture) { return gst_harness_push(harness_, picture.buffer()); }
    GstBuffer* pull() { return gst_harness_try_pull(harness_); }

    /// What the last error or warning on the bus says; empty without one.
    std::string message(GstMessageType type) {
        std::string text;
        while (GstMessage* const message = gst_bus_pop_filtered(bus_, type)) {
            GError* error = nullptr;
            (type == GST_MESSAGE_ERROR ? gst_message_parse_error : gst_message_parse_warning)(message, &error, nullptr);
            text = error->message;
            g_error_free(error);
            gst_message_unref(message);
        }
        return text;
    }

private:
    GstHarness* harness_;
    GstBus* bus_;
};

/// Whether the samples of a buffer, as its caps and its meta describe them, are those of a picture.
void expectSame(Element& element, GstBuffer* buffer, Padded& expected, Size cropped) {
    ASSERT_NE(buffer, nullptr) << element.message(GST_MESSAGE_ERROR);
    GstCaps* const caps = gst_pad_get_current_caps(element.harness()->sinkpad);
    GstVideoInfo info;
    GstVideoFrame frame;
    ASSERT_TRUE(gst_video_info_from_caps(&info, caps) && gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ));
    gst_caps_unref(caps);
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&info), cropped.width);
    EXPECT_EQ(GST_VIDEO_INFO_HEIGHT(&info), cropped.height);
    const Padded shape(expected.format, cropped);
    for (int plane = 0; plane < shape.format.planes; ++plane) {
        const auto* row = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
        for (int y = 0; y < shape.rows(plane); ++y, row += GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane)) {
            ASSERT_EQ(std::memcmp(row, expected.row(plane, y), static_cast<size_t>(shape.rowBytes(plane))), 0)
                << shape.caps() << ", plane " << plane << ", row " << y;
        }
    }
    gst_video_frame_unmap(&frame);
    gst_buffer_unref(buffer);
}

vantor_grid turned(Size size) {
    vantor_transform transform{};
    transform.rotate = 3;
    transform.zoom = 1;
    vantor_grid grid;
    EXPECT_EQ(vantor_grid_from_transform(&grid, &transform, size.width, size.height), VANTOR_OK);
    return grid;
}

/// Of this run alone.
const std::string& directory() {
    static const std::string made = [] {
        std::string path = testing::TempDir() + "gstreamer.XXXXXX";
        return mkdtemp(&path[0]) ? path : std::string();
    }();
    return made;
}

std::string writeGrid(const char* name, const vantor_grid& grid) {
    std::string bytes(8712, '\0');
    size_t needed = 0;
    EXPECT_EQ(vantor_grid_format(&grid, VANTOR_GRID_BINARY, nullptr, &bytes[0], bytes.size(), &needed), VANTOR_OK);
    const std::string path = directory() + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

Padded scaled(Padded& source, Size size) {
    Padded from = source.even(), to = Padded(source.format, size).even();
    const vantor_image src = from.view(), dst = to.view();
    EXPECT_EQ(vantor_scale(nullptr, &dst, &src), VANTOR_OK) << vantor_message(nullptr);
    return to;
}

Padded warped(Padded& source, const vantor_grid& grid) {
    Padded from = source.even(), to = from;
    const vantor_image src = from.view(), dst = to.view();
    EXPECT_EQ(vantor_warp(nullptr, &dst, &src, &grid), VANTOR_OK) << vantor_message(nullptr);
    return to;
}

/// Has the element downstream offer buffers with gaps.
GstPadProbeReturn offerPadding(GstPad*, GstPadProbeInfo* info, gpointer) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    GstVideoInfo video;
    if (!caps || !gst_video_info_from_caps(&video, caps)) return GST_PAD_PROBE_OK;
    GstVideoAlignment alignment;
    gst_video_alignment_reset(&alignment);
    alignment.padding_left = 6, alignment.padding_right = 10, alignment.padding_top = alignment.padding_bottom = 4;
    GstBufferPool* const pool = gst_video_buffer_pool_new();
    GstStructure* const config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(GST_VIDEO_INFO_SIZE(&video)), 1, 0);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
    gst_buffer_pool_config_set_video_alignment(config, &alignment);
    gst_buffer_pool_set_config(pool, config);
    gst_query_add_allocation_pool(query, pool, static_cast<guint>(GST_VIDEO_INFO_SIZE(&video)), 1, 0);
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    gst_object_unref(pool);
    return GST_PAD_PROBE_HANDLED;
}

TEST(Elements, BytesAreThoseOfTheLibrary) {
    const struct {
        Size from, to;
    } cases[] = {{{320, 180}, {212, 120}}, {{1080, 1920}, {540, 960}}, {{33, 35}, {66, 70}},
                 {{64, 48}, {33, 31}},     {{1, 1}, {5, 3}},           {{131, 77}, {131, 39}}};
    for (const Format& format : kFormats) {
        for (const auto& [from, to] : cases) {
            Padded source = noise(format, from);
            Element element("vantorscale add-borders=false threads=2");
            gst_pad_add_probe(element.harness()->sinkpad, GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, offerPadding, nullptr,
                              nullptr);
            element.caps(source.caps(), Padded(format, to).caps());
            EXPECT_EQ(element.push(source), GST_FLOW_OK);
            GstBuffer* const result = element.pull();
            ASSERT_NE(result, nullptr) << source.caps() << element.message(GST_MESSAGE_ERROR);
            EXPECT_GE(gst_buffer_get_video_meta(result)->stride[0], to.width + 16);
            Padded expected = scaled(source, to);
            expectSame(element, result, expected, to);

            Element warp("vantorwarp threads=2");
            const vantor_grid grid = turned(from);
            g_object_set(warp.named("vantorwarp"), "grid", writeGrid("turned.grid", grid).c_str(), nullptr);
            gst_pad_add_probe(warp.harness()->sinkpad, GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, offerPadding, nullptr,
                              nullptr);
            warp.caps(source.caps());
            EXPECT_EQ(warp.push(source), GST_FLOW_OK);
            Padded turnedPicture = warped(source, grid);
            expectSame(warp, warp.pull(), turnedPicture, from);
        }
    }
}

/// What an element agrees on: size, pixel aspect ratio, colorimetry, chroma site; and whether frames pass as they are.
std::string agreed(const char* type, const std::string& in, const std::string& out) {
    Element element(type);
    element.caps("video/x-raw,format=NV12,framerate=25/1," + in, "video/x-raw" + (out.empty() ? out : "," + out));
    GstCaps* const offered = gst_pad_get_current_caps(element.harness()->srcpad);
    GstVideoInfo from;
    if (!offered || !gst_video_info_from_caps(&from, offered)) return "nothing offered";
    gst_caps_unref(offered);
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&from), nullptr);
    if (gst_harness_push(element.harness(), buffer) != GST_FLOW_OK) return "refused";
    GstCaps* const caps = gst_pad_get_current_caps(element.harness()->sinkpad);
    GstVideoInfo info;
    EXPECT_TRUE(gst_video_info_from_caps(&info, caps));
    gst_caps_unref(caps);
    gchar* const colour = gst_video_colorimetry_to_string(&info.colorimetry);
    std::ostringstream text;
    text << info.width << "x" << info.height << " " << info.par_n << "/" << info.par_d << " " << (colour ? colour : "?")
         << " " << gst_video_chroma_to_string(info.chroma_site);
    g_free(colour);
    gst_buffer_unref(element.pull());
    return text.str();
}

/// What is agreed without the colour.
std::string shapeIn(const std::string& text) {
    std::istringstream words(text);
    std::string size, pixelAspect;
    words >> size >> pixelAspect;
    return size + " " + pixelAspect;
}

TEST(Elements, ScalerNegotiatesAsVideoscale) {
    const std::string hd = "width=1920,height=1080", pal = "width=720,height=576,pixel-aspect-ratio=16/15";
    const struct {
        std::string in, out;
    } cases[] = {{hd, ""},
                 {hd, "width=640"},
                 {hd, "height=360"},
                 {hd, "width=640,height=480"},
                 {hd, "width=[1,1000]"},
                 {hd, "width=640,pixel-aspect-ratio=1/1"},
                 {hd, "height=300,pixel-aspect-ratio=1/1"},
                 {hd, "width=500,pixel-aspect-ratio=1/1"},
                 {hd, "width=[1,640],height=[1,480],pixel-aspect-ratio=1/1"},
                 {hd, "width=(int){320,640},height=(int){180,240},pixel-aspect-ratio=1/1"},
                 {hd, "width=640,height=480,pixel-aspect-ratio=1/1"},
                 {pal, "pixel-aspect-ratio=1/1"},
                 {pal, "width=360"},
                 {pal, "width=768,height=576"},
                 {pal, "width=[1,700],pixel-aspect-ratio=[1/2,2/1]"},
                 {pal, "height=288,pixel-aspect-ratio=1/1"},
                 {hd + ",colorimetry=bt601,chroma-site=jpeg", "width=640,height=360"},
                 {"width=35,height=33", "width=17,height=9"},
                 {"width=1,height=1080", "height=[1,100],pixel-aspect-ratio=1/1"}};
    for (const auto& [in, out] : cases) {
        const std::string ours = shapeIn(agreed("vantorscale", in, out));
        EXPECT_NE(ours, "refused ") << in << " to " << out;
        EXPECT_EQ(ours, shapeIn(agreed("videoscale", in, out))) << in << " to " << out;
    }
    EXPECT_EQ(shapeIn(agreed("vantorscale", hd + ",pixel-aspect-ratio=0/1", "width=640")), "640x1080 3/1");
    // Colour stays, also where the size alone says what it is.
    EXPECT_EQ(agreed("vantorscale", hd + ",colorimetry=bt601,chroma-site=dv", "width=64,height=36"),
              "64x36 1/1 bt601 dv");
    for (const char* more : {"", ",colorimetry=(string){bt601,bt709}"})
        EXPECT_EQ(agreed("vantorscale", hd, std::string("width=640,height=360") + more), "640x360 1/1 bt709 mpeg2");
    EXPECT_EQ(agreed("vantorscale", hd + ",colorimetry=bt601", "colorimetry=bt709"), "refused");
}

TEST(Elements, BordersKeepTheAspectRatio) {
    for (const Format& format : kFormats) {
        Padded source = noise(format, {320, 180});
        Element element("vantorscale");
        element.caps(source.caps(), "video/x-raw,width=161,height=161,pixel-aspect-ratio=1/1");
        EXPECT_EQ(element.push(source), GST_FLOW_OK);
        Padded picture = scaled(source, {161, format.planes == 1 ? 91 : 92});
        Padded expected(format, {161, 161});
        for (int plane = 0; plane < format.planes; ++plane) {
            const int black = plane > 0            ? 128
                              : format.planes == 1 ? 0
                                                   : 16,
                      top = plane > 0            ? 17
                            : format.planes == 1 ? 35
                                                 : 34;
            const int inside = format.planes == 1 ? 91 : plane > 0 ? 46 : 92;
            for (int y = 0; y < expected.rows(plane); ++y) {
                uint8_t* const row = expected.row(plane, y);
                const auto bytes = static_cast<size_t>(expected.rowBytes(plane));
                if (y < top || y >= top + inside) std::memset(row, black, bytes);
                else std::memcpy(row, picture.row(plane, y - top), bytes);
            }
        }
        expectSame(element, element.pull(), expected, {161, 161});
    }
}

TEST(Elements, FramesPassWhereNothingIsToBeDone) {
    Padded source = noise(kFormats[0], {64, 48});
    const std::string zeros = writeGrid("zeros.grid", vantor_grid{});
    for (const std::string& description :
         {std::string("vantorscale"), std::string("vantorwarp"), "vantorwarp grid=" + zeros}) {
        Element element(description);
        element.caps(source.caps(), source.caps());
        GstBuffer* const in = source.buffer();
        EXPECT_EQ(gst_harness_push(element.harness(), gst_buffer_ref(in)), GST_FLOW_OK);
        GstBuffer* const out = element.pull();
        EXPECT_EQ(in, out) << description;
        gst_buffer_unref(in);
        gst_buffer_unref(out);
    }
}

TEST(Elements, PropertiesChangeAtTheNextFrame) {
    const Size size{96, 64};
    Padded source = noise(kFormats[1], size);
    const vantor_grid grid = turned(size);
    vantor_grid lens, matrix;
    const double k[5] = {-0.2};
    const int16_t numbers[6] = {4000, 0, 64, 0, 4000, -64};
    ASSERT_EQ(vantor_grid_from_lens(&lens, k, size.width, size.height), VANTOR_OK);
    ASSERT_EQ(vantor_grid_from_matrix(&matrix, numbers, size.width, size.height), VANTOR_OK);
    Element element("vantorwarp");
    GstElement* const warp = element.named("vantorwarp");
    element.caps(source.caps());
    const struct {
        const char *property, *value;
        Padded expected;
    } steps[] = {{"grid", nullptr, source},
                 {"grid", strdup(writeGrid("a.grid", grid).c_str()), warped(source, grid)},
                 {"lens", "-0.2", warped(source, lens)},
                 {"grid", nullptr, warped(source, lens)},
                 {"lens", "", source},
                 {"matrix", "4000,0,64,0,4000,-64", warped(source, matrix)},
                 {"matrix", nullptr, source}};
    for (auto [property, value, expected] : steps) {
        g_object_set(warp, property, value, "threads", 3, nullptr);
        EXPECT_EQ(element.push(source), GST_FLOW_OK);
        expectSame(element, element.pull(), expected, size);
        gchar* held = nullptr;
        g_object_get(warp, property, &held, nullptr);
        EXPECT_STREQ(held, value && *value ? value : nullptr);
        g_free(held);
    }
    g_object_set(warp, "lens", "-0.2", nullptr);  // also for frames of another size
    Padded other = noise(kFormats[1], {33, 35});
    ASSERT_EQ(vantor_grid_from_lens(&lens, k, 33, 35), VANTOR_OK);
    gst_harness_set_src_caps_str(element.harness(), other.caps().c_str());
    EXPECT_EQ(element.push(other), GST_FLOW_OK);
    Padded expected = warped(other, lens);
    expectSame(element, element.pull(), expected, {33, 35});
    free(const_cast<char*>(steps[1].value));
}

TEST(Elements, PropertiesChangeFromOtherThreads) {
    const Size size{96, 64};
    Padded source = noise(kFormats[0], size);
    vantor_grid lens;
    const double k[5] = {-0.2};
    ASSERT_EQ(vantor_grid_from_lens(&lens, k, size.width, size.height), VANTOR_OK);
    Padded bent = warped(source, lens);
    Element element("vantorscale ! vantorwarp");
    GstElement* const warp = element.named("vantorwarp");
    GstElement* const scale = element.named("vantorscale");
    element.caps(source.caps());
    std::atomic<bool> done{false};
    std::thread setter([&] {
        for (guint i = 0; !done; ++i) {
            g_object_set(warp, "lens", i % 2 ? "-0.2" : nullptr, "threads", i % 4, nullptr);
            g_object_set(scale, "add-borders", i % 2, "threads", i % 3, nullptr);
        }
    });
    for (int frame = 0; frame < 300; ++frame) {
        ASSERT_EQ(element.push(source), GST_FLOW_OK);
        GstBuffer* const result = element.pull();
        GstMapInfo map;
        ASSERT_TRUE(result && gst_buffer_map(result, &map, GST_MAP_READ));
        const GstVideoMeta* const meta = gst_buffer_get_video_meta(result);
        const bool isSource = std::memcmp(map.data + (meta ? meta->offset[0] : 0), source.row(0, 0), 96) == 0;
        gst_buffer_unmap(result, &map);
        expectSame(element, result, isSource ? source : bent, size);
    }
    done = true;
    setter.join();
}

TEST(Elements, RefusalsNameTheCause) {
    const std::string notGrid = directory() + "/" + "not.grid", folding = "lens=-2";
    std::ofstream(notGrid) << "dX 1 2 3";
    Padded source = noise(kFormats[0], {96, 64});
    const struct {
        std::string element, caps, text;
    } cases[] = {
        {"vantorwarp grid=/nowhere/a.grid", "", "/nowhere/a.grid: No such file or directory"},
        {"vantorwarp grid=" + notGrid, "", notGrid + ": not a grid"},
        {"vantorwarp grid=" + directory(), "", "expected a regular file"},
        {"vantorwarp calibration=" + notGrid, "", notGrid + ": camera_matrix (or K"},
        {"vantorwarp matrix=1,2,3", "", "matrix 1,2,3: expected 6 comma-separated numbers"},
        {"vantorwarp matrix=1,2,3,4,5,1e9", "", "expected integers from -32768 to 32767"},
        {"vantorwarp lens=1,2,3,4", "", "lens 1,2,3,4: expected K1[,K2[,K3[,P1,P2]]]"},
        {"vantorwarp lens=nan", "", "lens nan: expected 1 to 5"},
        {"vantorwarp lens=1", "video/x-raw,format=GRAY8,width=8193,height=2,framerate=1/1",
         "pictures of 8193x2: expected 1x1 to 8192x6144"},
        {"vantorscale", "video/x-raw,format=GRAY8,width=2,height=16385,framerate=1/1",
         "pictures of 2x16385: expected 1x1 to 16384x16384"},
        {"vantorscale", source.caps(",interlace-mode=interleaved"), "interlaced video (interlace-mode=interleaved)"},
        {"vantorwarp", source.caps(",interlace-mode=mixed"), "interlaced video (interlace-mode=mixed)"}};
    for (const auto& [description, caps, text] : cases) {
        Element element(description);
        element.caps(caps.empty() ? source.caps() : caps);
        EXPECT_NE(element.push(source), GST_FLOW_OK) << description;
        const std::string error = element.message(GST_MESSAGE_ERROR);
        EXPECT_NE(error.find(text), std::string::npos) << description << ": " << error;
    }
    Element folded("vantorwarp " + folding);  // the engine computes it all the same
    folded.caps(source.caps());
    EXPECT_EQ(folded.push(source), GST_FLOW_OK);
    EXPECT_NE(folded.message(GST_MESSAGE_WARNING).find("cells of the grid are folded"), std::string::npos);
    gst_buffer_unref(folded.pull());
}

TEST(Elements, PlanesStayWithinTheirMemory) {
    const struct {
        int plane;
        gsize offset;
        gint stride;
    } cases[] = {{0, 0, 95}, {1, 96 * 64 + 2, 96}, {1, 96 * 96 - 1, 96}, {0, 0, 1 << 30}, {0, 96 * 64, -96}};
    for (const auto& [plane, offset, stride] : cases) {
        Padded source(kFormats[0], {96, 64});
        source.bytes.resize(96 * 96);
        source.offset[0] = 0, source.offset[1] = 96 * 64, source.stride[0] = source.stride[1] = 96;
        source.offset[plane] = offset, source.stride[plane] = stride;
        Element element("vantorwarp lens=0.1");
        element.caps(source.caps());
        EXPECT_EQ(element.push(source), GST_FLOW_ERROR);
        EXPECT_NE(element.message(GST_MESSAGE_ERROR).find("are not all in its memory"), std::string::npos);
    }
}

TEST(Elements, RegionsOfInterestAreScaled) {
    Padded source = noise(kFormats[0], {96, 64});
    Element element("vantorscale add-borders=false");
    element.caps(source.caps(), "video/x-raw,width=48,height=64");
    GstBuffer* const in = source.buffer();
    gst_buffer_add_video_region_of_interest_meta(in, "face", 20, 10, 40, 30);
    EXPECT_EQ(gst_harness_push(element.harness(), in), GST_FLOW_OK);
    GstBuffer* const out = element.pull();
    const auto* const region = reinterpret_cast<GstVideoRegionOfInterestMeta*>(
        gst_buffer_get_meta(out, GST_VIDEO_REGION_OF_INTEREST_META_API_TYPE));
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(region->x, 10U);
    EXPECT_EQ(region->w, 20U);
    EXPECT_EQ(region->h, 30U);
    gst_buffer_unref(out);
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    std::filesystem::remove_all(directory());
    gst_deinit();  // whereupon the tracer of leaks prints
    return status;
}
