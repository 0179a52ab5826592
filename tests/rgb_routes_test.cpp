// Every 4:2:0 to RGB565, ARGB32 and RGB888 route, over rotation codes and sizes, against the
// per-pixel model: whole destination buffers (with guard bytes and a margin row above and below)
// and line buffers with guards after each.
#include <gtest/gtest.h>

#include <string>

#include "rgb_reference.h"

namespace {

using namespace rgbref;
using qvtest::GuardedPlane;

constexpr uint8_t kAlpha = 0x5C;

struct Size {
    int32_t W, H, DW, DH;
};
// What a route call needs.
struct Args {
    qv::QvImgPrcContext* ctx;
    const qv::LineBuffers* lines;
    const uint8_t* const* sp;
    const int32_t* ss;
    int32_t W, H, DW, DH;
    uint8_t* dst;
    int32_t stride;
};

// Where destination rows go with rotation code 0 (other codes follow the rotation table).
enum class Rows {
    kFull,    // row r at r strides
    kPairs,   // ARGB32 row pairs advance (stride >> 1) x 4 bytes, the lower row one stride below
    kRound4,  // row r at r x (stride AND NOT 3)
};
// How the destination is given: pointer and stride, the rotation record, or a whole frame to the dispatcher.
enum class Via { kDirect, kRotated, kFrame };
// What a route refuses to run without (-1, nothing written).
enum class Needs { kNone, kLines, kParams };

struct Route {
    const char* name;
    Fmt fmt;
    Via via;
    Needs needs;
    Shape shape;
    Horiz h;
    Rows rows;
    uint32_t interp, codes;
    int32_t extraRows;  // source rows beyond (or short of) the picture
    std::vector<Size> sizes;
    int32_t (*call)(Args&);
};

int32_t ThroughFrame(Args& r) {
    uint8_t* const dp[3] = {r.dst, nullptr, nullptr};
    const int32_t ds[3] = {r.stride, 0, 0};
    return qv::QV_ImgPrcOneFrame(r.ctx, r.sp, r.ss, dp, ds);
}

const std::vector<Size> kEqual = {{8, 4, 8, 4}, {16, 12, 16, 12}, {12, 20, 12, 20}};
const std::vector<Size> kAnyRatio = {{16, 12, 8, 8}, {16, 12, 24, 8}, {12, 8, 20, 28}, {20, 16, 12, 4}, {8, 12, 20, 8}};
const std::vector<Size> kUp = {{8, 8, 16, 16}, {12, 8, 20, 28}, {8, 12, 12, 8}, {8, 4, 48, 36}, {320, 240, 480, 272}};
const std::vector<Size> kWide15 = {{8, 8, 12, 12}, {16, 12, 24, 8}, {8, 8, 12, 8}, {24, 4, 36, 20}};
const std::vector<Size> kWide25 = {{8, 4, 20, 8}, {16, 8, 40, 16}, {8, 12, 20, 24}};
const std::vector<Size> kNear = {{8, 8, 16, 16}, {8, 4, 20, 12}, {12, 8, 16, 12}, {4, 4, 24, 16}, {16, 4, 12, 8}};
const std::vector<Size> k320 = {{320, 240, 480, 272}};

using enum Fmt;
using enum Shape;
using enum Horiz;
using enum Rows;
using enum Via;
using enum Needs;

// clang-format off
const std::vector<Route> kRoutes = {
    {"RGB565", k565, kDirect, kNone, kSame, kFree, kFull, 2, 1, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride); }},
    {"RGB565Rot", k565, kRotated, kParams, kSame, kFree, kFull, 2, 6, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Rot(r.ctx, r.sp, r.ss, r.W, r.H); }},
    {"RGB565Rsz", k565, kDirect, kNone, kScaled, kFree, kFull, 2, 1, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB565RszRot", k565, kRotated, kParams, kScaled, kFree, kFull, 2, 6, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH); }},
    {"RGB565RszUp", k565, kDirect, kLines, kCache, kFree, kRound4, 2, 1, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Given the record's start and halved steps, one more each: the routine clears their lowest bits.
    {"RGB565RszUpRot", k565, kRotated, kLines, kCache, kFree, kFull, 2, 6, 0, kUp, [](Args& r) {
         const qv::QvRotationParams& p = *r.ctx->params;
         return qv::_QVYCbCr420ToRGB565RszUpRot(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, p.dst00, (p.stepY >> 1) + 1,
                                                (p.stepX >> 1) + 1, r.DW, r.DH); }},
    {"RGB565Nearest", k565, kDirect, kLines, kNearest, kFree, kRound4, 2, 1, 0, kNear,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp_Nearest(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB565NearLinear", k565, kDirect, kLines, kDoubled, kFree, kRound4, 2, 1, 0, kNear,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp_NearLinear(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Reads the two rows below the picture; a height short of a group of four still writes the group.
    {"RGB565Case1", k565, kDirect, kLines, kTwice, k25, kRound4, 2, 1, 2, kWide25,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case1(r.ctx, r.lines, r.sp, r.ss, r.W, r.dst, r.stride, r.DH - 2); }},
    {"RGB565Case2", k565, kDirect, kLines, kCache, k23, kRound4, 2, 1, 0, kWide15,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case2(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DH); }},
    // Planes of exactly the 238 rows the path reads.
    {"RGB565Case3", k565, kDirect, kNone, kCase3, k23Closed, kFull, 2, 1, -2, k320,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case3(r.ctx, (*r.lines)[0], (*r.lines)[1], r.sp, r.ss, r.dst, r.stride); }},
    {"ARGB32", kARGB, kDirect, kNone, kSame, kFree, kPairs, 2, 1, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, kAlpha); }},
    {"ARGB32Rot", kARGB, kRotated, kParams, kSame, kFree, kFull, 2, 6, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Rot(r.ctx, r.sp, r.ss, r.W, r.H, kAlpha); }},
    {"ARGB32Rsz", kARGB, kDirect, kNone, kScaled, kFree, kPairs, 2, 1, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH, kAlpha); }},
    {"ARGB32RszRot", kARGB, kRotated, kParams, kScaled, kFree, kFull, 2, 6, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH, kAlpha); }},
    {"ARGB32RszUp", kARGB, kDirect, kLines, kCache, kFree, kRound4, 2, 1, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH, kAlpha); }},
    {"ARGB32Case1", kARGB, kDirect, kLines, kTwice, k25, kRound4, 2, 1, 0, kWide25,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Case1(r.ctx, r.lines, r.sp, r.ss, r.W, r.dst, r.stride, r.DH, kAlpha); }},
    {"ARGB32Case2", kARGB, kDirect, kLines, kCache, k23, kRound4, 2, 1, 0, kWide15,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Case2(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DH, kAlpha); }},
    {"RGB888", k888, kDirect, kNone, kSame, kFree, kFull, 2, 1, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride); }},
    {"RGB888Rot", k888, kRotated, kParams, kSame, kFree, kFull, 2, 6, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888Rot(r.ctx, r.sp, r.ss, r.W, r.H); }},
    {"RGB888Rsz", k888, kDirect, kNone, kScaled, kFree, kFull, 2, 1, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB888RszRot", k888, kRotated, kParams, kScaled, kFree, kFull, 2, 6, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH); }},
    {"RGB888RszUp", k888, kDirect, kLines, kCache, kFree, kFull, 2, 1, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Through the dispatcher: the route the context's rotation, case and interpolation select.
    {"RGB565FrameUp", k565, kFrame, kNone, kCache, kFree, kRound4, 2, 6, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565FrameDown", k565, kFrame, kNone, kScaled, kFree, kFull, 2, 6, 0, {{16, 12, 8, 8}}, ThroughFrame},
    {"RGB565FrameNearest", k565, kFrame, kNone, kNearest, kFree, kRound4, 0, 1, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565FrameNearLinear", k565, kFrame, kNone, kDoubled, kFree, kRound4, 3, 1, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565Frame15", k565, kFrame, kNone, kCache, k23, kRound4, 1, 1, 0, {{8, 8, 12, 12}}, ThroughFrame},
    {"ARGB32Frame320", kARGB, kFrame, kNone, kCache, kFree, kRound4, 1, 1, 0, k320, ThroughFrame},
    {"RGB888Frame25", k888, kFrame, kNone, kCache, kFree, kFull, 1, 1, 0, {{8, 4, 20, 8}}, ThroughFrame},
};
// clang-format on

// Byte offset of picture pixel (x, y), of a w x h picture, in a destination of stride s.
ptrdiff_t Offset(const Route& rt, uint32_t code, int32_t x, int32_t y, int32_t w, int32_t h, int32_t s) {
    const ptrdiff_t B = BytesOf(rt.fmt), X = x, Y = y;
    if (code == 0 && rt.via != kRotated) {
        if (rt.rows == kPairs) return (Y >> 1) * ((s >> 1) * 4) + (Y & 1) * s + X * B;
        return Y * (rt.rows == kRound4 ? s & ~3 : s) + X * B;
    }
    // The rotation table; the half turn finds its first pixel from the stride's end.
    if (code == 3) return (h - Y) * s - B - X * B;
    const ptrdiff_t row = code == 1 ? w - 1 - X : code == 2 ? X : code == 5 ? h - 1 - Y : Y;
    const ptrdiff_t col = code == 1 ? Y : code == 2 ? h - 1 - Y : code == 4 ? w - 1 - X : X;
    return row * s + col * B;
}

int32_t OpOf(Fmt f) {
    return f == k565 ? 0x003 : f == kARGB ? 0x005 : 0x004;
}
// RGB565 strides are 2 mod 4; ARGB32 odd unless rotated (the steps then keep their value); RGB888
// odd with room for the pixels its unrounded steps move.
int32_t StrideFor(const Route& r, Size s) {
    const int32_t m = std::max(s.DW, s.DH);
    return r.fmt == k565 ? 2 * m + 6 : 4 * m + (r.fmt == kARGB && r.codes > 1 ? 8 : 1);
}

// A context with lively tables, a frame, line buffers of the context's length with guards, and a
// destination pre-filled with a pattern, through which one route runs.
struct Rig {
    const Route& rt;
    qvtest::Context c;
    Frame f;
    std::vector<GuardedPlane> lineBlocks;
    uint32_t* linePtrs[4];
    int32_t stride;
    GuardedPlane dst;
    Args run;
    Rig(const Route& r, uint32_t code, Size s, bool equalChroma = false, int32_t strideGiven = 0)
        : rt(r),
          c(qvtest::MakeParams(OpOf(r.fmt), s.W, s.H, s.DW, s.DH, code, r.interp, kAlpha)),
          f(s.W, s.H, 7 * code + s.W + 3 * s.DH, r.extraRows, equalChroma),
          lineBlocks(4, GuardedPlane((r.shape == kDoubled ? 8 : 4) * std::max(s.W, s.DW) + 16, 1)),
          stride(strideGiven ? strideGiven : StrideFor(r, s)),
          dst(stride, (code == 1 || code == 2 ? s.DW : s.DH) + 2) {
        EXPECT_EQ(c.status, 0);
        const int32_t lively[3] = {150, 200, 255};  // channels reach both ends of their clamps
        EXPECT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, lively), 0);
        for (int i = 0; i < 4; ++i) linePtrs[i] = reinterpret_cast<uint32_t*>(lineBlocks[i].data());
        qvtest::FillPattern(dst.data(), dst.size(), 99);
        const auto* lines = reinterpret_cast<const qv::LineBuffers*>(&linePtrs);
        run = {c.ctx, lines, f.planes, f.strides, s.W, s.H, s.DW, s.DH, dst.row(1), stride};
        uint8_t* const dp[3] = {run.dst, nullptr, nullptr};
        const int32_t ds[3] = {stride, 0, 0};
        EXPECT_EQ(qv::_QV_RotationInit(c.ctx, dp, s.DW, s.DH, ds), 0);
    }
    bool LinesIntact() const {
        return std::all_of(lineBlocks.begin(), lineBlocks.end(),
                           [](const GuardedPlane& p) { return p.guardsIntact(); });
    }
};

