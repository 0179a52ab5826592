// 4:2:0 to RGB565 routes against the per-pixel model, over rotation codes and sizes.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <tuple>

#include "rgb_reference.h"

namespace {

using rgbref::Ctx;
using rgbref::Dest;
using rgbref::Format;
using rgbref::Frame;
using rgbref::LineSet;
using rgbref::Picture;
using qvtest::GuardedPlane;

struct Size {
    int32_t W, H, DW, DH;
};
std::ostream& operator<<(std::ostream& os, const Size& s) {
    return os << s.W << "x" << s.H << "->" << s.DW << "x" << s.DH;
}

// Table settings: neutral, and one that drives channels into both clamps.
struct Tables {
    int32_t b, c, s;
};
constexpr Tables kNeutral{128, 128, 128};
constexpr Tables kLively{150, 200, 255};

ptrdiff_t Rows(int32_t r, int32_t stride) { return static_cast<ptrdiff_t>(r) * stride; }

// ---- same size ------------------------------------------------------------------------------------

class SameSize565 : public ::testing::TestWithParam<std::tuple<uint32_t, Size, Tables>> {};

TEST_P(SameSize565, MatchesTheModelThroughTheRotationTable) {
    const auto [code, sz, tb] = GetParam();
    Ctx c(0x003, sz.W, sz.H, sz.W, sz.H, code, 2, tb.b, tb.c, tb.s);
    Frame f(sz.W, sz.H, 7 + code);
    const Picture pic = rgbref::SameSize(c.ctx, f, Format::kRGB565, f.cr.stride());
    const int32_t stride = 2 * std::max(sz.W, sz.H) + 6;
    Dest d(stride, rgbref::StoredRows(code, sz.W, sz.H));
    c.Rotate(d.data(), stride, sz.W, sz.H);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rot(c.ctx, f.sp(), f.ss(), sz.W, sz.H), 0);
    rgbref::PlaceRotated(d.expected, pic, code, stride, 2);
    d.Check("Rot");
    if (code == 0) {
        Dest straight(stride, sz.H);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565(c.ctx, f.sp(), f.ss(), sz.W, sz.H, straight.data(), stride), 0);
        rgbref::PlaceRows(straight.expected, pic, 2, [&](int32_t r) { return Rows(r, stride); });
        straight.Check("direct");
    }
}

INSTANTIATE_TEST_SUITE_P(Codes, SameSize565,
                         ::testing::Combine(::testing::Range(0u, 6u),
                                            ::testing::Values(Size{8, 4, 8, 4}, Size{16, 12, 16, 12}, Size{12, 20, 12, 20}),
                                            ::testing::Values(kNeutral, kLively)));

// The Cr row advances by the Cb stride in the same-size routes.
TEST(SameSize565Quirks, CrRowStepsByTheCbStride) {
    Ctx c(0x003, 8, 8, 8, 8, 2);
    Frame f(8, 8, 3, 3, 1, 5);  // Cr stride 9, Cb stride 5
    const Picture quirk = rgbref::SameSize(c.ctx, f, Format::kRGB565, f.cb.stride());
    ASSERT_NE(quirk.px, rgbref::SameSize(c.ctx, f, Format::kRGB565, f.cr.stride()).px);
    Dest d(16, 8);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565(c.ctx, f.sp(), f.ss(), 8, 8, d.data(), 16), 0);
    rgbref::PlaceRows(d.expected, quirk, 2, [](int32_t r) { return Rows(r, 16); });
    d.Check("direct");
    Dest r(16, 8);
    c.Rotate(r.data(), 16, 8, 8);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rot(c.ctx, f.sp(), f.ss(), 8, 8), 0);
    rgbref::PlaceRotated(r.expected, quirk, 2, 16, 2);
    r.Check("Rot");
}

