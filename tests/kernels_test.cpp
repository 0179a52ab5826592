// Line conversion and interpolation kernels against the channel model and worked numbers.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "core/kernels.h"
#include "rgb_reference.h"

namespace {

using rgbref::Decode;
using rgbref::Encode;
using rgbref::Rgb;
using rgbref::Sum;
using rgbref::To565;
using rgbref::Weighted;

// A context carrying hand-made tables.
struct HandTables {
    std::array<uint16_t, 256> y{};
    std::array<int32_t, 256> cb{};
    std::array<int32_t, 256> cr{};
    qv::QvImgPrcContext ctx{};
    HandTables() {
        ctx.yTable = y.data();
        ctx.cbTable = cb.data();
        ctx.crTable = cr.data();
    }
    static int32_t Entry(int32_t high, int32_t low) {
        return static_cast<int32_t>(static_cast<uint32_t>(high) << 16 | (static_cast<uint32_t>(low) & 0xFFFF));
    }
};

std::vector<uint8_t> Bytes(size_t n, uint32_t seed) {
    std::vector<uint8_t> v(n);
    qvtest::FillPattern(v.data(), n, seed);
    return v;
}

std::vector<uint32_t> RandomWords(size_t n, uint32_t seed) {
    std::vector<uint32_t> v(n);
    const std::vector<uint8_t> b = Bytes(3 * n, seed);
    for (size_t i = 0; i < n; ++i) v[i] = Encode({b[3 * i] & 63, b[3 * i + 1] & 63, b[3 * i + 2] & 31});
    return v;
}

uint32_t Load16At(const std::vector<uint8_t>& v, size_t pixel) { return v[2 * pixel] | v[2 * pixel + 1] << 8; }
uint32_t Load32At(const std::vector<uint8_t>& v, size_t pixel) {
    return v[4 * pixel] | v[4 * pixel + 1] << 8 | v[4 * pixel + 2] << 16 | static_cast<uint32_t>(v[4 * pixel + 3]) << 24;
}

class Kernels : public ::testing::Test {
protected:
    rgbref::Ctx c{0x003, 16, 16, 32, 32, 0, 2, 140, 170, 230};  // a lively, clamping table set
};

// ---- Convert / Convert_565 ----------------------------------------------------------------------

TEST_F(Kernels, ConvertMatchesTheChannelModel) {
    const int32_t W = 14;
    const auto y0 = Bytes(W, 1), y1 = Bytes(W, 2), cb = Bytes(W / 2, 3), cr = Bytes(W / 2, 4);
    std::vector<uint32_t> out0(W + 1, 0xDEADBEEF), out1(W + 1, 0xDEADBEEF);
    qv::Convert(c.ctx, y0.data(), y1.data(), cb.data(), cr.data(), out0.data(), out1.data(), W);
    for (int32_t x = 0; x < W; ++x) {
        const rgbref::Terms t = rgbref::TermsOf(c.ctx, cb[x / 2], cr[x / 2]);
        EXPECT_EQ(out0[x], Encode(rgbref::WordOf(c.ctx, y0[x], t))) << x;
        EXPECT_EQ(out1[x], Encode(rgbref::WordOf(c.ctx, y1[x], t))) << x;
    }
    EXPECT_EQ(out0[W], 0xDEADBEEFu);
    EXPECT_EQ(out1[W], 0xDEADBEEFu);
}

TEST_F(Kernels, ConvertOddWidthLeavesTheLastColumnAndTinyWidthsStillConvertOneBlock) {
    const auto y0 = Bytes(8, 5), y1 = Bytes(8, 6), cb = Bytes(4, 7), cr = Bytes(4, 8);
    for (int32_t width : {0, 1, 5}) {
        std::vector<uint32_t> out0(8, 0xDEADBEEF), out1(8, 0xDEADBEEF);
        qv::Convert(c.ctx, y0.data(), y1.data(), cb.data(), cr.data(), out0.data(), out1.data(), width);
        const int32_t written = width < 2 ? 2 : width - 1;
        for (int32_t x = 0; x < 8; ++x) {
            if (x < written) {
                EXPECT_NE(out0[x], 0xDEADBEEFu) << width << " " << x;
                EXPECT_NE(out1[x], 0xDEADBEEFu) << width << " " << x;
            } else {
                EXPECT_EQ(out0[x], 0xDEADBEEFu) << width << " " << x;
                EXPECT_EQ(out1[x], 0xDEADBEEFu) << width << " " << x;
            }
        }
    }
}

TEST(KernelsNeutral, ConvertSaturatesRedAndClearsBlue) {
    rgbref::Ctx n{0x003, 16, 16, 32, 32};
    const uint8_t y0[2] = {255, 0}, y1[2] = {255, 0}, cb[1] = {0}, cr[1] = {255};
    uint32_t out0[2], out1[2];
    qv::Convert(n.ctx, y0, y1, cb, cr, out0, out1, 2);
    EXPECT_EQ(Decode(out0[0]).r, 63);  // Y 255 with Cr 255
    EXPECT_EQ(Decode(out0[1]).b, 0);   // Y 0 with Cb 0: cleared, not wrapped
    uint16_t p0[2], p1[2];
    qv::Convert_565(n.ctx, y0, y1, cb, cr, p0, p1, 2);
    EXPECT_EQ(p0[0] >> 11, 31);
    EXPECT_EQ(p0[1] & 0x1F, 0);
}

TEST(KernelsHand, NegativeGreenHalfOfACrEntryLeaksOneUnitIntoRed) {
    HandTables t;
    t.cr[200] = HandTables::Entry(100, -50);  // red term 2 x 100 + 1
    t.y[10] = 2 * 512 - 201;                  // (823 + 201) >> 9 = 2; without the leak it would be 1
    t.cr[201] = HandTables::Entry(100, 50);   // positive green half: red term 200
    const uint8_t y0[2] = {10, 10}, y1[2] = {10, 10}, cb[2] = {128, 128}, cr[2] = {200, 201};
    uint32_t out0[4], out1[4];
    qv::Convert(&t.ctx, y0, y1, cb, cr, out0, out1, 2);
    EXPECT_EQ(Decode(out0[0]).r, 2);
    const uint8_t crPositive[1] = {201};
    qv::Convert(&t.ctx, y0, y1, cb, crPositive, out0, out1, 2);
    EXPECT_EQ(Decode(out0[0]).r, 1);
}

TEST_F(Kernels, Convert565MatchesTheDirectPixelModel) {
    const int32_t W = 12;
    const auto y0 = Bytes(W, 11), y1 = Bytes(W, 12), cb = Bytes(W / 2, 13), cr = Bytes(W / 2, 14);
    std::vector<uint16_t> out0(W + 2, 0xBEEF), out1(W + 2, 0xBEEF);
    qv::Convert_565(c.ctx, y0.data(), y1.data(), cb.data(), cr.data(), out0.data(), out1.data(), W);
    for (int32_t x = 0; x < W; ++x) {
        const rgbref::Terms t = rgbref::TermsOf(c.ctx, cb[x / 2], cr[x / 2]);
        EXPECT_EQ(out0[x], rgbref::Direct(c.ctx, rgbref::Format::kRGB565, y0[x], t, 0)) << x;
        EXPECT_EQ(out1[x], rgbref::Direct(c.ctx, rgbref::Format::kRGB565, y1[x], t, 0)) << x;
        // The 565 pixel equals the packed interpolation word: red loses only its lowest bit.
        EXPECT_EQ(out0[x], To565(Weighted({{1, rgbref::WordOf(c.ctx, y0[x], t)}}), 0)) << x;
    }
    EXPECT_EQ(out0[W], 0xBEEF);
}

// ---- vertical kernels ------------------------------------------------------------------------------

TEST(KernelsVertical, VLerpBlendsEachChannelInThirtySeconds) {
    const auto a = RandomWords(9, 21), b = RandomWords(9, 22);
    for (uint32_t w : {0u, 1u, 13u, 31u}) {
        std::vector<uint32_t> out(10, 0xDEADBEEF);
        qv::VLerp(a.data(), b.data(), out.data(), w, 9);
        for (int i = 0; i < 9; ++i) {
            const Rgb e = rgbref::Shifted(Weighted({{32 - static_cast<int32_t>(w), Decode(a[i])}, {static_cast<int32_t>(w), Decode(b[i])}}), 5);
            EXPECT_EQ(out[i], Encode(e)) << w << " " << i;
        }
        if (w == 0) {
            EXPECT_TRUE(std::equal(a.begin(), a.end(), out.begin()));  // weight 0: the upper row
        }
        EXPECT_EQ(out[9], 0xDEADBEEFu);
    }
    std::vector<uint32_t> one(2, 0xDEADBEEF);
    qv::VLerp(a.data(), b.data(), one.data(), 16, 0);  // tested after the pass: one word
    EXPECT_NE(one[0], 0xDEADBEEFu);
    EXPECT_EQ(one[1], 0xDEADBEEFu);
}

TEST(KernelsVertical, VLerp12IsTheTruncatedMean) {
    const uint32_t a[2] = {Encode({63, 63, 31}), Encode({0, 1, 0})};
    const uint32_t b[2] = {Encode({62, 0, 30}), Encode({1, 2, 3})};
    uint32_t out[2];
    qv::VLerp_12(a, b, out, 2);
    EXPECT_EQ(Decode(out[0]), (Rgb{62, 31, 30}));
    EXPECT_EQ(Decode(out[1]), (Rgb{0, 1, 1}));
}

// ---- horizontal kernels over a position ------------------------------------------------------------

TEST(KernelsHorizontal, HLerpWithAUnitStepCopiesTheRow) {
    auto src = RandomWords(9, 31);
    src[8] = 0xFFFFFFFF;  // the spare word beyond the row only ever carries weight 0
    std::vector<uint8_t> dst(2 * 8 + 4, 0x5A);
    qv::HLerp(src.data(), dst.data(), 65536, 8);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(Load16At(dst, i), To565(Weighted({{1, Decode(src[i])}}), 0)) << i;
    EXPECT_EQ(dst[16], 0x5A);
}

TEST(KernelsHorizontal, HLerpFamilyFollowsTheSixteenSixteenPosition) {
    const auto src = RandomWords(12, 32);
    const int32_t step = (10 << 16) / 17;  // 11 source words to 18 pixels
    const int32_t n = 18;
    std::vector<uint8_t> d565(2 * n + 4, 0x5A), d32(4 * n + 4, 0x5A), d24(3 * n + 4, 0x5A);
    std::vector<uint8_t> drot(2 * 3 * n + 8, 0x5A);
    qv::HLerp(src.data(), d565.data(), step, n);
    qv::HLerp32(src.data(), d32.data(), step, n, 0x7E);
    qv::HLerp24(src.data(), d24.data(), step, n);
    qv::HLerpRot(src.data(), drot.data(), step, n, 3);
    for (int c = 0; c < n; ++c) {
        const uint32_t pos = static_cast<uint32_t>(c) * step, i = pos >> 16;
        const int32_t w = (pos >> 11) & 31;
        const Sum s = Weighted({{32 - w, Decode(src[i])}, {w, Decode(src[i + 1])}});
        EXPECT_EQ(Load16At(d565, c), To565(s, 5)) << c;
        EXPECT_EQ(Load32At(d32, c), rgbref::ARGB(rgbref::To8(s), 0x7E)) << c;
        const rgbref::Rgb8 e = rgbref::To8(s);
        EXPECT_EQ(d24[3 * c], e.b) << c;
        EXPECT_EQ(d24[3 * c + 1], e.g) << c;
        EXPECT_EQ(d24[3 * c + 2], e.r) << c;
        EXPECT_EQ(Load16At(drot, 3 * c), To565(s, 5)) << c;  // down a column, pitch 3 pixels
        EXPECT_EQ(Load16At(drot, 3 * c + 1), 0x5A5Au);
    }
    EXPECT_EQ(d565[2 * n], 0x5A);
    EXPECT_EQ(d32[4 * n], 0x5A);
    EXPECT_EQ(d24[3 * n], 0x5A);
}

TEST(KernelsHorizontal, HLerp32KeepsTheLowBlueBitsWhereTheFixedRatiosClearThem) {
    // Blue 5 and 6 blended half-way: 32-weight sum 176, so HLerp32 gives 176 >> 2 = 44.
    const uint32_t src[4] = {Encode({0, 0, 5}), Encode({0, 0, 6}), 0, 0};
    uint32_t out[2];
    qv::HLerp32(src, reinterpret_cast<uint8_t*>(out), 1 << 15, 2, 0xFF);
    EXPECT_EQ(out[1] & 0xFF, 44u);
    // HLerp32_23's second output, 11 x 5 + 21 x 6 = 181 in 32nds, keeps only (181 >> 5) << 3 = 40.
    uint32_t fixed[6];
    qv::HLerp32_23(src, reinterpret_cast<uint8_t*>(fixed), 4, 0xFF);
    EXPECT_EQ(fixed[1] & 0xFF, 40u);
    EXPECT_EQ(fixed[0] & 0xFF, 40u);  // a plain word: blue x 8
}

TEST(KernelsHorizontal, NearestWalksWithStepAndRemainder) {
    std::vector<uint16_t> src(8);
    for (int i = 0; i < 8; ++i) src[i] = static_cast<uint16_t>(0x1000 + i);
    std::vector<uint8_t> dst(2 * 10 + 2, 0x5A);
    qv::HLerp_Nearest(src.data(), dst.data(), 10, 0, 4);  // 4 pixels to 10
    const uint32_t expect[10] = {0, 0, 0, 1, 1, 2, 2, 2, 3, 3};
    for (int c = 0; c < 10; ++c) EXPECT_EQ(Load16At(dst, c), 0x1000 + expect[c]) << c;
    EXPECT_EQ(dst[20], 0x5A);
    std::vector<uint8_t> down(2 * 4, 0);
    qv::HLerp_Nearest(src.data(), down.data(), 4, 1, 3);  // 7 pixels to 4: indices 0, 1, 3, 5
    const uint32_t e2[4] = {0, 1, 3, 5};
    for (int c = 0; c < 4; ++c) EXPECT_EQ(Load16At(down, c), 0x1000 + e2[c]) << c;
}

// ---- fixed ratios ---------------------------------------------------------------------------------

TEST(KernelsFixed, TwoToThreeWorkedNumbers) {
    // Red fields 10, 42, 20, 30 and 50, 60, 0, 8: output 1 = (11 x 10 + 21 x 42) >> 5 = 31 -> 15.
    const uint32_t src[8] = {Encode({10, 0, 0}), Encode({42, 0, 0}), Encode({20, 0, 0}), Encode({30, 0, 0}),
                             Encode({50, 0, 0}), Encode({60, 0, 0}), Encode({0, 0, 0}),  Encode({8, 0, 0})};
    std::vector<uint8_t> dst(2 * 12 + 2, 0x5A);
    qv::HLerp_23(src, dst.data(), 8);
    const uint32_t red5[12] = {10 >> 1,
                               (11 * 10 + 21 * 42) >> 6,
                               (21 * 42 + 11 * 20) >> 6,
                               20 >> 1,
                               (11 * 20 + 21 * 30) >> 6,
                               (21 * 30 + 11 * 50) >> 6,  // reads the next group's first word
                               50 >> 1,
                               (11 * 50 + 21 * 60) >> 6,
                               (21 * 60 + 11 * 0) >> 6,
                               0 >> 1,
                               (11 * 0 + 21 * 8) >> 6,
                               8 >> 1};
    for (int c = 0; c < 12; ++c) EXPECT_EQ(Load16At(dst, c) >> 11, red5[c]) << c;  // the last repeats s7
    EXPECT_EQ(dst[24], 0x5A);
}

TEST(KernelsFixed, FixedRatioRowsMatchTheirWeightTables) {
    const int32_t n = 16;
    const auto words = RandomWords(n + 1, 41);
    std::vector<Rgb> line;
    for (int i = 0; i < n; ++i) line.push_back(Decode(words[i]));
    struct Case {
        rgbref::Horizontal h;
        int32_t outPixels, bytes;
    };
    for (const Case k : {Case{rgbref::Horizontal::k23_565, 24, 2}, Case{rgbref::Horizontal::k25_565, 40, 2},
                         Case{rgbref::Horizontal::k23_ARGB32, 24, 4}, Case{rgbref::Horizontal::k25_ARGB32, 40, 4}}) {
        std::vector<uint8_t> dst(k.bytes * k.outPixels + 8, 0x5A);
        switch (k.h) {
            case rgbref::Horizontal::k23_565: qv::HLerp_23(words.data(), dst.data(), n); break;
            case rgbref::Horizontal::k25_565: qv::HLerp_25(words.data(), dst.data(), n); break;
            case rgbref::Horizontal::k23_ARGB32: qv::HLerp32_23(words.data(), dst.data(), n, 0x33); break;
            default: qv::HLerp32_25(words.data(), dst.data(), n, 0x33); break;
        }
        const std::vector<uint32_t> expect = rgbref::Resample(line, k.outPixels, k.h, 0x33);
        ASSERT_EQ(expect.size(), static_cast<size_t>(k.outPixels));
        for (int c = 0; c < k.outPixels; ++c)
            EXPECT_EQ(k.bytes == 2 ? Load16At(dst, c) : Load32At(dst, c), expect[c]) << static_cast<int>(k.h) << " " << c;
        for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[k.bytes * k.outPixels + i], 0x5A);
    }
}

