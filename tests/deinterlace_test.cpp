// Deinterlacer tests: every mode against per-line references written from the output formulas,
// the worked numbers, the fast filter's in-place path, and the block mode's thresholds and ties.
#include "deinterlace/deinterlace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
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
using Planes = std::vector<std::vector<uint8_t>>;

// Source and output planes of one frame. Sources are exact heap blocks (the sanitizer build sees
// any read past them) holding the plane, the rows below it that the block mode's detectors read,
// and `lumaTail` bytes more in the luma plane.
struct Frame {
    static constexpr int32_t kRowsBelow = 6;
    uint32_t fmt, width, height, dstPitch;
    std::vector<uint8_t> src[3];
    uint32_t srcPitch[3];
    std::vector<qvtest::GuardedPlane> out;

    Frame(uint32_t f, uint32_t w, uint32_t h, uint32_t srcExtra, uint32_t pitch, uint32_t seed, uint32_t lumaTail = 0)
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
        return {3, {S(0, 0), S(1, 0), S(2, 0), nullptr}, {srcPitch[0], srcPitch[1], srcPitch[2], 0},
                width, height, RowBytes(1), static_cast<uint32_t>(Lines(1))};
    }
    DeintPicture Out() {
        DeintPicture p = In();
        for (int i = 0; i < 3; ++i) p.pixels[i] = out[i].data(), p.pitch[i] = dstPitch;
        return p;
    }
    Planes Contents() const { return {out[0].contents(), out[1].contents(), out[2].contents()}; }
};

// ---- references written from the output formulas ---------------------------------------------

// The source lines whose average is output line k of a simple mode with field f (the same line
// twice: a copy; -1: not written). `half`: 4:2:2 chroma, which steps two source lines per output
// line; its indices past the plane read the last line.
std::pair<int32_t, int32_t> SimpleLines(uint32_t mode, int32_t f, bool half, int32_t L, int32_t k) {
    const auto c = [L](int32_t v) { return std::min(v, L - 1); };
    const auto copy = [](int32_t v) { return std::pair{v, v}; };
    switch (mode) {
        case kDeintDiscard: return copy(half ? c(f + 2 * k) : c(f + (k & ~1)));
        case kDeintBob:
            if (half) return f == 0 ? copy(c(2 * k)) : k == L - 1 ? copy(-1) : copy(k == 0 ? 0 : c(2 * k - 1));
            return copy(k == L - 1 ? k : f == 0 ? k & ~1 : k == 0 ? 0 : (k - 1) | 1);
        case kDeintBlend: return k == 0 ? copy(0) : half ? std::pair{c(2 * k - 2), c(2 * k - 1)} : std::pair{k - 1, k};
        case kDeintMean: return {k & ~1, c((k & ~1) + 1)};
        default:  // linear
            return k == L - 1 || (k & 1) == f || (f == 1 && k == 0) ? copy(k) : std::pair{k - 1, k + 1};
    }
}

