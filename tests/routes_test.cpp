// Every conversion route against independent per-pixel models, one table of cases (route, size,
// rotation code, scaling, adjustment): whole destination buffers with guard bytes. The 4:2:0 to
// RGB routines are called directly (line buffers with guards, rotation records, margin rows); every
// other route runs as a frame through the dispatcher. Then identities, worked numbers and layouts.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <tuple>

#include "rgb_reference.h"

namespace {

using namespace rgbref;
using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;
using qvtest::Placed;
using qvtest::Planes;
using Pic = qvtest::Picture;

constexpr uint8_t kAlpha = 0x5C;
constexpr uint32_t kCode0 = 0x01, kAllCodes = 0x3F, kCode2 = 0x04, kCode3 = 0x08;  // bit c: rotation code c

struct Size {
    int32_t W, H, DW, DH;
};
std::string SizeName(Size s) {
    return std::to_string(s.W) + "x" + std::to_string(s.H) + "to" + std::to_string(s.DW) + "x" + std::to_string(s.DH);
}

// ==== 4:2:0 to RGB565, ARGB32 and RGB888, routine by routine ====================================

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
    {"RGB565", k565, kDirect, kNone, kSame, kFree, kFull, 2, kCode0, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride); }},
    {"RGB565Rot", k565, kRotated, kParams, kSame, kFree, kFull, 2, kAllCodes, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Rot(r.ctx, r.sp, r.ss, r.W, r.H); }},
    {"RGB565Rsz", k565, kDirect, kNone, kScaled, kFree, kFull, 2, kCode0, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB565RszRot", k565, kRotated, kParams, kScaled, kFree, kFull, 2, kAllCodes, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH); }},
    {"RGB565RszUp", k565, kDirect, kLines, kCache, kFree, kRound4, 2, kCode0, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Given the record's start and halved steps, one more each: the routine clears their lowest bits.
    {"RGB565RszUpRot", k565, kRotated, kLines, kCache, kFree, kFull, 2, kAllCodes, 0, kUp, [](Args& r) {
         const qv::QvRotationParams& p = *r.ctx->params;
         return qv::_QVYCbCr420ToRGB565RszUpRot(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, p.dst00, (p.stepY >> 1) + 1,
                                                (p.stepX >> 1) + 1, r.DW, r.DH); }},
    {"RGB565Nearest", k565, kDirect, kLines, kNearest, kFree, kRound4, 2, kCode0, 0, kNear,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp_Nearest(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB565NearLinear", k565, kDirect, kLines, kDoubled, kFree, kRound4, 2, kCode0, 0, kNear,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565RszUp_NearLinear(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Reads the two rows below the picture; a height short of a group of four still writes the group.
    {"RGB565Case1", k565, kDirect, kLines, kTwice, k25, kRound4, 2, kCode0, 2, kWide25,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case1(r.ctx, r.lines, r.sp, r.ss, r.W, r.dst, r.stride, r.DH - 2); }},
    {"RGB565Case2", k565, kDirect, kLines, kCache, k23, kRound4, 2, kCode0, 0, kWide15,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case2(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DH); }},
    // Planes of exactly the 238 rows the path reads.
    {"RGB565Case3", k565, kDirect, kNone, kCase3, k23Closed, kFull, 2, kCode0, -2, k320,
     [](Args& r) { return qv::_QVYCbCr420ToRGB565Case3(r.ctx, (*r.lines)[0], (*r.lines)[1], r.sp, r.ss, r.dst, r.stride); }},
    {"ARGB32", kARGB, kDirect, kNone, kSame, kFree, kPairs, 2, kCode0, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, kAlpha); }},
    {"ARGB32Rot", kARGB, kRotated, kParams, kSame, kFree, kFull, 2, kAllCodes, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Rot(r.ctx, r.sp, r.ss, r.W, r.H, kAlpha); }},
    {"ARGB32Rsz", kARGB, kDirect, kNone, kScaled, kFree, kPairs, 2, kCode0, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH, kAlpha); }},
    {"ARGB32RszRot", kARGB, kRotated, kParams, kScaled, kFree, kFull, 2, kAllCodes, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH, kAlpha); }},
    {"ARGB32RszUp", kARGB, kDirect, kLines, kCache, kFree, kRound4, 2, kCode0, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH, kAlpha); }},
    {"ARGB32Case1", kARGB, kDirect, kLines, kTwice, k25, kRound4, 2, kCode0, 0, kWide25,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Case1(r.ctx, r.lines, r.sp, r.ss, r.W, r.dst, r.stride, r.DH, kAlpha); }},
    {"ARGB32Case2", kARGB, kDirect, kLines, kCache, k23, kRound4, 2, kCode0, 0, kWide15,
     [](Args& r) { return qv::_QVYCbCr420ToARGB32Case2(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DH, kAlpha); }},
    {"RGB888", k888, kDirect, kNone, kSame, kFree, kFull, 2, kCode0, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride); }},
    {"RGB888Rot", k888, kRotated, kParams, kSame, kFree, kFull, 2, kAllCodes, 0, kEqual,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888Rot(r.ctx, r.sp, r.ss, r.W, r.H); }},
    {"RGB888Rsz", k888, kDirect, kNone, kScaled, kFree, kFull, 2, kCode0, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888Rsz(r.ctx, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    {"RGB888RszRot", k888, kRotated, kParams, kScaled, kFree, kFull, 2, kAllCodes, 0, kAnyRatio,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888RszRot(r.ctx, r.sp, r.ss, r.W, r.H, r.DW, r.DH); }},
    {"RGB888RszUp", k888, kDirect, kLines, kCache, kFree, kFull, 2, kCode0, 0, kUp,
     [](Args& r) { return qv::_QVYCbCr420ToRGB888RszUp(r.ctx, r.lines, r.sp, r.ss, r.W, r.H, r.dst, r.stride, r.DW, r.DH); }},
    // Through the dispatcher: the route the context's rotation, case and interpolation select.
    {"RGB565FrameUp", k565, kFrame, kNone, kCache, kFree, kRound4, 2, kAllCodes, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565FrameDown", k565, kFrame, kNone, kScaled, kFree, kFull, 2, kAllCodes, 0, {{16, 12, 8, 8}}, ThroughFrame},
    {"RGB565FrameNearest", k565, kFrame, kNone, kNearest, kFree, kRound4, 0, kCode0, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565FrameNearLinear", k565, kFrame, kNone, kDoubled, kFree, kRound4, 3, kCode0, 0, {{8, 8, 16, 12}}, ThroughFrame},
    {"RGB565Frame15", k565, kFrame, kNone, kCache, k23, kRound4, 1, kCode0, 0, {{8, 8, 12, 12}}, ThroughFrame},
    {"ARGB32Frame320", kARGB, kFrame, kNone, kCache, kFree, kRound4, 1, kCode0, 0, k320, ThroughFrame},
    {"RGB888Frame25", k888, kFrame, kNone, kCache, kFree, kFull, 1, kCode0, 0, {{8, 4, 20, 8}}, ThroughFrame},
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
    Context c;
    Frame f;
    std::vector<GuardedPlane> lineBlocks;
    uint32_t* linePtrs[4];
    int32_t stride;
    GuardedPlane dst;
    Args run;
    Rig(const Route& r, uint32_t code, Size s, bool equalChroma = false, int32_t strideGiven = 0)
        : rt(r),
          c(MakeParams(r.fmt == k565 ? 0x003 : r.fmt == kARGB ? 0x005 : 0x004, s.W, s.H, s.DW, s.DH, code, r.interp, kAlpha)),
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
};

void CheckRgbRoute(const Route& rt, uint32_t code, Size sz) {
    Rig s(rt, code, sz);
    // A shrinking height may convert a row with the chroma row above it.
    if (rt.shape == kCache && sz.DH < sz.H) s.f.FlattenChroma();
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
    const int32_t DW = sz.DW, DH = sz.DH;
    auto sign = [](ptrdiff_t d) { return d > 0 ? 1 : -1; };
    const int32_t dx = sign(Offset(rt, code, 2, 0, DW, DH, s.stride) - Offset(rt, code, 0, 0, DW, DH, s.stride));
    const int32_t dy = sign(Offset(rt, code, 0, 2, DW, DH, s.stride) - Offset(rt, code, 0, 0, DW, DH, s.stride));
    const bool moved = rt.via == kRotated && rt.fmt == k888;
    if (rt.via == kRotated) {
        prm->stepX += rt.fmt == k565 ? 1 : rt.fmt == kARGB ? 3 : dx;
        prm->stepY += rt.fmt == k565 ? 1 : rt.fmt == kARGB ? 3 : dy;
    }
    EXPECT_EQ(rt.call(s.run), 0);

    const auto pic = Model(rt.shape, rt.h, rt.fmt, s.c.ctx, s.f, DW, DH, kAlpha);
    const int32_t B = BytesOf(rt.fmt);
    for (int32_t y = 0; y < DH; ++y)
        for (int32_t x = 0; x < DW; ++x) {
            const ptrdiff_t o =
                s.stride + Offset(rt, code, x, y, DW, DH, s.stride) + (moved ? (x >> 1) * dx + (y >> 1) * dy : 0);
            for (int32_t i = 0; i < B; ++i) want[o + i] = static_cast<uint8_t>(pic.at(x, y) >> (8 * i));
        }
    const std::vector<uint8_t> got = s.dst.contents();
    size_t bad = 0, first = 0;
    for (size_t i = 0; i < got.size(); ++i)
        if (got[i] != want[i] && bad++ == 0) first = i;
    EXPECT_EQ(bad, 0u) << "first at stored row " << static_cast<int64_t>(first / s.stride) - 1 << ", byte "
                       << first % s.stride;
    EXPECT_TRUE(s.dst.guardsIntact());
    for (const GuardedPlane& line : s.lineBlocks) EXPECT_TRUE(line.guardsIntact());
}

// ==== every other route, as frames through the dispatcher ======================================

// Position n of a src -> dst resampling from the first to the last sample: the sample, its
// neighbour (the last sample's is itself) and the 5-bit weight.
struct Pos {
    int32_t i0, i1, w;
};
Pos PosAt(int32_t n, int32_t src, int32_t dst) {
    const int32_t p = n * static_cast<int32_t>((static_cast<int64_t>(src - 1) << 16) / (dst - 1)), i0 = p >> 16;
    return {i0, std::min(i0 + 1, src - 1), (p >> 11) & 31};
}
// The sample at the mean of the integer positions of destination pair n, halved (a chroma index).
int32_t MeanPos(int32_t n, int32_t src, int32_t dst) {
    const int32_t s = ((src - 1) << 16) / (dst - 1);
    return (((n & ~1) * s >> 16) + (((n & ~1) + 1) * s >> 16) + 1) >> 2;
}
// Vertical step with one extra bit, then horizontal; truncating.
int32_t Vertical(const GuardedPlane& g, int32_t c, const Pos& y, int shift = 4) {
    return ((g.row(y.i1)[c] - g.row(y.i0)[c]) * y.w + (g.row(y.i0)[c] << 5)) >> shift;
}
uint8_t Bilinear(const GuardedPlane& g, const Pos& x, const Pos& y) {
    const int32_t l = Vertical(g, x.i0, y), r = Vertical(g, x.i1, y);
    return static_cast<uint8_t>((((r - l) * x.w + (l << 5)) >> 6) & 255);
}

// Packed destinations, unrotated: 4:2:0 to RGB555 (own size, the block's chroma, green shifted by
// 10, packed one bit up over the mask bit, 0 where the pixel's own (Y, Cb, Cr) equals all 32 bits of
// the key); 4:2:2 (chroma from the column under the luma position, interpolated vertically only)
// and 4:4:4 (all bilinear) to RGB; RGB565 blended in the expanded word (blue 0-4, green 10-15, red
// 21-25) or widened to ARGB32; RGB888 bytes blended alike.
Pic PackedModel(int32_t op, const qv::QvImgPrcContext* ctx, const Planes& src, const Size& s, uint32_t alpha, uint32_t key) {
    const int32_t to = op & 0xFF;
    Pic pic(s.DW, s.DH, to == qv::kRGB888 ? 3 : to == qv::kARGB32 ? 4 : 2);
    const GuardedPlane& P = src.p[0];
    for (int32_t j = 0; j < s.DH; ++j)
        for (int32_t i = 0; i < s.DW; ++i) {
            const Pos x = PosAt(i, s.W, s.DW), y = PosAt(j, s.H, s.DH);
            const uint8_t *r0 = P.row(y.i0), *r1 = P.row(y.i1);
            uint32_t& v = pic.at(i, j);
            if (op == 0x00A) {
                const uint8_t Y = r0[i], cb = src.p[1].row(j / 2)[i / 2], cr = src.p[2].row(j / 2)[i / 2];
                const Rgb t = Channels(ctx, Y, TermsOf(ctx, cb, cr), 10, 10, 10);
                v = (static_cast<uint32_t>(Y) << 16 | cb << 8 | cr) == key ? 0 : t.r << 11 | t.g << 6 | t.b << 1 | 1;
            } else if (op < 0x300) {
                auto chroma = [&](const GuardedPlane& g) {
                    return op == 0x103 ? static_cast<uint8_t>(Vertical(g, x.i0 / 2, y, 5) & 255) : Bilinear(g, x, y);
                };
                const Fmt f = to == qv::kRGB565 ? k565 : to == qv::kRGB888 ? k888 : kARGB;
                v = Direct(ctx, f, Bilinear(P, x, y), TermsOf(ctx, chroma(src.p[1]), chroma(src.p[2])), alpha);
            } else if (op == 0x305) {
                const uint32_t p = r0[2 * i] | r0[2 * i + 1] << 8;
                v = alpha << 24 | ((p >> 11) << 3) << 16 | (((p >> 5) & 63) << 2) << 8 | (p & 31) << 3;
            } else if (op == 0x303) {
                auto E = [](const uint8_t* p) {
                    const uint32_t w = p[0] | p[1] << 8;
                    return ((w >> 5) & 63) << 10 | (w >> 11) << 21 | (w & 31);
                };
                auto column = [&](int32_t c) { return ((E(r1 + 2 * c) * y.w + E(r0 + 2 * c) * (32 - y.w)) >> 5) & 0x3E0FC1Fu; };
                const uint32_t w = column(x.i1) * x.w + column(x.i0) * (32 - x.w);
                v = ((w >> 15) & 63) << 5 | (w >> 26) << 11 | ((w >> 5) & 31);
            } else {
                uint32_t h[3];  // per byte: an 8-bit value times 32
                for (int k = 0; k < 3; ++k) {
                    auto V = [&](int32_t c) { return static_cast<uint32_t>(r1[3 * c + k] * y.w + r0[3 * c + k] * (32 - y.w)) >> 5; };
                    h[k] = V(x.i1) * x.w + V(x.i0) * (32 - x.w);
                }
                v = op == 0x403 ? (h[2] >> 8) << 11 | (h[1] >> 7) << 5 | (h[0] >> 8) : (h[2] >> 5) << 16 | (h[1] >> 5) << 8 | (h[0] >> 5);
            }
        }
    return pic;
}

// RGB to 4:2:0, BT.601 studio range, weights scaled by 256: luma for every pixel, chroma from one
// corner of each block. RGB565 widens by shifting, adds no rounding term, takes the bottom-left
// pixel's chroma and finds the lower row at the pitch rounded down to 4; the 32-bit sources round,
// take the bottom-right pixel and ignore the alpha byte.
std::vector<Pic> EncodeModel(int32_t source, const GuardedPlane& src, int32_t W, int32_t H) {
    const bool is565 = source == qv::kRGB565;
    const int32_t B = is565 ? 2 : 4, round = is565 ? 0 : 128, lower = is565 ? src.stride() & ~3 : src.stride();
    auto rgb = [&](const uint8_t* p) -> std::array<int32_t, 3> {
        if (is565) return {p[1] >> 3 << 3, ((p[1] & 7) << 3 | p[0] >> 5) << 2, (p[0] & 31) << 3};
        return source == qv::kARGB32 ? std::array<int32_t, 3>{p[2], p[1], p[0]} : std::array<int32_t, 3>{p[0], p[1], p[2]};
    };
    std::vector<Pic> out{Pic(W, H), Pic(W / 2, H / 2), Pic(W / 2, H / 2)};
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t c = 0; c < W / 2; ++c) {
            const uint8_t* top = src.row(2 * r) + 2 * c * B;
            const std::array<int32_t, 3> px[4] = {rgb(top), rgb(top + B), rgb(top + lower), rgb(top + lower + B)};
            for (int k = 0; k < 4; ++k)
                out[0].at(2 * c + k % 2, 2 * r + k / 2) = ((65 * px[k][0] + 129 * px[k][1] + 25 * px[k][2] + round) >> 8) + 16;
            const auto [R, G, Bl] = px[is565 ? 2 : 3];
            out[1].at(c, r) = static_cast<uint8_t>(((112 * Bl - 38 * R - 74 * G + round) >> 8) + 128);
            out[2].at(c, r) = static_cast<uint8_t>(((112 * R - 94 * G - 18 * Bl + round) >> 8) + 128);
        }
    return out;
}

// The destination planes' pictures, unrotated. Planar 4:2:0: at equal size the source; scaled, luma
// bilinear and chroma the sample at the mean position; adjusting, each through its curve (Cb and Cr
// share the chroma curve). NV12 both ways: the chroma samples interleaved or split.
std::vector<Pic> FrameModel(int32_t op, const qv::QvImgPrcContext* c, const Planes& src, const Size& s, bool adjust,
                            uint32_t key) {
    const int32_t from = op >> 8, to = op & 0xFF;
    if (from >= qv::kRGB565 && to == qv::kYCbCr420 && from != qv::kNV12) return EncodeModel(from, src.p[0], s.W, s.H);
    if (op == 0x008 || op == 0x800) {
        const bool split = op == 0x800;
        std::vector<Pic> out{Pic(src.p[0], s.W, s.H), Pic(s.W, s.H / 2)};
        if (split) out = {out[0], Pic(s.W / 2, s.H / 2), Pic(s.W / 2, s.H / 2)};
        for (int32_t r = 0; r < s.H / 2; ++r)
            for (int32_t i = 0; i < s.W; ++i) {
                if (split) out[1 + i % 2].at(i / 2, r) = src.p[1].row(r)[i];
                else out[1].at(i, r) = src.p[1 + i % 2].row(r)[i / 2];
            }
        return out;
    }
    if (op != 0x000) return {PackedModel(op, c, src, s, 0x5E, key)};
    std::vector<Pic> out;
    const bool same = s.W == s.DW && s.H == s.DH;
    for (int i = 0; i < 3; ++i) {
        Pic p(i ? s.DW / 2 : s.DW, i ? s.DH / 2 : s.DH);
        const GuardedPlane& P = src.p[i];
        for (int32_t y = 0; y < p.h; ++y)
            for (int32_t x = 0; x < p.w; ++x) {
                uint32_t v = same ? P.row(y)[x]
                             : i == 0 ? Bilinear(P, PosAt(x, s.W, s.DW), PosAt(y, s.H, s.DH))
                                      : P.row(MeanPos(2 * y, s.H, s.DH))[MeanPos(2 * x, s.W, s.DW)];
                p.at(x, y) = adjust ? (i == 0 ? c->lumaCurve : c->chromaCurve)[v] : v;
            }
        out.push_back(p);
    }
    return out;
}

int32_t PixelBytes(int32_t format) {
    return format == qv::kRGB888 ? 3 : format == qv::kARGB32 || format == qv::kABGR32 ? 4 : 2;
}
Planes SourceOf(int32_t op, Size s) {
    const int32_t from = op >> 8;
    if (from <= qv::kYCbCr444) return Planes::YCbCr(s.W, s.H, from == 2 ? 1 : 2, from == 0 ? 2 : 1);
    if (from == qv::kNV12) {
        Planes p(s.W + 6, s.H);
        p.p.emplace_back(s.W + 3, s.H / 2);
        return p;
    }
    return Planes(s.W * PixelBytes(from) + (PixelBytes(from) == 4 ? 8 : 6), s.H);  // 565: not a multiple of 4
}
// Planes other than the source's, filled; packed rows padded by 4 pixels (4:2:2: and an odd byte).
Planes DestinationOf(int32_t op, bool turn, Size s) {
    const int32_t to = op & 0xFF, w = turn ? s.DH : s.DW, h = turn ? s.DW : s.DH;
    if (to == qv::kYCbCr420) return Planes::YCbCr(w, h, 2, 2, 0x3C, 4);
    Planes p(to == qv::kNV12 ? w + 2 : (w + 4) * PixelBytes(to) + (op == 0x103), h, 0xC3);
    if (to == qv::kNV12) p.p.emplace_back(w + 9, h / 2, 0xC3);
    return p;
}

struct FrameRoute {
    const char* name;
    int32_t op;
    uint32_t codes;
    std::vector<Size> sizes;
    bool adjust = false;  // non-neutral brightness, contrast and saturation
};
const std::vector<Size> kPacked = {{12, 8, 12, 8}, {16, 12, 8, 8}, {8, 8, 20, 12}, {8, 16, 16, 4}};
const std::vector<Size> kPlanar = {{16, 8, 16, 8}, {8, 12, 8, 12}, {4, 4, 4, 4}, {20, 12, 20, 12}, {16, 12, 8, 8},
                                   {8, 8, 20, 12}, {16, 8, 8, 16}, {12, 20, 36, 8}};
const std::vector<Size> kNV12Sizes = {{4, 4, 4, 4}, {12, 8, 12, 8}, {64, 20, 64, 20}};
// clang-format off
const std::vector<FrameRoute> kFrameRoutes = {
    {"YCbCr420", 0x000, kAllCodes, kPlanar},
    {"YCbCr420Adjusted", 0x000, kAllCodes, kPlanar, true},
    {"YCbCr420ToNV12", 0x008, kCode0, kNV12Sizes},
    {"NV12ToYCbCr420", 0x800, kCode0, kNV12Sizes},
    {"YCbCr420ToRGB555", 0x00A, kCode0, {{16, 12, 16, 12}}, true},
    // 4:2:2 and RGB565 to ARGB32 ignore the rotation code; 4:2:2 rows advance by the stride rounded
    // down to even.
    {"YCbCr422ToRGB565", 0x103, kCode2, {{16, 8, 16, 8}, {16, 12, 8, 8}, {8, 8, 20, 12}, {12, 16, 24, 8}}, true},
    {"RGB565ToARGB32", 0x305, kCode3, {{12, 8, 12, 8}}},
    {"YCbCr444ToRGB565", 0x203, kAllCodes, kPacked, true},
    {"YCbCr444ToRGB888", 0x204, kAllCodes, kPacked, true},
    {"YCbCr444ToARGB32", 0x205, kAllCodes, kPacked, true},
    {"RGB565Scaled", 0x303, kAllCodes, kPacked},
    {"RGB888ToRGB565", 0x403, kAllCodes, kPacked},
    {"RGB888Scaled", 0x404, kAllCodes, kPacked},
    {"RGB565ToYCbCr420", 0x300, kAllCodes, {{16, 12, 16, 12}}},
    {"ARGB32ToYCbCr420", 0x500, kAllCodes, {{16, 12, 16, 12}}},
    {"ABGR32ToYCbCr420", 0x900, kAllCodes, {{16, 12, 16, 12}}},
};
// clang-format on

void CheckFrameRoute(const FrameRoute& rt, uint32_t code, Size s) {
    Planes src = SourceOf(rt.op, s);
    src.fillRandom(rt.op + s.W * 3 + s.DH + code);
    uint32_t key = 0;
    if (rt.op == 0x00A) {  // one pixel keyed; its neighbour shares the block's chroma, its luma one level off
        src.p[0].at(4, 3) = src.p[0].at(5, 3) ^ 1;
        key = src.p[0].at(5, 3) << 16 | src.p[1].at(2, 1) << 8 | src.p[2].at(2, 1);
    }
    Context c(MakeParams(rt.op, s.W, s.H, s.DW, s.DH, code, 2, 0x700 | 0x5E, key));
    ASSERT_EQ(c.status, 0);
    const int32_t far[3] = {150, 190, 170};  // curves and tables far from neutral
    ASSERT_EQ(rt.adjust ? qv::QV_ImgColorAdjustSet(c.ctx, far) : 0, 0);
    const uint32_t placed = rt.op == 0x103 || rt.op == 0x305 ? 0 : code;
    Planes dst = DestinationOf(rt.op, qvtest::QuarterTurn(placed), s);
    const std::vector<Pic> model = FrameModel(rt.op, c.ctx, src, s, rt.adjust, key);
    std::vector<std::vector<uint8_t>> want;
    for (size_t i = 0; i < dst.p.size(); ++i)
        want.push_back(Placed(dst.p[i], model[i], placed, model[i].bytes > 1 ? dst.p[i].stride() & ~1 : 0));
    ASSERT_EQ(qvtest::RunFrame(c, src, dst), 0);
    for (size_t i = 0; i < dst.p.size(); ++i) EXPECT_EQ(dst.p[i].contents(), want[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- the table of cases ------------------------------------------------------------------------

struct Case {
    std::string name;
    std::function<void()> check;
};
void PrintTo(const Case& k, std::ostream* os) { *os << k.name; }
std::vector<Case> AllCases() {
    std::vector<Case> v;
    auto add = [&](const char* name, uint32_t codes, const std::vector<Size>& sizes, auto check) {
        for (const Size& sz : sizes)
            for (uint32_t code = 0; code < 6; ++code)
                if (codes >> code & 1)
                    v.push_back({std::string(name) + "_code" + std::to_string(code) + "_" + SizeName(sz),
                                 [=] { check(code, sz); }});
    };
    for (const Route& rt : kRoutes) add(rt.name, rt.codes, rt.sizes, [r = &rt](uint32_t c, Size s) { CheckRgbRoute(*r, c, s); });
    for (const FrameRoute& rt : kFrameRoutes)
        add(rt.name, rt.codes, rt.sizes, [r = &rt](uint32_t c, Size s) { CheckFrameRoute(*r, c, s); });
    return v;
}
class Routes : public ::testing::TestWithParam<Case> {};
TEST_P(Routes, MatchTheModelInsideGuards) { GetParam().check(); }
INSTANTIATE_TEST_SUITE_P(All, Routes, ::testing::ValuesIn(AllCases()), [](const auto& info) { return info.param.name; });

// ==== identities ===============================================================================

// Equal sizes give steps of exactly 1 and weights of 0: the scalers draw the direct picture, and
// the RGB and 4:2:0 scalers the source itself.
TEST(RouteIdentities, ScalingByOneIsTheDirectRoute) {
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
    Context c(MakeParams(0x103, 12, 8, 12, 8));
    Planes src = Planes::YCbCr(12, 8, 2, 1), direct(24, 8), scaled(24, 8);
    src.fillRandom(8);
    const Planes::Arrays s = src.arrays();
    qv::_QVYCbCr422ToRGB565(c.ctx, s.in, s.stride, 12, 8, direct.p[0].data(), 24);
    qv::_QVYCbCr422ToRGB565Rsz(c.ctx, s.in, s.stride, 12, 8, scaled.p[0].data(), 24, 12, 8);
    EXPECT_EQ(scaled.p[0].contents(), direct.p[0].contents());
    for (int32_t op : {0x303, 0x404}) {
        Context rgb(MakeParams(op, 12, 8, 12, 8));
        Planes from(12 * PixelBytes(op & 0xFF), 8), to(12 * PixelBytes(op & 0xFF), 8);
        from.fillRandom(77);
        ASSERT_EQ(qvtest::RunFrame(rgb, from, to), 0);
        EXPECT_EQ(to.p[0].contents(), from.p[0].contents()) << std::hex << op;
    }
    Planes yuv = Planes::YCbCr(12, 8, 2, 2), copy = Planes::YCbCr(12, 8, 2, 2, 0x77, 2);
    yuv.fillRandom(3);
    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) expected[i] = Placed(copy.p[i], Pic(yuv.p[i], i ? 6 : 12, i ? 4 : 8), 0);
    const Planes::Arrays y = yuv.arrays(), d = copy.arrays();
    EXPECT_EQ(qv::_QVYCbCr420Rsz(y.in, y.stride, 12, 8, d.out, d.stride, 12, 8), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(copy.p[i].contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(copy.guardsIntact());
}

TEST(RouteIdentities, FourQuarterTurnsAreTheIdentity) {
    for (uint32_t code : {1u, 2u}) {
        Context wide(MakeParams(0x000, 16, 12, 16, 12, code)), tall(MakeParams(0x000, 12, 16, 12, 16, code));
        Planes original = Planes::YCbCr(16, 12, 2, 2), a = Planes::YCbCr(16, 12, 2, 2), b = Planes::YCbCr(12, 16, 2, 2);
        original.fillRandom(99);
        ASSERT_EQ(qvtest::RunFrame(wide, original, b), 0);
        ASSERT_EQ(qvtest::RunFrame(tall, b, a), 0);
        ASSERT_EQ(qvtest::RunFrame(wide, a, b), 0);
        ASSERT_EQ(qvtest::RunFrame(tall, b, a), 0);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(Pic(a.p[i], i ? 8 : 16, i ? 6 : 12).px, Pic(original.p[i], i ? 8 : 16, i ? 6 : 12).px) << code;
        EXPECT_TRUE(a.guardsIntact() && b.guardsIntact());
    }
}

TEST(RouteIdentities, NV12AndBackGiveTheSource) {
    const Size s{20, 12, 20, 12};
    Context to(MakeParams(0x008, 20, 12, 20, 12)), back(MakeParams(0x800, 20, 12, 20, 12));
    Planes original = SourceOf(0x000, s), nv12 = DestinationOf(0x008, false, s), a = DestinationOf(0x000, false, s);
    original.fillRandom(5);
    ASSERT_EQ(qvtest::RunFrame(to, original, nv12), 0);
    ASSERT_EQ(qvtest::RunFrame(back, nv12, a), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Pic(a.p[i], i ? 10 : 20, i ? 6 : 12).px, Pic(original.p[i], i ? 10 : 20, i ? 6 : 12).px);
}

// ==== worked numbers ===========================================================================

// The first destination word of a 4 x 4 frame.
uint32_t FirstWord(int32_t op, Planes& src, uint32_t key = 0) {
    Context c(MakeParams(op, 4, 4, 4, 4, 0, 2, 0xC7, key));
    Planes dst(16, 4);
    EXPECT_EQ(qvtest::RunFrame(c, src, dst), 0);
    uint32_t w;
    std::memcpy(&w, dst.p[0].data(), 4);
    return op == 0x305 ? w : w & 0xFFFF;
}

TEST(RouteWorkedNumbers, RGB555KeyAndRGB565ToARGB32) {
    Planes white565(8, 4, 0xFF);
    EXPECT_EQ(FirstWord(0x305, white565), 0xC7F8FCF8u);  // red 248, green 252, blue 248
    auto flat = [](uint8_t y, uint8_t cb, uint8_t cr) {
        Planes p = Planes::YCbCr(4, 4, 2, 2);
        for (int i = 0; i < 3; ++i) std::memset(p.p[i].data(), i == 0 ? y : i == 1 ? cb : cr, p.p[i].size());
        return p;
    };
    const uint32_t black = 16u << 16 | 128u << 8 | 128u;
    Planes keyed = flat(16, 128, 128), lighter = flat(17, 128, 128), bright = flat(255, 128, 128), zero = flat(0, 0, 0);
    EXPECT_EQ(FirstWord(0x00A, keyed, black), 0u);
    EXPECT_EQ(FirstWord(0x00A, lighter, black), 1u);  // converted: black is the mask bit alone
    EXPECT_EQ(FirstWord(0x00A, keyed, 0), 1u);
    EXPECT_EQ(FirstWord(0x00A, bright, black), 0xFFFFu);         // every channel clamps to 31
    EXPECT_EQ(FirstWord(0x00A, keyed, black | 0x01000000), 1u);  // a non-zero top byte never matches
    EXPECT_EQ(FirstWord(0x00A, zero, 0), 0u);                    // a key of 0 matches only 0, 0, 0
}

// Y, Cb and Cr of the first block of a 4 x 4 frame of `all` whose blocks have `corner` in their
// lower row at column 0 (bottom-left) or 1 (bottom-right).
std::array<int, 3> Encode(int32_t source, uint32_t all, uint32_t corner, int column = 0) {
    const int32_t B = source == qv::kRGB565 ? 2 : 4;
    Context c(MakeParams(source << 8, 4, 4, 4, 4));
    Planes src(4 * B, 4), dst = Planes::YCbCr(4, 4, 2, 2);
    for (int32_t i = 0; i < 16; ++i)
        for (int32_t k = 0; k < B; ++k)
            src.p[0].data()[i * B + k] = static_cast<uint8_t>((i / 4 % 2 == 1 && i % 2 == column ? corner : all) >> (8 * k));
    EXPECT_EQ(qvtest::RunFrame(c, src, dst), 0);
    return {dst.p[0].at(0, 0), dst.p[1].at(0, 0), dst.p[2].at(0, 0)};
}

TEST(RouteWorkedNumbers, RGBToYCbCr420) {
    EXPECT_EQ(Encode(qv::kRGB565, 0xFFFF, 0xFFFF)[0], 230);
    EXPECT_EQ(Encode(qv::kRGB565, 0, 0)[0], 16);
    for (int32_t source : {qv::kARGB32, qv::kABGR32}) {
        EXPECT_EQ(Encode(source, 0xFFFFFFFF, 0xFFFFFFFF)[0], 234);
        EXPECT_EQ(Encode(source, 0xFF000000, 0xFF000000)[0], 16);
    }
    EXPECT_EQ(Encode(qv::kARGB32, 0xFF, 0xFF), (std::array{41, 240, 110}));  // blue
    EXPECT_EQ(Encode(qv::kABGR32, 0xFF0000, 0xFF0000)[1], 240);
    EXPECT_EQ(Encode(qv::kRGB565, 0xF800, 0xF800)[2], 236);  // red
    EXPECT_EQ(Encode(qv::kRGB565, 0xF800, 0xF800)[1], 91);
    // Bottom-left pixel of every block red, the rest white: red chroma from RGB565, white from
    // ARGB32, which takes the bottom-right pixel's.
    EXPECT_EQ(Encode(qv::kRGB565, 0xFFFF, 0xF800)[2], 236);
    EXPECT_EQ(Encode(qv::kARGB32, 0xFFFFFFFF, 0xFFFF0000), (std::array{234, 128, 128}));
    EXPECT_EQ(Encode(qv::kARGB32, 0xFFFFFFFF, 0xFFFF0000, 1)[2], 240);
}

// ==== layouts and edges ========================================================================

// YUY2 as laid out: row pair k starts at k x ((stride >> 1) x 4), its lower row one stride on;
// chroma rows step by stride & ~3; only whole groups of 8 pixels are written. UYVY rows of every
// plane advance by stride & ~3 and pair by the counter: even heights rows 2k, 2k+1 with chroma row
// k; odd ones row 0 alone, then 2k-1, 2k.
TEST(RouteLayouts, Yuy2AndUyvy) {
    for (const auto& [uyvy, W, H, stride] : {std::tuple{false, 20, 8, 48}, std::tuple{false, 20, 8, 50},
                                             std::tuple{false, 20, 8, 51}, std::tuple{true, 24, 8, 50},
                                             std::tuple{true, 24, 5, 50}}) {
        Planes src = Planes::YCbCr(W, H + 1, 2, 2);  // luma stride W + 6, chroma W/2 + 3 and W/2 + 5
        src.fillRandom(static_cast<uint32_t>(W + H));
        const Planes::Arrays s = src.arrays();
        GuardedPlane d(stride, H + 1, 0xEE);
        std::vector<uint8_t> want = d.contents();
        for (int32_t row = 0; row < H; ++row) {
            const int32_t c = uyvy ? (H % 2 == 0 ? row / 2 : (row + 1) / 2) : row / 2;
            const uint8_t* y = s.in[0] + (uyvy ? row * (s.stride[0] & ~3) : row / 2 * ((s.stride[0] >> 1) * 4) + row % 2 * s.stride[0]);
            const uint8_t *cb = s.in[1] + c * (s.stride[1] & ~3), *cr = s.in[2] + c * (s.stride[2] & ~3);
            uint8_t* out = want.data() + (uyvy ? row * (stride & ~3) : row / 2 * ((stride >> 1) * 4) + row % 2 * stride);
            for (int32_t i = 0; i < (W >> 3) * 4; ++i) {
                const uint8_t group[4] = {y[2 * i], cb[i], y[2 * i + 1], cr[i]}, swapped[4] = {cb[i], y[2 * i], cr[i], y[2 * i + 1]};
                std::memcpy(out + 4 * i, uyvy ? swapped : group, 4);
            }
        }
        (uyvy ? qv::_QVYCbCr420ToUYVY : qv::_QVYCbCr420ToYUY2)(d.data(), stride, s.in, s.stride, W, H);
        EXPECT_EQ(d.contents(), want) << (uyvy ? "UYVY " : "YUY2 ") << W << "x" << H << " stride " << stride;
        EXPECT_TRUE(d.guardsIntact());
    }
}

TEST(RouteLayouts, NarrowAndShortPackedPicturesWriteNothing) {
    Planes src = Planes::YCbCr(8, 4, 2, 2);
    const Planes::Arrays s = src.arrays();
    GuardedPlane d(16, 4, 0xEE);
    qv::_QVYCbCr420ToYUY2(d.data(), 8, s.in, s.stride, 4, 4);  // W < 8
    qv::_QVYCbCr420ToUYVY(d.data(), 8, s.in, s.stride, 4, 4);
    qv::_QVYCbCr420ToYUY2(d.data(), 16, s.in, s.stride, 8, 1);  // H = 1
    GuardedPlane rgb(16, 2, 0xFF);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(rgb.data(), 8, d.data(), 8, 0, 2, 0xFF), 0);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(rgb.data(), 8, d.data(), 8, 8, 0, 0xFF), 0);
    EXPECT_EQ(d.contents(), std::vector<uint8_t>(d.size(), 0xEE));
    EXPECT_TRUE(d.guardsIntact());
}

// Through the dispatcher: the YUY2 repack ignores rotation and scaling.
TEST(RouteLayouts, RepacksIgnoreRotationAndScaling) {
    Context plain(MakeParams(0x006, 16, 8, 16, 8)), odd(MakeParams(0x006, 16, 8, 32, 16, 3));
    Planes src = Planes::YCbCr(16, 8, 2, 2), a(32, 8), b(32, 8);
    src.fillRandom(41);
    ASSERT_EQ(qvtest::RunFrame(plain, src, a), 0);
    ASSERT_EQ(qvtest::RunFrame(odd, src, b), 0);
    EXPECT_EQ(a.p[0].contents(), b.p[0].contents());
    EXPECT_TRUE(b.guardsIntact());
}

// Strides of exactly a row: planes back to back move in one block, planes apart (on either side)
// plane by plane.
TEST(RouteLayouts, CompactCopiesApartAndBackToBack) {
    const int32_t W = 16, H = 8, S = W * H, C = S / 4, strides[3] = {W, W / 2, W / 2};
    std::vector<uint8_t> src(S + 2 * C), dst(S + 2 * C + 8, 0xEE);
    qvtest::FillPattern(src.data(), src.size(), 3);
    const uint8_t* const sp[3] = {src.data(), src.data() + S, src.data() + S + C};
    uint8_t* const dp[3] = {dst.data(), dst.data() + S, dst.data() + S + C};
    EXPECT_EQ(qv::_QVYCbCr420Copy(sp, strides, W, H, dp, strides), 0);
    EXPECT_EQ(std::vector<uint8_t>(dst.begin(), dst.begin() + S + 2 * C), src);
    EXPECT_EQ(std::vector<uint8_t>(dst.begin() + S + 2 * C, dst.end()), std::vector<uint8_t>(8, 0xEE));
    Planes apart(W, H, 0xEE);
    apart.p.emplace_back(W / 2, H / 2, 0xEE), apart.p.emplace_back(W / 2, H / 2, 0xEE);
    const Planes::Arrays a = apart.arrays();
    EXPECT_EQ(qv::_QVYCbCr420Copy(sp, strides, W, H, a.out, strides), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(apart.p[i].contents(), std::vector<uint8_t>(sp[i], sp[i] + (i ? C : S)));
    EXPECT_TRUE(apart.guardsIntact());
    std::fill(dst.begin(), dst.end(), 0xEE);
    EXPECT_EQ(qv::_QVYCbCr420Copy(a.in, strides, W, H, dp, strides), 0);
    EXPECT_EQ(std::vector<uint8_t>(dst.begin(), dst.begin() + S + 2 * C), src);
}

// A single row has no chroma row: the copy and the rotation write luma only; a single column no chroma.
TEST(RouteLayouts, SingleRowsAndColumnsWriteNoChroma) {
    Context c(MakeParams(0x000, 8, 8, 8, 8, 0));
    Planes src = Planes::YCbCr(8, 8, 2, 2);
    src.fillRandom(5);
    const Planes::Arrays s = src.arrays();
    for (auto [w, h, rotate] : {std::tuple{8, 1, true}, std::tuple{1, 8, true}, std::tuple{8, 1, false}}) {
        Planes dst = Planes::YCbCr(8, 8, 2, 2, 0xEE, 1);
        const std::vector<uint8_t> expected[3] = {Placed(dst.p[0], Pic(src.p[0], w, h), 0), dst.p[1].contents(),
                                                  dst.p[2].contents()};
        const Planes::Arrays d = dst.arrays();
        ASSERT_EQ(qv::_QV_RotationInit(c.ctx, d.out, 8, 8, d.stride), 0);
        EXPECT_EQ(rotate ? qv::_QVYCbCr420Rot(c.ctx->params, s.in, s.stride, w, h)
                         : qv::_QVYCbCr420Copy(s.in, s.stride, w, h, d.out, d.stride), 0);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << w << "x" << h << " plane " << i;
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(RouteLayouts, MissingParameterRecordIsRefused) {
    Planes src = Planes::YCbCr(8, 8, 2, 2);
    const Planes::Arrays s = src.arrays();
    EXPECT_EQ(qv::_QVYCbCr420Rot(nullptr, s.in, s.stride, 8, 8), -1);
    EXPECT_EQ(qv::_QVYCbCr420RszRot(nullptr, s.in, s.stride, 8, 8, 16, 16), -1);
    // The adjusting twins find the record through the context.
    qv::QvImgPrcContext ctx{};
    uint8_t curve[256] = {};
    ctx.lumaCurve = ctx.chromaCurve = curve;
    EXPECT_EQ(qv::_QVYCbCr420RotAdjust(&ctx, s.in, s.stride, 8, 8), -1);
    EXPECT_EQ(qv::_QVYCbCr420RszRotAdjust(&ctx, s.in, s.stride, 8, 8, 16, 16), -1);
}

}  // namespace