// Rotated steps are used with their lowest bit cleared: odd steps land where the even ones do.
TEST(SameSize565Quirks, RotatedStepsLoseTheirLowestBit) {
    for (uint32_t code : {1u, 3u}) {
        Ctx c(0x003, 8, 8, 12, 12, code);
        Frame f(8, 8, 4);
        Dest even(24, 12), odd(24, 12);
        c.Rotate(even.data(), 24, 8, 8);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rot(c.ctx, f.sp(), f.ss(), 8, 8), 0);
        c.Rotate(odd.data(), 24, 8, 8);
        c.ctx->params->stepX += 1;
        c.ctx->params->stepY += 1;
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rot(c.ctx, f.sp(), f.ss(), 8, 8), 0);
        EXPECT_EQ(odd.plane.contents(), even.plane.contents()) << code;
        Dest odd2(24, 12);  // the scaler at equal sizes draws the same picture
        c.Rotate(odd2.data(), 24, 8, 8);
        c.ctx->params->stepX += 1;
        c.ctx->params->stepY += 1;
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszRot(c.ctx, f.sp(), f.ss(), 8, 8, 8, 8), 0);
        EXPECT_EQ(odd2.plane.contents(), even.plane.contents()) << code;
    }
}

TEST(SameSize565Quirks, MissingParameterRecordWritesNothing) {
    Ctx c(0x003, 8, 8, 8, 8, 1);
    Frame f(8, 8, 5);
    Dest d(16, 8);
    qv::QvRotationParams* saved = c.ctx->params;
    c.ctx->params = nullptr;
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rot(c.ctx, f.sp(), f.ss(), 8, 8), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszRot(c.ctx, f.sp(), f.ss(), 8, 8, 16, 16), -1);
    c.ctx->params = saved;
    d.Check("no params");
}

// ---- single-pass scaling -------------------------------------------------------------------------

class Scaled565 : public ::testing::TestWithParam<std::tuple<uint32_t, Size>> {};

TEST_P(Scaled565, MatchesTheBilinearModel) {
    const auto [code, sz] = GetParam();
    Ctx c(0x003, sz.W, sz.H, sz.DW, sz.DH, code, 2, kLively.b, kLively.c, kLively.s);
    Frame f(sz.W, sz.H, 11 + code, 3, 1, 4);  // scaled routes read Cr with its own stride
    const Picture pic = rgbref::Scaled(c.ctx, f, sz.DW, sz.DH, Format::kRGB565);
    const int32_t stride = 2 * std::max(sz.DW, sz.DH) + 2;
    if (code == 0) {
        Dest d(stride, sz.DH);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565Rsz(c.ctx, f.sp(), f.ss(), sz.W, sz.H, d.data(), stride, sz.DW, sz.DH), 0);
        rgbref::PlaceRows(d.expected, pic, 2, [&](int32_t r) { return Rows(r, stride); });
        d.Check("Rsz");
    }
    Dest d(stride, rgbref::StoredRows(code, sz.DW, sz.DH));
    c.Rotate(d.data(), stride, sz.DW, sz.DH);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszRot(c.ctx, f.sp(), f.ss(), sz.W, sz.H, sz.DW, sz.DH), 0);
    rgbref::PlaceRotated(d.expected, pic, code, stride, 2);
    d.Check("RszRot");
}

INSTANTIATE_TEST_SUITE_P(Codes, Scaled565,
                         ::testing::Combine(::testing::Range(0u, 6u),
                                            ::testing::Values(Size{16, 12, 8, 8}, Size{16, 12, 24, 8},
                                                              Size{12, 8, 20, 28}, Size{20, 16, 12, 4})));

TEST(Scaled565Identity, EqualSizesGiveTheDirectPicture) {
    Ctx c(0x003, 16, 12, 16, 12);
    Frame f(16, 12, 21);
    Dest direct(32, 12), scaled(32, 12, 99);
    qv::_QVYCbCr420ToRGB565(c.ctx, f.sp(), f.ss(), 16, 12, direct.data(), 32);
    qv::_QVYCbCr420ToRGB565Rsz(c.ctx, f.sp(), f.ss(), 16, 12, scaled.data(), 32, 16, 12);
    EXPECT_EQ(direct.plane.contents(), scaled.plane.contents());
}

