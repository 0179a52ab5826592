// Planar 4:2:0 rotation and scaling, plain and through the adjustment curves.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "test_support.h"

using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;
using qvtest::Picture;
using qvtest::Placed;
using qvtest::Planes;

namespace {

// Plane i (0 luma, 1 and 2 chroma) of a W x H source as the scaler makes it DW x DH: luma
// bilinear from the first to the last sample with 5-bit weights, truncating in two stages (the
// vertical one keeps an extra bit), the neighbours clamped; chroma the sample at the mean of the
// integer positions of each destination pair. At equal size, the source itself.
Picture Reference(const Planes& s, int i, int32_t W, int32_t H, int32_t DW, int32_t DH) {
    const GuardedPlane& P = s.p[i];
    if (W == DW && H == DH) return Picture(P, i == 0 ? W : W / 2, i == 0 ? H : H / 2);
    const int32_t xs = ((W - 1) << 16) / (DW - 1), ys = ((H - 1) << 16) / (DH - 1);
    if (i > 0) {
        Picture out(DW / 2, DH / 2);
        for (int32_t k = 0; k < DH / 2; ++k)
            for (int32_t j = 0; j < DW / 2; ++j)
                out.at(j, k) = P.row((((2 * k * ys) >> 16) + (((2 * k + 1) * ys) >> 16) + 1) >> 2)
                                    [(((2 * j * xs) >> 16) + (((2 * j + 1) * xs) >> 16) + 1) >> 2];
        return out;
    }
    Picture out(DW, DH);
    for (int32_t r = 0; r < DH; ++r) {
        const int32_t y0 = (r * ys) >> 16, fy = ((r * ys) >> 11) & 31, y1 = std::min(y0 + 1, H - 1);
        auto V = [&](int32_t x) { return (32 * P.row(y0)[x] + (P.row(y1)[x] - P.row(y0)[x]) * fy) >> 4; };
        for (int32_t c = 0; c < DW; ++c) {
            const int32_t x0 = (c * xs) >> 16, fx = ((c * xs) >> 11) & 31, xn = std::min(x0 + 1, W - 1);
            out.at(c, r) = static_cast<uint8_t>(((V(xn) - V(x0)) * fx + 32 * V(x0)) >> 6);
        }
    }
    return out;
}

// Curves far from the identity.
void AdjustOn(const Context& c) {
    const int32_t values[3] = {150, 190, 40};
    ASSERT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, values), 0);
}

Planes Destination(uint32_t code, int32_t w, int32_t h, uint8_t fill) {
    return qvtest::QuarterTurn(code) ? Planes::YCbCr(h, w, 2, 2, fill) : Planes::YCbCr(w, h, 2, 2, fill);
}

struct Case {
    int32_t w, h, dw, dh;
    uint32_t code;
    bool adjust;
};
void PrintTo(const Case& p, std::ostream* os) {
    *os << p.w << "x" << p.h << " to " << p.dw << "x" << p.dh << " rotation " << p.code << (p.adjust ? " adjusted" : "");
}
class Yuv420Test : public testing::TestWithParam<Case> {};

