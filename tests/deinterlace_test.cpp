// Deinterlacer tests. Simple modes and the line filter are checked against per-line references
// written from their output formulas; the block mode against hand-built blocks.
#include "deinterlace/deinterlace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "alloc_hook.h"
#include "core/qv_routines.h"
#include "test_support.h"

namespace {

using namespace qv;

using qvtest::FillPattern;
using qvtest::GuardedPlane;

// Source and output planes of one frame. Sources are exact heap blocks (the sanitizer build sees
// any read past them) plus the rows below each plane that the block mode's strip detector may
// look at, plus `luma tail` readable bytes after them in the luma plane.
struct Frame {
    static constexpr int32_t kRowsBelow = 6;
    uint32_t fmt, width, height;
    std::vector<uint8_t> src[3];
    uint32_t srcPitch[3];
    uint32_t dstPitch;
    std::vector<GuardedPlane> out;

    Frame(uint32_t f, uint32_t w, uint32_t h, uint32_t srcExtra, uint32_t pitch, uint32_t seed,
          uint32_t lumaTail = 0)
        : fmt(f), width(w), height(h), dstPitch(pitch) {
        for (uint32_t i = 0; i < 3; ++i) {
            srcPitch[i] = RowBytes(i) + srcExtra;
            src[i].resize(size_t{srcPitch[i]} * (Lines(i) + kRowsBelow) + (i == 0 ? lumaTail : 0));
            FillPattern(src[i].data(), src[i].size(), seed + i);
            out.emplace_back(static_cast<int32_t>(dstPitch), Lines(i));
            FillPattern(out[i].data(), out[i].size(), seed + 10 + i);
        }
    }
    uint32_t RowBytes(uint32_t i) const { return i == 0 || fmt == 2 ? width : width / 2; }
    int32_t Lines(uint32_t i) const { return static_cast<int32_t>(i != 0 && fmt == 0 ? height / 2 : height); }
    uint8_t* S(uint32_t i, int32_t k) { return src[i].data() + size_t{srcPitch[i]} * k; }
    DeintPicture In() {
        DeintPicture p{3, {S(0, 0), S(1, 0), S(2, 0), nullptr}, {srcPitch[0], srcPitch[1], srcPitch[2], 0},
                       width, height, RowBytes(1), static_cast<uint32_t>(Lines(1))};
        return p;
    }
    DeintPicture Out() {
        DeintPicture p = In();
        for (int i = 0; i < 3; ++i) {
            p.pixels[i] = out[i].data();
            p.pitch[i] = dstPitch;
        }
        return p;
    }
};

// ---- references written from the output formulas ---------------------------------------------

// What output line k of a simple mode is made of.
struct Recipe {
    enum Kind { Keep, Copy, Avg } kind;
    int32_t a = 0, b = 0;
};

Recipe SimpleRecipe(uint32_t mode, uint32_t f, bool chroma422, int32_t L, int32_t k) {
    const auto c = [L](int32_t v) { return std::min(v, L - 1); };
    const int32_t fi = static_cast<int32_t>(f);
    switch (mode) {
        case kDeintDiscard:
            return {Recipe::Copy, chroma422 ? c(fi + 2 * k) : c(fi + (k & ~1))};
        case kDeintBob:
            if (chroma422) {
                if (f == 0) return {Recipe::Copy, c(2 * k)};
                if (k == L - 1) return {Recipe::Keep};
                return {Recipe::Copy, k == 0 ? 0 : c(2 * k - 1)};
            }
            if (k == L - 1) return {Recipe::Copy, L - 1};
            if (f == 0) return {Recipe::Copy, k & ~1};
            return {Recipe::Copy, k == 0 ? 0 : (k - 1) | 1};
        case kDeintBlend:
            if (k == 0) return {Recipe::Copy, 0};
            if (chroma422) return {Recipe::Avg, c(2 * k - 2), c(2 * k - 1)};
            return {Recipe::Avg, k - 1, k};
        case kDeintMean:
            return {Recipe::Avg, k & ~1, c((k & ~1) + 1)};
        case kDeintLinear:
            if (k == L - 1 || (k & 1) == fi || (f == 1 && k == 0)) return {Recipe::Copy, k};
            return {Recipe::Avg, k - 1, k + 1};
    }
    return {Recipe::Keep};
}

// Expected output planes of a simple mode (body bytes, guards excluded).
std::vector<std::vector<uint8_t>> RefSimple(Frame& fr, uint32_t mode, uint32_t f) {
    std::vector<std::vector<uint8_t>> exp;
    for (uint32_t i = 0; i < 3; ++i) {
        std::vector<uint8_t> e = fr.out[i].contents();
        const bool writes = fr.fmt < 2 || (fr.fmt == 2 && mode == kDeintLinear);
        const uint32_t dp = fr.dstPitch;
        const uint32_t n = std::min(fr.srcPitch[i], dp);
        const int32_t L = fr.Lines(i);
        for (int32_t k = 0; writes && k < L; ++k) {
            const Recipe r = SimpleRecipe(mode, f, fr.fmt == 1 && i != 0, L, k);
            uint8_t* d = e.data() + size_t{dp} * k;
            for (uint32_t x = 0; x < n; ++x) {
                if (r.kind == Recipe::Copy) d[x] = fr.S(i, r.a)[x];
                if (r.kind == Recipe::Avg) d[x] = static_cast<uint8_t>((fr.S(i, r.a)[x] + fr.S(i, r.b)[x]) / 2);
            }
            if (mode == kDeintMean && (k & 1)) std::memcpy(d, d - dp, dp);  // whole output pitch
        }
        exp.push_back(e);
    }
    return exp;
}

int32_t FloorDiv8(int32_t s) { return s >= 0 ? s / 8 : -((-s + 7) / 8); }

// Odd line k = clamp(floor((-s[k-2] + 4 s[k-1] + 2 s[k] + 4 s[k+1] - s[k+2] + 4) / 8)), line
// indices clamped to the plane; even lines copied; `size` bytes of each line.
std::vector<std::vector<uint8_t>> RefFast(Frame& fr) {
    std::vector<std::vector<uint8_t>> exp;
    for (uint32_t i = 0; i < 3; ++i) {
        std::vector<uint8_t> e = fr.out[i].contents();
        const int32_t L = fr.Lines(i);
        const auto s = [&](int32_t k, uint32_t x) { return int32_t{fr.S(i, std::clamp(k, 0, L - 1))[x]}; };
        for (int32_t k = 0; k < L; ++k)
            for (uint32_t x = 0; x < fr.RowBytes(i); ++x) {
                const int32_t sum = -s(k - 2, x) + 4 * s(k - 1, x) + 2 * s(k, x) + 4 * s(k + 1, x) - s(k + 2, x) + 4;
                e[size_t{fr.dstPitch} * k + x] =
                    static_cast<uint8_t>(k % 2 == 0 ? s(k, x) : std::clamp(FloorDiv8(sum), 0, 255));
            }
        exp.push_back(e);
    }
    return exp;
}

// ---- every mode on every source format ---------------------------------------------------------

struct Geometry {
    uint32_t width, height, srcExtra, dstPitch;
};

std::string GeoName(const Geometry& g) {
    return std::to_string(g.width) + "x" + std::to_string(g.height) + "_extra" + std::to_string(g.srcExtra) +
           "_pitch" + std::to_string(g.dstPitch);
}

class DeintModes : public ::testing::TestWithParam<std::tuple<uint32_t, uint32_t, Geometry>> {};

TEST_P(DeintModes, MatchesReference) {
    const auto [fmt, mode, g] = GetParam();
    for (uint32_t f = 0; f < 2; ++f) {
        SCOPED_TRACE("field " + std::to_string(f));
        // Luma is processed over the output pitch in block mode: the source must be readable that far.
        const uint32_t tail = g.dstPitch > g.width + g.srcExtra ? g.dstPitch - g.width - g.srcExtra : 0;
        Frame fr(fmt, g.width, g.height, g.srcExtra, g.dstPitch, 7 * mode + f + 1, tail);
        const std::vector<std::vector<uint8_t>> before = {fr.out[0].contents(), fr.out[1].contents(), fr.out[2].contents()};
        std::vector<std::vector<uint8_t>> exp;
        if (mode == kDeintOff)
            exp = before;
        else if (mode >= kDeintDiscard && mode <= kDeintLinear)
            exp = RefSimple(fr, mode, f);
        else if (mode != kDeintX)
            exp = RefFast(fr);

        DeintPicture in = fr.In(), out = fr.Out();
        ASSERT_EQ(DeInterlace(&out, &in, g.width, g.height, f, fmt, mode), 0);

        for (uint32_t i = 0; i < 3; ++i) {
            SCOPED_TRACE("plane " + std::to_string(i));
            EXPECT_TRUE(fr.out[i].guardsIntact());
            if (mode != kDeintX) {
                EXPECT_EQ(fr.out[i].contents(), exp[i]);
                continue;
            }
            // Block mode: even lines are copied over the processed width, nothing past it is written.
            const uint32_t w = i == 0 ? g.dstPitch : fr.RowBytes(i);
            const std::vector<uint8_t> got = fr.out[i].contents();
            for (int32_t k = 0; k < fr.Lines(i); ++k)
                for (uint32_t x = 0; x < g.dstPitch; ++x) {
                    const size_t at = size_t{g.dstPitch} * k + x;
                    if (x >= w) {
                        ASSERT_EQ(got[at], before[i][at]) << "line " << k << " x " << x;
                    } else if (k % 2 == 0) {
                        ASSERT_EQ(got[at], fr.S(i, k)[x]) << "line " << k << " x " << x;
                    }
                }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllModes, DeintModes,
    ::testing::Combine(::testing::Values(0u, 1u, 2u),
                       ::testing::Values(0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 0xFFFFFFFFu),
                       ::testing::Values(Geometry{24, 16, 0, 32},   // output pitch wider than the row
                                         Geometry{40, 12, 8, 48},   // short bottom block row
                                         Geometry{16, 8, 20, 16},   // source pitch wider than output
                                         Geometry{20, 4, 4, 32})),  // 2-line 4:2:0 chroma, odd block count
    [](const auto& info) {
        return "fmt" + std::to_string(std::get<0>(info.param)) + "_mode" + std::to_string(std::get<1>(info.param)) +
               "_" + GeoName(std::get<2>(info.param));
    });

// ---- simple modes: worked line orders -----------------------------------------------------------

// Luma lines hold their own index, so each output line names the source line it came from.
std::vector<int> LineOrder(uint32_t mode, uint32_t fmt, uint32_t field, uint32_t plane) {
    Frame fr(fmt, 16, 8, 0, 16, 1);
    for (uint32_t i = 0; i < 3; ++i)
        for (int32_t k = 0; k < fr.Lines(i); ++k) std::memset(fr.S(i, k), 10 * k, fr.srcPitch[i]);
    for (auto& o : fr.out) std::memset(o.data(), 0xEE, o.size());
    DeintPicture in = fr.In(), out = fr.Out();
    DeInterlace(&out, &in, 16, 8, field, fmt, mode);
    std::vector<int> order;
    for (int32_t k = 0; k < fr.Lines(plane); ++k) {
        const uint8_t v = fr.out[plane].data()[size_t{fr.dstPitch} * k];
        order.push_back(v == 0xEE ? -1 : v / 10);
    }
    return order;
}

TEST(DeintSimple, BobAndDiscardLineOrders) {
    EXPECT_EQ(LineOrder(kDeintBob, 0, 0, 0), (std::vector<int>{0, 0, 2, 2, 4, 4, 6, 7}));
    EXPECT_EQ(LineOrder(kDeintBob, 0, 1, 0), (std::vector<int>{0, 1, 1, 3, 3, 5, 5, 7}));
    EXPECT_EQ(LineOrder(kDeintDiscard, 0, 0, 0), (std::vector<int>{0, 0, 2, 2, 4, 4, 6, 6}));
    EXPECT_EQ(LineOrder(kDeintDiscard, 0, 1, 0), (std::vector<int>{1, 1, 3, 3, 5, 5, 7, 7}));
    EXPECT_EQ(LineOrder(kDeintLinear, 0, 0, 0).back(), 7);  // last line from the other field
    // 4:2:2 chroma steps two source lines per output line; indices past the plane read its last line.
    EXPECT_EQ(LineOrder(kDeintDiscard, 1, 0, 1), (std::vector<int>{0, 2, 4, 6, 7, 7, 7, 7}));
    EXPECT_EQ(LineOrder(kDeintBob, 1, 1, 2), (std::vector<int>{0, 1, 3, 5, 7, 7, 7, -1}));
    // 4:2:0 chroma (4 lines) keeps to its plane.
    EXPECT_EQ(LineOrder(kDeintBob, 0, 0, 1), (std::vector<int>{0, 0, 2, 3}));
    // 4:4:4: only linear writes.
    EXPECT_EQ(LineOrder(kDeintBlend, 2, 0, 0), (std::vector<int>(8, -1)));
    EXPECT_EQ(LineOrder(kDeintLinear, 2, 0, 2), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(DeintSimple, MergeTruncatesAndHonoursCount) {
    uint8_t a[70], b[70], d[70 + 2];
    FillPattern(a, sizeof a, 3);
    FillPattern(b, sizeof b, 4);
    a[0] = 1, b[0] = 2, a[1] = 255, b[1] = 255, a[2] = 0, b[2] = 255;
    for (uint32_t n = 0; n <= 70; ++n) {
        std::memset(d, 0x5A, sizeof d);
        Merge(d + 1, a, b, n);
        EXPECT_EQ(d[0], 0x5A);
        for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(d[1 + i], (a[i] + b[i]) / 2) << n << " " << i;
        for (uint32_t i = n + 1; i < sizeof d; ++i) ASSERT_EQ(d[i], 0x5A) << n;
    }
    Merge(d, a, b, 3);
    EXPECT_EQ(d[0], 1);
    EXPECT_EQ(d[1], 255);
    EXPECT_EQ(d[2], 127);
}

TEST(DeintSimple, MissingPictureOrFormat) {
    Frame fr(0, 16, 8, 0, 16, 9);
    DeintPicture in = fr.In(), out = fr.Out();
    EXPECT_EQ(DeInterlace(nullptr, &in, 16, 8, 0, 0, kDeintBob), -1);
    EXPECT_EQ(DeInterlace(&out, nullptr, 16, 8, 0, 0, kDeintBob), -1);

    QvImgPrcContext ctx{};
    ctx.srcWidth = 16;
    ctx.srcHeight = 8;
    ctx.deinterlaceMode = kDeintDiscard;
    const uint8_t* sp[3] = {fr.S(0, 0), fr.S(1, 0), fr.S(2, 0)};
    const int32_t ss[3] = {16, 8, 8};
    uint8_t* dp[3] = {fr.out[0].data(), fr.out[1].data(), fr.out[2].data()};
    const int32_t ds[3] = {16, 16, 16};
    const std::vector<uint8_t> before = fr.out[0].contents();
    ctx.operation = 0x303;  // not a planar YCbCr source
    EXPECT_EQ(QV_DeInterlace(&ctx, sp, ss, dp, ds), -1);
    EXPECT_EQ(fr.out[0].contents(), before);
    ctx.operation = 0x000;
    const std::vector<std::vector<uint8_t>> exp = RefSimple(fr, kDeintDiscard, 0);
    EXPECT_EQ(QV_DeInterlace(&ctx, sp, ss, dp, ds), 0);
    for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(fr.out[i].contents(), exp[i]);
}

// ---- five-tap line filter -----------------------------------------------------------------------

TEST(DeintFast, CropTable) {
    for (int i = 0; i < 2304; ++i) ASSERT_EQ(cropTbl[i], std::clamp(i - 1024, 0, 255)) << i;
}

uint8_t FilterOne(uint8_t m4, uint8_t m3, uint8_t m2, uint8_t m1, uint8_t l) {
    uint8_t d = 0x77;
    deinterlace_line(&d, &m4, &m3, &m2, &m1, &l, 1);
    return d;
}

TEST(DeintFast, WorkedValues) {
    EXPECT_EQ(FilterOne(0, 255, 0, 255, 0), 255);      // (4*255 + 4*255 + 4) >> 3
    EXPECT_EQ(FilterOne(0, 255, 255, 255, 0), 255);    // 319 clamps
    EXPECT_EQ(FilterOne(255, 0, 0, 0, 255), 0);        // -64 clamps
    EXPECT_EQ(FilterOne(10, 20, 30, 40, 50), 30);      // (-10+80+60+160-50+4) >> 3 = 244 >> 3
    EXPECT_EQ(FilterOne(200, 100, 0, 0, 0), 25);       // (-200+400+4) >> 3 = 204 >> 3
    for (int v : {0, 1, 127, 254, 255}) EXPECT_EQ(FilterOne(v, v, v, v, v), v);
}

TEST(DeintFast, LineMatchesTableOverLongLines) {
    std::vector<uint8_t> l[5], d(203, 0x5A);
    for (int k = 0; k < 5; ++k) {
        l[k].resize(203);
        FillPattern(l[k].data(), 203, 40 + k);
    }
    deinterlace_line(d.data() + 1, l[0].data(), l[1].data(), l[2].data(), l[3].data(), l[4].data(), 201);
    for (int x = 0; x < 201; ++x) {
        const int s = -l[0][x] + 4 * l[1][x] + 2 * l[2][x] + 4 * l[3][x] - l[4][x] + 4;
        ASSERT_EQ(d[1 + x], cropTbl[1024 + FloorDiv8(s)]) << x;
    }
    EXPECT_EQ(d[0], 0x5A);
    EXPECT_EQ(d[202], 0x5A);
}

TEST(DeintFast, TwoLinePlane) {
    Frame fr(0, 8, 4, 0, 8, 5);  // 4:2:0 chroma of two lines
    fr.S(1, 0)[0] = 10, fr.S(1, 1)[0] = 20;
    fr.S(1, 0)[1] = 0, fr.S(1, 1)[1] = 255;
    fr.S(1, 0)[2] = 255, fr.S(1, 1)[2] = 0;
    DeintPicture in = fr.In(), out = fr.Out();
    ASSERT_EQ(picture_deinterlace_fast(&out, &in, 0, 8, 4), 0);
    const uint8_t* line1 = fr.out[1].data() + fr.dstPitch;
    EXPECT_EQ(line1[0], (3 * 10 + 5 * 20 + 4) >> 3);
    EXPECT_EQ(line1[1], (5 * 255 + 4) >> 3);
    EXPECT_EQ(line1[2], (3 * 255 + 4) >> 3);
}

TEST(DeintFast, RejectsBadArgumentsWithoutWriting) {
    Frame fr(0, 16, 8, 0, 16, 6);
    const std::vector<uint8_t> before = fr.out[0].contents();
    DeintPicture in = fr.In(), out = fr.Out();
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 3, 16, 8), -1);
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 0, 18, 8), -1);
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 0, 16, 6), -1);
    EXPECT_EQ(fr.out[0].contents(), before);
    EXPECT_EQ(DeInterlace(&out, &in, 18, 8, 0, 0, kDeintFast), 0);  // the switch reports 0 all the same
    EXPECT_EQ(fr.out[0].contents(), before);
}

