// qvconvert under GStreamer's check harness: every output byte against the library called directly
// with the same input, the caps it offers and refuses, how it fixes an open size, and its
// properties changed while it runs.
#include <gst/check/gstharness.h>
#include <gst/video/colorbalance.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "qv_imageproc.h"

namespace {

const QvImageProcFunctions* Library() {
    static const QvImageProcFunctions* functions = [] {
        const QvImageProcFunctions* f = nullptr;
        return GetDllInterface(&IID_QV_IMAGEPROC_C, &f) == QV_S_OK ? f : nullptr;
    }();
    return functions;
}

// The library's format for each GStreamer format whose layout is the same.
int32_t LibraryFormat(GstVideoFormat f) {
    switch (f) {
        case GST_VIDEO_FORMAT_I420:
        case GST_VIDEO_FORMAT_YV12:
            return QV_FORMAT_YCBCR420;
        case GST_VIDEO_FORMAT_Y42B:
            return QV_FORMAT_YCBCR422;
        case GST_VIDEO_FORMAT_Y444:
            return QV_FORMAT_YCBCR444;
        case GST_VIDEO_FORMAT_RGB16:
            return QV_FORMAT_RGB565;
        case GST_VIDEO_FORMAT_BGR:
            return QV_FORMAT_RGB888;
        case GST_VIDEO_FORMAT_BGRA:
        case GST_VIDEO_FORMAT_BGRx:
            return QV_FORMAT_ARGB32;
        case GST_VIDEO_FORMAT_YUY2:
            return QV_FORMAT_YUY2;
        case GST_VIDEO_FORMAT_UYVY:
            return QV_FORMAT_UYVY;
        case GST_VIDEO_FORMAT_NV12:
            return QV_FORMAT_NV12;
        case GST_VIDEO_FORMAT_RGBA:
            return QV_FORMAT_ABGR32;
        default:
            return -1;
    }
}

// Properties as the element takes them ("video-direction=90r brightness=160").
using Props = std::map<std::string, std::string>;
Props ParseProps(const std::string& text) {
    Props props;
    std::istringstream in(text);
    std::string item;
    while (in >> item) props[item.substr(0, item.find('='))] = item.substr(item.find('=') + 1);
    return props;
}
std::string Get(const Props& p, const std::string& key, const std::string& fallback) {
    auto it = p.find(key);
    return it == p.end() ? fallback : it->second;
}

GstCaps* Caps(const std::string& text) {
    return gst_caps_from_string(text.c_str());
}

GstVideoInfo Info(const std::string& caps) {
    GstVideoInfo info;
    GstCaps* c = Caps(caps);
    EXPECT_TRUE(gst_video_info_from_caps(&info, c)) << caps;
    gst_caps_unref(c);
    return info;
}

// A buffer of the default layout for `info`, filled with bytes from a fixed seed.
GstBuffer* RandomBuffer(const GstVideoInfo& info, unsigned seed) {
    std::vector<uint8_t> bytes(GST_VIDEO_INFO_SIZE(&info));
    std::mt19937 random(seed);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    return gst_buffer_new_memdup(bytes.data(), bytes.size());
}

// The picture's bytes, plane after plane, row after row, without strides or padding.
std::vector<uint8_t> Rows(GstBuffer* buffer, const GstVideoInfo& info) {
    GstVideoFrame frame;
    std::vector<uint8_t> rows;
    if (!gst_video_frame_map(&frame, const_cast<GstVideoInfo*>(&info), buffer, GST_MAP_READ)) return rows;
    for (guint p = 0; p < GST_VIDEO_FRAME_N_PLANES(&frame); ++p) {
        gint comps[GST_VIDEO_MAX_COMPONENTS];
        gst_video_format_info_component(frame.info.finfo, p, comps);
        const gint bytes =
            GST_VIDEO_FRAME_COMP_WIDTH(&frame, comps[0]) * GST_VIDEO_FRAME_COMP_PSTRIDE(&frame, comps[0]);
        for (gint r = 0; r < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, comps[0]); ++r) {
            const uint8_t* row = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, p)) +
                                 r * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, p);
            rows.insert(rows.end(), row, row + bytes);
        }
    }
    gst_video_frame_unmap(&frame);
    return rows;
}

