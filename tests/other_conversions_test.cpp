// 4:2:2 and 4:4:4 to RGB, RGB to 4:2:0, RGB scaling and rotation, 4:2:0 to RGB555 with a key.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
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

// ---- references written from the formulas ------------------------------------------------------
// Channel sums in 1/128 units, the chroma table entries read as signed words.
struct Sums {
    int32_t r, g, b;
};
Sums SumsOf(const qv::QvImgPrcContext* ctx, uint8_t Y, uint8_t cb, uint8_t cr) {
    const int32_t y = ctx->yTable[Y], b = ctx->cbTable[cb], r = ctx->crTable[cr];
    const int32_t low = static_cast<int32_t>((static_cast<uint32_t>(r) + static_cast<uint32_t>(b)) << 16);
    return {y + (r >> 15), y + (low >> 15), y + (b >> 15)};
}
uint32_t Chan(int32_t sum, int shift, int32_t max) { return static_cast<uint32_t>(std::clamp(sum >> shift, 0, max)); }
uint32_t Ref565(const Sums& s) { return Chan(s.r, 10, 31) << 11 | Chan(s.g, 9, 63) << 5 | Chan(s.b, 10, 31); }
// r << 16 | g << 8 | b: as RGB888 bytes b, g, r; with the alpha on top, ARGB32.
uint32_t RefRGB8(const Sums& s) { return Chan(s.r, 7, 255) << 16 | Chan(s.g, 7, 255) << 8 | Chan(s.b, 7, 255); }

// Position n of a src -> dst resampling from the first to the last sample: the sample, its
// neighbour (the last sample's is itself) and the 5-bit weight.
struct Pos {
    int32_t i0, i1, w;
};
Pos PosAt(int32_t n, int32_t src, int32_t dst) {
    const int32_t p = n * static_cast<int32_t>((static_cast<int64_t>(src - 1) << 16) / (dst - 1)), i0 = p >> 16;
    return {i0, std::min(i0 + 1, src - 1), (p >> 11) & 31};
}
// Vertical step with one extra bit, then horizontal; truncating.
int32_t Vertical(const GuardedPlane& g, int32_t c, const Pos& y, int shift = 4) {
    return ((g.row(y.i1)[c] - g.row(y.i0)[c]) * y.w + (g.row(y.i0)[c] << 5)) >> shift;
}
uint8_t Bilinear(const GuardedPlane& g, const Pos& x, const Pos& y) {
    const int32_t l = Vertical(g, x.i0, y), r = Vertical(g, x.i1, y);
    return static_cast<uint8_t>((((r - l) * x.w + (l << 5)) >> 6) & 255);
}

// Non-neutral tables, so that the converters are seen to read the context's tables.
void Adjust(const Context& c) {
    const int32_t values[3] = {140, 150, 170};
    ASSERT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, values), 0);
}

struct Size {
    int32_t w, h, dw, dh;
};