// ---- line-cache upscaling ----------------------------------------------------------------------------

class LineCache565 : public ::testing::TestWithParam<std::tuple<uint32_t, Size>> {};

TEST_P(LineCache565, MatchesTheModel) {
    const auto [code, sz] = GetParam();
    Ctx c(0x003, sz.W, sz.H, sz.DW, sz.DH, code, 2, kLively.b, kLively.c, kLively.s);
    Frame f(sz.W, sz.H, 31 + code, 1, 2, 3);
    LineSet lines(LineSet::Length(sz.W, sz.DW));
    const Picture pic = rgbref::LineCache(c.ctx, f, sz.DW, sz.DH, rgbref::Horizontal::k565);
    if (code == 0) {
        const int32_t stride = 2 * sz.DW + 6;  // rows land at multiples of stride AND NOT 3
        Dest d(stride, sz.DH);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUp(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, d.data(), stride,
                                               sz.DW, sz.DH),
                  0);
        rgbref::PlaceRows(d.expected, pic, 2, [&](int32_t r) { return Rows(r, stride & ~3); });
        d.Check("RszUp");
    }
    const int32_t stride = 2 * std::max(sz.DW, sz.DH) + 2;
    Dest d(stride, rgbref::StoredRows(code, sz.DW, sz.DH));
    c.Rotate(d.data(), stride, sz.DW, sz.DH);
    const qv::QvRotationParams& prm = *c.ctx->params;
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUpRot(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, prm.dst00,
                                              prm.stepY >> 1, prm.stepX >> 1, sz.DW, sz.DH),
              0);
    rgbref::PlaceRotated(d.expected, pic, code, stride, 2);
    d.Check("RszUpRot");
    EXPECT_TRUE(lines.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Codes, LineCache565,
                         ::testing::Combine(::testing::Range(0u, 6u),
                                            ::testing::Values(Size{8, 8, 16, 16}, Size{12, 8, 20, 28},
                                                              Size{16, 12, 24, 16}, Size{8, 4, 48, 36})));

TEST(LineCache565Identity, EqualSizesGiveTheDirectPictureAndMissingBuffersWriteNothing) {
    Ctx c(0x003, 16, 12, 16, 12);
    Frame f(16, 12, 41);
    LineSet lines(LineSet::Length(16, 16));
    Dest direct(32, 12), up(32, 12, 99);
    qv::_QVYCbCr420ToRGB565(c.ctx, f.sp(), f.ss(), 16, 12, direct.data(), 32);
    qv::_QVYCbCr420ToRGB565RszUp(c.ctx, lines.get(), f.sp(), f.ss(), 16, 12, up.data(), 32, 16, 12);
    EXPECT_EQ(direct.plane.contents(), up.plane.contents());

    Dest untouched(32, 24);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUp(c.ctx, nullptr, f.sp(), f.ss(), 16, 12, untouched.data(), 32, 16, 24), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUpRot(c.ctx, nullptr, f.sp(), f.ss(), 16, 12, untouched.data(), 32, 2, 16, 24), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUp_Nearest(c.ctx, nullptr, f.sp(), f.ss(), 16, 12, untouched.data(), 32, 16, 24), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565RszUp_NearLinear(c.ctx, nullptr, f.sp(), f.ss(), 16, 12, untouched.data(), 32, 16, 24), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565Case1(c.ctx, nullptr, f.sp(), f.ss(), 16, untouched.data(), 32, 24), -1);
    EXPECT_EQ(qv::_QVYCbCr420ToRGB565Case2(c.ctx, nullptr, f.sp(), f.ss(), 16, 12, untouched.data(), 32, 24), -1);
    untouched.Check("no line buffers");
}

