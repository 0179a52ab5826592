// Line conversion and interpolation kernels: worked numbers, and the counters no route reaches
// (every route's arithmetic is checked against the model in routes_test).
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "core/kernels.h"
#include "test_support.h"

namespace {

uint32_t Word(uint32_t r, uint32_t g, uint32_t b) {
    return r << 21 | g << 10 | b;
}
constexpr uint32_t kMark = 0xDEADBEEF;  // never an interpolation word: it has guard bits set

TEST(Kernels, NegativeGreenHalfOfACrEntryLeaksOneUnitIntoRed) {
    std::array<uint16_t, 256> yt{};
    std::array<int32_t, 256> cbt{}, crt{};
    qv::QvImgPrcContext ctx{};
    ctx.yTable = yt.data();
    ctx.cbTable = cbt.data();
    ctx.crTable = crt.data();
    crt[1] = static_cast<int32_t>(100u << 16 | 0xFFCEu);  // green half -50: red term 2 x 100 + 1
    crt[2] = static_cast<int32_t>(100u << 16 | 50u);      // green half 50: red term 200
    yt[1] = 2 * 512 - 201;                                // (823 + 201) >> 9 = 2, (823 + 200) >> 9 = 1
    const uint8_t y[4] = {1, 1, 1, 1}, cb[2] = {0, 0}, cr[2] = {1, 2};
    uint32_t w0[4], w1[4];
    qv::Convert(&ctx, y, y, cb, cr, w0, w1, 4);
    EXPECT_EQ(w0[0] >> 21, 2u);
    EXPECT_EQ(w0[2] >> 21, 1u);
}

// Convert and the vertical kernels test their counters after the pass: width 0 or 1 still converts
// one block and count 0 blends one word; an odd width leaves its last column unwritten.
TEST(Kernels, CountersAreTestedAfterThePass) {
    qvtest::Context c(qvtest::MakeParams(0x003, 16, 16, 16, 16));
    const uint8_t y[8] = {10, 50, 90, 130, 170, 210, 250, 30}, ch[4] = {40, 90, 160, 220};
    for (int32_t width : {0, 1, 5}) {
        std::vector<uint32_t> o0(8, kMark), o1(8, kMark);
        qv::Convert(c.ctx, y, y, ch, ch, o0.data(), o1.data(), width);
        const int32_t written = width < 2 ? 2 : width - 1;
        for (int32_t x = 0; x < 8; ++x) {
            EXPECT_EQ(o0[x] != kMark, x < written) << width << " " << x;
            EXPECT_EQ(o1[x] != kMark, x < written) << width << " " << x;
        }
    }
    const uint32_t a = Word(1, 2, 3), b = Word(3, 4, 5);
    uint32_t out[2] = {kMark, kMark};
    qv::VLerp(&a, &b, out, 16, 0);
    EXPECT_EQ(out[0], Word(2, 3, 4));
    EXPECT_EQ(out[1], kMark);
    out[0] = kMark;
    qv::VLerp_12(&a, &b, out, 0);
    EXPECT_EQ(out[0], Word(2, 3, 4));
    EXPECT_EQ(out[1], kMark);
}

// The fifth output of a 2:5 pair weighs s1, s2 by 19, 13 in ARGB32 and by 13, 19 in the first pair of
// an RGB565 group of four; position 0.8 weighs 7, 25 (not 6, 26). Red 32 at s1, 0 elsewhere.
TEST(Kernels, TwoToFiveWeights) {
    const uint32_t src[8] = {0, Word(32, 0, 0), 0, 0, 0, 0, 0, 0};
    uint32_t argb[10];
    uint16_t p565[20];
    qv::HLerp32_25(src, reinterpret_cast<uint8_t*>(argb), 4, 0);
    qv::HLerp_25(src, reinterpret_cast<uint8_t*>(p565), 8);
    EXPECT_EQ(argb[4] >> 16 & 0xFF, 76u);   // 4 x 19 x 32 / 32
    EXPECT_EQ(p565[4] >> 11, 6u);           // 13 x 32 / 32, less red's lowest bit
    EXPECT_EQ(argb[2] >> 16 & 0xFF, 100u);  // 4 x 25 x 32 / 32
}

}  // namespace