// ---- every operation with a packed destination ---------------------------------------------------
// What the operation makes of the source, unrotated: 4:2:0 to RGB555 (own size, the block's chroma,
// green shifted by 10, packed one bit up over the mask bit, 0 where the pixel's own (Y, Cb, Cr)
// equals all 32 bits of the key); 4:2:2 (chroma from the column under the luma position,
// interpolated vertically only) and 4:4:4 (all bilinear) to RGB; RGB565 blended in the expanded
// word (blue 0-4, green 10-15, red 21-25) or widened to ARGB32; RGB888 bytes blended alike.
Picture Reference(int32_t op, const qv::QvImgPrcContext* ctx, const Planes& src, const Size& s, uint32_t alpha,
                  uint32_t key) {
    const int32_t to = op & 0xFF;
    Picture pic(s.dw, s.dh, to == qv::kRGB888 ? 3 : to == qv::kARGB32 ? 4 : 2);
    const GuardedPlane& P = src.p[0];
    for (int32_t j = 0; j < s.dh; ++j)
        for (int32_t i = 0; i < s.dw; ++i) {
            const Pos x = PosAt(i, s.w, s.dw), y = PosAt(j, s.h, s.dh);
            const uint8_t *r0 = P.row(y.i0), *r1 = P.row(y.i1);
            uint32_t& v = pic.at(i, j);
            if (op == 0x00A) {
                const uint8_t Y = r0[i], cb = src.p[1].row(j / 2)[i / 2], cr = src.p[2].row(j / 2)[i / 2];
                const Sums t = SumsOf(ctx, Y, cb, cr);
                v = (static_cast<uint32_t>(Y) << 16 | cb << 8 | cr) == key
                        ? 0 : Chan(t.r, 10, 31) << 11 | Chan(t.g, 10, 31) << 6 | Chan(t.b, 10, 31) << 1 | 1;
            } else if (op < 0x300) {
                auto chroma = [&](const GuardedPlane& g) {
                    return op == 0x103 ? static_cast<uint8_t>(Vertical(g, x.i0 / 2, y, 5) & 255) : Bilinear(g, x, y);
                };
                const Sums t = SumsOf(ctx, Bilinear(P, x, y), chroma(src.p[1]), chroma(src.p[2]));
                v = to == qv::kRGB565 ? Ref565(t) : to == qv::kRGB888 ? RefRGB8(t) : RefRGB8(t) | alpha << 24;
            } else if (op == 0x305) {
                const uint32_t p = r0[2 * i] | r0[2 * i + 1] << 8;
                v = alpha << 24 | ((p >> 11) << 3) << 16 | (((p >> 5) & 63) << 2) << 8 | (p & 31) << 3;
            } else if (op == 0x303) {
                auto E = [](const uint8_t* p) {
                    const uint32_t w = p[0] | p[1] << 8;
                    return ((w >> 5) & 63) << 10 | (w >> 11) << 21 | (w & 31);
                };
                auto column = [&](int32_t c) { return ((E(r1 + 2 * c) * y.w + E(r0 + 2 * c) * (32 - y.w)) >> 5) & 0x3E0FC1Fu; };
                const uint32_t w = column(x.i1) * x.w + column(x.i0) * (32 - x.w);
                v = ((w >> 15) & 63) << 5 | (w >> 26) << 11 | ((w >> 5) & 31);
            } else {
                uint32_t h[3];  // per byte: an 8-bit value times 32
                for (int k = 0; k < 3; ++k) {
                    auto V = [&](int32_t c) { return static_cast<uint32_t>(r1[3 * c + k] * y.w + r0[3 * c + k] * (32 - y.w)) >> 5; };
                    h[k] = V(x.i1) * x.w + V(x.i0) * (32 - x.w);
                }
                v = op == 0x403 ? (h[2] >> 8) << 11 | (h[1] >> 7) << 5 | (h[0] >> 8) : (h[2] >> 5) << 16 | (h[1] >> 5) << 8 | (h[0] >> 5);
            }
        }
    return pic;
}

struct Case {
    int32_t operation;
    Size s;
    uint32_t code;
};
void PrintTo(const Case& c, std::ostream* os) {
    *os << "operation 0x" << std::hex << c.operation << std::dec << " " << c.s.w << "x" << c.s.h << " to " << c.s.dw << "x"
        << c.s.dh << " rotation " << c.code;
}
class PackedOutputTest : public testing::TestWithParam<Case> {};