// Block mode on one plane of W bytes x L lines, s(line, column) reading the source. Blocks of 8x8
// over every block row but the last: combed when one line pair j = 0, 2, 4, 6 has (fr * 6) >> 3 > ff
// and fr > 32 (fr across the fields, ff within, lines 8 and 9 below the block included); odd lines
// then the vertical average in the first and last block column and elsewhere the average along the
// cheapest of three directions (ties vertical), else (a + 6m + b + 4) >> 3. The right strip and
// the last block row are strips, detected with their width as the line count and their height as
// the pixel count (combed: two pairs with ff < fr and fr > pixels / 2); odd lines the field average
// or (a + 2m + b + 2) >> 2, the last pair blended with the odd line itself.
template <class S>
void RefX(std::vector<uint8_t>& e, uint32_t dp, S s, int32_t W, int32_t L) {
    const int32_t bx = W / 8, rw = W % 8, by = (L + 7) / 8, hl = L - 8 * (by - 1);
    const auto sq = [](int32_t v) { return static_cast<uint32_t>(v * v); };
    const auto region = [&](int32_t r0, int32_t c0, int32_t w, int32_t h, bool strip, bool edge) {
        int32_t count = 0;
        for (int32_t j = 0; strip ? w != 2 && (j == 0 || j < w - 2) : j < 8; j += 2) {
            uint32_t fr = 0, ff = 0;
            for (int32_t x = c0; x < c0 + (strip ? h : 8); ++x) {
                const auto v = [&](int32_t k) { return s(r0 + j + k, x); };
                fr += sq(v(0) - v(1)) + (strip ? 0 : sq(v(1) - v(2)));
                ff += sq(v(0) - v(2)) + (strip ? 0 : sq(v(1) - v(3)));
            }
            count += strip ? ff < fr && fr > static_cast<uint32_t>(h / 2) : (fr * 6) >> 3 > ff && fr > 32;
        }
        const bool combed = count > (strip ? 1 : 0);
        for (int32_t y = r0; y < r0 + h; y += 2)
            for (int32_t x = c0; x < c0 + w; ++x) {
                const int32_t a = s(y, x), m = s(y + 1, x), b = s(y + 2, x);
                const auto cost = [&](int32_t from, int32_t shift) {
                    int32_t c = 0;
                    for (int32_t k = from; k < from + 8; ++k) c += std::abs(s(y, x + k) - s(y + 2, x + k + shift));
                    return c;
                };
                int32_t v = (a + b) / 2;
                if (strip && y >= r0 + h - 2) v = (a + m) / 2;
                else if (!combed) v = strip ? (a + 2 * m + b + 2) / 4 : (a + 6 * m + b + 4) / 8;
                else if (!strip && !edge) {
                    const int32_t c0 = cost(-4, 2), c1 = cost(-3, 0), c2 = cost(-2, -2);
                    if (c0 < c1 && c1 <= c2) v = (s(y, x - 1) + s(y + 2, x + 1)) / 2;
                    else if (c2 < c1 && c1 <= c0) v = (s(y, x + 1) + s(y + 2, x - 1)) / 2;
                }
                e[size_t{dp} * y + x] = static_cast<uint8_t>(a);
                e[size_t{dp} * (y + 1) + x] = static_cast<uint8_t>(v);
            }
    };
    for (int32_t r = 0; r < by; ++r) {
        const bool last = r == by - 1;
        for (int32_t c = 0; c < bx; ++c) region(8 * r, 8 * c, 8, last ? hl : 8, last, c == 0 || c == bx - 1);
        if (rw != 0) region(8 * r, 8 * bx, rw, last ? hl : 8, true, false);
    }
}

// Expected output planes of a mode (field f) over their current contents.
Planes Expected(Frame& fr, uint32_t mode, uint32_t f) {
    Planes exp = fr.Contents();
    for (uint32_t i = 0; i < 3; ++i) {
        std::vector<uint8_t>& e = exp[i];
        const int32_t L = fr.Lines(i);
        const uint32_t dp = fr.dstPitch;
        const auto s = [&](int32_t k, int32_t x) { return int32_t{fr.S(i, std::clamp(k, 0, L - 1))[x]}; };
        if (mode == kDeintX) {  // luma over the output pitch, chroma over the chroma width
            RefX(e, dp, [&](int32_t k, int32_t x) { return int32_t{fr.S(i, k)[x]}; },
                 static_cast<int32_t>(i == 0 ? dp : fr.RowBytes(i)), L);
        } else if (mode >= kDeintDiscard && mode <= kDeintLinear) {  // 4:4:4: linear only
            for (int32_t k = 0; k < L && (fr.fmt < 2 || mode == kDeintLinear); ++k) {
                const auto [a, b] = SimpleLines(mode, static_cast<int32_t>(f), fr.fmt == 1 && i != 0, L, k);
                for (uint32_t x = 0; a >= 0 && x < std::min(fr.srcPitch[i], dp); ++x)
                    e[size_t{dp} * k + x] = static_cast<uint8_t>((fr.S(i, a)[x] + fr.S(i, b)[x]) / 2);
                if (mode == kDeintMean && (k & 1)) std::copy_n(&e[size_t{dp} * (k - 1)], dp, &e[size_t{dp} * k]);
            }
        } else if (mode != kDeintOff) {  // fast: odd lines clamp((-1 4 2 4 -1) + 4) >> 3, lines clamped
            for (int32_t k = 0; k < L; ++k)
                for (int32_t x = 0; x < static_cast<int32_t>(fr.RowBytes(i)); ++x) {
                    const int32_t sum = -s(k - 2, x) + 4 * s(k - 1, x) + 2 * s(k, x) + 4 * s(k + 1, x) - s(k + 2, x) + 4;
                    e[size_t{dp} * k + x] = static_cast<uint8_t>(k % 2 == 0 ? s(k, x) : std::clamp(sum >> 3, 0, 255));
                }
        }
    }
    return exp;
}