TEST(KernelsFixed, TwoToFiveArgbFifthOutputWeighsTheLeftWordNineteen) {
    // s1 red 32, s2 red 0: 19 x 32 / 32 = 19 -> 8-bit 76; the 565 kernel's fifth output weighs it 13.
    const uint32_t src[4] = {Encode({0, 0, 0}), Encode({32, 0, 0}), Encode({0, 0, 0}), Encode({0, 0, 0})};
    uint32_t argb[10];
    qv::HLerp32_25(src, reinterpret_cast<uint8_t*>(argb), 4, 0);
    EXPECT_EQ(argb[4] >> 16 & 0xFF, (4u * 19 * 32) >> 5);
    const uint32_t src8[8] = {src[0], src[1], src[2], src[3], 0, 0, 0, 0};
    uint16_t p565[20];
    qv::HLerp_25(src8, reinterpret_cast<uint8_t*>(p565), 8);  // one full group plus a tail
    EXPECT_EQ(p565[4] >> 11, (13u * 32) >> 6);
    // 0.8 uses 7 and 25 (not 6 and 26): s0 red 0, s1 red 32 gives 25.
    EXPECT_EQ(argb[2] >> 16 & 0xFF, (4u * 25 * 32) >> 5);
}

TEST(KernelsFixed, ClosedTwoToThreeGroupEndsOnItsOwnLastWord) {
    const uint32_t s[5] = {Encode({2, 2, 2}), Encode({4, 4, 4}), Encode({6, 6, 6}), Encode({8, 8, 8}), Encode({63, 63, 31})};
    uint16_t open[6], closed[6];
    qv::Put23Group(s, &s[4], reinterpret_cast<uint8_t*>(open));
    qv::Put23Group(s, nullptr, reinterpret_cast<uint8_t*>(closed));
    EXPECT_EQ(closed[5], To565(Weighted({{1, Decode(s[3])}}), 0));
    EXPECT_EQ(open[5], To565(Weighted({{21, Decode(s[3])}, {11, Decode(s[4])}}), 5));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(open[i], closed[i]);
}