class DeintFastInPlace : public ::testing::TestWithParam<std::tuple<uint32_t, uint32_t>> {};

TEST_P(DeintFastInPlace, EqualsOutOfPlace) {
    const auto [fmt, height] = GetParam();
    Frame fr(fmt, 36, height, 4, 40, 11 + height);
    DeintPicture in = fr.In(), out = fr.Out();
    ASSERT_EQ(picture_deinterlace_fast(&out, &in, fmt, 36, height), 0);
    // In place: the source copied into a second frame's planes, one record for both sides.
    Frame same(fmt, 36, height, 4, 40, 99);
    for (uint32_t i = 0; i < 3; ++i) same.src[i] = fr.src[i];
    DeintPicture pic = same.In();
    ASSERT_EQ(picture_deinterlace_fast(&pic, &pic, fmt, 36, height), 0);
    for (uint32_t i = 0; i < 3; ++i)
        for (int32_t k = 0; k < fr.Lines(i); ++k) {
            ASSERT_EQ(0, std::memcmp(same.S(i, k), fr.out[i].data() + size_t{fr.dstPitch} * k, fr.RowBytes(i)))
                << "plane " << i << " line " << k;
            // Bytes past the row stay the source's own.
            ASSERT_EQ(0, std::memcmp(same.S(i, k) + fr.RowBytes(i), fr.S(i, k) + fr.RowBytes(i), 4));
        }
}