struct Case {
    const Route* rt;
    uint32_t code;
    Size sz;
};
std::vector<Case> AllCases() {
    std::vector<Case> v;
    for (const Route& rt : kRoutes)
        for (const Size& sz : rt.sizes)
            for (uint32_t code = 0; code < rt.codes; ++code) v.push_back({&rt, code, sz});
    return v;
}

std::string Name(const Case& k) {
    return std::string(k.rt->name) + "_code" + std::to_string(k.code) + "_" + std::to_string(k.sz.W) + "x" +
           std::to_string(k.sz.H) + "to" + std::to_string(k.sz.DW) + "x" + std::to_string(k.sz.DH);
}
void PrintTo(const Case& k, std::ostream* os) { *os << Name(k); }
class Routes : public ::testing::TestWithParam<Case> {};

TEST_P(Routes, MatchTheModelInsideGuards) {
    const Case& k = GetParam();
    const Route& rt = *k.rt;
    Rig s(rt, k.code, k.sz);
    // A shrinking height may convert a row with the chroma row above it.
    if (rt.shape == kCache && k.sz.DH < k.sz.H) s.f.FlattenChroma();
    std::vector<uint8_t> want = s.dst.contents();
    // Without their line buffers or rotation record, routes return -1 and write nothing.
    qv::QvRotationParams* const prm = s.c.ctx->params;
    if (rt.needs != kNone) {
        Args none = s.run;
        none.lines = nullptr;
        if (rt.needs == kParams) s.c.ctx->params = nullptr;
        EXPECT_EQ(rt.call(none), -1);
        s.c.ctx->params = prm;
        EXPECT_EQ(s.dst.contents(), want);
    }

    // Steps a format rounds away (RGB565: the lowest bit, ARGB32: the two lowest) are added to the
    // record; RGB888 uses its steps as given, so one more byte per pair moves its pixels outward.
    const int32_t DW = k.sz.DW, DH = k.sz.DH;
    auto sign = [](ptrdiff_t d) { return d > 0 ? 1 : -1; };
    const int32_t dx = sign(Offset(rt, k.code, 2, 0, DW, DH, s.stride) - Offset(rt, k.code, 0, 0, DW, DH, s.stride));
    const int32_t dy = sign(Offset(rt, k.code, 0, 2, DW, DH, s.stride) - Offset(rt, k.code, 0, 0, DW, DH, s.stride));
    const bool moved = rt.via == kRotated && rt.fmt == k888;
    if (rt.via == kRotated) {
        prm->stepX += rt.fmt == k565 ? 1 : rt.fmt == kARGB ? 3 : dx;
        prm->stepY += rt.fmt == k565 ? 1 : rt.fmt == kARGB ? 3 : dy;
    }
    EXPECT_EQ(rt.call(s.run), 0);

    const Picture pic = Model(rt.shape, rt.h, rt.fmt, s.c.ctx, s.f, DW, DH, kAlpha);
    const int32_t B = BytesOf(rt.fmt);
    for (int32_t y = 0; y < DH; ++y)
        for (int32_t x = 0; x < DW; ++x) {
            const ptrdiff_t o =
                s.stride + Offset(rt, k.code, x, y, DW, DH, s.stride) + (moved ? (x >> 1) * dx + (y >> 1) * dy : 0);
            for (int32_t i = 0; i < B; ++i) want[o + i] = static_cast<uint8_t>(pic.at(x, y) >> (8 * i));
        }
    const std::vector<uint8_t> got = s.dst.contents();
    size_t bad = 0, first = 0;
    for (size_t i = 0; i < got.size(); ++i)
        if (got[i] != want[i] && bad++ == 0) first = i;
    EXPECT_EQ(bad, 0u) << "first at stored row " << static_cast<int64_t>(first / s.stride) - 1 << ", byte "
                       << first % s.stride;
    EXPECT_TRUE(s.dst.guardsIntact());
    EXPECT_TRUE(s.LinesIntact());
}