// ---- every mode on every source format ---------------------------------------------------------

struct Geometry {
    uint32_t width, height, srcExtra, dstPitch;
};

void PrintTo(const Geometry& g, std::ostream* os) {
    *os << g.width << "x" << g.height << " source pitch +" << g.srcExtra << " output pitch " << g.dstPitch;
}
class DeintModes : public ::testing::TestWithParam<std::tuple<uint32_t, uint32_t, Geometry>> {};

TEST_P(DeintModes, MatchesReference) {
    const auto [fmt, mode, g] = GetParam();
    for (uint32_t f = 0; f < 2; ++f) {
        SCOPED_TRACE("field " + std::to_string(f));
        // The block mode reads luma over the output pitch: the source stays readable that far.
        Frame fr(fmt, g.width, g.height, g.srcExtra, g.dstPitch, 7 * mode + f + 1,
                 g.dstPitch > g.width + g.srcExtra ? g.dstPitch - g.width - g.srcExtra : 0);
        const Planes exp = Expected(fr, mode, f);
        DeintPicture in = fr.In(), out = fr.Out();
        ASSERT_EQ(DeInterlace(&out, &in, g.width, g.height, f, fmt, mode), 0);
        for (uint32_t i = 0; i < 3; ++i) {
            EXPECT_TRUE(fr.out[i].guardsIntact()) << "plane " << i;
            EXPECT_EQ(fr.out[i].contents(), exp[i]) << "plane " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllModes, DeintModes,
                         ::testing::Combine(::testing::Values(0u, 1u, 2u),
                                            ::testing::Values(0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 0xFFFFFFFFu),
                                            ::testing::Values(Geometry{24, 16, 0, 32},    // output pitch wider than the row
                                                              Geometry{40, 12, 8, 48},    // short bottom block row, strips
                                                              Geometry{16, 8, 20, 16},    // source pitch wider than the output's
                                                              Geometry{20, 4, 4, 32})));  // 2-line 4:2:0 chroma

// ---- simple modes and the entry ------------------------------------------------------------------

TEST(DeintSimple, RefusalsWriteNothing) {
    Frame fr(0, 16, 8, 0, 16, 9);
    const Planes before = fr.Contents();
    DeintPicture in = fr.In(), out = fr.Out();
    EXPECT_EQ(DeInterlace(nullptr, &in, 16, 8, 0, 0, kDeintBob), -1);
    EXPECT_EQ(DeInterlace(&out, nullptr, 16, 8, 0, 0, kDeintBob), -1);
    // The fast filter: a format above 2, sizes not multiples of 4; the switch reports 0 all the same.
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 3, 16, 8), -1);
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 0, 18, 8), -1);
    EXPECT_EQ(picture_deinterlace_fast(&out, &in, 0, 16, 6), -1);
    EXPECT_EQ(DeInterlace(&out, &in, 18, 8, 0, 0, kDeintFast), 0);
    // The entry, for a source that is not planar YCbCr.
    QvImgPrcContext ctx{};
    ctx.srcWidth = 16, ctx.srcHeight = 8, ctx.deinterlaceMode = kDeintDiscard, ctx.operation = 0x303;
    const uint8_t* sp[3] = {fr.S(0, 0), fr.S(1, 0), fr.S(2, 0)};
    uint8_t* dp[3] = {fr.out[0].data(), fr.out[1].data(), fr.out[2].data()};
    const int32_t ss[3] = {16, 8, 8}, ds[3] = {16, 16, 16};
    EXPECT_EQ(QV_DeInterlace(&ctx, sp, ss, dp, ds), -1);
    EXPECT_EQ(fr.Contents(), before);
}