INSTANTIATE_TEST_SUITE_P(Formats, DeintFastInPlace,
                         ::testing::Combine(::testing::Values(0u, 1u, 2u), ::testing::Values(4u, 8u, 20u)));

TEST(DeintFast, InPlaceScratchFailureWritesNothing) {
    Frame fr(0, 16, 8, 0, 16, 21);
    const std::vector<uint8_t> before = fr.src[0];
    DeintPicture pic = fr.In();
    const long live = qvtest::LiveBlocks();
    qvtest::FailAllocationAt(1);
    EXPECT_EQ(picture_deinterlace_fast(&pic, &pic, 0, 16, 8), -2);
    qvtest::FailAllocationAt(0);
    EXPECT_EQ(fr.src[0], before);
    EXPECT_EQ(picture_deinterlace_fast(&pic, &pic, 0, 16, 8), 0);  // one scratch line, released
    EXPECT_EQ(qvtest::AllocationCount(), 1);
    EXPECT_EQ(qvtest::LiveBlocks(), live);
    EXPECT_NE(fr.src[0], before);
}

// ---- block mode ---------------------------------------------------------------------------------

// `lines` lines of `pitch` bytes, byte x of line y being f(y, x).
template <class F>
std::vector<uint8_t> Block(uint32_t pitch, int32_t lines, F f) {
    std::vector<uint8_t> b(size_t{pitch} * lines);
    for (int32_t y = 0; y < lines; ++y)
        for (uint32_t x = 0; x < pitch; ++x) b[y * pitch + x] = static_cast<uint8_t>(f(y, static_cast<int32_t>(x)));
    return b;
}