// Rot (equal sizes), Rsz (code 0) and RszRot, and their adjusting twins, through the dispatcher.
TEST_P(Yuv420Test, MatchesTheReferencePlacedByTheRotationTable) {
    const Case p = GetParam();
    Context c(MakeParams(0x000, p.w, p.h, p.dw, p.dh, p.code));
    ASSERT_EQ(c.status, 0);
    if (p.adjust) AdjustOn(c);
    Planes src = Planes::YCbCr(p.w, p.h, 2, 2);
    src.fillRandom(p.w * 7 + p.dh + p.code);
    Planes dst = Destination(p.code, p.dw, p.dh, 0x3C);
    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) {
        Picture im = Reference(src, i, p.w, p.h, p.dw, p.dh);
        for (uint32_t& v : im.px)  // Cb and Cr share the chroma curve
            if (p.adjust) v = (i == 0 ? c.ctx->lumaCurve : c.ctx->chromaCurve)[v];
        expected[i] = Placed(dst.p[i], im, p.code);
    }
    ASSERT_EQ(qvtest::RunFrame(c, src, dst), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<Case> Cases() {
    std::vector<Case> v;
    for (bool adjust : {false, true})
        for (uint32_t code = 0; code <= 5; ++code) {
            for (auto [w, h] : {std::pair{16, 8}, std::pair{8, 12}, std::pair{4, 4}})
                if (code != 0) v.push_back({w, h, w, h, code, adjust});  // code 0 at equal size is a copy
            for (auto [w, h, dw, dh] : {std::tuple{16, 12, 8, 8}, std::tuple{8, 8, 20, 12}, std::tuple{16, 8, 8, 16},
                                        std::tuple{12, 20, 36, 8}})
                v.push_back({w, h, dw, dh, code, adjust});
        }
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllRoutes, Yuv420Test, testing::ValuesIn(Cases()));

TEST(Yuv420Identities, FourQuarterTurnsAreTheIdentity) {
    for (uint32_t code : {1u, 2u}) {
        Context wide(MakeParams(0x000, 16, 12, 16, 12, code)), tall(MakeParams(0x000, 12, 16, 12, 16, code));
        Planes original = Planes::YCbCr(16, 12, 2, 2), a = Planes::YCbCr(16, 12, 2, 2), b = Planes::YCbCr(12, 16, 2, 2);
        original.fillRandom(99);
        ASSERT_EQ(qvtest::RunFrame(wide, original, b), 0);
        ASSERT_EQ(qvtest::RunFrame(tall, b, a), 0);
        ASSERT_EQ(qvtest::RunFrame(wide, a, b), 0);
        ASSERT_EQ(qvtest::RunFrame(tall, b, a), 0);
        for (int i = 0; i < 3; ++i) {
            const int32_t w = i == 0 ? 16 : 8, h = i == 0 ? 12 : 6;
            EXPECT_EQ(Picture(a.p[i], w, h).px, Picture(original.p[i], w, h).px) << code << " plane " << i;
        }
        EXPECT_TRUE(a.guardsIntact() && b.guardsIntact());
    }
}

TEST(Yuv420Identities, EqualSizeScalingIsACopy) {
    Planes src = Planes::YCbCr(12, 8, 2, 2), dst = Planes::YCbCr(12, 8, 2, 2, 0x77);
    src.fillRandom(3);
    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) expected[i] = Placed(dst.p[i], Reference(src, i, 12, 8, 12, 8), 0);
    const Planes::Arrays s = src.arrays(), d = dst.arrays();
    EXPECT_EQ(qv::_QVYCbCr420Rsz(s.in, s.stride, 12, 8, d.out, d.stride, 12, 8), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(Yuv420Identities, NeutralCurvesGiveThePlainOutput) {
    for (auto [code, dw, dh] : {std::tuple{2u, 16, 12}, std::tuple{0u, 24, 8}, std::tuple{3u, 24, 8}}) {
        Context plain(MakeParams(0x000, 16, 12, dw, dh, code)), twin(MakeParams(0x000, 16, 12, dw, dh, code));
        AdjustOn(twin);
        for (int v = 0; v < 256; ++v) twin.ctx->lumaCurve[v] = twin.ctx->chromaCurve[v] = static_cast<uint8_t>(v);
        Planes src = Planes::YCbCr(16, 12, 2, 2), a = Destination(code, dw, dh, 0x42), b = Destination(code, dw, dh, 0x42);
        src.fillRandom(11);
        ASSERT_EQ(qvtest::RunFrame(plain, src, a), 0);
        ASSERT_EQ(qvtest::RunFrame(twin, src, b), 0);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(b.p[i].contents(), a.p[i].contents()) << code << " plane " << i;
    }
}

TEST(Yuv420Rot, SingleRowWritesLumaOnlyAndSingleColumnNoChroma) {
    Context c(MakeParams(0x000, 8, 8, 8, 8, 0));
    ASSERT_EQ(c.status, 0);
    Planes src = Planes::YCbCr(8, 8, 2, 2);
    src.fillRandom(5);
    for (auto [w, h] : {std::pair{8, 1}, std::pair{1, 8}}) {
        Planes dst = Planes::YCbCr(8, 8, 2, 2, 0xEE);
        const std::vector<uint8_t> expected[3] = {Placed(dst.p[0], Picture(src.p[0], w, h), 0), dst.p[1].contents(),
                                                  dst.p[2].contents()};
        const Planes::Arrays s = src.arrays(), d = dst.arrays();
        ASSERT_EQ(qv::_QV_RotationInit(c.ctx, d.out, 8, 8, d.stride), 0);
        EXPECT_EQ(qv::_QVYCbCr420Rot(c.ctx->params, s.in, s.stride, w, h), 0);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << w << "x" << h << " plane " << i;
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(Yuv420Rot, MissingParameterRecordIsRefused) {
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
