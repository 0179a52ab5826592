// Planar 4:2:0 rotation and scaling, plain and through the adjustment curves.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "test_support.h"

using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;

namespace {

// A plain w x h byte picture.
struct Image {
    int32_t w = 0, h = 0;
    std::vector<uint8_t> px;
    Image(int32_t w_, int32_t h_, uint8_t fill = 0) : w(w_), h(h_), px(static_cast<size_t>(w_) * h_, fill) {}
    uint8_t& at(int32_t x, int32_t y) { return px[static_cast<size_t>(y) * w + x]; }
    uint8_t at(int32_t x, int32_t y) const { return px[static_cast<size_t>(y) * w + x]; }
};

// Three guarded planes of a 4:2:0 picture (luma `cols` x `rows`), with padding after each row.
struct Planes420 {
    GuardedPlane y, cb, cr;
    Planes420(int32_t cols, int32_t rows, uint8_t fill, int32_t pad = 8)
        : y(cols + pad, rows, fill), cb(cols / 2 + pad / 2, rows / 2, fill), cr(cols / 2 + pad / 2 + 2, rows / 2, fill) {}
    GuardedPlane& plane(int i) { return i == 0 ? y : i == 1 ? cb : cr; }
    std::array<const uint8_t*, 3> src() const { return {y.data(), cb.data(), cr.data()}; }
    std::array<uint8_t*, 3> dst() { return {y.data(), cb.data(), cr.data()}; }
    std::array<int32_t, 3> strides() const { return {y.stride(), cb.stride(), cr.stride()}; }
    bool guardsIntact() const { return y.guardsIntact() && cb.guardsIntact() && cr.guardsIntact(); }
    void fillRandom(uint32_t seed) {
        for (int i = 0; i < 3; ++i) qvtest::FillPattern(plane(i).data(), plane(i).size(), seed + i);
    }
    // The picture content of plane i: w x h samples.
    Image image(int i, int32_t w, int32_t h) {
        Image im(w, h);
        for (int32_t r = 0; r < h; ++r)
            for (int32_t c = 0; c < w; ++c) im.at(c, r) = plane(i).at(c, r);
        return im;
    }
};

bool Turns(uint32_t code) { return code == 1 || code == 2; }

// Destination position (column, row) of source sample (x, y) for a destination stored as w x h.
std::pair<int32_t, int32_t> Place(uint32_t code, int32_t x, int32_t y, int32_t w, int32_t h) {
    switch (code) {
        case 0: return {x, y};
        case 1: return {y, w - 1 - x};
        case 2: return {h - 1 - y, x};
        case 3: return {w - 1 - x, h - 1 - y};
        case 4: return {w - 1 - x, y};
        default: return {x, h - 1 - y};
    }
}

// Expected destination plane: its current contents with every picture sample placed by the table.
std::vector<uint8_t> Placed(const GuardedPlane& dst, const Image& im, uint32_t code, const uint8_t* curve = nullptr) {
    std::vector<uint8_t> out = dst.contents();
    for (int32_t y = 0; y < im.h; ++y)
        for (int32_t x = 0; x < im.w; ++x) {
            const auto [c, r] = Place(code, x, y, im.w, im.h);
            const uint8_t v = im.at(x, y);
            out[static_cast<size_t>(r) * dst.stride() + c] = curve != nullptr ? curve[v] : v;
        }
    return out;
}

// Independent reference of the bilinear 4:2:0 scaler: luma, Cb and Cr pictures of DW x DH.
struct Scaled {
    Image y, cb, cr;
};
Scaled ReferenceScale(const Image& Y, const Image& Cb, const Image& Cr, int32_t DW, int32_t DH) {
    const int32_t W = Y.w, H = Y.h;
    const int32_t xstep = static_cast<int32_t>((static_cast<int64_t>(W - 1) << 16) / (DW - 1));
    const int32_t ystep = static_cast<int32_t>((static_cast<int64_t>(H - 1) << 16) / (DH - 1));
    Scaled s{Image(DW, DH), Image(DW / 2, DH / 2), Image(DW / 2, DH / 2)};
    for (int32_t r = 0; r < DH; ++r) {
        const int32_t py = r * ystep, y0 = py >> 16, fy = (py >> 11) & 31;
        const int32_t y1 = std::min(y0 + 1, H - 1);  // only ever read with weight 0
        auto V = [&](int32_t x) { return (32 * Y.at(x, y0) + (Y.at(x, y1) - Y.at(x, y0)) * fy) >> 4; };
        for (int32_t c = 0; c < DW; ++c) {
            const int32_t px = c * xstep, x0 = px >> 16, fx = (px >> 11) & 31;
            const int32_t xn = std::min(x0 + 1, W - 1);
            s.y.at(c, r) = static_cast<uint8_t>(((V(xn) - V(x0)) * fx + 32 * V(x0)) >> 6);
        }
    }
    for (int32_t k = 0; k < DH / 2; ++k) {
        const int32_t row = (((2 * k * ystep) >> 16) + (((2 * k + 1) * ystep) >> 16) + 1) >> 2;
        for (int32_t j = 0; j < DW / 2; ++j) {
            const int32_t col = (((2 * j * xstep) >> 16) + (((2 * j + 1) * xstep) >> 16) + 1) >> 2;
            s.cb.at(j, k) = Cb.at(col, row);
            s.cr.at(j, k) = Cr.at(col, row);
        }
    }
    return s;
}

int32_t RunFrame(Context& c, const Planes420& src, Planes420& dst) {
    const auto sp = src.src();
    const auto ss = src.strides();
    const auto dp = dst.dst();
    const auto ds = dst.strides();
    return qv::QV_ImgPrcOneFrame(c.ctx, sp.data(), ss.data(), dp.data(), ds.data());
}

// Turns adjustment on with curves that are far from the identity.
void AdjustOn(Context& c) {
    const int32_t values[3] = {150, 190, 40};
    ASSERT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, values), 0);
    ASSERT_EQ(c.ctx->adjustOn, 1u);
}

