// Line conversion and interpolation kernels: the counters no route reaches
// (every route's arithmetic is checked against the model in routes_test).
#include <gtest/gtest.h>

#include <vector>

#include "core/kernels.h"
#include "test_support.h"

namespace {

uint32_t Word(uint32_t r, uint32_t g, uint32_t b) {
    return r << 21 | g << 10 | b;
}
constexpr uint32_t kMark = 0xDEADBEEF;  // never an interpolation word: it has guard bits set

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

}  // namespace
