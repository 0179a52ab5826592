// The frame-buffer rules against the library: every route x rotation x stride kind (and every
// deinterlace mode for planar sources) runs through the interface with each plane a separate heap
// block of exactly the size the rules give, so that the sanitizer build reports any access
// outside. The rules themselves are held to the README's contract, and the fuzzer's regression
// inputs are replayed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "frame_rules.h"
#include "fuzz_driver.h"
#include "interface/qv_interface.h"
#include "test_support.h"

namespace {

using qv::rules::FrameArgs;
using qv::rules::FrameBuffers;
using qv::rules::FrameRule;
using qv::rules::Span;

struct RouteCase {
    const char* name;
    int32_t op;
    int32_t sw, sh, dw, dh;
    uint32_t interpolation;
    bool adjust = false;
};

// Sizes avoid multiples of 8 and 16 where they can, so that group, block and padding edges show.
const RouteCase kCases[] = {
    {"copy", 0x000, 20, 12, 20, 12, 2},
    {"copy_adjusted", 0x000, 20, 12, 20, 12, 2, true},
    {"yuv_down", 0x000, 36, 28, 20, 12, 2},
    {"yuv_up_adjusted", 0x000, 12, 8, 20, 16, 2, true},
    {"yuv_mixed", 0x000, 20, 12, 12, 16, 2},
    {"rgb565_same", 0x003, 20, 12, 20, 12, 2},
    {"rgb565_down", 0x003, 36, 28, 20, 12, 2},
    {"rgb565_up", 0x003, 12, 8, 20, 16, 2},
    {"rgb565_nearest", 0x003, 12, 8, 20, 16, 0},
    {"rgb565_near_linear", 0x003, 12, 8, 28, 20, 3},
    {"rgb565_double", 0x003, 12, 8, 24, 16, 1},
    {"rgb565_25x2", 0x003, 16, 12, 40, 24, 1},
    {"rgb565_15", 0x003, 16, 12, 24, 8, 1},
    {"rgb565_320", 0x003, 320, 240, 480, 272, 1},
    {"rgb565_mixed", 0x003, 20, 12, 12, 16, 2},
    {"rgb888_same", 0x004, 20, 12, 20, 12, 2},
    {"rgb888_down", 0x004, 36, 28, 20, 12, 2},
    {"rgb888_up", 0x004, 12, 8, 20, 16, 2},
    {"rgb888_25x2", 0x004, 16, 12, 40, 24, 1},
    {"argb_same", 0x005, 20, 12, 20, 12, 2},
    {"argb_down", 0x005, 36, 28, 20, 12, 2},
    {"argb_up", 0x005, 12, 8, 20, 16, 2},
    {"argb_25x2", 0x005, 16, 12, 40, 24, 1},
    {"argb_15", 0x005, 16, 12, 24, 20, 1},
    {"argb_double", 0x005, 12, 8, 24, 16, 1},
    {"yuy2", 0x006, 20, 12, 8, 8, 2},
    {"uyvy", 0x007, 20, 12, 20, 12, 2},
    {"nv12", 0x008, 20, 12, 20, 12, 2},
    {"rgb555", 0x00A, 20, 12, 20, 12, 2},
    {"yuv422_same", 0x103, 20, 12, 20, 12, 2},
    {"yuv422_scaled", 0x103, 20, 12, 12, 8, 2},
    {"yuv444_rgb565", 0x203, 12, 8, 20, 12, 2},
    {"yuv444_rgb888", 0x204, 12, 8, 12, 8, 2},
    {"yuv444_argb", 0x205, 12, 8, 8, 12, 2},
    {"rgb565_to_yuv", 0x300, 20, 12, 24, 16, 2},
    {"rgb565_to_yuv_small_destination", 0x300, 20, 12, 12, 8, 2},
    {"argb_to_yuv", 0x500, 20, 12, 20, 12, 2},
    {"abgr_to_yuv", 0x900, 20, 12, 20, 16, 2},
    {"rgb565_scaled", 0x303, 20, 12, 12, 16, 2},
    {"rgb565_to_argb", 0x305, 20, 12, 8, 8, 2},
    {"rgb888_to_rgb565", 0x403, 20, 12, 20, 12, 2},
    {"rgb888_scaled", 0x404, 12, 8, 20, 12, 2},
    {"nv12_to_yuv", 0x800, 20, 12, 20, 12, 2},
};

// Every converter the dispatcher can reach.
const std::set<std::string> kRoutes = {
    "_QVYCbCr420Copy", "_QVYCbCrAdjust", "_QVYCbCr420Rsz", "_QVYCbCr420RszAdjust", "_QVYCbCr420Rot",
    "_QVYCbCr420RotAdjust", "_QVYCbCr420RszRot", "_QVYCbCr420RszRotAdjust", "_QVYCbCr420ToRGB565",
    "_QVYCbCr420ToRGB565Rot", "_QVYCbCr420ToRGB565Rsz", "_QVYCbCr420ToRGB565RszRot", "_QVYCbCr420ToRGB565RszUp",
    "_QVYCbCr420ToRGB565RszUpRot", "_QVYCbCr420ToRGB565RszUp_Nearest", "_QVYCbCr420ToRGB565RszUp_NearLinear",
    "_QVYCbCr420ToRGB565Case1", "_QVYCbCr420ToRGB565Case2", "_QVYCbCr420ToRGB565Case3", "_QVYCbCr420ToRGB888",
    "_QVYCbCr420ToRGB888Rot", "_QVYCbCr420ToRGB888Rsz", "_QVYCbCr420ToRGB888RszRot", "_QVYCbCr420ToRGB888RszUp",
    "_QVYCbCr420ToARGB32", "_QVYCbCr420ToARGB32Rot", "_QVYCbCr420ToARGB32Rsz", "_QVYCbCr420ToARGB32RszRot",
    "_QVYCbCr420ToARGB32RszUp", "_QVYCbCr420ToARGB32Case1", "_QVYCbCr420ToARGB32Case2", "_QVYCbCr420ToYUY2",
    "_QVYCbCr420ToUYVY", "_QVYCbCr420ToNV12", "_QVYCbCr420ToRGB555", "_QVYCbCr422ToRGB565", "_QVYCbCr422ToRGB565Rsz",
    "_QVYCbCr444ToRGB565RszRot", "_QVYCbCr444ToRGB888RszRot", "_QVYCbCr444ToARGB32RszRot", "_QVRGB565ToYCbCr420",
    "_QVARGB32ToYCbCr420", "_QVABGR32ToYCbCr420", "_QVRGB565RszRot", "_QVRGB565ToARGB32", "_QVRGB888ToRGB565RszRot",
    "_QVRGB888RszRot", "_QVNV12ToYCbCr420",
};

// Bytes a pixel of a packed format (RGB565, YUY2, UYVY, RGB555: 2; RGB888: 3; ARGB32, ABGR32: 4);
// 1 for planes of bytes.
int32_t Bpp(int32_t format) {
    return format == 4 ? 3 : format == 5 || format == 9 ? 4 : format == 3 || format == 6 || format == 7 || format == 10 ? 2 : 1;
}

// Rows and bytes a row of plane i of a picture w x h in `format`.
struct Shape {
    int64_t rows, rowBytes;
};
Shape PlaneShape(int32_t format, int i, int64_t w, int64_t h) {
    if (format <= 2) {
        const bool chroma = i != 0;
        return {format == 0 && chroma ? h / 2 : h, chroma && format != 2 ? w / 2 : w};
    }
    if (format == 8) return {i == 0 ? h : h / 2, w};
    return {h, Bpp(format) * w};
}

// Beside whole strides, strides of a row and 1, 2, 13 bytes and bottom-up of a row and 3 bytes:
// rotated RGB565 and ARGB32 output then rounds its steps, and is processed or refused by where
// the rounded placement lands.
enum class StrideKind { kTight, kPadded, kOddPad, kBottomUp, kPlusOne, kPlusTwo, kOddBottomUp };
const StrideKind kStrideKinds[] = {StrideKind::kTight,    StrideKind::kPadded,  StrideKind::kOddPad,
                                   StrideKind::kBottomUp, StrideKind::kPlusOne, StrideKind::kPlusTwo,
                                   StrideKind::kOddBottomUp};

int32_t StrideFor(StrideKind kind, int64_t rowBytes, int32_t unit) {
    const int64_t whole = (rowBytes + 3) & ~int64_t{3};  // whole pixels of every unit, and of 4
    switch (kind) {
        case StrideKind::kTight:
            return static_cast<int32_t>(rowBytes);
        case StrideKind::kPadded:
            return static_cast<int32_t>(whole + 4 * unit + 8);
        case StrideKind::kOddPad:
            return static_cast<int32_t>(rowBytes + 13);
        case StrideKind::kPlusOne:
            return static_cast<int32_t>(rowBytes + 1);
        case StrideKind::kPlusTwo:
            return static_cast<int32_t>(rowBytes + 2);
        case StrideKind::kOddBottomUp:
            return static_cast<int32_t>(-(rowBytes + 3));
        default:
            return static_cast<int32_t>(-(whole + 4 * unit));
    }
}

// The picture the destination holds: the source size for the operations that never scale.
bool SourceSized(int32_t op) {
    return op == 0x006 || op == 0x007 || op == 0x008 || op == 0x300 || op == 0x305 || op == 0x500 || op == 0x800 ||
           op == 0x900;
}

struct Frame {
    FrameArgs args;
    FrameRule rule;
    Shape srcShape[3], dstShape[3];
};

Frame Plan(const RouteCase& rc, uint32_t rotation, StrideKind kind, uint32_t mode) {
    Frame f;
    f.args.params = qvtest::MakeParams(rc.op, rc.sw, rc.sh, rc.dw, rc.dh, rotation, rc.interpolation);
    f.args.deinterlaceMode = mode;
    f.args.adjustOn = rc.adjust;
    const int32_t srcFormat = rc.op >> 8, dstFormat = rc.op & 0xFF;
    // Rotated RGB-to-4:2:0 frames place the source picture in the whole destination.
    const bool sourceSized =
        SourceSized(rc.op) && !(rotation != 0 && (rc.op == 0x300 || rc.op == 0x500 || rc.op == 0x900));
    const int64_t pw = sourceSized ? rc.sw : rc.dw, ph = sourceSized ? rc.sh : rc.dh;
    const bool quarter = rotation == 1 || rotation == 2;
    for (int i = 0; i < 3; ++i) {
        f.srcShape[i] = PlaneShape(srcFormat, i, rc.sw, rc.sh);
        // A rotated destination of the quarter turns has the picture's width as its rows; the
        // 4:2:2 source ignores the rotation code, the packed 4:2:2 and NV12 outputs too.
        const bool turned = quarter && rc.op != 0x103 && rc.op != 0x006 && rc.op != 0x007 && rc.op != 0x008 &&
                            rc.op != 0x305 && rc.op != 0x800;
        f.dstShape[i] = PlaneShape(dstFormat, i, turned ? ph : pw, turned ? pw : ph);
        f.args.srcStrides[i] = StrideFor(kind, f.srcShape[i].rowBytes, Bpp(srcFormat));
        f.args.dstStrides[i] = StrideFor(kind, f.dstShape[i].rowBytes, Bpp(dstFormat));
    }
    f.rule = FrameBuffers(f.args);
    return f;
}

// One plane: a heap block of exactly the span, the plane pointer `-begin` bytes into it.
struct Block {
    std::unique_ptr<uint8_t[]> bytes;
    uint8_t* plane = nullptr;
};
Block Allocate(const Span& s, uint32_t seed) {
    Block b;
    b.bytes.reset(new uint8_t[static_cast<size_t>(s.size())]);
    qvtest::FillPattern(b.bytes.get(), static_cast<size_t>(s.size()), seed);
    b.plane = s.empty() ? b.bytes.get() : b.bytes.get() - s.begin;
    return b;
}

// Runs one frame through the interface with exact planes; returns the result code.
QvResult RunExact(const Frame& f, uint32_t mode, bool adjust) {
    QvHandle h = nullptr;
    const QvResult created = qv::QV_IMAGEPROC_Create(&h, 0, &f.args.params);
    EXPECT_EQ(created, f.rule.createStatus == 0    ? QV_S_OK
                       : f.rule.createStatus == -3 ? QV_E_NOTIMPL
                                                   : QV_E_OUTOFMEMORY);
    if (created != QV_S_OK) return created;
    if (adjust) {
        const int32_t values[3] = {150, 100, 90};
        EXPECT_EQ(qv::QV_IMAGEPROC_Set(h, QV_PROPERTY_COLOUR_ADJUST, values), QV_S_OK);
    }
    std::vector<Block> blocks;
    const uint8_t* src[3] = {};
    uint8_t* dst[3] = {};
    for (int i = 0; i < 3; ++i) {
        if (i < f.rule.srcPlanes) {
            blocks.push_back(Allocate(f.rule.src[i], 11u + static_cast<uint32_t>(i)));
            src[i] = blocks.back().plane;
        }
        if (i < f.rule.dstPlanes) {
            blocks.push_back(Allocate(f.rule.dst[i], 29u + static_cast<uint32_t>(i)));
            dst[i] = blocks.back().plane;
        }
    }
    const QvFrameOptions options{0, 0, mode};
    const QvResult r = qv::QV_IMAGEPROC_ProcessFrame(h, src, f.args.srcStrides, dst, f.args.dstStrides, &options);
    qv::QV_IMAGEPROC_Destroy(h);
    return r;
}

QvResult Expected(const FrameRule& rule) {
    switch (rule.status) {
        case 0:
            return QV_S_OK;
        case -1:
            return QV_E_INVALIDARG;
        default:
            return QV_S_FALSE;
    }
}

std::string Label(const RouteCase& rc, uint32_t rotation, StrideKind kind, uint32_t mode) {
    return std::string(rc.name) + " rotation " + std::to_string(rotation) + " strides " +
           std::to_string(static_cast<int>(kind)) + " mode " + std::to_string(mode);
}

// The contract the README states for strides of at least a row: nothing before a plane with a
// positive stride, nothing past a plane of rows x stride (rows above it for a negative stride)
// but the documented reads below the source: two luma rows and one chroma row for 4:2:0 to
// RGB565 at 2.5 x 2, and for the block deinterlacer five rows, each read to the width rounded up to
// 16 (luma) or 8 (chroma) bytes.
void CheckContract(const Frame& f, const RouteCase& rc, uint32_t mode, const std::string& label) {
    const int32_t srcFormat = rc.op >> 8;
    for (int i = 0; i < 3; ++i) {
        const Span& s = f.rule.src[i];
        if (!s.empty()) {
            const int64_t stride = i == 2 && f.rule.crStepsByCbStride ? f.args.srcStrides[1] : f.args.srcStrides[i];
            int64_t rows = f.srcShape[i].rows, rowBytes = f.srcShape[i].rowBytes;
            if (std::string(f.rule.route) == "_QVYCbCr420ToRGB565Case1") rows += i == 0 ? 2 : 1;
            if (mode == 7 && srcFormat < 3) {
                rows += 5;
                rowBytes = i == 0 ? (rowBytes + 15) & ~int64_t{15} : (rowBytes + 7) & ~int64_t{7};
            }
            const int64_t a = stride > 0 ? 0 : (rows - 1) * stride;
            const int64_t b = stride > 0 ? (rows - 1) * stride + std::max<int64_t>(stride, rowBytes)
                                         : std::max<int64_t>(-stride, rowBytes);
            EXPECT_GE(s.begin, a) << label << " source plane " << i;
            EXPECT_LE(s.end, b) << label << " source plane " << i;
        }
        const Span& d = f.rule.dst[i];
        if (!d.empty()) {
            const int64_t stride = f.args.dstStrides[i], rows = f.dstShape[i].rows;
            const int64_t a = stride > 0 ? 0 : (rows - 1) * stride;
            const int64_t b = stride > 0 ? rows * stride : -stride;
            EXPECT_GE(d.begin, a) << label << " destination plane " << i;
            EXPECT_LE(d.end, b) << label << " destination plane " << i;
        }
    }
}

TEST(FrameRules, EveryRouteStaysInsideExactPlanes) {
    std::set<std::string> reached;
    for (const RouteCase& rc : kCases) {
        for (uint32_t rotation = 0; rotation <= 5; ++rotation) {
            for (StrideKind kind : kStrideKinds) {
                const Frame f = Plan(rc, rotation, kind, 0);
                const std::string label = Label(rc, rotation, kind, 0);
                const QvResult r = RunExact(f, 0, rc.adjust);
                if (f.rule.createStatus != 0) continue;
                EXPECT_EQ(r, Expected(f.rule)) << label << " (" << f.rule.route << f.rule.refusal << ")";
                if (f.rule.status == 0) reached.insert(f.rule.route);
                if (kind == StrideKind::kTight || kind == StrideKind::kPadded) CheckContract(f, rc, 0, label);
            }
        }
    }
    for (const std::string& route : kRoutes) EXPECT_TRUE(reached.count(route)) << route << " never reached";
    for (const std::string& route : reached) EXPECT_TRUE(kRoutes.count(route)) << route << " is not a known route";
}

TEST(FrameRules, EveryDeinterlaceModeStaysInsideExactPlanes) {
    // Plane heights of 12 and 6 lines (not multiples of 8) and widths of 20 and 10 bytes (not
    // multiples of 16 or 8) reach every strip and padding case of the block mode.
    const RouteCase cases[] = {
        {"yuv420", 0x003, 20, 12, 20, 12, 2},       {"yuv420_36x44", 0x000, 36, 44, 36, 44, 2},
        {"yuv420_case1", 0x003, 16, 12, 40, 24, 1}, {"yuv422", 0x103, 20, 12, 20, 12, 2},
        {"yuv444", 0x204, 20, 12, 20, 12, 2},       {"yuv420_4x4", 0x005, 4, 4, 4, 4, 2},
    };
    for (const RouteCase& rc : cases) {
        for (uint32_t mode : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 9u, 0xFFFFFFFFu}) {
            for (StrideKind kind : kStrideKinds) {
                const Frame f = Plan(rc, 0, kind, mode);
                const std::string label = Label(rc, 0, kind, mode);
                EXPECT_STRNE(f.rule.deinterlace, "") << label;
                EXPECT_EQ(RunExact(f, mode, false), Expected(f.rule)) << label;
                if (kind == StrideKind::kTight || kind == StrideKind::kPadded) CheckContract(f, rc, mode, label);
            }
        }
    }
}