TEST_P(PackedOutputTest, MatchesTheReferencePlacedByTheRotationTable) {
    const auto [op, s, code] = GetParam();
    const uint32_t alpha = 0x5E;
    Planes src = op == 0x00A ? Planes::YCbCr(s.w, s.h, 2, 2)
                 : op < 0x300 ? Planes::YCbCr(s.w, s.h, op == 0x103 ? 2 : 1, 1)
                              : Planes(s.w * (op >> 8 == qv::kRGB888 ? 3 : 2) + 6, s.h);
    src.fillRandom(op + s.w * 3 + s.dh + code);
    // RGB555: one pixel keyed; its neighbour shares the block's chroma, its luma is one level off.
    src.p[0].at(4, 3) = src.p[0].at(5, 3) ^ 1;
    const uint32_t key = op != 0x00A ? 0 : src.p[0].at(5, 3) << 16 | src.p[1].at(2, 1) << 8 | src.p[2].at(2, 1);
    Context c(MakeParams(op, s.w, s.h, s.dw, s.dh, code, 2, 0x700 | alpha, key));
    ASSERT_EQ(c.status, 0);
    if (op < 0x300) Adjust(c);
    const Picture ref = Reference(op, c.ctx, src, s, alpha, key);
    // 4:2:2 and RGB565 to ARGB32 ignore the rotation code; 4:2:2 rows advance by the stride rounded
    // down to even (here odd).
    const uint32_t placed = op == 0x103 || op == 0x305 ? 0 : code;
    const bool turn = qvtest::QuarterTurn(placed);  // rows padded by 4 pixels
    Planes dst((turn ? s.dh : s.dw) * ref.bytes + 4 * ref.bytes + (op == 0x103), turn ? s.dw : s.dh, 0xC3);
    const std::vector<uint8_t> expected = Placed(dst.p[0], ref, placed, dst.p[0].stride() & ~1);
    ASSERT_EQ(qvtest::RunFrame(c, src, dst), 0);
    EXPECT_EQ(dst.p[0].contents(), expected);
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<Case> Cases() {
    std::vector<Case> v{{0x00A, {16, 12, 16, 12}, 0}, {0x305, {12, 8, 12, 8}, 3}};
    for (Size s : {Size{16, 8, 16, 8}, Size{16, 12, 8, 8}, Size{8, 8, 20, 12}, Size{12, 16, 24, 8}}) v.push_back({0x103, s, 2});
    for (int32_t op : {0x203, 0x204, 0x205, 0x303, 0x403, 0x404})
        for (uint32_t code = 0; code <= 5; ++code)
            for (Size s : {Size{12, 8, 12, 8}, Size{16, 12, 8, 8}, Size{8, 8, 20, 12}, Size{8, 16, 16, 4}}) v.push_back({op, s, code});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllOperations, PackedOutputTest, testing::ValuesIn(Cases()));

// The first destination word of a 4 x 4 frame.
uint32_t FirstWord(int32_t op, Planes& src, uint32_t key = 0) {
    Context c(MakeParams(op, 4, 4, 4, 4, 0, 2, 0xC7, key));
    Planes dst(16, 4);
    EXPECT_EQ(qvtest::RunFrame(c, src, dst), 0);
    uint32_t w;
    std::memcpy(&w, dst.p[0].data(), 4);
    return op == 0x305 ? w : w & 0xFFFF;
}

TEST(PackedOutputTest, WorkedNumbers) {
    Planes white565(8, 4, 0xFF);
    EXPECT_EQ(FirstWord(0x305, white565), 0xC7F8FCF8u);  // red 248, green 252, blue 248
    auto flat = [](uint8_t y, uint8_t cb, uint8_t cr) {
        Planes p = Planes::YCbCr(4, 4, 2, 2);
        for (int i = 0; i < 3; ++i) std::memset(p.p[i].data(), i == 0 ? y : i == 1 ? cb : cr, p.p[i].size());
        return p;
    };
    const uint32_t black = 16u << 16 | 128u << 8 | 128u;
    Planes keyed = flat(16, 128, 128), lighter = flat(17, 128, 128), bright = flat(255, 128, 128), zero = flat(0, 0, 0);
    EXPECT_EQ(FirstWord(0x00A, keyed, black), 0u);
    EXPECT_EQ(FirstWord(0x00A, lighter, black), 1u);  // converted: black is the mask bit alone
    EXPECT_EQ(FirstWord(0x00A, keyed, 0), 1u);
    EXPECT_EQ(FirstWord(0x00A, bright, black), 0xFFFFu);           // every channel clamps to 31
    EXPECT_EQ(FirstWord(0x00A, keyed, black | 0x01000000), 1u);    // a non-zero top byte never matches
    EXPECT_EQ(FirstWord(0x00A, zero, 0), 0u);                      // a key of 0 matches only 0, 0, 0
}

// Identities: equal sizes through the 4:2:2 scaler give the direct converter's output; through the
// RGB scalers, the source.
TEST(PackedOutputTest, EqualSizeScalingIsTheDirectRoute) {
    Context c(MakeParams(0x103, 12, 8, 12, 8));
    ASSERT_EQ(c.status, 0);
    Planes src = Planes::YCbCr(12, 8, 2, 1), direct(24, 8), scaled(24, 8);
    src.fillRandom(8);
    const Planes::Arrays s = src.arrays();
    qv::_QVYCbCr422ToRGB565(c.ctx, s.in, s.stride, 12, 8, direct.p[0].data(), 24);
    qv::_QVYCbCr422ToRGB565Rsz(c.ctx, s.in, s.stride, 12, 8, scaled.p[0].data(), 24, 12, 8);
    EXPECT_EQ(scaled.p[0].contents(), direct.p[0].contents());
    for (int32_t op : {0x303, 0x404}) {
        const int32_t B = op == 0x303 ? 2 : 3;
        Context rgb(MakeParams(op, 12, 8, 12, 8));
        Planes from(12 * B, 8), to(12 * B, 8);
        from.fillRandom(77);
        ASSERT_EQ(qvtest::RunFrame(rgb, from, to), 0);
        EXPECT_EQ(to.p[0].contents(), from.p[0].contents()) << std::hex << op;
    }
}

TEST(PackedOutputTest, EmptyRGB565ToARGB32PictureWritesNothing) {
    GuardedPlane src(16, 2, 0xFF), dst(32, 2, 0x31);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(src.data(), 8, dst.data(), 8, 0, 2, 0xFF), 0);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(src.data(), 8, dst.data(), 8, 8, 0, 0xFF), 0);
    EXPECT_EQ(dst.contents(), std::vector<uint8_t>(dst.size(), 0x31));
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- RGB to 4:2:0 -----------------------------------------------------------------------------------
// BT.601 studio range, weights scaled by 256: luma for every pixel, chroma from one corner of each
// block. RGB565 widens by shifting, adds no rounding term, takes the bottom-left pixel's chroma and
// finds the lower row at the pitch rounded down to 4; the 32-bit sources round, take the
// bottom-right pixel and ignore the alpha byte. Y, Cb and Cr pictures (one byte a sample).
std::vector<Picture> RefEncode(int32_t source, const GuardedPlane& src, int32_t W, int32_t H) {
    const bool is565 = source == qv::kRGB565;
    const int32_t B = is565 ? 2 : 4, round = is565 ? 0 : 128, lower = is565 ? src.stride() & ~3 : src.stride();
    auto rgb = [&](const uint8_t* p) -> std::array<int32_t, 3> {
        if (is565) return {p[1] >> 3 << 3, ((p[1] & 7) << 3 | p[0] >> 5) << 2, (p[0] & 31) << 3};
        return source == qv::kARGB32 ? std::array<int32_t, 3>{p[2], p[1], p[0]} : std::array<int32_t, 3>{p[0], p[1], p[2]};
    };
    std::vector<Picture> out{Picture(W, H, 1), Picture(W / 2, H / 2, 1), Picture(W / 2, H / 2, 1)};
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t c = 0; c < W / 2; ++c) {
            const uint8_t* top = src.row(2 * r) + 2 * c * B;
            const std::array<int32_t, 3> px[4] = {rgb(top), rgb(top + B), rgb(top + lower), rgb(top + lower + B)};
            for (int k = 0; k < 4; ++k)
                out[0].at(2 * c + k % 2, 2 * r + k / 2) = ((65 * px[k][0] + 129 * px[k][1] + 25 * px[k][2] + round) >> 8) + 16;
            const auto [R, G, Bl] = px[is565 ? 2 : 3];
            out[1].at(c, r) = static_cast<uint8_t>(((112 * Bl - 38 * R - 74 * G + round) >> 8) + 128);
            out[2].at(c, r) = static_cast<uint8_t>(((112 * R - 94 * G - 18 * Bl + round) >> 8) + 128);
        }
    return out;
}

