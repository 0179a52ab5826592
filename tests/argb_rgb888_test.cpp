// 4:2:0 to ARGB32 and RGB888 routes against the per-pixel model, over rotation codes and sizes.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "rgb_reference.h"

namespace {

using rgbref::Ctx;
using rgbref::Dest;
using rgbref::Format;
using rgbref::Frame;
using rgbref::LineSet;
using rgbref::Picture;

constexpr uint8_t kAlpha = 0x5C;

struct Size {
    int32_t W, H, DW, DH;
};
std::ostream& operator<<(std::ostream& os, const Size& s) {
    return os << s.W << "x" << s.H << "->" << s.DW << "x" << s.DH;
}
const char* Name(Format f) { return f == Format::kARGB32 ? "ARGB32" : "RGB888"; }
int32_t Op(Format f) { return f == Format::kARGB32 ? 0x005 : 0x004; }

// Straight destination rows: ARGB32 row pairs advance by (stride >> 1) x 4 bytes with the lower row one
// stride below the upper; RGB888 rows advance by the stride as it is.
ptrdiff_t StraightRow(Format f, int32_t r, int32_t stride) {
    if (f == Format::kARGB32) return static_cast<ptrdiff_t>(r >> 1) * ((stride >> 1) * 4) + (r & 1) * stride;
    return static_cast<ptrdiff_t>(r) * stride;
}
// Odd strides, which exercise each format's rounding of row advances.
int32_t OddStride(Format f, int32_t pixels) { return f == Format::kARGB32 ? 4 * pixels + 1 : 3 * pixels + 1; }
// Strides that survive rotation untouched (rotated ARGB32 steps are rounded to multiples of 4).
int32_t RotStride(Format f, int32_t pixels) { return f == Format::kARGB32 ? 4 * pixels + 8 : 3 * pixels + 1; }

// ---- same size ------------------------------------------------------------------------------------

class SameSize : public ::testing::TestWithParam<std::tuple<Format, uint32_t, Size>> {};

TEST_P(SameSize, MatchesTheModelWithCrSteppedByTheCbStride) {
    const auto [fmt, code, sz] = GetParam();
    const int32_t B = rgbref::BytesOf(fmt);
    Ctx c(Op(fmt), sz.W, sz.H, sz.W, sz.H, code, 2, 150, 200, 255);
    Frame f(sz.W, sz.H, 5 + code, 1, 2, 7);  // Cr stride larger than the Cb stride
    const Picture pic = rgbref::SameSize(c.ctx, f, fmt, f.cb.stride(), kAlpha);
    ASSERT_NE(pic.px, rgbref::SameSize(c.ctx, f, fmt, f.cr.stride(), kAlpha).px);
    if (code == 0) {
        const int32_t stride = OddStride(fmt, sz.W);
        Dest d(stride, sz.H);
        const int32_t st = fmt == Format::kARGB32
                               ? qv::_QVYCbCr420ToARGB32(c.ctx, f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, kAlpha)
                               : qv::_QVYCbCr420ToRGB888(c.ctx, f.sp(), f.ss(), sz.W, sz.H, d.data(), stride);
        EXPECT_EQ(st, 0);
        rgbref::PlaceRows(d.expected, pic, B, [&](int32_t r) { return StraightRow(fmt, r, stride); });
        d.Check(Name(fmt));
    }
    const int32_t stride = RotStride(fmt, std::max(sz.W, sz.H));
    Dest d(stride, rgbref::StoredRows(code, sz.W, sz.H));
    c.Rotate(d.data(), stride, sz.W, sz.H);
    const int32_t st = fmt == Format::kARGB32 ? qv::_QVYCbCr420ToARGB32Rot(c.ctx, f.sp(), f.ss(), sz.W, sz.H, kAlpha)
                                              : qv::_QVYCbCr420ToRGB888Rot(c.ctx, f.sp(), f.ss(), sz.W, sz.H);
    EXPECT_EQ(st, 0);
    rgbref::PlaceRotated(d.expected, pic, code, stride, B);
    d.Check(Name(fmt));
}

INSTANTIATE_TEST_SUITE_P(Codes, SameSize,
                         ::testing::Combine(::testing::Values(Format::kARGB32, Format::kRGB888), ::testing::Range(0u, 6u),
                                            ::testing::Values(Size{8, 4, 8, 4}, Size{12, 16, 12, 16})));

// ---- single-pass scaling -------------------------------------------------------------------------

class Scaled : public ::testing::TestWithParam<std::tuple<Format, uint32_t, Size>> {};

TEST_P(Scaled, MatchesTheBilinearModel) {
    const auto [fmt, code, sz] = GetParam();
    const int32_t B = rgbref::BytesOf(fmt);
    Ctx c(Op(fmt), sz.W, sz.H, sz.DW, sz.DH, code, 2, 100, 150, 200);
    Frame f(sz.W, sz.H, 15 + code, 3, 1, 4);  // scaled routes read Cr with its own stride
    const Picture pic = rgbref::Scaled(c.ctx, f, sz.DW, sz.DH, fmt, kAlpha);
    if (code == 0) {
        const int32_t stride = OddStride(fmt, sz.DW);
        Dest d(stride, sz.DH);
        if (fmt == Format::kARGB32) {
            qv::_QVYCbCr420ToARGB32Rsz(c.ctx, f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, sz.DW, sz.DH, kAlpha);
        } else {
            qv::_QVYCbCr420ToRGB888Rsz(c.ctx, f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, sz.DW, sz.DH);
        }
        rgbref::PlaceRows(d.expected, pic, B, [&](int32_t r) { return StraightRow(fmt, r, stride); });
        d.Check(Name(fmt));
    }
    const int32_t stride = RotStride(fmt, std::max(sz.DW, sz.DH));
    Dest d(stride, rgbref::StoredRows(code, sz.DW, sz.DH));
    c.Rotate(d.data(), stride, sz.DW, sz.DH);
    if (fmt == Format::kARGB32) {
        qv::_QVYCbCr420ToARGB32RszRot(c.ctx, f.sp(), f.ss(), sz.W, sz.H, sz.DW, sz.DH, kAlpha);
    } else {
        qv::_QVYCbCr420ToRGB888RszRot(c.ctx, f.sp(), f.ss(), sz.W, sz.H, sz.DW, sz.DH);
    }
    rgbref::PlaceRotated(d.expected, pic, code, stride, B);
    d.Check(Name(fmt));
}

INSTANTIATE_TEST_SUITE_P(Codes, Scaled,
                         ::testing::Combine(::testing::Values(Format::kARGB32, Format::kRGB888), ::testing::Range(0u, 6u),
                                            ::testing::Values(Size{16, 12, 8, 8}, Size{8, 12, 20, 8}, Size{12, 8, 16, 20})));

TEST(ScaledIdentity, EqualSizesGiveTheDirectPicture) {
    for (Format fmt : {Format::kARGB32, Format::kRGB888}) {
        Ctx c(Op(fmt), 16, 12, 16, 12);
        Frame f(16, 12, 21);
        const int32_t stride = OddStride(fmt, 16);
        Dest direct(stride, 12), scaled(stride, 12);
        if (fmt == Format::kARGB32) {
            qv::_QVYCbCr420ToARGB32(c.ctx, f.sp(), f.ss(), 16, 12, direct.data(), stride, kAlpha);
            qv::_QVYCbCr420ToARGB32Rsz(c.ctx, f.sp(), f.ss(), 16, 12, scaled.data(), stride, 16, 12, kAlpha);
        } else {
            qv::_QVYCbCr420ToRGB888(c.ctx, f.sp(), f.ss(), 16, 12, direct.data(), stride);
            qv::_QVYCbCr420ToRGB888Rsz(c.ctx, f.sp(), f.ss(), 16, 12, scaled.data(), stride, 16, 12);
        }
        EXPECT_EQ(direct.plane.contents(), scaled.plane.contents()) << Name(fmt);
    }
}

// ---- rotated step rounding -----------------------------------------------------------------------

// ARGB32 rotated steps are rounded down to multiples of 4; RGB888 uses them as they are.
TEST(RotatedSteps, Argb32RoundsToFourRgb888UsesThemAsGiven) {
    const int32_t W = 8, H = 8;
    Frame f(W, H, 25);
    {
        Ctx c(0x005, W, H, W, H, 3);
        Dest even(40, H), odd(40, H), oddScaled(40, H);
        c.Rotate(even.data(), 40, W, H);
        qv::_QVYCbCr420ToARGB32Rot(c.ctx, f.sp(), f.ss(), W, H, kAlpha);
        c.Rotate(odd.data(), 40, W, H);
        c.ctx->params->stepX += 3;
        c.ctx->params->stepY += 2;
        qv::_QVYCbCr420ToARGB32Rot(c.ctx, f.sp(), f.ss(), W, H, kAlpha);
        EXPECT_EQ(odd.plane.contents(), even.plane.contents());
        c.Rotate(oddScaled.data(), 40, W, H);
        c.ctx->params->stepX += 3;
        c.ctx->params->stepY += 2;
        qv::_QVYCbCr420ToARGB32RszRot(c.ctx, f.sp(), f.ss(), W, H, W, H, kAlpha);
        EXPECT_EQ(oddScaled.plane.contents(), even.plane.contents());
    }
    {
        // Row pairs one byte further apart than two strides: pair k shifts by k bytes.
        Ctx c(0x004, W, H, W, H, 5);
        const int32_t stride = 3 * W + 8;
        const Picture pic = rgbref::SameSize(c.ctx, f, Format::kRGB888, f.cb.stride());
        for (bool scaled : {false, true}) {
            Dest d(stride, H + 1);
            c.Rotate(d.data(), stride, W, H);
            qv::QvRotationParams& p = *c.ctx->params;
            // Straight placement from the top, with stepY one byte more than two strides.
            p.dst00 = d.data();
            p.dst10 = p.dst00 + 3;
            p.dst01 = p.dst00 + stride;
            p.dst11 = p.dst01 + 3;
            p.stepX = 6;
            p.stepY = 2 * stride + 1;
            if (scaled) {
                qv::_QVYCbCr420ToRGB888RszRot(c.ctx, f.sp(), f.ss(), W, H, W, H);
            } else {
                qv::_QVYCbCr420ToRGB888Rot(c.ctx, f.sp(), f.ss(), W, H);
            }
            rgbref::PlaceRows(d.expected, pic, 3, [&](int32_t r) { return static_cast<ptrdiff_t>(r >> 1) * (2 * stride + 1) + (r & 1) * stride; });
            d.Check(scaled ? "RszRot" : "Rot");
        }
    }
}

TEST(MissingBlocks, RoutesReturnMinusOneAndWriteNothing) {
    Ctx argb(0x005, 8, 8, 16, 16, 1), rgb(0x004, 8, 8, 16, 16, 1);
    Frame f(8, 8, 27);
    Dest d(64, 16);
    argb.Rotate(d.data(), 64, 16, 16);
    rgb.Rotate(d.data(), 64, 16, 16);
    qv::QvRotationParams* pa = argb.ctx->params;
    qv::QvRotationParams* pr = rgb.ctx->params;
    argb.ctx->params = nullptr;
    rgb.ctx->params = nullptr;
    EXPECT_EQ(qv::_QVYCbCr420ToARGB32Rot(argb.ctx, f.sp(), f.ss(), 8, 8, kAlpha), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToARGB32RszRot(argb.ctx, f.sp(), f.ss(), 8, 8, 16, 16, kAlpha), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB888Rot(rgb.ctx, f.sp(), f.ss(), 8, 8), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB888RszRot(rgb.ctx, f.sp(), f.ss(), 8, 8, 16, 16), -1);
    argb.ctx->params = pa;
    rgb.ctx->params = pr;
    EXPECT_EQ(qv::_QVYCbCr420ToARGB32RszUp(argb.ctx, nullptr, f.sp(), f.ss(), 8, 8, d.data(), 64, 16, 16, kAlpha), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToARGB32Case1(argb.ctx, nullptr, f.sp(), f.ss(), 8, d.data(), 64, 16, kAlpha), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToARGB32Case2(argb.ctx, nullptr, f.sp(), f.ss(), 8, 8, d.data(), 64, 16, kAlpha), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB888RszUp(rgb.ctx, nullptr, f.sp(), f.ss(), 8, 8, d.data(), 64, 16, 16), -1);
    d.Check("nothing written");
}

// ---- line-cache upscaling ----------------------------------------------------------------------------

class LineCache : public ::testing::TestWithParam<std::tuple<Format, Size>> {};

TEST_P(LineCache, MatchesTheModel) {
    const auto [fmt, sz] = GetParam();
    const int32_t B = rgbref::BytesOf(fmt);
    Ctx c(Op(fmt), sz.W, sz.H, sz.DW, sz.DH, 0, 2, 140, 180, 240);
    Frame f(sz.W, sz.H, 35, 1, 2, 3);
    if (sz.DH < sz.H) f.FlattenChromaRows();  // shrinking rows may pair a row with the chroma row above
    LineSet lines(LineSet::Length(sz.W, sz.DW));
    const int32_t stride = OddStride(fmt, sz.DW);
    Dest d(stride, sz.DH);
    if (fmt == Format::kARGB32) {
        EXPECT_EQ(qv::_QVYCbCr420ToARGB32RszUp(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, sz.DW,
                                               sz.DH, kAlpha),
                  0);
    } else {
        EXPECT_EQ(qv::_QVYCbCr420ToRGB888RszUp(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, sz.DW,
                                               sz.DH),
                  0);
    }
    const Picture pic = rgbref::LineCache(c.ctx, f, sz.DW, sz.DH,
                                          fmt == Format::kARGB32 ? rgbref::Horizontal::kARGB32 : rgbref::Horizontal::kRGB888, kAlpha);
    // ARGB32 rows sit at multiples of the stride rounded down to 4 bytes; RGB888 uses the full stride.
    const int32_t rowStride = fmt == Format::kARGB32 ? stride & ~3 : stride;
    rgbref::PlaceRows(d.expected, pic, B, [&](int32_t r) { return static_cast<ptrdiff_t>(r) * rowStride; });
    d.Check(Name(fmt));
    EXPECT_TRUE(lines.guardsIntact());
}

// Includes the fixed ratios that these formats send to the general upscaler (x2, x2.5 by x2,
// x1.5 with a shrinking height, 320 x 240 to 480 x 272).
INSTANTIATE_TEST_SUITE_P(Sizes, LineCache,
                         ::testing::Combine(::testing::Values(Format::kARGB32, Format::kRGB888),
                                            ::testing::Values(Size{8, 8, 16, 16}, Size{8, 4, 20, 8}, Size{8, 12, 12, 8},
                                                              Size{12, 8, 20, 28}, Size{320, 240, 480, 272})));

// ---- ARGB32 fixed ratios ---------------------------------------------------------------------------

// Width x 2.5, height x 2, on planes of exactly the picture's rows: the row pair after the last source
// row is read as the last row, so the last destination row repeats it. The Cr row steps by the Cb stride.
TEST(Case1_ARGB32, MatchesTheModelWithTheLastRowRepeated) {
    for (const auto& [W, H] : {std::pair{8, 4}, std::pair{16, 8}, std::pair{8, 12}}) {
        const int32_t DW = W * 5 / 2, DH = 2 * H;
        Ctx c(0x005, W, H, DW, DH, 0, 1, 150, 200, 255);
        ASSERT_EQ(c.ctx->scaleCase, 5u);
        Frame f(W, H, 65, 0, 1, 4);  // no rows below the picture
        LineSet lines(LineSet::Length(W, DW));
        const int32_t stride = 4 * DW + 2;
        Dest d(stride, DH);
        EXPECT_EQ(qv::_QVYCbCr420ToARGB32Case1(c.ctx, lines.get(), f.sp(), f.ss(), W, d.data(), stride, DH, kAlpha), 0);
        const Picture pic = rgbref::TwiceVertically(c.ctx, f, DH, rgbref::Horizontal::k25_ARGB32, kAlpha, true);
        rgbref::PlaceRows(d.expected, pic, 4, [&](int32_t r) { return static_cast<ptrdiff_t>(r) * (stride & ~3); });
        d.Check("Case1");
        const uint8_t* last = d.data() + static_cast<ptrdiff_t>(DH - 1) * (stride & ~3);
        EXPECT_EQ(std::memcmp(last, last - (stride & ~3), 4 * DW), 0);
        EXPECT_TRUE(lines.guardsIntact());
    }
}

TEST(Case2_ARGB32, MatchesTheModelUpDownAndLevel) {
    for (const auto& [W, H, DH] : {std::tuple{8, 8, 12}, std::tuple{16, 12, 8}, std::tuple{8, 8, 8}}) {
        const int32_t DW = W * 3 / 2;
        Ctx c(0x005, W, H, DW, DH, 0, 1, 150, 200, 255);
        Frame f(W, H, 75, 3, 1, 4);  // Cr read with its own stride
        if (DH < H) f.FlattenChromaRows();
        LineSet lines(LineSet::Length(W, DW));
        const int32_t stride = 4 * DW + 2;
        Dest d(stride, DH);
        EXPECT_EQ(qv::_QVYCbCr420ToARGB32Case2(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d.data(), stride, DH, kAlpha), 0);
        const Picture pic = rgbref::LineCache(c.ctx, f, DW, DH, rgbref::Horizontal::k23_ARGB32, kAlpha);
        rgbref::PlaceRows(d.expected, pic, 4, [&](int32_t r) { return static_cast<ptrdiff_t>(r) * (stride & ~3); });
        d.Check("Case2");
        EXPECT_TRUE(lines.guardsIntact());
    }
}

// ---- a flat frame stays flat; every ARGB32 pixel carries the alpha byte -------------------------------

TEST(Flat, EveryRouteKeepsAFlatFrameFlat) {
    const int32_t W = 16, H = 8;
    Frame f(W, H, 1);
    std::memset(f.y.data(), 90, f.y.size());
    std::memset(f.cb.data(), 200, f.cb.size());
    std::memset(f.cr.data(), 40, f.cr.size());
    LineSet lines(LineSet::Length(W, 40));
    for (Format fmt : {Format::kARGB32, Format::kRGB888}) {
        Ctx c(Op(fmt), W, H, 40, 16, 0, 1);
        const int32_t B = rgbref::BytesOf(fmt);
        auto flat = [&](const char* what, int32_t DW, int32_t DH, bool exact, auto run) {
            const int32_t stride = B * DW;
            Dest d(stride, DH);
            run(d.data(), stride, DW, DH);
            // Through interpolation words the channels keep 6 (red, green) and 5 (blue) bits.
            const rgbref::Rgb w = rgbref::WordOf(c.ctx, 90, rgbref::TermsOf(c.ctx, 200, 40));
            const rgbref::Rgb8 e8{static_cast<uint32_t>(4 * w.r), static_cast<uint32_t>(4 * w.g), static_cast<uint32_t>(8 * w.b)};
            const uint32_t v = exact ? rgbref::Direct(c.ctx, fmt, 90, rgbref::TermsOf(c.ctx, 200, 40), kAlpha)
                                     : (fmt == Format::kARGB32 ? rgbref::ARGB(e8, kAlpha) : rgbref::BGR(e8));
            Picture p(DW, DH);
            std::fill(p.px.begin(), p.px.end(), v);
            rgbref::PlaceRows(d.expected, p, B, [&](int32_t r) { return static_cast<ptrdiff_t>(r) * stride; });
            d.Check(what);
        };
        if (fmt == Format::kARGB32) {
            flat("Rsz", 12, 6, true, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToARGB32Rsz(c.ctx, f.sp(), f.ss(), W, H, d, s, DW, DH, kAlpha); });
            flat("RszUp", 28, 20, false, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToARGB32RszUp(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DW, DH, kAlpha); });
            flat("Case1", 40, 16, false, [&](uint8_t* d, int32_t s, int32_t, int32_t DH) { qv::_QVYCbCr420ToARGB32Case1(c.ctx, lines.get(), f.sp(), f.ss(), W, d, s, DH, kAlpha); });
            flat("Case2", 24, 12, false, [&](uint8_t* d, int32_t s, int32_t, int32_t DH) { qv::_QVYCbCr420ToARGB32Case2(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DH, kAlpha); });
        } else {
            flat("Rsz", 12, 6, true, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB888Rsz(c.ctx, f.sp(), f.ss(), W, H, d, s, DW, DH); });
            flat("RszUp", 28, 20, false, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB888RszUp(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DW, DH); });
        }
    }
}

}  // namespace