TEST(DeintX, DetectCombingThreshold) {
    // Fields differing by 255: combed.
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int) { return y % 2 ? 255 : 0; }).data(), 8), 1);
    // Still content: a vertical ramp is progressive.
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int x) { return 10 * y + x; }).data(), 8), 0);
    // Every pair has fr = 32 (four columns differ by 2): weak, progressive, although the four pairs
    // together exceed 32: each pair is judged on its own sums.
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int x) { return 100 + (y % 2 && x < 4 ? 2 : 0); }).data(), 8), 0);
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int x) { return 100 + (y % 2 && x < 5 ? 2 : 0); }).data(), 8), 1);
}

TEST(DeintX, DetectLastPairReadsBelowTheBlock) {
    // Lines are 100 but line 7 and line 9 (below the block): the last pair (lines 6..9) is combed
    // when line 9 equals line 7 and not when it lies far from it.
    const auto block = [](int line9) {
        return Block(8, 10, [=](int y, int) { return y == 7 ? 150 : y == 9 ? line9 : 100; });
    };
    EXPECT_EQ(XDeint8x8Detect(block(150).data(), 8), 1);  // ff = 0
    EXPECT_EQ(XDeint8x8Detect(block(220).data(), 8), 0);  // ff = 8*70^2 = 39200 >= 30000
}

