// Brightness, contrast and saturation: the curves, the rebuilt tables and the adjusting copy.
#include <gtest/gtest.h>

#include "core/qv_routines.h"
#include "test_support.h"

using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;

namespace {

int32_t Set(Context& c, int32_t b, int32_t ct, int32_t s) {
    const int32_t v[3] = {b, ct, s};
    return qv::QV_ImgColorAdjustSet(c.ctx, v);
}

TEST(AdjustTest, NeutralOnAFreshContextChangesNothing) {
    Context c(MakeParams(0x000, 16, 16, 16, 16));
    EXPECT_EQ(Set(c, 128, 128, 128), 0);
    EXPECT_EQ(c.ctx->adjustCurveBlock, nullptr);
    EXPECT_EQ(c.ctx->adjustOn, 0u);
    EXPECT_EQ(qv::QV_ImgColorAdjustSet(nullptr, nullptr), -1);
    EXPECT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, nullptr), -1);
    EXPECT_EQ(qv::QV_ImgColorAdjustGet(c.ctx, nullptr), -1);
}

TEST(AdjustTest, ContrastCurveWorkedNumbers) {
    Context c(MakeParams(0x000, 16, 16, 16, 16));
    ASSERT_EQ(Set(c, 128, 255, 128), 0);
    EXPECT_EQ(c.ctx->adjustOn, 1u);
    EXPECT_EQ(c.ctx->lumaCurve[255], 255);
    EXPECT_EQ(c.ctx->lumaCurve[64], 253);  // (64 x 506) >> 7
    EXPECT_EQ(c.ctx->lumaCurve[0], 0);
    EXPECT_EQ(c.ctx->chromaCurve[200], 200);  // saturation neutral: identity
}

TEST(AdjustTest, ZeroBrightnessBlacksOutLuma) {
    Context c(MakeParams(0x000, 16, 16, 16, 16));
    ASSERT_EQ(Set(c, 0, 128, 128), 0);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(c.ctx->lumaCurve[i], 0);
    // The tables use O = -255: even Y = 255 gives luma below zero, clamped to 0.
    EXPECT_EQ(c.ctx->yTable[255], 0);
}

TEST(AdjustTest, ZeroSaturationGreysOut) {
    Context c(MakeParams(0x000, 16, 16, 16, 16));
    ASSERT_EQ(Set(c, 128, 128, 0), 0);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(c.ctx->chromaCurve[i], 128);
        EXPECT_EQ(c.ctx->cbTable[i], 0);
        EXPECT_EQ(c.ctx->crTable[i], 0);
        EXPECT_EQ(c.ctx->lumaCurve[i], i);
    }
}

TEST(AdjustTest, OutOfRangeValuesClampLikeTheirLimits) {
    Context a(MakeParams(0x000, 16, 16, 16, 16));
    Context b(MakeParams(0x000, 16, 16, 16, 16));
    ASSERT_EQ(Set(a, 128, 128, 300), 0);
    ASSERT_EQ(Set(b, 128, 128, 255), 0);
    EXPECT_EQ(0, std::memcmp(a.ctx->chromaCurve, b.ctx->chromaCurve, 256));
    EXPECT_EQ(0, std::memcmp(a.ctx->cbTable, b.ctx->cbTable, 1024));
    EXPECT_EQ(0, std::memcmp(a.ctx->crTable, b.ctx->crTable, 1024));
    // Saturation 255: gain (((127^2 x 7) >> 7) + 128) / 128 = 1010 / 128.
    EXPECT_EQ(a.ctx->chromaCurve[129], 135);  // 128 + 1 x 7.89 truncated
    EXPECT_EQ(a.ctx->chromaCurve[127], 120);  // 128 - 7.89 = 120.1
    EXPECT_EQ(a.ctx->chromaCurve[255], 255);
    EXPECT_EQ(a.ctx->chromaCurve[0], 0);
}