// ---- five-tap line filter -----------------------------------------------------------------------

TEST(DeintFast, CropTableAndWorkedValues) {
    for (int i = 0; i < 2304; ++i) ASSERT_EQ(cropTbl[i], std::clamp(i - 1024, 0, 255)) << i;
    const auto filter = [](uint8_t m4, uint8_t m3, uint8_t m2, uint8_t m1, uint8_t l) {
        uint8_t d = 0x77;
        deinterlace_line(&d, &m4, &m3, &m2, &m1, &l, 1);
        return d;
    };
    EXPECT_EQ(filter(0, 255, 0, 255, 0), 255);    // (4*255 + 4*255 + 4) >> 3
    EXPECT_EQ(filter(0, 255, 255, 255, 0), 255);  // 319 clamps
    EXPECT_EQ(filter(255, 0, 0, 0, 255), 0);      // -64 clamps
    EXPECT_EQ(filter(200, 100, 0, 0, 0), 25);     // 204 >> 3
    for (int v : {0, 1, 127, 254, 255}) EXPECT_EQ(filter(v, v, v, v, v), v);
}

TEST(DeintFast, InPlaceEqualsOutOfPlace) {
    for (uint32_t fmt : {0u, 1u, 2u})
        for (uint32_t height : {4u, 8u, 20u}) {
            Frame fr(fmt, 36, height, 4, 40, 11 + height);
            DeintPicture in = fr.In(), out = fr.Out(), pic = fr.In();  // in place: one record for both sides
            ASSERT_EQ(picture_deinterlace_fast(&out, &in, fmt, 36, height), 0);
            const std::vector<uint8_t> original[3] = {fr.src[0], fr.src[1], fr.src[2]};
            ASSERT_EQ(picture_deinterlace_fast(&pic, &pic, fmt, 36, height), 0);
            for (uint32_t i = 0; i < 3; ++i)
                for (int32_t k = 0; k < fr.Lines(i); ++k) {  // the rows' last 4 bytes are not the picture's
                    const uint8_t* before = original[i].data() + size_t{fr.srcPitch[i]} * k;
                    ASSERT_TRUE(std::equal(fr.S(i, k), fr.S(i, k) + fr.RowBytes(i), fr.out[i].row(k))) << fmt << " " << height << " " << i << " " << k;
                    ASSERT_TRUE(std::equal(fr.S(i, k) + fr.RowBytes(i), fr.S(i, k + 1), before + fr.RowBytes(i)));
                }
        }
}

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

TEST(DeintX, DetectorThresholds) {
    // Every pair has fr = 32 (four columns differ by 2): weak, progressive, although the pairs
    // together exceed 32: each pair is judged on its own sums. Five columns: combed.
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int x) { return 100 + (y % 2 && x < 4 ? 2 : 0); }).data(), 8), 0);
    EXPECT_EQ(XDeint8x8Detect(Block(8, 10, [](int y, int x) { return 100 + (y % 2 && x < 5 ? 2 : 0); }).data(), 8), 1);
    // Strips: two combed pairs are needed; fr > pixelCount / 2 (one column differing by 1).
    const std::vector<uint8_t> combed = Block(8, 10, [](int y, int) { return y % 2 ? 255 : 0; });
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 6, 8), 1);  // pairs 0, 2
    EXPECT_EQ(XDeintNxNDetect(combed.data(), 8, 4, 8), 0);  // pair 0 only
    const std::vector<uint8_t> faint = Block(8, 10, [](int y, int x) { return y % 2 && x == 0 ? 101 : 100; });
    EXPECT_EQ(XDeintNxNDetect(faint.data(), 8, 8, 1), 1);
    EXPECT_EQ(XDeintNxNDetect(faint.data(), 8, 8, 2), 0);
    // A 4 wide, 8 high strip is handed to the detector as four lines: one pair, progressive.
    uint8_t d[8 * 8];
    ASSERT_EQ(XDeintNxN(d, 8, combed.data(), 8, 4, 8), 0);
    EXPECT_EQ(d[8], (0 + 2 * 255 + 0 + 2) / 4);
}