TEST(DeintX, ProgressiveBlockSmoothsOddLines) {
    const std::vector<uint8_t> s = Block(8, 9, [](int y, int x) { return (y * 37 + x * 11) % 256; });
    uint8_t d[8 * 8];
    XDeint8x8Merge(d, 8, s.data(), 16, s.data() + 8, 16);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            const int v = y % 2 == 0 ? s[y * 8 + x]
                                     : (s[(y - 1) * 8 + x] + 6 * s[y * 8 + x] + s[(y + 1) * 8 + x] + 4) / 8;
            ASSERT_EQ(d[y * 8 + x], v) << y << " " << x;
        }
}

// An interior block (columns 8..15 of a 24-wide source) whose even lines carry an edge at column
// t moving `slope` columns per field line; odd lines are noise.
std::vector<uint8_t> EdgeSource(int t, int slope) {
    return Block(24, 9, [=](int y, int x) { return y % 2 ? (x * 71 + y * 13) % 256 : (x < t + slope * y / 2 ? 0 : 200); });
}

TEST(DeintX, FieldFollowsDiagonalEdges) {
    uint8_t d[8 * 8];
    // Edge moving right going down (a: dark below 11, b: below 13): c0 = 0 < c1 = 400 <= c2 = 800,
    // so the upper-left/lower-right pair is averaged where the vertical average would give 100.
    std::vector<uint8_t> s = EdgeSource(11, 2);
    XDeint8x8Field(d, 8, s.data() + 8, 24);
    EXPECT_EQ(d[8 + 3], 0);    // x = 11: (a[10] + b[12]) / 2
    EXPECT_EQ(d[8 + 4], 200);  // x = 12: (a[11] + b[13]) / 2
    // Edge moving left going down (a: dark below 13, b: below 11): c2 = 0.
    s = EdgeSource(13, -2);
    XDeint8x8Field(d, 8, s.data() + 8, 24);
    EXPECT_EQ(d[8 + 3], 0);    // x = 11: (a[12] + b[10]) / 2
    EXPECT_EQ(d[8 + 4], 200);  // x = 12: (a[13] + b[11]) / 2
    // At the edge columns the plain vertical average.
    XDeint8x8FieldE(d, 8, s.data() + 8, 24);
    EXPECT_EQ(d[8 + 3], 100);
    EXPECT_EQ(d[8 + 4], 100);
    // Ties go to the vertical average: field line 2 has one bright pixel at 12, so around it all
    // three costs are 100; a diagonal would give 50 at x = 11 and x = 13.
    s = Block(24, 9, [](int y, int x) { return y % 2 ? 255 : y == 2 && x == 12 ? 100 : 0; });
    XDeint8x8Field(d, 8, s.data() + 8, 24);
    EXPECT_EQ(d[8 + 3], 0);
    EXPECT_EQ(d[8 + 4], 50);
    EXPECT_EQ(d[8 + 5], 0);
    for (int y = 0; y < 8; y += 2)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(d[y * 8 + x], s[y * 24 + 8 + x]);
}

