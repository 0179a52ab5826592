// The bilinear scalers' equal-size walk, which reads samples directly, against their weighted
// walk over the same samples: a source of (2W - 1) x (2H - 1) scaled to W x H steps by exactly two
// samples with every weight 0, so it reads its even rows and columns, which are the W x H picture.
#include <gtest/gtest.h>

#include <array>

#include "test_support.h"

using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;

namespace {

struct WalkCase {
    int32_t operation;  // 0x203, 0x204, 0x205: three planes; 0x303, 0x403, 0x404: one packed plane
    uint32_t code;      // rotation code of the placement
    int32_t w, h;       // the equal-size picture
};

int32_t SourceBytes(int32_t op) { return op == 0x303 ? 2 : op >= 0x400 ? 3 : 1; }
int32_t DestinationBytes(int32_t op) {
    switch (op & 0xFF) {
        case qv::kRGB565: return 2;
        case qv::kRGB888: return 3;
        default: return 4;
    }
}

// The source planes of one run: one plane for packed sources, three for 4:4:4. The first has an
// even stride, as RGB565 sources count theirs in pixels.
struct Source {
    std::array<GuardedPlane, 3> p;
    Source(int32_t op, int32_t w, int32_t h)
        : p{GuardedPlane(w * SourceBytes(op) + 6, h), GuardedPlane(w + 3, h), GuardedPlane(w + 7, h)} {}
};

// Scales `src` (w x h) to dw x dh through the routine of the case, into `dst`.
void ScaleThrough(const WalkCase& k, Context& c, const Source& src, int32_t w, int32_t h, GuardedPlane& dst) {
    uint8_t* const dp[3] = {dst.data(), nullptr, nullptr};
    const int32_t ds[3] = {dst.stride(), 0, 0};
    ASSERT_EQ(qv::_QV_RotationInit(c.ctx, dp, k.w, k.h, ds), 0);
    const uint8_t* const sp[3] = {src.p[0].data(), src.p[1].data(), src.p[2].data()};
    const int32_t ss[3] = {src.p[0].stride(), src.p[1].stride(), src.p[2].stride()};
    switch (k.operation) {
        case 0x203: qv::_QVYCbCr444ToRGB565RszRot(c.ctx, sp, ss, w, h, k.w, k.h); break;
        case 0x204: qv::_QVYCbCr444ToRGB888RszRot(c.ctx, sp, ss, w, h, k.w, k.h); break;
        case 0x205: qv::_QVYCbCr444ToARGB32RszRot(c.ctx, sp, ss, w, h, k.w, k.h, 0x6B); break;
        case 0x303: qv::_QVRGB565RszRot(c.ctx->params, sp[0], ss[0] / 2, w, h, k.w, k.h); break;
        case 0x403: qv::_QVRGB888ToRGB565RszRot(c.ctx->params, sp[0], ss[0], w, h, k.w, k.h); break;
        default: qv::_QVRGB888RszRot(c.ctx->params, sp[0], ss[0], w, h, k.w, k.h); break;
    }
}

class EqualSizeWalk : public testing::TestWithParam<WalkCase> {};

TEST_P(EqualSizeWalk, EqualsTheWeightedWalkOverTheSameSamples) {
    const WalkCase k = GetParam();
    Context c(MakeParams(k.operation, 8, 8, 8, 8, k.code));
    ASSERT_EQ(c.status, 0);
    const int32_t values[3] = {150, 140, 190};  // tables away from neutral
    ASSERT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, values), 0);

    const int32_t bw = 2 * k.w - 1, bh = 2 * k.h - 1, sb = SourceBytes(k.operation);
    Source big(k.operation, bw, bh), small(k.operation, k.w, k.h);
    for (int i = 0; i < 3; ++i) {
        qvtest::FillPattern(big.p[i].data(), big.p[i].size(), 31 * k.operation + 7 * i + k.code);
        // A pixel is sb bytes in plane 0 and one byte in the chroma planes.
        const int32_t b = i == 0 ? sb : 1;
        for (int32_t y = 0; y < k.h; ++y)
            for (int32_t x = 0; x < k.w; ++x)
                for (int32_t n = 0; n < b; ++n) small.p[i].at(b * x + n, y) = big.p[i].at(b * 2 * x + n, 2 * y);
    }

    const bool turned = k.code == 1 || k.code == 2;
    const int32_t db = DestinationBytes(k.operation);
    const int32_t cols = turned ? k.h : k.w, rows = turned ? k.w : k.h;
    GuardedPlane weighted(cols * db + 2 * db, rows, 0x3C), direct(cols * db + 2 * db, rows, 0x3C);
    ScaleThrough(k, c, big, bw, bh, weighted);
    ScaleThrough(k, c, small, k.w, k.h, direct);
    EXPECT_EQ(direct.contents(), weighted.contents());
    EXPECT_NE(direct.contents(), std::vector<uint8_t>(direct.size(), 0x3C));  // something was written
    EXPECT_TRUE(weighted.guardsIntact() && direct.guardsIntact());
}

std::vector<WalkCase> WalkCases() {
    std::vector<WalkCase> v;
    for (int32_t op : {0x203, 0x204, 0x205, 0x303, 0x403, 0x404})
        for (uint32_t code = 0; code <= 5; ++code) v.push_back({op, code, code % 2 ? 9 : 12, code % 2 ? 7 : 8});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllRoutesAndCodes, EqualSizeWalk, testing::ValuesIn(WalkCases()));

}  // namespace