// ---- rotation -----------------------------------------------------------------------------
struct RotCase {
    int32_t w, h;
    uint32_t code;
    bool adjust;
};

class RotTest : public testing::TestWithParam<RotCase> {};

TEST_P(RotTest, PlacesEverySampleByTheRotationTable) {
    const RotCase p = GetParam();
    Context c(MakeParams(0x000, p.w, p.h, p.w, p.h, p.code));
    ASSERT_EQ(c.status, 0);
    if (p.adjust) AdjustOn(c);
    Planes420 src(p.w, p.h, 0);
    src.fillRandom(p.w * 7 + p.h + p.code);
    const int32_t cols = Turns(p.code) ? p.h : p.w, rows = Turns(p.code) ? p.w : p.h;
    Planes420 dst(cols, rows, 0x3C);

    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) {
        const int32_t w = i == 0 ? p.w : p.w / 2, h = i == 0 ? p.h : p.h / 2;
        const uint8_t* curve = !p.adjust ? nullptr : i == 0 ? c.ctx->lumaCurve : c.ctx->chromaCurve;
        expected[i] = Placed(dst.plane(i), src.image(i, w, h), p.code, curve);
    }

    if (p.code == 0) {
        // Without a rotation the dispatcher copies; the rotation routines are reached directly.
        const auto dp = dst.dst();
        const auto ds = dst.strides();
        ASSERT_EQ(qv::_QV_RotationInit(c.ctx, dp.data(), p.w, p.h, ds.data()), 0);
        const auto sp = src.src();
        const auto ss = src.strides();
        if (p.adjust) EXPECT_EQ(qv::_QVYCbCr420RotAdjust(c.ctx, sp.data(), ss.data(), p.w, p.h), 0);
        else EXPECT_EQ(qv::_QVYCbCr420Rot(c.ctx->params, sp.data(), ss.data(), p.w, p.h), 0);
    } else {
        ASSERT_EQ(RunFrame(c, src, dst), 0);
    }
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.plane(i).contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<RotCase> RotCases() {
    std::vector<RotCase> v;
    for (uint32_t code = 0; code <= 5; ++code)
        for (bool adjust : {false, true})
            for (auto [w, h] : {std::pair{16, 8}, std::pair{8, 12}, std::pair{4, 4}}) v.push_back({w, h, code, adjust});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllCodes, RotTest, testing::ValuesIn(RotCases()));