TEST(DeintX, DirectionsWinOnlyStrictly) {
    uint8_t d[8 * 8];
    // A thin line moving two columns per field line: at x = 12 the diagonal along it costs 0 and
    // both others 200; the diagonal wins, although the vertical cost ties with the far one.
    for (int dir : {1, -1}) {
        const std::vector<uint8_t> s = Block(24, 9, [=](int y, int x) { return y % 2 ? 255 : x == 12 - dir + dir * y ? 100 : 0; });
        XDeint8x8Field(d, 8, s.data() + 8, 24);
        EXPECT_EQ(d[8 + 4], 100) << dir;
    }
    // Field line 2 has one bright pixel at 12, so around it all three costs are 100: ties go to
    // the vertical average, where a diagonal would give 50 at x = 11 and x = 13.
    const std::vector<uint8_t> s = Block(24, 9, [](int y, int x) { return y % 2 ? 255 : y == 2 && x == 12 ? 100 : 0; });
    XDeint8x8Field(d, 8, s.data() + 8, 24);
    EXPECT_EQ(d[8 + 3], 0);
    EXPECT_EQ(d[8 + 4], 50);
    EXPECT_EQ(d[8 + 5], 0);
}

// A frame deinterlaced by the block mode; plane contents (and the rows below) from f(line, column).
template <class F>
Frame RunX(uint32_t w, uint32_t h, F f) {
    Frame fr(0, w, h, 0, w, 3);
    for (uint32_t i = 0; i < 3; ++i)
        for (int32_t y = 0; y < fr.Lines(i) + Frame::kRowsBelow; ++y)
            for (uint32_t x = 0; x < fr.srcPitch[i]; ++x) fr.S(i, y)[x] = static_cast<uint8_t>(f(y, static_cast<int>(x)));
    DeintPicture in = fr.In(), out = fr.Out();
    EXPECT_EQ(picture_deinterlace_x(&out, &in, 0, w, h), 0);
    return fr;
}

TEST(DeintX, ShortBottomRowsLookBelowThePlane) {
    // 4:2:0 16x12: luma has one full block row and a 4-line bottom row; chroma (8x6) is one strip.
    // The strip detector scans line pairs 0, 2 and 4 of a bottom strip, reaching six lines down:
    // past the plane it reads the caller's rows below (here they continue the combing).
    const auto f = [](int y, int x) { return y % 2 ? 250 - x : 5 * y + x; };
    Frame fr = RunX(16, 12, f);
    for (int32_t x = 0; x < 8; ++x) {  // chroma: all three pairs combed; odd lines from the field
        EXPECT_EQ(fr.out[1].row(1)[x], (f(0, x) + f(2, x)) / 2);
        EXPECT_EQ(fr.out[1].row(5)[x], (f(4, x) + f(5, x)) / 2);
    }
    for (int32_t x = 0; x < 16; ++x) {  // luma bottom row: pairs at lines 8, 10 and 12 combed
        EXPECT_EQ(fr.out[0].row(9)[x], (f(8, x) + f(10, x)) / 2);
        EXPECT_EQ(fr.out[0].row(11)[x], (f(10, x) + f(11, x)) / 2);
    }
    // With white rows below, line 12 lies further from line 10 than line 11 does: only pair 0 of
    // the luma strip is combed, which is not enough, and the bottom row is rebuilt as progressive.
    const auto g = [&](int y, int x) { return y >= 12 ? 255 : f(y, x); };
    Frame still = RunX(16, 12, g);
    for (int32_t x = 0; x < 16; ++x) EXPECT_EQ(still.out[0].row(9)[x], (g(8, x) + 2 * g(9, x) + g(10, x) + 2) / 4);
}

// ---- through the frame pipeline ---------------------------------------------------------------