// The library's planes of a mapped frame: Y, Cb, Cr for the planar formats, else the planes.
void LibraryPlanes(GstVideoFrame* frame, uint8_t* planes[3], int32_t strides[3]) {
    const bool planar = GST_VIDEO_FRAME_N_PLANES(frame) == 3;
    for (int i = 0; i < 3; ++i) {
        const bool used = i < static_cast<int>(GST_VIDEO_FRAME_N_PLANES(frame));
        planes[i] = !used ? nullptr
                          : static_cast<uint8_t*>(planar ? GST_VIDEO_FRAME_COMP_DATA(frame, i)
                                                         : GST_VIDEO_FRAME_PLANE_DATA(frame, i));
        strides[i] = !used    ? 0
                     : planar ? GST_VIDEO_FRAME_COMP_STRIDE(frame, i)
                              : GST_VIDEO_FRAME_PLANE_STRIDE(frame, i);
    }
}

// What the library makes of `input` for these properties, called directly. The routes that read
// below the picture get the copy the README describes: rows on a 16-byte stride, the spare bytes
// right of a row repeating its last byte, eight spare rows repeating the last row.
std::vector<uint8_t> Reference(GstBuffer* input, const GstVideoInfo& in, const GstVideoInfo& out, const Props& props) {
    static const std::map<std::string, uint32_t> kRotation = {{"identity", QV_ROTATE_NONE}, {"90r", QV_ROTATE_90_CW},
                                                              {"180", QV_ROTATE_180},       {"90l", QV_ROTATE_90_CCW},
                                                              {"horiz", QV_MIRROR},         {"vert", QV_FLIP}};
    static const std::map<std::string, uint32_t> kMethod = {
        {"nearest", 0}, {"fixed-ratio", 1}, {"bilinear", 2}, {"near-linear", 3}};
    static const std::map<std::string, uint32_t> kDeinterlace = {{"off", 0},   {"fast", 1}, {"discard", 2}, {"bob", 3},
                                                                 {"blend", 4}, {"mean", 5}, {"linear", 6},  {"x", 7}};
    const uint32_t rotation = kRotation.at(Get(props, "video-direction", "identity"));
    const bool quarter = rotation == QV_ROTATE_90_CW || rotation == QV_ROTATE_90_CCW;
    QvCreateParams p = {};
    p.structSize = sizeof p;
    p.operation = QV_OPERATION(LibraryFormat(GST_VIDEO_INFO_FORMAT(&in)), LibraryFormat(GST_VIDEO_INFO_FORMAT(&out)));
    p.rotation = rotation;
    p.interpolation = kMethod.at(Get(props, "method", "bilinear"));
    p.srcWidth = GST_VIDEO_INFO_WIDTH(&in);
    p.srcHeight = GST_VIDEO_INFO_HEIGHT(&in);
    p.dstWidth = quarter ? GST_VIDEO_INFO_HEIGHT(&out) : GST_VIDEO_INFO_WIDTH(&out);
    p.dstHeight = quarter ? GST_VIDEO_INFO_WIDTH(&out) : GST_VIDEO_INFO_HEIGHT(&out);
    p.alpha = std::stoul(Get(props, "alpha", "255"));
    const QvImageProcFunctions* qv = Library();
    QvHandle handle = nullptr;
    EXPECT_EQ(qv->Create(&handle, 0, &p), QV_S_OK);
    const int32_t colour[3] = {std::stoi(Get(props, "brightness", "128")), std::stoi(Get(props, "contrast", "128")),
                               std::stoi(Get(props, "saturation", "128"))};
    EXPECT_EQ(qv->Set(handle, QV_PROPERTY_COLOUR_ADJUST, colour), QV_S_OK);
    const uint32_t mode = kDeinterlace.at(Get(props, "deinterlace-mode", "off"));
    const bool padded = mode == 7 || (p.operation == 0x003 && p.interpolation == 1 && rotation == 0 &&
                                      2 * p.dstWidth == 5 * p.srcWidth && p.dstHeight == 2 * p.srcHeight);

    GstVideoFrame src, dst;
    GstBuffer* output = gst_buffer_new_allocate(nullptr, GST_VIDEO_INFO_SIZE(&out), nullptr);
    EXPECT_TRUE(gst_video_frame_map(&src, const_cast<GstVideoInfo*>(&in), input, GST_MAP_READ));
    EXPECT_TRUE(gst_video_frame_map(&dst, const_cast<GstVideoInfo*>(&out), output, GST_MAP_WRITE));
    uint8_t *sp[3], *dp[3];
    int32_t ss[3], ds[3];
    LibraryPlanes(&src, sp, ss);
    LibraryPlanes(&dst, dp, ds);
    std::vector<uint8_t> copies[3];
    for (int i = 0; padded && i < 3; ++i) {
        const int rows = GST_VIDEO_FRAME_COMP_HEIGHT(&src, i), bytes = GST_VIDEO_FRAME_COMP_WIDTH(&src, i);
        const int stride = (bytes + 15) / 16 * 16;
        copies[i].resize(static_cast<size_t>(stride) * (rows + 8));
        for (int r = 0; r < rows + 8; ++r)
            for (int x = 0; x < stride; ++x)
                copies[i][r * stride + x] = sp[i][std::min(r, rows - 1) * ss[i] + std::min(x, bytes - 1)];
        sp[i] = copies[i].data();
        ss[i] = stride;
    }
    const uint8_t* const srcPlanes[3] = {sp[0], sp[1], sp[2]};
    const QvFrameOptions options = {0, 0, mode};
    EXPECT_EQ(qv->ProcessFrame(handle, srcPlanes, ss, dp, ds, &options), QV_S_OK);
    qv->Destroy(handle);
    gst_video_frame_unmap(&src);
    gst_video_frame_unmap(&dst);
    std::vector<uint8_t> rows = Rows(output, out);
    gst_buffer_unref(output);
    return rows;
}