class ToYCbCr420Test : public testing::TestWithParam<std::tuple<int32_t, uint32_t>> {};

TEST_P(ToYCbCr420Test, MatchesTheReferencePlacedByTheRotationTable) {
    const auto [source, code] = GetParam();
    const int32_t W = 16, H = 12, B = source == qv::kRGB565 ? 2 : 4;
    Context c(MakeParams(source << 8, W, H, W, H, code));
    ASSERT_EQ(c.status, 0);
    Planes src(W * B + (B == 2 ? 6 : 8), H);  // an RGB565 pitch that is not a multiple of 4
    src.fillRandom(40 + source + code);
    const std::vector<Picture> ref = RefEncode(source, src.p[0], W, H);
    const bool turn = qvtest::QuarterTurn(code);
    Planes dst = Planes::YCbCr(turn ? H : W, turn ? W : H, 2, 2, 0x66);
    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) expected[i] = Placed(dst.p[i], ref[i], code);
    ASSERT_EQ(qvtest::RunFrame(c, src, dst), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}
INSTANTIATE_TEST_SUITE_P(AllSourcesAndCodes, ToYCbCr420Test,
                         testing::Combine(testing::Values<int32_t>(qv::kRGB565, qv::kARGB32, qv::kABGR32), testing::Range(0u, 6u)));