TEST(DeintX, StripDetectorPairs) {
    const std::vector<uint8_t> combed = Block(8, 10, [](int y, int) { return y % 2 ? 255 : 0; });
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 8, 8), 1);  // pairs 0, 2, 4
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 6, 8), 1);  // pairs 0, 2
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 4, 8), 0);  // pair 0 only: one is not enough
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 3, 8), 0);
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 2, 8), 0);
    // Threshold fr > pixelCount / 2: one column differing by 1.
    const std::vector<uint8_t> faint = Block(8, 10, [](int y, int x) { return y % 2 && x == 0 ? 101 : 100; });
    EXPECT_EQ(XDeintNxNDetect(faint.data(), 8, 8, 1), 1);
    EXPECT_EQ(XDeintNxNDetect(faint.data(), 8, 8, 2), 0);
}

TEST(DeintX, StripDetectorTakesWidthAsLineCount) {
    const std::vector<uint8_t> combed = Block(8, 10, [](int y, int) { return y % 2 ? 255 : 0; });
    uint8_t d[8 * 8];
    // 4 wide, 8 high: the detector sees four lines (one pair) and calls the strip progressive.
    std::memset(d, 0x11, sizeof d);
    ASSERT_EQ(XDeintNxN(d, 8, combed.data(), 8, 4, 8), 0);
    EXPECT_EQ(d[8], (0 + 2 * 255 + 0 + 2) / 4);
    EXPECT_EQ(d[7 * 8], (0 + 255) / 2);  // last pair: blended with the odd line itself
    EXPECT_EQ(d[8 + 4], 0x11);           // past the strip's width
    // 8 wide, 4 high: eight lines (pairs 0, 2, 4, reaching line 6): interlaced.
    std::memset(d, 0x11, sizeof d);
    ASSERT_EQ(XDeintNxN(d, 8, combed.data(), 8, 8, 4), 0);
    EXPECT_EQ(d[8], 0);                  // (s0 + s2) / 2
    EXPECT_EQ(d[3 * 8], (0 + 255) / 2);  // last pair
    EXPECT_EQ(d[4 * 8], 0x11);           // past the strip's height
    // Odd heights and widths below 2 are refused untouched.
    std::memset(d, 0x11, sizeof d);
    EXPECT_EQ(XDeintNxN(d, 8, combed.data(), 8, 8, 5), -1);
    EXPECT_EQ(XDeintNxN(d, 8, combed.data(), 8, 1, 8), -1);
    EXPECT_TRUE(std::all_of(d, d + sizeof d, [](uint8_t v) { return v == 0x11; }));
}