// The documented reads past the picture, in numbers.
TEST(FrameRules, DocumentedExtras) {
    // 2.5 x 2: two luma rows and one chroma row below a 16 x 12 source with tight strides.
    Frame f = Plan({"", 0x003, 16, 12, 40, 24, 1}, 0, StrideKind::kTight, 0);
    EXPECT_STREQ(f.rule.route, "_QVYCbCr420ToRGB565Case1");
    EXPECT_EQ(f.rule.src[0].end, 14 * 16);
    EXPECT_EQ(f.rule.src[1].end, 7 * 8);
    // Block mode on 24 x 12 with tight strides (work pitch 32). Luma, 12 lines: one row of 8x8
    // blocks (lines 0-9, 32 bytes a line, past the 24-byte row), then 4-line strips whose
    // detector reads line pairs to line 14, three lines below the plane, over 4 pixels of each
    // strip: the last byte read is line 14, column 28.
    f = Plan({"", 0x003, 24, 12, 24, 12, 2}, 0, StrideKind::kTight, 7);
    EXPECT_EQ(f.rule.src[0].end, 14 * 24 + 28);
    // Chroma, 12 x 6: one block column and a 4-pixel strip; the block's detector reads line 6
    // (one below) over 6 pixels, the strip's reads lines 0-2 over 6 pixels from column 8 (two
    // past the 12-byte width).
    EXPECT_EQ(f.rule.src[1].end, 6 * 12 + 6);
    EXPECT_EQ(f.rule.src[2].end, 6 * 12 + 6);
    // Simple modes read min(stride, 16-rounded width) bytes a row.
    f = Plan({"", 0x003, 20, 12, 20, 12, 2}, 0, StrideKind::kPadded, 4);
    EXPECT_EQ(f.rule.src[0].end, 11 * int64_t{f.args.srcStrides[0]} + 32);
    // A half turn into RGB565 places the picture against the right end of each row.
    f = Plan({"", 0x003, 20, 12, 20, 12, 2}, 3, StrideKind::kPadded, 0);
    EXPECT_EQ(f.rule.dst[0].begin, f.args.dstStrides[0] - 40);
    EXPECT_EQ(f.rule.dst[0].end, 12 * int64_t{f.args.dstStrides[0]});
    // Mirrored into ARGB32 rows of 73 bytes: row pairs 144 bytes apart, the last pixel written
    // (row 23, column 0) at 11 x 144 + 73 + 15 x 4, inside the 24 x 73 bytes.
    f = Plan({"", 0x005, 16, 24, 16, 24, 2}, 4, StrideKind::kTight, 0);
    f.args.dstStrides[0] = 73;
    f.rule = FrameBuffers(f.args);
    EXPECT_EQ(f.rule.status, 0);
    EXPECT_EQ(f.rule.dst[0].begin, 0);
    EXPECT_EQ(f.rule.dst[0].end, 11 * 144 + 73 + 15 * 4 + 4);
    EXPECT_EQ(RunExact(f, 0, false), QV_S_OK);
}

