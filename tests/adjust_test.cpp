// Brightness, contrast and saturation: the curves and the rebuilt tables (the adjusting routes are in
// routes_test).
#include <gtest/gtest.h>

#include "core/qv_routines.h"
#include "test_support.h"

using qvtest::Context;
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

TEST(AdjustTest, LumaClampsAtBothEnds) {
    Context c(MakeParams(0x000, 16, 16, 16, 16));
    ASSERT_EQ(Set(c, 0, 128, 128), 0);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(c.ctx->lumaCurve[i], 0);
    // The tables use O = -255: even Y = 255 gives luma below zero, clamped to 0.
    EXPECT_EQ(c.ctx->yTable[255], 0);
    // At the top, (239 x 255/128 + 255) x 1.164 x 128 clamps to 65535.
    ASSERT_EQ(Set(c, 255, 255, 128), 0);
    EXPECT_EQ(c.ctx->yTable[255], 65535);
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