INSTANTIATE_TEST_SUITE_P(All, Routes, ::testing::ValuesIn(AllCases()), [](const auto& info) { return Name(info.param); });

// Equal sizes give steps of exactly 1 and weights of 0: the scalers draw the direct picture.
TEST(RouteIdentities, EqualSizesThroughTheScalersGiveTheDirectPicture) {
    auto find = [](const std::string& name) -> const Route& {
        return *std::find_if(kRoutes.begin(), kRoutes.end(), [&](const Route& r) { return name == r.name; });
    };
    for (const auto& [direct, scaled] : {std::pair{"RGB565", "RGB565Rsz"}, std::pair{"RGB565", "RGB565RszUp"},
                                         std::pair{"ARGB32", "ARGB32Rsz"}, std::pair{"RGB888", "RGB888Rsz"}}) {
        const int32_t stride = 4 * 16 + 8;  // a multiple of 4: every route places its rows alike
        Rig a(find(direct), 0, {16, 12, 16, 12}, true, stride), b(find(scaled), 0, {16, 12, 16, 12}, true, stride);
        EXPECT_EQ(a.rt.call(a.run), 0);
        EXPECT_EQ(b.rt.call(b.run), 0);
        EXPECT_EQ(a.dst.contents(), b.dst.contents()) << scaled;
    }
}

}  // namespace