TEST(AdjustTest, ReturnToNeutralRestoresTablesAndKeepsCurves) {
    Context c(MakeParams(0x003, 16, 16, 16, 16));
    uint16_t y[256];
    int32_t cb[256], cr[256];
    qv::set_transtable(y, cb, cr, 128, 128, 128);
    ASSERT_EQ(Set(c, 60, 200, 30), 0);
    EXPECT_NE(0, std::memcmp(y, c.ctx->yTable, sizeof y));
    std::vector<uint8_t> curves(c.ctx->adjustCurveBlock, c.ctx->adjustCurveBlock + 512);
    ASSERT_EQ(Set(c, 128, 128, 128), 0);
    EXPECT_EQ(c.ctx->adjustOn, 0u);
    EXPECT_EQ(0, std::memcmp(y, c.ctx->yTable, sizeof y));
    EXPECT_EQ(0, std::memcmp(cb, c.ctx->cbTable, sizeof cb));
    EXPECT_EQ(0, std::memcmp(cr, c.ctx->crTable, sizeof cr));
    EXPECT_EQ(curves, std::vector<uint8_t>(c.ctx->adjustCurveBlock, c.ctx->adjustCurveBlock + 512));
    int32_t values[3];
    EXPECT_EQ(qv::QV_ImgColorAdjustGet(c.ctx, values), 0);
    EXPECT_EQ(values[1], 128);
}

TEST(AdjustTest, AdjustingCopyMapsEveryPlaneThroughItsCurve) {
    const int32_t W = 24, H = 12;
    Context c(MakeParams(0x000, W, H, W, H));
    ASSERT_EQ(Set(c, 150, 180, 60), 0);
    GuardedPlane y(W + 4, H), cb(W / 2 + 2, H / 2), cr(W / 2 + 6, H / 2);
    qvtest::FillPattern(y.data(), y.size(), 1);
    qvtest::FillPattern(cb.data(), cb.size(), 2);
    qvtest::FillPattern(cr.data(), cr.size(), 3);
    GuardedPlane dy(W, H, 0xEE), dcb(W / 2, H / 2, 0xEE), dcr(W / 2, H / 2, 0xEE);
    const uint8_t* src[3] = {y.data(), cb.data(), cr.data()};
    const int32_t ss[3] = {y.stride(), cb.stride(), cr.stride()};
    uint8_t* dst[3] = {dy.data(), dcb.data(), dcr.data()};
    const int32_t ds[3] = {W, W / 2, W / 2};
    ASSERT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, ss, dst, ds), 0);
    for (int32_t r = 0; r < H; ++r)
        for (int32_t x = 0; x < W; ++x) ASSERT_EQ(dy.at(x, r), c.ctx->lumaCurve[y.at(x, r)]);
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t x = 0; x < W / 2; ++x) {
            ASSERT_EQ(dcb.at(x, r), c.ctx->chromaCurve[cb.at(x, r)]);
            ASSERT_EQ(dcr.at(x, r), c.ctx->chromaCurve[cr.at(x, r)]);
        }
    EXPECT_TRUE(dy.guardsIntact() && dcb.guardsIntact() && dcr.guardsIntact());

    // Back at neutral the same frame is a plain copy.
    ASSERT_EQ(Set(c, 128, 128, 128), 0);
    ASSERT_EQ(qv::QV_ImgPrcOneFrame(c.ctx, src, ss, dst, ds), 0);
    for (int32_t r = 0; r < H; ++r)
        for (int32_t x = 0; x < W; ++x) ASSERT_EQ(dy.at(x, r), y.at(x, r));
}

TEST(AdjustTest, OneRowAdjustsLumaOnly) {
    Context c(MakeParams(0x000, 8, 8, 8, 8));
    ASSERT_EQ(Set(c, 200, 128, 128), 0);
    uint8_t y[8] = {0, 10, 20, 30, 40, 50, 60, 70}, cb[4] = {1, 2, 3, 4}, cr[4] = {5, 6, 7, 8};
    uint8_t dy[8] = {}, dcb[4] = {9, 9, 9, 9}, dcr[4] = {9, 9, 9, 9};
    const uint8_t* src[3] = {y, cb, cr};
    uint8_t* dst[3] = {dy, dcb, dcr};
    const int32_t s[3] = {8, 4, 4};
    EXPECT_EQ(qv::_QVYCbCrAdjust(c.ctx, src, s, 8, 1, dst, s), 0);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(dy[i], std::min(255, y[i] + 144));  // K = 2 x 200 - 256
    for (int i = 0; i < 4; ++i) EXPECT_EQ(dcb[i], 9);
    const uint8_t* missing[3] = {y, nullptr, cr};
    EXPECT_EQ(qv::_QVYCbCrAdjust(c.ctx, missing, s, 8, 1, dst, s), -1);
}

}  // namespace