// Refusals: the frame returns E_INVALIDARG and touches no destination byte.
TEST(FrameRules, RefusedFramesTouchNothing) {
    struct Refused {
        RouteCase rc;
        uint32_t rotation;
        int32_t dstStride;
    };
    const Refused cases[] = {
        {{"odd rgb565 stride, quarter turn", 0x003, 12, 8, 20, 16, 2}, 1, 33},
        {{"odd rgb565 stride, 4:4:4 flip", 0x203, 12, 8, 12, 8, 2}, 5, 25},
        {{"argb stride of 2 mod 4, 4:4:4 half turn", 0x205, 12, 8, 12, 8, 2}, 3, 50},
        {{"argb flip, row pairs stepping 148 back from row 23 of 73 bytes", 0x005, 16, 24, 16, 24, 2}, 5, 73},
        {{"half turn, stride below the row", 0x004, 12, 8, 12, 8, 2}, 3, 35},
        {{"half turn, bottom-up", 0x303, 12, 8, 12, 8, 2}, 3, -24},
        {{"source wider than 16.16", 0x003, 32772, 4, 16, 4, 2}, 0, 32},
        {{"source higher than 16.16", 0x404, 4, 32772, 4, 8, 2}, 2, 24},
        {{"rotated 4:2:0 from RGB into a smaller destination", 0x500, 16, 8, 8, 8, 2}, 1, 8},
    };
    for (const Refused& c : cases) {
        Frame f = Plan(c.rc, c.rotation, StrideKind::kTight, 0);
        f.args.dstStrides[0] = c.dstStride;
        f.rule = FrameBuffers(f.args);
        ASSERT_EQ(f.rule.createStatus, 0) << c.rc.name;
        EXPECT_EQ(f.rule.status, -1) << c.rc.name;
        for (const Span& s : f.rule.dst) EXPECT_TRUE(s.empty()) << c.rc.name;
        EXPECT_EQ(RunExact(f, 0, false), QV_E_INVALIDARG) << c.rc.name;
    }
}