TEST(DeintX, StripFrameAndField) {
    const std::vector<uint8_t> s = Block(6, 6, [](int y, int x) { return (y * 53 + x * 29) % 256; });
    uint8_t f[6 * 6], p[6 * 6];
    XDeintNxNField(f, 6, s.data(), 6, 6, 6);
    XDeintNxNFrame(p, 6, s.data(), 6, 6, 6);
    const auto S = [&](int y, int x) { return int{s[y * 6 + x]}; };
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) {
            const bool last = y == 5;
            const int field = y % 2 == 0 ? S(y, x) : last ? (S(4, x) + S(5, x)) / 2 : (S(y - 1, x) + S(y + 1, x)) / 2;
            const int frame = y % 2 == 0 ? S(y, x)
                              : last     ? (S(4, x) + S(5, x)) / 2
                                         : (S(y - 1, x) + 2 * S(y, x) + S(y + 1, x) + 2) / 4;
            ASSERT_EQ(f[y * 6 + x], field) << y << " " << x;
            ASSERT_EQ(p[y * 6 + x], frame) << y << " " << x;
        }
}

// A frame deinterlaced by the block mode; plane contents from f(plane, line, column).
template <class F>
Frame RunX(uint32_t fmt, uint32_t w, uint32_t h, uint32_t dstPitch, F f) {
    Frame fr(fmt, w, h, 0, dstPitch, 3, dstPitch > w ? dstPitch - w : 0);
    for (uint32_t i = 0; i < 3; ++i)  // the rows below each plane continue f
        for (int32_t y = 0; y < fr.Lines(i) + Frame::kRowsBelow; ++y)
            for (uint32_t x = 0; x < fr.srcPitch[i]; ++x) fr.S(i, y)[x] = static_cast<uint8_t>(f(i, y, static_cast<int>(x)));
    std::fill(fr.src[0].end() - (dstPitch > w ? dstPitch - w : 0), fr.src[0].end(), f(0, fr.Lines(0) - 1, 0));
    DeintPicture in = fr.In(), out = fr.Out();
    EXPECT_EQ(picture_deinterlace_x(&out, &in, fmt, w, h), 0);
    for (auto& o : fr.out) EXPECT_TRUE(o.guardsIntact());
    return fr;
}

uint8_t OutAt(Frame& fr, uint32_t i, int32_t y, int32_t x) { return fr.out[i].data()[size_t{fr.dstPitch} * y + x]; }

TEST(DeintX, ConstantPlanesStayConstant) {
    for (uint32_t fmt : {0u, 1u, 2u}) {
        Frame fr = RunX(fmt, 40, 12, 48, [](uint32_t i, int, int) { return 77 + i; });
        for (uint32_t i = 0; i < 3; ++i)
            for (int32_t y = 0; y < fr.Lines(i); ++y)
                for (uint32_t x = 0; x < (i == 0 ? 48 : fr.RowBytes(i)); ++x)
                    ASSERT_EQ(OutAt(fr, i, y, x), 77 + i) << fmt << " " << i << " " << y << " " << x;
    }
}

TEST(DeintX, CombedPlaneGetsFieldAverages) {
    // Even lines a ramp down the plane, odd lines white: every block and strip is combed.
    Frame fr = RunX(2, 32, 16, 32, [](uint32_t, int y, int) { return y % 2 ? 255 : 10 * y; });
    for (int32_t y = 1; y < 16; y += 2)
        for (int32_t x = 0; x < 32; ++x) {
            const int below = y == 15 ? 255 : 10 * (y + 1);  // the last line has no field line below
            ASSERT_EQ(OutAt(fr, 0, y, x), (10 * (y - 1) + below) / 2) << y << " " << x;
        }
}

TEST(DeintX, EdgeColumnsNeverUseDirections) {
    // Stripes moving two columns right per field line, odd lines white: every block is combed.
    const auto f = [](uint32_t, int y, int x) { return y % 2 ? 255 : ((x - y) & 7) < 4 ? 0 : 200; };
    Frame fr = RunX(2, 24, 16, 24, f);
    bool interiorDiagonal = false;
    for (int32_t y = 1; y < 8; y += 2)
        for (int32_t x = 0; x < 24; ++x) {
            const int vertical = (f(0, y - 1, x) + f(0, y + 1, x)) / 2;
            if (x < 8 || x >= 16) {
                ASSERT_EQ(OutAt(fr, 0, y, x), vertical) << y << " " << x;
            } else {
                interiorDiagonal |= OutAt(fr, 0, y, x) != vertical;
            }
        }
    EXPECT_TRUE(interiorDiagonal);
}