// One harness around qvconvert with the given properties, input caps and downstream caps.
class Element {
public:
    Element(const std::string& props, const std::string& in, const std::string& out)
        : h_(gst_harness_new("qvconvert")) {
        Set(props);
        if (in.empty())
            gst_harness_set_sink_caps_str(h_, out.c_str());
        else
            gst_harness_set_caps_str(h_, in.c_str(), out.c_str());
    }
    ~Element() { gst_harness_teardown(h_); }

    void Set(const std::string& props) {
        for (const auto& [key, value] : ParseProps(props))
            gst_util_set_object_arg(G_OBJECT(h_->element), key.c_str(), value.c_str());
    }
    GstFlowReturn Push(GstBuffer* buffer) { return gst_harness_push(h_, buffer); }
    // Pushes a copy of `input` and returns the output picture's rows and caps (empty when refused).
    std::vector<uint8_t> Convert(GstBuffer* input, GstVideoInfo* outInfo = nullptr) {
        if (Push(gst_buffer_ref(input)) != GST_FLOW_OK) return {};
        GstBuffer* output = gst_harness_pull(h_);
        GstVideoInfo info = OutputInfo();
        if (outInfo != nullptr) *outInfo = info;
        std::vector<uint8_t> rows = Rows(output, info);
        gst_buffer_unref(output);
        return rows;
    }
    GstVideoInfo OutputInfo() {
        GstCaps* caps = gst_pad_get_current_caps(h_->sinkpad);
        GstVideoInfo info;
        gst_video_info_init(&info);
        if (caps != nullptr) {
            gst_video_info_from_caps(&info, caps);
            gst_caps_unref(caps);
        }
        return info;
    }
    GstElement* element() { return h_->element; }
    // What the element tells upstream it takes, given what downstream takes.
    GstCaps* SinkCaps() { return gst_pad_peer_query_caps(h_->srcpad, nullptr); }

private:
    GstHarness* h_;
};