// A 4:2:0 copy with a deinterlace mode in force: the destination holds the deinterlaced planes.
// Diagonal stripes, the odd lines of each plane's upper half inverted: combed blocks there, rebuilt
// along the stripes, which depends on where a block lies in the row.
void StripesCombedAbove(Frame& fr) {
    for (uint32_t i = 0; i < 3; ++i)
        for (int32_t y = 0; y < fr.Lines(i); ++y)
            for (uint32_t x = 0; x < fr.RowBytes(i); ++x) {
                const uint8_t v = (x + static_cast<uint32_t>(y)) / 4 % 2 != 0 ? 200 : 30;
                fr.S(i, y)[x] = y % 2 != 0 && y < fr.Lines(i) / 2 ? 255 - v : v;
            }
}

TEST(DeintPipeline, DeinterlacedPlanesReachTheOutput) {
    constexpr int32_t W = 40, H = 16;
    constexpr uint32_t kWorkPitch = 48;  // the work planes' pitch: W rounded up to 16
    for (uint32_t mode : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 9u}) {
        // The source rows carry 4 spare bytes; the last luma row is readable up to the work pitch.
        Frame fr(0, W, H, 4, kWorkPitch, 31 + mode, kWorkPitch - (W + 4));
        StripesCombedAbove(fr);
        const Planes exp = Expected(fr, mode, 0);
        qvtest::Context c(qvtest::MakeParams(0x000, W, H, W, H));
        ASSERT_EQ(c.status, 0);
        ASSERT_EQ(c.ctx->planeStride, kWorkPitch);
        c.ctx->deinterlaceMode = mode;
        qvtest::Planes dst = qvtest::Planes::YCbCr(W, H, 2, 2, 0xCC);
        const qvtest::Planes::Arrays d = dst.arrays();
        const uint8_t* sp[3] = {fr.S(0, 0), fr.S(1, 0), fr.S(2, 0)};
        const int32_t ss[3] = {int32_t(fr.srcPitch[0]), int32_t(fr.srcPitch[1]), int32_t(fr.srcPitch[2])};
        for (int frame = 0; frame < 2; ++frame) {  // the mode stays in force
            ASSERT_EQ(QV_ImgPrcOneFrame(c.ctx, sp, ss, d.out, d.stride), 0);
            for (uint32_t i = 0; i < 3; ++i)
                for (int32_t y = 0; y < fr.Lines(i); ++y)
                    ASSERT_TRUE(std::equal(dst.p[i].row(y), dst.p[i].row(y) + fr.RowBytes(i), &exp[i][size_t{kWorkPitch} * y]))
                        << "mode " << mode << " plane " << i << " line " << y;
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

// A same-size 4:2:0 copy writes the mode straight into the destination unless the planes forbid
// it; a frame processed in place (destination planes on the source planes) gives the same bytes.
TEST(DeintPipeline, InPlaceFramesMatchTheReferences) {
    constexpr int32_t W = 64, H = 16;
    for (uint32_t mode : {1u, 2u, 3u, 4u, 5u, 6u, 7u}) {
        Frame fr(0, W, H, 0, W, 57 + mode);
        StripesCombedAbove(fr);
        const Planes exp = Expected(fr, mode, 0);
        qvtest::Context c(qvtest::MakeParams(0x000, W, H, W, H));
        ASSERT_EQ(c.status, 0);
        c.ctx->deinterlaceMode = mode;
        uint8_t* planes[3] = {fr.S(0, 0), fr.S(1, 0), fr.S(2, 0)};
        const int32_t ss[3] = {W, W / 2, W / 2};
        ASSERT_EQ(QV_ImgPrcOneFrame(c.ctx, planes, ss, planes, ss), 0);
        for (uint32_t i = 0; i < 3; ++i)
            for (int32_t y = 0; y < fr.Lines(i); ++y)
                ASSERT_TRUE(std::equal(fr.S(i, y), fr.S(i, y) + fr.RowBytes(i), &exp[i][size_t{W} * y]))
                    << "mode " << mode << " plane " << i << " line " << y;
    }
}

}  // namespace