// The row advance of the rotated upscaler loses its lowest bit.
TEST(LineCache565Quirks, RotatedRowAdvanceLosesItsLowestBit) {
    Ctx c(0x003, 8, 8, 12, 12, 1);
    Frame f(8, 8, 43);
    LineSet lines(LineSet::Length(8, 12));
    Dest even(24, 12), odd(24, 12);
    c.Rotate(even.data(), 24, 12, 12);
    qv::QvRotationParams prm = *c.ctx->params;
    qv::_QVYCbCr420ToRGB565RszUpRot(c.ctx, lines.get(), f.sp(), f.ss(), 8, 8, prm.dst00, prm.stepY >> 1, prm.stepX >> 1, 12, 12);
    c.Rotate(odd.data(), 24, 12, 12);
    prm = *c.ctx->params;
    qv::_QVYCbCr420ToRGB565RszUpRot(c.ctx, lines.get(), f.sp(), f.ss(), 8, 8, prm.dst00, (prm.stepY >> 1) + 1,
                                    prm.stepX >> 1, 12, 12);
    EXPECT_EQ(odd.plane.contents(), even.plane.contents());
}

// ---- nearest upscaling ----------------------------------------------------------------------------------

// Row j shows source row floor(j H / DH); column c the pixel c q + floor(c r / DW) of the row (plain
// RGB565 pixels), or of the doubled line (means interleaved with the words).
Picture NearestModel(const qv::QvImgPrcContext* ctx, const Frame& f, int32_t DW, int32_t DH, bool doubled) {
    Picture p(DW, DH);
    const int32_t lineWidth = doubled ? 2 * f.W : f.W;
    const int32_t q = lineWidth / DW, r = lineWidth % DW;
    for (int32_t j = 0; j < DH; ++j) {
        const int32_t sr = j * f.H / DH;
        std::vector<uint32_t> line;
        if (doubled) {
            const std::vector<rgbref::Rgb> words = rgbref::ConvertedRow(ctx, f, sr, sr / 2, f.cr.stride());
            for (int32_t i = 0; i < f.W; ++i) {
                line.push_back(rgbref::To565(rgbref::Weighted({{1, words[i ? i - 1 : 0]}, {1, words[i]}}), 1));
                line.push_back(rgbref::To565(rgbref::Weighted({{1, words[i]}}), 0));
            }
        } else {
            for (int32_t x = 0; x < f.W; ++x)
                line.push_back(rgbref::Direct(ctx, Format::kRGB565, f.Y(x, sr),
                                              rgbref::TermsOf(ctx, f.Cb(x / 2, sr / 2), f.Cr(x / 2, sr / 2)), 0));
        }
        for (int32_t x = 0; x < DW; ++x) p.at(x, j) = line[x * q + x * r / DW];
    }
    return p;
}

class Nearest565 : public ::testing::TestWithParam<std::tuple<bool, Size>> {};

TEST_P(Nearest565, MatchesTheModelAndCopiesRepeatedRows) {
    const auto [doubled, sz] = GetParam();
    Ctx c(0x003, sz.W, sz.H, sz.DW, sz.DH, 0, doubled ? 3 : 0, kLively.b, kLively.c, kLively.s);
    Frame f(sz.W, sz.H, 51, 3, 1, 2);
    LineSet lines(LineSet::Length(sz.W, sz.DW, doubled));
    const int32_t stride = 2 * sz.DW + 2;
    Dest d(stride, sz.DH);
    const int32_t status =
        doubled ? qv::_QVYCbCr420ToRGB565RszUp_NearLinear(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, d.data(),
                                                          stride, sz.DW, sz.DH)
                : qv::_QVYCbCr420ToRGB565RszUp_Nearest(c.ctx, lines.get(), f.sp(), f.ss(), sz.W, sz.H, d.data(),
                                                       stride, sz.DW, sz.DH);
    EXPECT_EQ(status, 0);
    rgbref::PlaceRows(d.expected, NearestModel(c.ctx, f, sz.DW, sz.DH, doubled), 2,
                      [&](int32_t r) { return Rows(r, stride & ~3); });
    d.Check(doubled ? "NearLinear" : "Nearest");
    EXPECT_TRUE(lines.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Sizes, Nearest565,
                         ::testing::Combine(::testing::Bool(),
                                            ::testing::Values(Size{8, 8, 16, 16}, Size{8, 4, 20, 12},
                                                              Size{12, 8, 16, 12}, Size{4, 4, 24, 16})));

// ---- fixed ratios ------------------------------------------------------------------------------------

// Width x 2.5, height x 2: the last pass reads the two luma rows (and the chroma row) below the picture,
// which the planes provide; the Cr row steps by the Cb stride.
TEST(Case1_565, MatchesTheModelIncludingTheRowsBelowThePicture) {
    for (const auto& [W, H, DHarg] : {std::tuple{8, 4, 8}, std::tuple{16, 8, 16}, std::tuple{8, 4, 6}}) {
        const int32_t DW = W * 5 / 2, DH = 2 * H;
        Ctx c(0x003, W, H, DW, DH, 0, 1, kLively.b, kLively.c, kLively.s);
        Frame f(W, H, 61, 3, 1, 4, 2);
        LineSet lines(LineSet::Length(W, DW));
        const int32_t stride = 2 * DW + 6;
        Dest d(stride, DH);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565Case1(c.ctx, lines.get(), f.sp(), f.ss(), W, d.data(), stride, DHarg), 0);
        // A height that is not a multiple of 4 still writes the whole last group of four rows.
        const Picture pic = rgbref::TwiceVertically(c.ctx, f, DH, rgbref::Horizontal::k25_565, 0, false);
        rgbref::PlaceRows(d.expected, pic, 2, [&](int32_t r) { return Rows(r, stride & ~3); });
        d.Check("Case1");
        EXPECT_TRUE(lines.guardsIntact());
    }
}