std::string RawCaps(const std::string& format, int w, int h, bool interlaced = false) {
    return "video/x-raw,format=" + format + ",width=" + std::to_string(w) + ",height=" + std::to_string(h) +
           ",framerate=30/1" + (interlaced ? ",interlace-mode=interleaved" : "");
}

// ---- byte equality -----------------------------------------------------------------------------

struct Route {
    const char* in;
    int w, h;
    const char* out;
    int ow, oh;
    const char* props;
    bool interlaced;
};

void PrintTo(const Route& r, std::ostream* os) {
    *os << r.in << " " << r.w << "x" << r.h << (r.interlaced ? " interlaced" : "") << " -> " << r.out << " " << r.ow
        << "x" << r.oh << " " << r.props;
}

class Bytes : public ::testing::TestWithParam<Route> {};

TEST_P(Bytes, AreTheLibrarys) {
    const Route& r = GetParam();
    const std::string inCaps = RawCaps(r.in, r.w, r.h, r.interlaced), outCaps = RawCaps(r.out, r.ow, r.oh);
    const GstVideoInfo in = Info(inCaps), out = Info(outCaps);
    GstBuffer* input = RandomBuffer(in, 7);
    Element e(r.props, inCaps, outCaps);
    const std::vector<uint8_t> got = e.Convert(input);
    ASSERT_FALSE(got.empty()) << "not converted";
    EXPECT_TRUE(got == Reference(input, in, out, ParseProps(r.props)));
    gst_buffer_unref(input);
}

INSTANTIATE_TEST_SUITE_P(
    Qvconvert, Bytes,
    ::testing::Values(
        Route{"I420", 64, 48, "RGB16", 64, 48, "", false}, Route{"I420", 64, 48, "RGB16", 40, 32, "", false},
        Route{"I420", 32, 24, "RGB16", 64, 48, "method=nearest", false},
        Route{"I420", 32, 24, "RGB16", 48, 40, "method=near-linear", false},
        Route{"I420", 32, 24, "RGB16", 80, 48, "method=fixed-ratio", false},
        Route{"I420", 64, 48, "BGR", 48, 64, "video-direction=90r", false},
        Route{"I420", 64, 48, "BGRA", 32, 24, "alpha=100", false},
        Route{"I420", 64, 48, "BGRx", 64, 48, "video-direction=180 brightness=90 contrast=200 saturation=40", false},
        Route{"YV12", 64, 48, "I420", 48, 64, "video-direction=90l", false},
        Route{"I420", 64, 48, "YV12", 40, 32, "video-direction=vert brightness=160", false},
        Route{"I420", 64, 48, "I420", 64, 48, "video-direction=horiz", false},
        Route{"I420", 64, 48, "NV12", 64, 48, "", false}, Route{"NV12", 64, 48, "I420", 64, 48, "", false},
        Route{"I420", 64, 48, "YUY2", 64, 48, "", false}, Route{"I420", 64, 48, "UYVY", 64, 48, "", false},
        Route{"Y42B", 64, 48, "RGB16", 32, 24, "saturation=200", false},
        Route{"Y444", 64, 48, "BGRA", 24, 40, "video-direction=90r", false},
        Route{"Y444", 64, 48, "BGR", 64, 48, "contrast=60", false},
        Route{"RGB16", 64, 48, "I420", 48, 64, "video-direction=90l", false},
        Route{"RGB16", 64, 48, "RGB16", 40, 32, "video-direction=180", false},
        Route{"RGB16", 64, 48, "BGRx", 64, 48, "", false}, Route{"BGR", 64, 48, "RGB16", 64, 48, "", false},
        Route{"BGR", 64, 48, "BGR", 32, 24, "video-direction=horiz", false},
        Route{"BGRA", 64, 48, "I420", 64, 48, "video-direction=vert", false},
        Route{"RGBA", 64, 48, "I420", 48, 64, "video-direction=90r", false},
        Route{"I420", 64, 48, "RGB16", 64, 48, "deinterlace-mode=fast", true},
        Route{"I420", 64, 48, "I420", 64, 48, "deinterlace-mode=discard", true},
        Route{"I420", 64, 48, "BGRA", 64, 48, "deinterlace-mode=bob", true},
        Route{"I420", 64, 48, "RGB16", 64, 48, "deinterlace-mode=blend", true},
        Route{"Y42B", 64, 48, "RGB16", 64, 48, "deinterlace-mode=mean", true},
        Route{"Y444", 64, 48, "RGB16", 64, 48, "deinterlace-mode=linear", true},
        Route{"I420", 60, 44, "RGB16", 60, 44, "deinterlace-mode=x", true},
        Route{"I420", 64, 48, "RGB16", 64, 48, "deinterlace-mode=x", false}));