// An empty picture is neither deinterlaced nor converted, whatever the planes.
TEST(FrameRules, EmptyPicturesAreNotDeinterlaced) {
    for (int32_t width : {-12, -4, 0}) {
        for (uint32_t mode : {1u, 7u, 9u}) {
            QvHandle h = nullptr;
            const QvCreateParams p = qvtest::MakeParams(0x000, width, 8, width, 8);
            ASSERT_EQ(qv::QV_IMAGEPROC_Create(&h, 0, &p), QV_S_OK);
            std::unique_ptr<uint8_t[]> plane(new uint8_t[0]);
            const uint8_t* src[3] = {plane.get(), plane.get(), plane.get()};
            uint8_t* dst[3] = {plane.get(), plane.get(), plane.get()};
            const int32_t strides[3] = {16, 8, 8};
            const QvFrameOptions options{0, 0, mode};
            EXPECT_EQ(qv::QV_IMAGEPROC_ProcessFrame(h, src, strides, dst, strides, &options), QV_S_OK);
            qv::QV_IMAGEPROC_Destroy(h);
        }
    }
}

// Inputs the fuzzer once failed on, replayed through the same driver.
TEST(FrameRules, FuzzRegressionsReplay) {
    const std::filesystem::path dir(QV_FUZZ_REGRESSIONS);
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const qvfuzz::Outcome outcome = qvfuzz::RunInput(bytes.data(), bytes.size());
        EXPECT_EQ(outcome.failure, "") << entry.path().filename();
        EXPECT_GT(outcome.frames, 0) << entry.path().filename() << " runs no frame";
        ++replayed;
    }
    EXPECT_GT(replayed, 0);
}

}  // namespace