class QuarterTurnTest : public testing::TestWithParam<uint32_t> {};

TEST_P(QuarterTurnTest, FourQuarterTurnsAreTheIdentity) {
    const uint32_t code = GetParam();
    const int32_t W = 16, H = 12;
    Context wide(MakeParams(0x000, W, H, W, H, code));
    Context tall(MakeParams(0x000, H, W, H, W, code));
    ASSERT_EQ(wide.status, 0);
    ASSERT_EQ(tall.status, 0);
    Planes420 original(W, H, 0);
    original.fillRandom(99);
    Planes420 a(W, H, 0), b(H, W, 0);
    ASSERT_EQ(RunFrame(wide, original, b), 0);  // W x H picture -> H wide, W tall
    ASSERT_EQ(RunFrame(tall, b, a), 0);
    ASSERT_EQ(RunFrame(wide, a, b), 0);
    ASSERT_EQ(RunFrame(tall, b, a), 0);
    for (int i = 0; i < 3; ++i) {
        const int32_t w = i == 0 ? W : W / 2, h = i == 0 ? H : H / 2;
        EXPECT_EQ(a.image(i, w, h).px, original.image(i, w, h).px) << "plane " << i;
    }
    EXPECT_TRUE(a.guardsIntact() && b.guardsIntact());
}
INSTANTIATE_TEST_SUITE_P(BothWays, QuarterTurnTest, testing::Values(1u, 2u));

TEST(RotEdgeTest, SingleRowWritesLumaOnlyAndSingleColumnNoChroma) {
    Context c(MakeParams(0x000, 8, 8, 8, 8, 0));
    ASSERT_EQ(c.status, 0);
    Planes420 src(8, 8, 0);
    src.fillRandom(5);
    const auto sp = src.src();
    const auto ss = src.strides();

    Planes420 dst(8, 8, 0xEE);
    const auto dp = dst.dst();
    const auto ds = dst.strides();
    ASSERT_EQ(qv::_QV_RotationInit(c.ctx, dp.data(), 8, 8, ds.data()), 0);
    const std::vector<uint8_t> cbBefore = dst.cb.contents(), crBefore = dst.cr.contents();
    std::vector<uint8_t> lumaExpected = Placed(dst.y, src.image(0, 8, 1), 0);
    EXPECT_EQ(qv::_QVYCbCr420Rot(c.ctx->params, sp.data(), ss.data(), 8, 1), 0);
    EXPECT_EQ(dst.y.contents(), lumaExpected);
    EXPECT_EQ(dst.cb.contents(), cbBefore);
    EXPECT_EQ(dst.cr.contents(), crBefore);

    Planes420 narrow(8, 8, 0xEE);
    const auto np = narrow.dst();
    const auto ns = narrow.strides();
    ASSERT_EQ(qv::_QV_RotationInit(c.ctx, np.data(), 8, 8, ns.data()), 0);
    lumaExpected = Placed(narrow.y, src.image(0, 1, 8), 0);
    EXPECT_EQ(qv::_QVYCbCr420Rot(c.ctx->params, sp.data(), ss.data(), 1, 8), 0);
    EXPECT_EQ(narrow.y.contents(), lumaExpected);
    EXPECT_EQ(narrow.cb.contents(), cbBefore);
    EXPECT_EQ(narrow.cr.contents(), crBefore);
    EXPECT_TRUE(dst.guardsIntact() && narrow.guardsIntact());
}

TEST(RotEdgeTest, MissingParameterRecordIsRefused) {
    Planes420 src(8, 8, 0);
    const auto sp = src.src();
    const auto ss = src.strides();
    EXPECT_EQ(qv::_QVYCbCr420Rot(nullptr, sp.data(), ss.data(), 8, 8), -1);
    EXPECT_EQ(qv::_QVYCbCr420RszRot(nullptr, sp.data(), ss.data(), 8, 8, 16, 16), -1);
}

// ---- scaling ------------------------------------------------------------------------------
struct RszCase {
    int32_t w, h, dw, dh;
    uint32_t code;
    bool adjust;
};

class RszTest : public testing::TestWithParam<RszCase> {};