// Planes with strides that are not whole multiples of 4 and chroma strides that differ: the element
// gives the library rows it steps through exactly, and the result is that of the default layout.
TEST(Strides, FromTheFrameWhateverTheyAre) {
    const std::string inCaps = RawCaps("I420", 36, 20), outCaps = RawCaps("RGB16", 36, 20);
    const GstVideoInfo in = Info(inCaps), out = Info(outCaps);
    GstBuffer* input = RandomBuffer(in, 3);
    gsize offsets[3] = {5, 5 + 41 * 20, 5 + 41 * 20 + 23 * 10};
    gint strides[3] = {41, 23, 19};
    std::vector<uint8_t> odd(offsets[2] + 19 * 10, 0xEE);
    GstMapInfo map;
    gst_buffer_map(input, &map, GST_MAP_READ);
    for (int p = 0; p < 3; ++p)
        for (int r = 0; r < GST_VIDEO_INFO_COMP_HEIGHT(&in, p); ++r)
            std::memcpy(&odd[offsets[p] + r * strides[p]],
                        map.data + GST_VIDEO_INFO_PLANE_OFFSET(&in, p) + r * GST_VIDEO_INFO_PLANE_STRIDE(&in, p),
                        GST_VIDEO_INFO_COMP_WIDTH(&in, p));
    gst_buffer_unmap(input, &map);
    GstBuffer* oddBuffer = gst_buffer_new_memdup(odd.data(), odd.size());
    gst_buffer_add_video_meta_full(oddBuffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_I420, 36, 20, 3, offsets,
                                   strides);
    Element e("video-direction=180", inCaps, outCaps);
    EXPECT_TRUE(e.Convert(oddBuffer) == Reference(input, in, out, ParseProps("video-direction=180")));
    gst_buffer_unref(oddBuffer);
    gst_buffer_unref(input);
}

// ---- negotiation -------------------------------------------------------------------------------

struct Offer {
    std::string in, out, props;
    bool offered;
};

void PrintTo(const Offer& o, std::ostream* os) {
    *os << o.in << " -> " << o.out << " " << o.props;
}

class Negotiation : public ::testing::TestWithParam<Offer> {};

TEST_P(Negotiation, OffersOnlyWhatTheLibraryConvertsExactly) {
    const Offer& o = GetParam();
    Element e(o.props, o.in, o.out);
    const GstVideoInfo in = Info(o.in);
    const GstFlowReturn flow = e.Push(RandomBuffer(in, 1));
    EXPECT_EQ(flow, o.offered ? GST_FLOW_OK : GST_FLOW_NOT_NEGOTIATED);
}