TEST(Case2_565, MatchesTheModelUpDownAndLevel) {
    for (const auto& [W, H, DH] : {std::tuple{8, 8, 12}, std::tuple{16, 12, 8}, std::tuple{8, 8, 8}, std::tuple{24, 4, 20}}) {
        const int32_t DW = W * 3 / 2;
        Ctx c(0x003, W, H, DW, DH, 0, 1, kLively.b, kLively.c, kLively.s);
        Frame f(W, H, 71, 3, 1, 4);
        if (DH < H) f.FlattenChromaRows();  // shrinking rows may pair a row with the chroma row above
        LineSet lines(LineSet::Length(W, DW));
        const int32_t stride = 2 * DW + 2;
        Dest d(stride, DH);
        EXPECT_EQ(qv::_QVYCbCr420ToRGB565Case2(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d.data(), stride, DH), 0);
        const Picture pic = rgbref::LineCache(c.ctx, f, DW, DH, rgbref::Horizontal::k23_565);
        rgbref::PlaceRows(d.expected, pic, 2, [&](int32_t r) { return Rows(r, stride & ~3); });
        d.Check("Case2");
        EXPECT_TRUE(lines.guardsIntact());
    }
}

// 320 x 240 to 480 x 272: destination row j of each 16-row pass at 7j / 8 rows from the pass's first
// source row, blended in eighths; row 15 is the pass's row 13 alone; groups of four words give six
// pixels ending on their own last word.
Picture Case3Model(const qv::QvImgPrcContext* ctx, const Frame& f) {
    Picture p(480, 272);
    for (int32_t pass = 0; pass < 17; ++pass) {
        for (int32_t j = 0; j < 16; ++j) {
            int32_t lo = 7 * j / 8, eighths = 7 * j % 8;
            if (j == 15) lo = 13, eighths = 0;
            const int32_t r = 14 * pass + lo;
            const auto upper = rgbref::ConvertedRow(ctx, f, r, r / 2, f.cr.stride());
            const auto lower = rgbref::ConvertedRow(ctx, f, eighths ? r + 1 : r, (eighths ? r + 1 : r) / 2, f.cr.stride());
            std::vector<rgbref::Rgb> line(320);
            for (int32_t x = 0; x < 320; ++x)
                line[x] = rgbref::Shifted(rgbref::Weighted({{8 - eighths, upper[x]}, {eighths, lower[x]}}), 3);
            for (int32_t g = 0; g < 80; ++g) {
                const rgbref::Rgb* s = &line[4 * g];
                using rgbref::To565;
                using rgbref::Weighted;
                const uint32_t out[6] = {To565(Weighted({{1, s[0]}}), 0),           To565(Weighted({{11, s[0]}, {21, s[1]}}), 5),
                                         To565(Weighted({{21, s[1]}, {11, s[2]}}), 5), To565(Weighted({{1, s[2]}}), 0),
                                         To565(Weighted({{11, s[2]}, {21, s[3]}}), 5), To565(Weighted({{1, s[3]}}), 0)};
                for (int i = 0; i < 6; ++i) p.at(6 * g + i, 16 * pass + j) = out[i];
            }
        }
    }
    return p;
}