TEST_P(RszTest, MatchesTheReferenceScalerPlacedByTheRotationTable) {
    const RszCase p = GetParam();
    Context c(MakeParams(0x000, p.w, p.h, p.dw, p.dh, p.code));
    ASSERT_EQ(c.status, 0);
    ASSERT_NE(c.ctx->scaleCase, 0u);
    if (p.adjust) AdjustOn(c);
    Planes420 src(p.w, p.h, 0, 12);
    src.fillRandom(p.w + 3 * p.dh + p.code);
    const Scaled ref = ReferenceScale(src.image(0, p.w, p.h), src.image(1, p.w / 2, p.h / 2),
                                      src.image(2, p.w / 2, p.h / 2), p.dw, p.dh);
    const int32_t cols = Turns(p.code) ? p.dh : p.dw, rows = Turns(p.code) ? p.dw : p.dh;
    Planes420 dst(cols, rows, 0x5A);
    const std::vector<uint8_t> expected[3] = {
        Placed(dst.y, ref.y, p.code, p.adjust ? c.ctx->lumaCurve : nullptr),
        Placed(dst.cb, ref.cb, p.code, p.adjust ? c.ctx->chromaCurve : nullptr),
        Placed(dst.cr, ref.cr, p.code, p.adjust ? c.ctx->chromaCurve : nullptr)};
    ASSERT_EQ(RunFrame(c, src, dst), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.plane(i).contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<RszCase> RszCases() {
    std::vector<RszCase> v;
    const std::array<std::array<int32_t, 4>, 4> sizes = {{{16, 12, 8, 8}, {8, 8, 20, 12}, {16, 8, 8, 16}, {12, 20, 36, 8}}};
    for (uint32_t code = 0; code <= 5; ++code)
        for (bool adjust : {false, true})
            for (const auto& s : sizes) v.push_back({s[0], s[1], s[2], s[3], code, adjust});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllCodes, RszTest, testing::ValuesIn(RszCases()));

TEST(RszTest, EqualSizeIsACopy) {
    Planes420 src(12, 8, 0);
    src.fillRandom(3);
    Planes420 dst(12, 8, 0x77, 4);
    const std::vector<uint8_t> padding = dst.y.contents();
    const auto sp = src.src();
    const auto ss = src.strides();
    const auto dp = dst.dst();
    const auto ds = dst.strides();
    EXPECT_EQ(qv::_QVYCbCr420Rsz(sp.data(), ss.data(), 12, 8, dp.data(), ds.data(), 12, 8), 0);
    for (int i = 0; i < 3; ++i) {
        const int32_t w = i == 0 ? 12 : 6, h = i == 0 ? 8 : 4;
        EXPECT_EQ(dst.image(i, w, h).px, src.image(i, w, h).px) << "plane " << i;
    }
    for (int32_t r = 0; r < 8; ++r)  // the row padding is left alone
        for (int32_t x = 12; x < dst.y.stride(); ++x) EXPECT_EQ(dst.y.at(x, r), 0x77);
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(RszTest, FlatFrameStaysFlat) {
    Planes420 src(20, 12, 0);
    std::fill(src.y.data(), src.y.data() + src.y.size(), 201);
    std::fill(src.cb.data(), src.cb.data() + src.cb.size(), 37);
    std::fill(src.cr.data(), src.cr.data() + src.cr.size(), 150);
    for (auto [dw, dh] : {std::pair{8, 4}, std::pair{44, 28}, std::pair{12, 32}}) {
        Context c(MakeParams(0x000, 20, 12, dw, dh, 3));
        ASSERT_EQ(c.status, 0);
        Planes420 dst(dw, dh, 0);
        ASSERT_EQ(RunFrame(c, src, dst), 0);
        EXPECT_EQ(dst.image(0, dw, dh).px, Image(dw, dh, 201).px);
        EXPECT_EQ(dst.image(1, dw / 2, dh / 2).px, Image(dw / 2, dh / 2, 37).px);
        EXPECT_EQ(dst.image(2, dw / 2, dh / 2).px, Image(dw / 2, dh / 2, 150).px);
        EXPECT_TRUE(dst.guardsIntact());
    }
}

// ---- the adjusting twins against their plain counterparts ------------------------------------
enum class Route { Rot, Rsz, RszRot };

// Runs a twin with the given curves installed (plain when both are null) into fresh planes.
Planes420 RunRoute(Route route, const uint8_t* luma, const uint8_t* chroma) {
    const int32_t W = 16, H = 12;
    const int32_t DW = route == Route::Rot ? W : 24, DH = route == Route::Rot ? H : 8;
    Context c(MakeParams(0x000, W, H, DW, DH, route == Route::Rsz ? 0 : 2));
    Planes420 src(W, H, 0);
    src.fillRandom(11);
    const int32_t side = std::max(DW, DH);
    Planes420 dst(side, side, 0x42);  // room for either orientation
    const auto sp = src.src();
    const auto ss = src.strides();
    const auto dp = dst.dst();
    const auto ds = dst.strides();
    EXPECT_EQ(qv::_QV_RotationInit(c.ctx, dp.data(), DW, DH, ds.data()), 0);
    c.ctx->lumaCurve = const_cast<uint8_t*>(luma);  // borrowed; the context never frees these
    c.ctx->chromaCurve = const_cast<uint8_t*>(chroma);
    const bool plain = luma == nullptr;
    switch (route) {
        case Route::Rot:
            if (plain) qv::_QVYCbCr420Rot(c.ctx->params, sp.data(), ss.data(), W, H);
            else EXPECT_EQ(qv::_QVYCbCr420RotAdjust(c.ctx, sp.data(), ss.data(), W, H), 0);
            break;
        case Route::Rsz:
            if (plain) qv::_QVYCbCr420Rsz(sp.data(), ss.data(), W, H, dp.data(), ds.data(), DW, DH);
            else EXPECT_EQ(qv::_QVYCbCr420RszAdjust(c.ctx, sp.data(), ss.data(), W, H, dp.data(), ds.data(), DW, DH), 0);
            break;
        case Route::RszRot:
            if (plain) qv::_QVYCbCr420RszRot(c.ctx->params, sp.data(), ss.data(), W, H, DW, DH);
            else EXPECT_EQ(qv::_QVYCbCr420RszRotAdjust(c.ctx, sp.data(), ss.data(), W, H, DW, DH), 0);
            break;
    }
    c.ctx->lumaCurve = c.ctx->chromaCurve = nullptr;
    EXPECT_TRUE(dst.guardsIntact());
    return dst;
}

class TwinTest : public testing::TestWithParam<Route> {};

TEST_P(TwinTest, NeutralCurvesGiveThePlainOutput) {
    std::array<uint8_t, 256> identity;
    for (int i = 0; i < 256; ++i) identity[i] = static_cast<uint8_t>(i);
    Planes420 plain = RunRoute(GetParam(), nullptr, nullptr);
    Planes420 twin = RunRoute(GetParam(), identity.data(), identity.data());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(twin.plane(i).contents(), plain.plane(i).contents()) << "plane " << i;
}

TEST_P(TwinTest, CurvesApplyToTheWrittenSamplesOnly) {
    // A curve that sends everything to one value gives uniform planes; what was not written stays.
    std::array<uint8_t, 256> luma, chroma;
    luma.fill(9);
    chroma.fill(250);
    Planes420 plain = RunRoute(GetParam(), nullptr, nullptr);
    Planes420 twin = RunRoute(GetParam(), luma.data(), chroma.data());
    for (int i = 0; i < 3; ++i) {
        const std::vector<uint8_t> p = plain.plane(i).contents(), t = twin.plane(i).contents();
        ASSERT_EQ(p.size(), t.size());
        size_t written = 0;
        for (size_t n = 0; n < p.size(); ++n) {
            if (t[n] == 0x42) {
                EXPECT_EQ(p[n], 0x42) << "plane " << i << " byte " << n;
            } else {
                EXPECT_EQ(t[n], i == 0 ? 9 : 250) << "plane " << i << " byte " << n;
                ++written;
            }
        }
        const size_t lumaCount = GetParam() == Route::Rot ? 16 * 12 : 24 * 8;
        EXPECT_EQ(written, i == 0 ? lumaCount : lumaCount / 4) << "plane " << i;
    }
}
INSTANTIATE_TEST_SUITE_P(Routes, TwinTest, testing::Values(Route::Rot, Route::Rsz, Route::RszRot));

}  // namespace