INSTANTIATE_TEST_SUITE_P(
    Qvconvert, Negotiation,
    ::testing::Values(Offer{RawCaps("I420", 64, 48), RawCaps("RGB16", 32, 24), "", true},
                      Offer{RawCaps("NV12", 64, 48), RawCaps("I420", 32, 24), "", false},  // never scales
                      Offer{RawCaps("I420", 64, 48), RawCaps("YUY2", 64, 48), "", true},
                      Offer{RawCaps("I420", 60, 48), RawCaps("UYVY", 60, 48), "", false},   // groups of 8
                      Offer{RawCaps("I420", 62, 48), RawCaps("RGB16", 62, 48), "", false},  // not a multiple of 4
                      Offer{RawCaps("I420", 64, 48), RawCaps("RGB16", 64, 50), "", false},
                      Offer{RawCaps("Y42B", 64, 48), RawCaps("RGB16", 64, 48), "", true},
                      Offer{RawCaps("Y42B", 64, 48), RawCaps("RGB16", 48, 64), "video-direction=90r", false},
                      Offer{RawCaps("I420", 64, 48), RawCaps("NV12", 64, 48), "video-direction=180", false},
                      Offer{RawCaps("BGRA", 64, 48), RawCaps("I420", 48, 64), "video-direction=90l", true},
                      Offer{RawCaps("BGRA", 64, 48), RawCaps("I420", 64, 48), "video-direction=90l", false},
                      Offer{RawCaps("RGBA", 64, 48), RawCaps("BGRA", 64, 48), "", false},  // no such route
                      Offer{RawCaps("BGRA", 64, 48), RawCaps("BGRA", 64, 48), "", true},   // passthrough
                      Offer{RawCaps("BGRA", 64, 48), RawCaps("BGRA", 64, 48), "brightness=100", false},
                      Offer{RawCaps("NV12", 64, 48), RawCaps("I420", 64, 48), "brightness=160", false},
                      Offer{RawCaps("I420", 64, 48), RawCaps("NV12", 64, 48), "saturation=10", false},
                      Offer{RawCaps("Y42B", 64, 48), RawCaps("RGB16", 64, 48), "contrast=10", true},
                      Offer{RawCaps("I420", 64, 48, true), RawCaps("I420", 64, 48), "", false},
                      Offer{RawCaps("I420", 64, 48, true), RawCaps("I420", 64, 48), "deinterlace-mode=bob", true},
                      Offer{RawCaps("NV12", 64, 48, true), RawCaps("I420", 64, 48), "deinterlace-mode=x", false},
                      Offer{RawCaps("Y444", 64, 48, true), RawCaps("RGB16", 64, 48), "deinterlace-mode=bob", false},
                      Offer{RawCaps("Y444", 64, 48, true), RawCaps("RGB16", 64, 48), "deinterlace-mode=x", true},
                      Offer{RawCaps("I420", 64, 48), RawCaps("I420", 64, 48) + ",interlace-mode=interleaved",
                            "deinterlace-mode=bob", false}));

class Queries : public ::testing::TestWithParam<Offer> {};

// Upstream asks what the element takes for what downstream takes: the same pairs, the other way.
TEST_P(Queries, AdmitOnlyWhatTheLibraryConvertsExactly) {
    const Offer& o = GetParam();
    Element e(o.props, "", o.out);
    GstCaps* admitted = e.SinkCaps();
    GstCaps* candidate = Caps(o.in);
    EXPECT_EQ(gst_caps_can_intersect(admitted, candidate), o.offered);
    gst_caps_unref(candidate);
    gst_caps_unref(admitted);
}