TEST(Case3_565, MatchesTheModelAndReadsOnly238Rows) {
    Ctx c(0x003, 320, 240, 480, 272, 0, 1, kLively.b, kLively.c, kLively.s);
    ASSERT_EQ(c.ctx->scaleCase, 7u);
    Frame f(320, 238, 81, 8, 2, 6);  // planes of exactly the rows the path reads
    GuardedPlane row0(4 * 480 + 16, 1), row1(4 * 480 + 16, 1);
    const int32_t stride = 960 + 6;
    Dest d(stride, 272);
    qv::_QVYCbCr420ToRGB565Case3(c.ctx, reinterpret_cast<uint32_t*>(row0.data()), reinterpret_cast<uint32_t*>(row1.data()),
                                 f.sp(), f.ss(), d.data(), stride);
    rgbref::PlaceRows(d.expected, Case3Model(c.ctx, f), 2, [&](int32_t r) { return Rows(r, stride); });
    d.Check("Case3");
    EXPECT_TRUE(row0.guardsIntact());
    EXPECT_TRUE(row1.guardsIntact());
}

// ---- a flat frame stays flat through every route -----------------------------------------------------

TEST(Flat565, EveryRouteKeepsAFlatFrameFlat) {
    const int32_t W = 16, H = 8;
    Ctx c(0x003, W, H, 40, 16, 0, 1, kLively.b, kLively.c, kLively.s);
    Frame f(W, H, 1, 3, 1, 1, 2);
    std::memset(f.y.data(), 180, f.y.size());
    std::memset(f.cb.data(), 60, f.cb.size());
    std::memset(f.cr.data(), 220, f.cr.size());
    const uint32_t v = rgbref::Direct(c.ctx, Format::kRGB565, 180, rgbref::TermsOf(c.ctx, 60, 220), 0);
    LineSet lines(LineSet::Length(W, 64, true));
    auto flat = [&](const char* what, int32_t DW, int32_t DH, auto run) {
        Dest d(2 * DW, DH);
        run(d.data(), 2 * DW, DW, DH);
        Picture p(DW, DH);
        std::fill(p.px.begin(), p.px.end(), v);
        rgbref::PlaceRows(d.expected, p, 2, [&](int32_t r) { return Rows(r, 2 * DW); });
        d.Check(what);
    };
    flat("Rsz", 12, 6, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB565Rsz(c.ctx, f.sp(), f.ss(), W, H, d, s, DW, DH); });
    flat("RszUp", 28, 20, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB565RszUp(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DW, DH); });
    flat("Nearest", 28, 20, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB565RszUp_Nearest(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DW, DH); });
    flat("NearLinear", 28, 20, [&](uint8_t* d, int32_t s, int32_t DW, int32_t DH) { qv::_QVYCbCr420ToRGB565RszUp_NearLinear(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DW, DH); });
    flat("Case1", 40, 16, [&](uint8_t* d, int32_t s, int32_t, int32_t DH) { qv::_QVYCbCr420ToRGB565Case1(c.ctx, lines.get(), f.sp(), f.ss(), W, d, s, DH); });
    flat("Case2", 24, 12, [&](uint8_t* d, int32_t s, int32_t, int32_t DH) { qv::_QVYCbCr420ToRGB565Case2(c.ctx, lines.get(), f.sp(), f.ss(), W, H, d, s, DH); });
}

}  // namespace

// ---- reads stay inside the source planes ------------------------------------------------------------