// Y, Cb and Cr of the first block of a 4 x 4 frame of `all` whose blocks have `corner` in their
// lower row at column 0 (bottom-left) or 1 (bottom-right).
std::array<int, 3> Encode(int32_t source, uint32_t all, uint32_t corner, int column = 0) {
    const int32_t B = source == qv::kRGB565 ? 2 : 4;
    Context c(MakeParams(source << 8, 4, 4, 4, 4));
    Planes src(4 * B, 4), dst = Planes::YCbCr(4, 4, 2, 2);
    for (int32_t i = 0; i < 16; ++i)
        for (int32_t k = 0; k < B; ++k)
            src.p[0].data()[i * B + k] = static_cast<uint8_t>((i / 4 % 2 == 1 && i % 2 == column ? corner : all) >> (8 * k));
    EXPECT_EQ(qvtest::RunFrame(c, src, dst), 0);
    return {dst.p[0].at(0, 0), dst.p[1].at(0, 0), dst.p[2].at(0, 0)};
}

TEST(ToYCbCr420Test, WorkedNumbers) {
    EXPECT_EQ(Encode(qv::kRGB565, 0xFFFF, 0xFFFF)[0], 230);
    EXPECT_EQ(Encode(qv::kRGB565, 0, 0)[0], 16);
    for (int32_t source : {qv::kARGB32, qv::kABGR32}) {
        EXPECT_EQ(Encode(source, 0xFFFFFFFF, 0xFFFFFFFF)[0], 234);
        EXPECT_EQ(Encode(source, 0xFF000000, 0xFF000000)[0], 16);
    }
    EXPECT_EQ(Encode(qv::kARGB32, 0xFF, 0xFF), (std::array{41, 240, 110}));  // blue
    EXPECT_EQ(Encode(qv::kABGR32, 0xFF0000, 0xFF0000)[1], 240);
    EXPECT_EQ(Encode(qv::kRGB565, 0xF800, 0xF800)[2], 236);  // red
    EXPECT_EQ(Encode(qv::kRGB565, 0xF800, 0xF800)[1], 91);
    // Bottom-left pixel of every block red, the rest white: red chroma from RGB565, white from
    // ARGB32, which takes the bottom-right pixel's.
    EXPECT_EQ(Encode(qv::kRGB565, 0xFFFF, 0xF800)[2], 236);
    EXPECT_EQ(Encode(qv::kARGB32, 0xFFFFFFFF, 0xFFFF0000), (std::array{234, 128, 128}));
    EXPECT_EQ(Encode(qv::kARGB32, 0xFFFFFFFF, 0xFFFF0000, 1)[2], 240);
}

}  // namespace