INSTANTIATE_TEST_SUITE_P(
    Qvconvert, Queries,
    ::testing::Values(Offer{RawCaps("I420", 64, 48), "video/x-raw,format=RGB16", "", true},
                      Offer{RawCaps("I420", 64, 48, true), "video/x-raw,format=RGB16", "", false},
                      Offer{RawCaps("I420", 64, 48, true), "video/x-raw,format=RGB16", "deinterlace-mode=bob", true},
                      Offer{RawCaps("NV12", 64, 48, true), "video/x-raw,format=I420", "deinterlace-mode=bob", false},
                      Offer{RawCaps("BGRA", 64, 48), RawCaps("I420", 48, 64), "video-direction=90l", true},
                      Offer{RawCaps("BGRA", 48, 64), RawCaps("I420", 48, 64), "video-direction=90l", false},
                      Offer{RawCaps("RGB16", 20, 12), RawCaps("RGB16", 48, 64), "video-direction=90l", true},
                      Offer{RawCaps("RGB16", 20, 12), RawCaps("I420", 48, 64), "video-direction=90l", false},
                      Offer{RawCaps("I420", 64, 48), RawCaps("YUY2", 64, 48), "", true},
                      Offer{RawCaps("I420", 32, 24), RawCaps("YUY2", 64, 48), "", false},
                      Offer{RawCaps("I420", 64, 48), RawCaps("NV12", 48, 64), "video-direction=90r", false}));

struct Fixation {
    std::string out, props;
    const char* format;
    int w, h;
};

void PrintTo(const Fixation& f, std::ostream* os) {
    *os << f.out << " " << f.props;
}

class Fixes : public ::testing::TestWithParam<Fixation> {};

// An open size becomes the source size (turned for a quarter turn), or follows the one side given at
// the source's aspect ratio; the source format is kept when downstream takes it.
TEST_P(Fixes, TheNaturalSize) {
    const Fixation& f = GetParam();
    Element e(f.props, RawCaps("I420", 64, 48), f.out);
    ASSERT_EQ(e.Push(RandomBuffer(Info(RawCaps("I420", 64, 48)), 1)), GST_FLOW_OK);
    const GstVideoInfo out = e.OutputInfo();
    EXPECT_STREQ(gst_video_format_to_string(GST_VIDEO_INFO_FORMAT(&out)), f.format);
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&out), f.w);
    EXPECT_EQ(GST_VIDEO_INFO_HEIGHT(&out), f.h);
}

INSTANTIATE_TEST_SUITE_P(
    Qvconvert, Fixes,
    ::testing::Values(Fixation{"video/x-raw,format=RGB16", "video-direction=90r", "RGB16", 48, 64},
                      Fixation{"video/x-raw,format=RGB16,width=32", "", "RGB16", 32, 24},
                      Fixation{"video/x-raw,format=BGRA,height=36", "video-direction=90l", "BGRA", 28, 36},
                      Fixation{"video/x-raw", "", "I420", 64, 48},
                      Fixation{"video/x-raw,format={NV12,I420}", "brightness=20", "I420", 64, 48}));

// ---- properties --------------------------------------------------------------------------------

// Nothing to do at the same format and size passes buffers through untouched; a property that
// gives the library work turns that off for the next buffer.
TEST(Properties, PassthroughUntilThereIsWork) {
    const std::string caps = RawCaps("I420", 64, 48);
    const GstVideoInfo info = Info(caps);
    GstBuffer* input = RandomBuffer(info, 5);
    Element e("", caps, caps);
    EXPECT_TRUE(e.Convert(input) == Rows(input, info));
    EXPECT_TRUE(gst_base_transform_is_passthrough(GST_BASE_TRANSFORM(e.element())));
    e.Set("brightness=160");
    EXPECT_TRUE(e.Convert(input) == Reference(input, info, info, ParseProps("brightness=160")));
    EXPECT_FALSE(gst_base_transform_is_passthrough(GST_BASE_TRANSFORM(e.element())));
    gst_buffer_unref(input);
}