// Every route run on planes allocated to exactly their rows (so that the address sanitizer sees any read
// past them) gives the same bytes as on the padded planes. Only the RGB565 2.5 x 2 path reads below the
// picture by design; it gets its two extra rows.
TEST(TightPlanes, NoRouteReadsOutsideTheSourcePlanes) {
    const int32_t W = 16, H = 8;
    using Run = std::function<void(qv::QvImgPrcContext*, const qv::LineBuffers*, const uint8_t* const*, const int32_t*,
                                   uint8_t*, int32_t)>;
    struct Route {
        const char* name;
        int32_t op, DW, DH, B;
        uint32_t rotation;
        int32_t extraRows;
        Run run;
    };
    const uint8_t a = 0x80;
    const std::vector<Route> routes = {
        {"565", 0x003, W, H, 2, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565(c, sp, ss, W, H, d, s); }},
        {"565Rot", 0x003, W, H, 2, 3, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToRGB565Rot(c, sp, ss, W, H); }},
        {"565Rsz", 0x003, 12, 20, 2, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565Rsz(c, sp, ss, W, H, d, s, 12, 20); }},
        {"565RszRot", 0x003, 12, 20, 2, 2, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToRGB565RszRot(c, sp, ss, W, H, 12, 20); }},
        {"565RszUp", 0x003, 24, 20, 2, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565RszUp(c, l, sp, ss, W, H, d, s, 24, 20); }},
        {"565RszUpRot", 0x003, 24, 20, 2, 1, 0, [&](auto c, auto l, auto sp, auto ss, auto, auto) {
             const qv::QvRotationParams& p = *c->params;
             qv::_QVYCbCr420ToRGB565RszUpRot(c, l, sp, ss, W, H, p.dst00, p.stepY >> 1, p.stepX >> 1, 24, 20); }},
        {"565Nearest", 0x003, 24, 20, 2, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565RszUp_Nearest(c, l, sp, ss, W, H, d, s, 24, 20); }},
        {"565NearLinear", 0x003, 24, 20, 2, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565RszUp_NearLinear(c, l, sp, ss, W, H, d, s, 24, 20); }},
        {"565Case1", 0x003, 40, 16, 2, 0, 2, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565Case1(c, l, sp, ss, W, d, s, 16); }},
        {"565Case2", 0x003, 24, 12, 2, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB565Case2(c, l, sp, ss, W, H, d, s, 12); }},
        {"ARGB", 0x005, W, H, 4, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToARGB32(c, sp, ss, W, H, d, s, a); }},
        {"ARGBRot", 0x005, W, H, 4, 4, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToARGB32Rot(c, sp, ss, W, H, a); }},
        {"ARGBRsz", 0x005, 12, 20, 4, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToARGB32Rsz(c, sp, ss, W, H, d, s, 12, 20, a); }},
        {"ARGBRszRot", 0x005, 12, 20, 4, 5, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToARGB32RszRot(c, sp, ss, W, H, 12, 20, a); }},
        {"ARGBRszUp", 0x005, 24, 20, 4, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToARGB32RszUp(c, l, sp, ss, W, H, d, s, 24, 20, a); }},
        {"ARGBCase1", 0x005, 40, 16, 4, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToARGB32Case1(c, l, sp, ss, W, d, s, 16, a); }},
        {"ARGBCase2", 0x005, 24, 12, 4, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToARGB32Case2(c, l, sp, ss, W, H, d, s, 12, a); }},
        {"888", 0x004, W, H, 3, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB888(c, sp, ss, W, H, d, s); }},
        {"888Rot", 0x004, W, H, 3, 2, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToRGB888Rot(c, sp, ss, W, H); }},
        {"888Rsz", 0x004, 12, 20, 3, 0, 0, [&](auto c, auto, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB888Rsz(c, sp, ss, W, H, d, s, 12, 20); }},
        {"888RszRot", 0x004, 12, 20, 3, 3, 0, [&](auto c, auto, auto sp, auto ss, auto, auto) { qv::_QVYCbCr420ToRGB888RszRot(c, sp, ss, W, H, 12, 20); }},
        {"888RszUp", 0x004, 24, 20, 3, 0, 0, [&](auto c, auto l, auto sp, auto ss, auto d, auto s) { qv::_QVYCbCr420ToRGB888RszUp(c, l, sp, ss, W, H, d, s, 24, 20); }},
    };
    for (const Route& r : routes) {
        Ctx c(r.op, W, H, r.DW, r.DH, r.rotation);
        Frame f(W, H, 91, 3, 1, 1, r.extraRows);
        // Tight copies: each plane exactly stride x rows bytes in its own heap block.
        const std::vector<uint8_t> y = f.y.contents(), cb = f.cb.contents(), cr = f.cr.contents();
        const uint8_t* tight[3] = {y.data(), cb.data(), cr.data()};
        const int32_t* ss = f.ss();
        LineSet lines(LineSet::Length(W, r.DW, true));
        const int32_t stride = r.B * std::max(r.DW, r.DH);
        std::vector<uint8_t> results[2];
        for (int pass = 0; pass < 2; ++pass) {
            Dest d(stride, std::max(r.DW, r.DH));
            c.Rotate(d.data(), stride, r.DW, r.DH);
            r.run(c.ctx, lines.get(), pass == 0 ? f.sp() : tight, ss, d.data(), stride);
            EXPECT_TRUE(d.plane.guardsIntact()) << r.name;
            results[pass] = d.plane.contents();
        }
        EXPECT_EQ(results[0], results[1]) << r.name;
        EXPECT_NE(results[0], Dest(stride, std::max(r.DW, r.DH)).plane.contents()) << r.name << " wrote nothing";
        EXPECT_TRUE(lines.guardsIntact()) << r.name;
    }
}