// ---- DoubleLine ------------------------------------------------------------------------------------

TEST(KernelsDouble, DoubleLineInterleavesMeansAndWords) {
    const auto words = RandomWords(6, 51);
    std::vector<uint32_t> in0(words), in1(words.rbegin(), words.rend());
    std::vector<uint16_t> out0(12), out1(12);
    qv::DoubleLine(out0.data(), out1.data(), in0.data(), in1.data(), 6);
    for (int i = 0; i < 6; ++i) {
        const Rgb prev = Decode(in0[i ? i - 1 : 0]), cur = Decode(in0[i]);
        EXPECT_EQ(out0[2 * i], To565(Weighted({{1, prev}, {1, cur}}), 1)) << i;
        EXPECT_EQ(out0[2 * i + 1], To565(Weighted({{1, cur}}), 0)) << i;
    }
    EXPECT_EQ(out0[0], out0[1]);  // the first pixel twice
    // In place gives the same pixels.
    std::vector<uint32_t> inplace0(in0), inplace1(in1);
    qv::DoubleLine(reinterpret_cast<uint16_t*>(inplace0.data()), reinterpret_cast<uint16_t*>(inplace1.data()),
                   inplace0.data(), inplace1.data(), 6);
    EXPECT_EQ(std::memcmp(inplace0.data(), out0.data(), 24), 0);
    EXPECT_EQ(std::memcmp(inplace1.data(), out1.data(), 24), 0);
    // A single word gives two equal pixels.
    uint32_t single = Encode({33, 17, 9}), other = single;
    qv::DoubleLine(reinterpret_cast<uint16_t*>(&single), reinterpret_cast<uint16_t*>(&other), &single, &other, 1);
    EXPECT_EQ(single & 0xFFFF, single >> 16);
}

}  // namespace