TEST(DeintX, ShortBottomRowsLookBelowThePlane) {
    // 4:2:0 16x12: luma has one full block row and a 4-line bottom row; chroma (8x6) is one strip.
    // The strip detector scans line pairs 0, 2 and 4 of a bottom strip, reaching six lines down:
    // past the plane it reads the caller's rows below (here they continue the combing).
    const auto f = [](uint32_t, int y, int x) { return y % 2 ? 250 - x : 5 * y + x; };
    Frame fr = RunX(0, 16, 12, 16, f);
    for (int32_t x = 0; x < 8; ++x) {
        // Chroma: all three pairs combed: interlaced, odd lines from the field around them.
        EXPECT_EQ(OutAt(fr, 1, 1, x), (f(1, 0, x) + f(1, 2, x)) / 2);
        EXPECT_EQ(OutAt(fr, 1, 3, x), (f(1, 2, x) + f(1, 4, x)) / 2);
        EXPECT_EQ(OutAt(fr, 1, 5, x), (f(1, 4, x) + f(1, 5, x)) / 2);
    }
    for (int32_t x = 0; x < 16; ++x) {
        // Luma bottom row (lines 8..11): pairs at lines 8, 10 and 12 (below the plane) combed.
        EXPECT_EQ(OutAt(fr, 0, 9, x), (f(0, 8, x) + f(0, 10, x)) / 2);
        EXPECT_EQ(OutAt(fr, 0, 11, x), (f(0, 10, x) + f(0, 11, x)) / 2);
    }
    // The same picture with white rows below: line 12 is further from line 10 than line 11 is,
    // so only pair 0 of the luma strip is combed, and one combed pair is not enough: the bottom
    // row is rebuilt as progressive.
    const auto g = [&](uint32_t i, int y, int x) { return y >= 12 ? 255 : f(i, y, x); };
    Frame still = RunX(0, 16, 12, 16, g);
    for (int32_t x = 0; x < 16; ++x)
        EXPECT_EQ(OutAt(still, 0, 9, x), (g(0, 8, x) + 2 * g(0, 9, x) + g(0, 10, x) + 2) / 4);
}

// ---- through the frame pipeline ---------------------------------------------------------------

// A 4:2:0 copy with a deinterlace mode in force: the destination holds the deinterlaced planes.
class DeintPipeline : public ::testing::TestWithParam<uint32_t> {};

TEST_P(DeintPipeline, DeinterlacedPlanesReachTheOutput) {
    const uint32_t mode = GetParam();
    constexpr int32_t W = 40, H = 16;
    constexpr uint32_t kWorkPitch = 48;  // the work planes' pitch: W rounded up to 16
    // The source rows carry 4 spare bytes; the last luma row is readable up to the work pitch.
    Frame fr(0, W, H, 4, kWorkPitch, 31 + mode, kWorkPitch - (W + 4));
    std::vector<std::vector<uint8_t>> exp;
    if (mode >= kDeintDiscard && mode <= kDeintLinear) {
        exp = RefSimple(fr, mode, 0);
    } else if (mode == kDeintX) {
        DeintPicture in = fr.In(), out = fr.Out();
        picture_deinterlace_x(&out, &in, 0, W, H);
        for (auto& o : fr.out) exp.push_back(o.contents());
    } else {
        exp = RefFast(fr);
    }

    qvtest::Context c(qvtest::MakeParams(0x000, W, H, W, H));
    ASSERT_EQ(c.status, 0);
    ASSERT_EQ(c.ctx->planeStride, kWorkPitch);
    c.ctx->deinterlaceMode = mode;
    std::vector<qvtest::GuardedPlane> dst;
    dst.emplace_back(W, H, 0xCC);
    dst.emplace_back(W / 2, H / 2, 0xCC);
    dst.emplace_back(W / 2, H / 2, 0xCC);
    const uint8_t* sp[3] = {fr.S(0, 0), fr.S(1, 0), fr.S(2, 0)};
    const int32_t ss[3] = {int32_t(fr.srcPitch[0]), int32_t(fr.srcPitch[1]), int32_t(fr.srcPitch[2])};
    uint8_t* dp[3] = {dst[0].data(), dst[1].data(), dst[2].data()};
    const int32_t ds[3] = {W, W / 2, W / 2};
    ASSERT_EQ(QV_ImgPrcOneFrame(c.ctx, sp, ss, dp, ds), 0);
    for (uint32_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(dst[i].guardsIntact());
        for (int32_t y = 0; y < fr.Lines(i); ++y)
            ASSERT_EQ(0, std::memcmp(dst[i].row(y), exp[i].data() + size_t{kWorkPitch} * y, fr.RowBytes(i)))
                << "plane " << i << " line " << y;
    }
    // The mode stays in force: a second frame from the same source gives the same picture.
    const std::vector<uint8_t> first = dst[0].contents();
    std::memset(dst[0].data(), 0, dst[0].size());
    ASSERT_EQ(QV_ImgPrcOneFrame(c.ctx, sp, ss, dp, ds), 0);
    EXPECT_EQ(dst[0].contents(), first);
}

INSTANTIATE_TEST_SUITE_P(Modes, DeintPipeline, ::testing::Values(1u, 2u, 3u, 4u, 5u, 6u, 7u, 9u));

}  // namespace