// ---- through the frame pipeline -----------------------------------------------------------------------

// A frame through QV_ImgPrcOneFrame reaches the route the context's case selects, with the rotated
// upscaler given the parameter record's start and halved steps.
TEST(Pipeline565, FramesReachTheirRoutes) {
    struct Case {
        uint32_t rotation, interp;
        Size sz;
    };
    for (const Case k : {Case{2, 2, {8, 8, 16, 12}}, Case{0, 2, {8, 8, 16, 12}}, Case{0, 0, {8, 8, 16, 12}},
                         Case{0, 1, {8, 8, 12, 12}}, Case{3, 2, {16, 12, 8, 8}}}) {
        const Size& sz = k.sz;
        Ctx c(0x003, sz.W, sz.H, sz.DW, sz.DH, k.rotation, k.interp);
        Frame f(sz.W, sz.H, 95, 3, 2, 2);
        const int32_t stride = 2 * std::max(sz.DW, sz.DH) + 4;
        Dest d(stride, rgbref::StoredRows(k.rotation, sz.DW, sz.DH));
        uint8_t* const dp[3] = {d.data(), nullptr, nullptr};
        const int32_t ds[3] = {stride, 0, 0};
        ASSERT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, f.sp(), f.ss(), dp, ds), 0);
        Picture pic(0, 0);
        if (c.ctx->scaleCase == 6) {
            pic = rgbref::LineCache(c.ctx, f, sz.DW, sz.DH, rgbref::Horizontal::k23_565);
        } else if (c.ctx->scaleCase == 3) {
            pic = rgbref::Scaled(c.ctx, f, sz.DW, sz.DH, Format::kRGB565);
        } else if (k.interp == 0) {
            pic = NearestModel(c.ctx, f, sz.DW, sz.DH, false);
        } else {
            pic = rgbref::LineCache(c.ctx, f, sz.DW, sz.DH, rgbref::Horizontal::k565);
        }
        if (k.rotation != 0) {
            rgbref::PlaceRotated(d.expected, pic, k.rotation, stride, 2);
        } else {
            rgbref::PlaceRows(d.expected, pic, 2, [&](int32_t r) { return Rows(r, stride & ~3); });
        }
        d.Check("pipeline");
    }
}