// Changing a property while running makes a new context: colour applies from the next frame, and
// deinterlacing switched off is off (the library's mode 0 would keep the old mode).
TEST(Properties, ChangedWhileRunning) {
    const std::string inCaps = RawCaps("I420", 64, 48), outCaps = RawCaps("RGB16", 64, 48);
    const GstVideoInfo in = Info(inCaps), out = Info(outCaps);
    GstBuffer* input = RandomBuffer(in, 9);
    Element e("deinterlace-mode=bob", inCaps, outCaps);
    EXPECT_TRUE(e.Convert(input) == Reference(input, in, out, ParseProps("deinterlace-mode=bob")));
    e.Set("saturation=30");
    EXPECT_TRUE(e.Convert(input) == Reference(input, in, out, ParseProps("deinterlace-mode=bob saturation=30")));
    e.Set("deinterlace-mode=off");
    EXPECT_TRUE(e.Convert(input) == Reference(input, in, out, ParseProps("saturation=30")));
    gst_buffer_unref(input);
}

// A quarter turn set while running turns the output caps when downstream lets them change.
TEST(Properties, QuarterTurnRenegotiates) {
    const std::string inCaps = RawCaps("I420", 64, 48);
    Element e("", inCaps, "video/x-raw,format=RGB16");
    GstBuffer* input = RandomBuffer(Info(inCaps), 2);
    GstVideoInfo out;
    EXPECT_FALSE(e.Convert(input, &out).empty());
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&out), 64);
    e.Set("video-direction=90r");
    const std::vector<uint8_t> turned = e.Convert(input, &out);
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&out), 48);
    EXPECT_EQ(GST_VIDEO_INFO_HEIGHT(&out), 64);
    EXPECT_TRUE(turned == Reference(input, Info(inCaps), out, ParseProps("video-direction=90r")));
    gst_buffer_unref(input);
}

// ul-lr, ur-ll and auto have no rotation code in the library: the direction stays as it was.
TEST(Properties, DirectionsWithoutARotationCodeAreRefused) {
    GstElement* e = gst_element_factory_make("qvconvert", nullptr);
    for (const char* refused : {"ul-lr", "ur-ll", "auto"}) {
        gst_util_set_object_arg(G_OBJECT(e), "video-direction", "90l");
        gst_util_set_object_arg(G_OBJECT(e), "video-direction", refused);
        GstVideoOrientationMethod direction;
        g_object_get(e, "video-direction", &direction, nullptr);
        EXPECT_EQ(direction, GST_VIDEO_ORIENTATION_90L) << refused;
    }
    gst_object_unref(e);
}

// The colour balance interface is the three properties on the library's 0-255 scale.
TEST(Properties, ColourBalanceChannelsAreTheProperties) {
    GstElement* e = gst_element_factory_make("qvconvert", nullptr);
    GstColorBalance* balance = GST_COLOR_BALANCE(e);
    const GList* channels = gst_color_balance_list_channels(balance);
    ASSERT_EQ(g_list_length(const_cast<GList*>(channels)), 3u);
    int value = 40;
    for (const GList* l = channels; l != nullptr; l = l->next, value += 50) {
        GstColorBalanceChannel* c = GST_COLOR_BALANCE_CHANNEL(l->data);
        EXPECT_EQ(c->min_value, 0);
        EXPECT_EQ(c->max_value, 255);
        gst_color_balance_set_value(balance, c, value);
        gchar* lower = g_ascii_strdown(c->label, -1);
        const std::string property = lower;
        g_free(lower);
        int got = 0;
        g_object_get(e, property.c_str(), &got, nullptr);
        EXPECT_EQ(got, value) << c->label;
        EXPECT_EQ(gst_color_balance_get_value(balance, c), value);
    }
    gst_object_unref(e);
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    GError* error = nullptr;
    GstPlugin* plugin = gst_plugin_load_file(QV_GST_PLUGIN, &error);
    if (plugin == nullptr) {
        std::fprintf(stderr, "cannot load %s: %s\n", QV_GST_PLUGIN, error != nullptr ? error->message : "?");
        return 1;
    }
    gst_object_unref(plugin);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
