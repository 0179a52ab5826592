// 4:2:0 copy, NV12 both ways, YUY2 and UYVY: whole-buffer comparisons with guard bytes against
// references written from the layouts.
#include <gtest/gtest.h>

#include "core/qv_routines.h"
#include "test_support.h"

using qvtest::GuardedPlane;

namespace {

struct Picture {
    GuardedPlane y, cb, cr;
    Picture(int32_t W, int32_t H, int32_t sy, int32_t sc, int32_t scr, uint32_t seed)
        : y(sy, H), cb(sc, (H + 1) / 2), cr(scr, (H + 1) / 2) {
        qvtest::FillPattern(y.data(), y.size(), seed);
        qvtest::FillPattern(cb.data(), cb.size(), seed + 1);
        qvtest::FillPattern(cr.data(), cr.size(), seed + 2);
        (void)W;
    }
    const uint8_t* planes[3];
    int32_t strides[3];
    const uint8_t* const* src() {
        planes[0] = y.data();
        planes[1] = cb.data();
        planes[2] = cr.data();
        return planes;
    }
    const int32_t* srcStrides() {
        strides[0] = y.stride();
        strides[1] = cb.stride();
        strides[2] = cr.stride();
        return strides;
    }
};

struct CopyRow {
    int32_t W, H, sy, sc, dsy, dsc;
};
void PrintTo(const CopyRow& r, std::ostream* os) {
    *os << r.W << "x" << r.H << " strides " << r.sy << "/" << r.sc << " to " << r.dsy << "/" << r.dsc;
}
class CopyTest : public testing::TestWithParam<CopyRow> {};

TEST_P(CopyTest, CopiesEveryPlaneAndNothingElse) {
    const CopyRow r = GetParam();
    Picture s(r.W, r.H, r.sy, r.sc, r.sc, 7);
    GuardedPlane dy(r.dsy, r.H, 0xEE), dcb(r.dsc, r.H / 2, 0xEE), dcr(r.dsc, r.H / 2, 0xEE);
    uint8_t* const dst[3] = {dy.data(), dcb.data(), dcr.data()};
    const int32_t ds[3] = {r.dsy, r.dsc, r.dsc};
    EXPECT_EQ(qv::_QVYCbCr420Copy(s.src(), s.srcStrides(), r.W, r.H, dst, ds), 0);
    for (int32_t row = 0; row < r.H; ++row)
        for (int32_t x = 0; x < r.dsy; ++x)
            ASSERT_EQ(dy.at(x, row), x < r.W ? s.y.at(x, row) : 0xEE) << x << "," << row;
    for (int32_t row = 0; row < r.H / 2; ++row)
        for (int32_t x = 0; x < r.dsc; ++x) {
            ASSERT_EQ(dcb.at(x, row), x < r.W / 2 ? s.cb.at(x, row) : 0xEE);
            ASSERT_EQ(dcr.at(x, row), x < r.W / 2 ? s.cr.at(x, row) : 0xEE);
        }
    EXPECT_TRUE(dy.guardsIntact() && dcb.guardsIntact() && dcr.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Strides, CopyTest,
                         testing::Values(CopyRow{32, 16, 32, 16, 32, 16}, CopyRow{32, 16, 40, 16, 32, 16},
                                         CopyRow{32, 16, 32, 16, 48, 24}, CopyRow{20, 12, 21, 13, 27, 11},
                                         CopyRow{8, 4, 8, 4, 8, 4},
                                         // out of deinterlacer work planes: chroma at the luma stride
                                         CopyRow{32, 16, 32, 32, 32, 16}));

TEST(CopyTest, BackToBackFramesMoveInOneBlock) {
    const int32_t W = 16, H = 8, S = W * H, C = S / 4;
    std::vector<uint8_t> src(S + 2 * C), dst(S + 2 * C + 8, 0xEE);
    qvtest::FillPattern(src.data(), src.size(), 3);
    const uint8_t* const sp[3] = {src.data(), src.data() + S, src.data() + S + C};
    uint8_t* const dp[3] = {dst.data(), dst.data() + S, dst.data() + S + C};
    const int32_t strides[3] = {W, W / 2, W / 2};
    qv::_QVYCbCr420Copy(sp, strides, W, H, dp, strides);
    EXPECT_TRUE(std::equal(src.begin(), src.end(), dst.begin()));
    for (size_t i = src.size(); i < dst.size(); ++i) EXPECT_EQ(dst[i], 0xEE);
}

TEST(CopyTest, OneRowCopiesLumaOnly) {
    Picture s(8, 1, 8, 4, 4, 5);
    GuardedPlane dy(8, 1, 0), dcb(4, 1, 0x77), dcr(4, 1, 0x77);
    uint8_t* const dst[3] = {dy.data(), dcb.data(), dcr.data()};
    const int32_t ds[3] = {9, 4, 4};  // not compact: row by row
    qv::_QVYCbCr420Copy(s.src(), s.srcStrides(), 8, 1, dst, ds);
    for (int x = 0; x < 8; ++x) EXPECT_EQ(dy.at(x, 0), s.y.at(x, 0));
    for (int x = 0; x < 4; ++x) EXPECT_EQ(dcb.at(x, 0), 0x77);
}

class Nv12Test : public testing::TestWithParam<std::tuple<int32_t, int32_t, int32_t>> {};

TEST_P(Nv12Test, InterleavesAndSplitsExactly) {
    const auto [W, H, pad] = GetParam();
    Picture s(W, H, W + pad, W / 2 + pad, W / 2 + 2 * pad, 11);
    GuardedPlane ny(W + pad, H, 0xEE), nc(W + 3 * pad, H / 2, 0xEE);
    uint8_t* const nv[3] = {ny.data(), nc.data(), nullptr};
    const int32_t ns[3] = {ny.stride(), nc.stride(), 0};
    qv::_QVYCbCr420ToNV12(s.src(), s.srcStrides(), W, H, nv, ns);
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t i = 0; i < W / 2; ++i) {
            ASSERT_EQ(nc.at(2 * i, r), s.cb.at(i, r));
            ASSERT_EQ(nc.at(2 * i + 1, r), s.cr.at(i, r));
        }
    GuardedPlane by(W, H, 0), bcb(W / 2, H / 2, 0), bcr(W / 2, H / 2, 0);
    uint8_t* const back[3] = {by.data(), bcb.data(), bcr.data()};
    const int32_t bs[3] = {W, W / 2, W / 2};
    const uint8_t* const nvSrc[3] = {ny.data(), nc.data(), nullptr};
    qv::_QVNV12ToYCbCr420(nvSrc, ns, W, H, back, bs);
    for (int32_t r = 0; r < H; ++r)
        for (int32_t x = 0; x < W; ++x) ASSERT_EQ(by.at(x, r), s.y.at(x, r));
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t x = 0; x < W / 2; ++x) {
            ASSERT_EQ(bcb.at(x, r), s.cb.at(x, r));
            ASSERT_EQ(bcr.at(x, r), s.cr.at(x, r));
        }
    EXPECT_TRUE(ny.guardsIntact() && nc.guardsIntact() && by.guardsIntact() && bcb.guardsIntact() &&
                bcr.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Sizes, Nv12Test,
                         testing::Combine(testing::Values(4, 12, 64), testing::Values(4, 8, 20), testing::Values(0, 3)));

// YUY2 as laid out: row pair k starts at k x ((stride >> 1) x 4), its lower row one stride on;
// chroma rows step by stride & ~3; only whole groups of 8 pixels are written.
TEST(PackedTest, Yuy2MatchesItsLayoutIncludingStrideRounding) {
    for (const int32_t dstStride : {48, 50, 51}) {
        const int32_t W = 20, H = 8;
        Picture s(W, H, 22, 13, 15, 21);
        GuardedPlane d(dstStride, H + 1, 0xEE);
        qv::_QVYCbCr420ToYUY2(d.data(), dstStride, s.src(), s.srcStrides(), W, H);
        std::vector<uint8_t> expect(d.size(), 0xEE);
        for (int32_t k = 0; k < H / 2; ++k) {
            const uint8_t* cb = s.cb.data() + k * (13 & ~3);
            const uint8_t* cr = s.cr.data() + k * (15 & ~3);
            for (int half = 0; half < 2; ++half) {
                const uint8_t* y = s.y.data() + k * ((22 >> 1) * 4) + half * 22;
                uint8_t* out = expect.data() + k * ((dstStride >> 1) * 4) + half * dstStride;
                for (int32_t i = 0; i < (W >> 3) * 4; ++i) {
                    out[4 * i] = y[2 * i];
                    out[4 * i + 1] = cb[i];
                    out[4 * i + 2] = y[2 * i + 1];
                    out[4 * i + 3] = cr[i];
                }
            }
        }
        EXPECT_EQ(d.contents(), expect) << "stride " << dstStride;
        EXPECT_TRUE(d.guardsIntact());
    }
}

TEST(PackedTest, UyvyPairsRowsByTheCounter) {
    for (const int32_t H : {8, 5}) {
        const int32_t W = 24, dstStride = 50;
        Picture s(W, H, 26, 12, 14, 31);
        GuardedPlane d(dstStride, H, 0xEE);
        qv::_QVYCbCr420ToUYVY(d.data(), dstStride, s.src(), s.srcStrides(), W, H);
        std::vector<uint8_t> expect(d.size(), 0xEE);
        for (int32_t row = 0; row < H; ++row) {
            // Even height: rows 2k, 2k+1 share chroma row k. Odd: row 0 alone, then 2k-1, 2k.
            const int32_t chromaRow = (H % 2 == 0) ? row / 2 : (row + 1) / 2;
            const uint8_t* y = s.y.data() + row * (26 & ~3);
            const uint8_t* cb = s.cb.data() + chromaRow * 12;
            const uint8_t* cr = s.cr.data() + chromaRow * 12;
            uint8_t* out = expect.data() + row * (dstStride & ~3);
            for (int32_t i = 0; i < (W >> 3) * 4; ++i) {
                out[4 * i] = cb[i];
                out[4 * i + 1] = y[2 * i];
                out[4 * i + 2] = cr[i];
                out[4 * i + 3] = y[2 * i + 1];
            }
        }
        EXPECT_EQ(d.contents(), expect) << "height " << H;
        EXPECT_TRUE(d.guardsIntact());
    }
}

TEST(PackedTest, NarrowAndShortPicturesWriteNothing) {
    Picture s(4, 4, 4, 2, 2, 1);
    GuardedPlane d(8, 4, 0xEE);
    qv::_QVYCbCr420ToYUY2(d.data(), 8, s.src(), s.srcStrides(), 4, 4);  // W < 8
    qv::_QVYCbCr420ToUYVY(d.data(), 8, s.src(), s.srcStrides(), 4, 4);
    Picture t(8, 1, 8, 4, 4, 1);
    qv::_QVYCbCr420ToYUY2(d.data(), 16, t.src(), t.srcStrides(), 8, 1);  // H = 1
    EXPECT_EQ(d.contents(), std::vector<uint8_t>(d.size(), 0xEE));
    EXPECT_TRUE(d.guardsIntact());
}

// Through the dispatcher: 0x006/0x007/0x008/0x800 ignore rotation and scaling.
TEST(PackedTest, RepacksIgnoreRotationAndScaling) {
    const int32_t W = 16, H = 8;
    qvtest::Context plain(qvtest::MakeParams(0x006, W, H, W, H));
    qvtest::Context odd(qvtest::MakeParams(0x006, W, H, 2 * W, 2 * H, 3));
    Picture s(W, H, W, W / 2, W / 2, 41);
    GuardedPlane a(2 * W, H, 0), b(2 * W, H, 0);
    uint8_t* const da[3] = {a.data(), nullptr, nullptr};
    uint8_t* const db[3] = {b.data(), nullptr, nullptr};
    const int32_t ds[3] = {2 * W, 0, 0};
    ASSERT_EQ(qv::QV_ImgPrcOneFrame(plain.ctx, s.src(), s.srcStrides(), da, ds), 0);
    ASSERT_EQ(qv::QV_ImgPrcOneFrame(odd.ctx, s.src(), s.srcStrides(), db, ds), 0);
    EXPECT_EQ(a.contents(), b.contents());
    EXPECT_TRUE(b.guardsIntact());
}

}  // namespace
