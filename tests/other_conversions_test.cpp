// 4:2:2 and 4:4:4 to RGB, RGB to 4:2:0, RGB scaling and rotation, 4:2:0 to RGB555 with a key.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "test_support.h"

using qvtest::Context;
using qvtest::GuardedPlane;
using qvtest::MakeParams;

namespace {

// ---- references written from the colour arithmetic -------------------------------------------
struct Terms {
    int32_t red, green, blue;
};
Terms TermsOf(const qv::QvImgPrcContext* ctx, uint8_t cb, uint8_t cr) {
    const int32_t b = ctx->cbTable[cb], r = ctx->crTable[cr];
    const int32_t low = static_cast<int32_t>((static_cast<uint32_t>(r) + static_cast<uint32_t>(b)) << 16);
    return {r >> 15, low >> 15, b >> 15};
}
int32_t Clamp(int32_t v, int32_t hi) { return std::clamp(v, 0, hi); }

uint32_t Ref565(const qv::QvImgPrcContext* ctx, uint8_t Y, uint8_t cb, uint8_t cr) {
    const int32_t y = ctx->yTable[Y];
    const Terms t = TermsOf(ctx, cb, cr);
    return Clamp((y + t.red) >> 10, 31) << 11 | Clamp((y + t.green) >> 9, 63) << 5 | Clamp((y + t.blue) >> 10, 31);
}
// r << 16 | g << 8 | b: as RGB888 little-endian bytes b, g, r; with alpha on top, ARGB32.
uint32_t RefRGB8(const qv::QvImgPrcContext* ctx, uint8_t Y, uint8_t cb, uint8_t cr) {
    const int32_t y = ctx->yTable[Y];
    const Terms t = TermsOf(ctx, cb, cr);
    return Clamp((y + t.red) >> 7, 255) << 16 | Clamp((y + t.green) >> 7, 255) << 8 | Clamp((y + t.blue) >> 7, 255);
}

// A read-only view of a byte plane.
struct View {
    const uint8_t* p;
    int32_t stride;
    uint8_t at(int32_t x, int32_t y) const { return p[static_cast<ptrdiff_t>(y) * stride + x]; }
};

// Resampling positions from the first to the last sample, 5-bit weights, edges clamped.
struct Pos {
    int32_t i0, i1, w;
};
int32_t Step(int32_t src, int32_t dst) { return static_cast<int32_t>((static_cast<int64_t>(src - 1) << 16) / (dst - 1)); }
Pos PosAt(int32_t n, int32_t step, int32_t size) {
    const int32_t p = n * step, i0 = p >> 16;
    return {i0, std::min(i0 + 1, size - 1), (p >> 11) & 31};
}
uint8_t RefBilinear(const View& v, const Pos& x, const Pos& y) {
    auto column = [&](int32_t c) { return ((v.at(c, y.i1) - v.at(c, y.i0)) * y.w + (v.at(c, y.i0) << 5)) >> 4; };
    const int32_t left = column(x.i0), right = column(x.i1);
    return static_cast<uint8_t>((((right - left) * x.w + (left << 5)) >> 6) & 255);
}

// ---- destinations -----------------------------------------------------------------------------
bool Turns(uint32_t code) { return code == 1 || code == 2; }

// Destination (column, row) of source pixel (x, y) for a destination stored as w x h.
std::pair<int32_t, int32_t> Place(uint32_t code, int32_t x, int32_t y, int32_t w, int32_t h) {
    switch (code) {
        case 0: return {x, y};
        case 1: return {y, w - 1 - x};
        case 2: return {h - 1 - y, x};
        case 3: return {w - 1 - x, h - 1 - y};
        case 4: return {w - 1 - x, y};
        default: return {x, h - 1 - y};
    }
}

// A packed picture (DW x DH pixels of `bytes` each) as the reference computes it, unrotated.
struct Packed {
    int32_t w, h, bytes;
    std::vector<uint32_t> px;
    Packed(int32_t w_, int32_t h_, int32_t b) : w(w_), h(h_), bytes(b), px(static_cast<size_t>(w_) * h_) {}
    uint32_t& at(int32_t x, int32_t y) { return px[static_cast<size_t>(y) * w + x]; }
};

// A guarded packed destination that holds the picture in either orientation, with row padding.
GuardedPlane PackedPlane(uint32_t code, int32_t w, int32_t h, int32_t bytes, uint8_t fill = 0xC3) {
    const int32_t cols = Turns(code) ? h : w, rows = Turns(code) ? w : h;
    return GuardedPlane(cols * bytes + 4 * bytes, rows, fill);
}

// The destination contents expected after the picture is placed by rotation `code`. A half turn
// of a packed picture is placed against the right end of each row, as measured by the stride.
std::vector<uint8_t> PlacedPacked(const GuardedPlane& dst, const Packed& im, uint32_t code) {
    std::vector<uint8_t> out = dst.contents();
    for (int32_t y = 0; y < im.h; ++y)
        for (int32_t x = 0; x < im.w; ++x) {
            auto [c, r] = Place(code, x, y, im.w, im.h);
            if (code == 3) c += dst.stride() / im.bytes - im.w;
            const size_t off = static_cast<size_t>(r) * dst.stride() + static_cast<size_t>(c) * im.bytes;
            for (int32_t k = 0; k < im.bytes; ++k) out[off + k] = static_cast<uint8_t>(im.px[static_cast<size_t>(y) * im.w + x] >> (8 * k));
        }
    return out;
}

// Three guarded planes: luma cols x rows, chroma (cols / cdiv) x (rows / rdiv), row padding.
struct Planar {
    GuardedPlane p[3];
    Planar(int32_t cols, int32_t rows, int32_t cdiv, int32_t rdiv, uint8_t fill = 0)
        : p{GuardedPlane(cols + 6, rows, fill), GuardedPlane(cols / cdiv + 3, rows / rdiv, fill),
            GuardedPlane(cols / cdiv + 5, rows / rdiv, fill)} {}
    void fillRandom(uint32_t seed) {
        for (int i = 0; i < 3; ++i) qvtest::FillPattern(p[i].data(), p[i].size(), seed + 17 * i);
    }
    View view(int i) const { return {p[i].data(), p[i].stride()}; }
    std::array<const uint8_t*, 3> src() const { return {p[0].data(), p[1].data(), p[2].data()}; }
    std::array<uint8_t*, 3> dst() { return {p[0].data(), p[1].data(), p[2].data()}; }
    std::array<int32_t, 3> strides() const { return {p[0].stride(), p[1].stride(), p[2].stride()}; }
    bool guardsIntact() const { return p[0].guardsIntact() && p[1].guardsIntact() && p[2].guardsIntact(); }
};

int32_t RunFrame(Context& c, const std::array<const uint8_t*, 3>& sp, const std::array<int32_t, 3>& ss,
            const std::array<uint8_t*, 3>& dp, const std::array<int32_t, 3>& ds) {
    return qv::QV_ImgPrcOneFrame(c.ctx, sp.data(), ss.data(), dp.data(), ds.data());
}
int32_t RunToPacked(Context& c, const Planar& src, GuardedPlane& dst) {
    return RunFrame(c, src.src(), src.strides(), {dst.data(), nullptr, nullptr}, {dst.stride(), 0, 0});
}
int32_t RunPacked(Context& c, const GuardedPlane& src, GuardedPlane& dst) {
    return RunFrame(c, {src.data(), nullptr, nullptr}, {src.stride(), 0, 0}, {dst.data(), nullptr, nullptr},
                    {dst.stride(), 0, 0});
}
int32_t RunFromPacked(Context& c, const GuardedPlane& src, Planar& dst) {
    return RunFrame(c, {src.data(), nullptr, nullptr}, {src.stride(), 0, 0}, dst.dst(), dst.strides());
}

// Non-neutral tables, so that the converters are seen to read the context's tables.
void Adjust(Context& c) {
    const int32_t values[3] = {140, 150, 170};
    ASSERT_EQ(qv::QV_ImgColorAdjustSet(c.ctx, values), 0);
}

// ---- 4:2:2 to RGB565 ----------------------------------------------------------------------------
Packed Ref422(const qv::QvImgPrcContext* ctx, const Planar& s, int32_t W, int32_t H, int32_t DW, int32_t DH) {
    Packed out(DW, DH, 2);
    if (W == DW && H == DH) {
        for (int32_t y = 0; y < H; ++y)
            for (int32_t x = 0; x < W; ++x)
                out.at(x, y) = Ref565(ctx, s.view(0).at(x, y), s.view(1).at(x / 2, y), s.view(2).at(x / 2, y));
        return out;
    }
    const int32_t sx = Step(W, DW), sy = Step(H, DH);
    for (int32_t j = 0; j < DH; ++j) {
        const Pos py = PosAt(j, sy, H);
        for (int32_t i = 0; i < DW; ++i) {
            const Pos px = PosAt(i, sx, W);
            const int32_t c = (i * sx) >> 17;
            auto chroma = [&](const View& v) {
                return static_cast<uint8_t>((((v.at(c, py.i1) - v.at(c, py.i0)) * py.w + (v.at(c, py.i0) << 5)) >> 5) & 255);
            };
            out.at(i, j) = Ref565(ctx, RefBilinear(s.view(0), px, py), chroma(s.view(1)), chroma(s.view(2)));
        }
    }
    return out;
}

struct SizeCase {
    int32_t w, h, dw, dh;
};

class From422Test : public testing::TestWithParam<SizeCase> {};

TEST_P(From422Test, MatchesTheReferenceWhateverTheRotationCode) {
    const SizeCase s = GetParam();
    Context c(MakeParams(0x103, s.w, s.h, s.dw, s.dh, 2));  // the rotation code is not looked at
    ASSERT_EQ(c.status, 0);
    Adjust(c);
    Planar src(s.w, s.h, 2, 1);
    src.fillRandom(s.w + s.dh);
    // An odd destination stride: rows advance by whole pixels, the stride rounded down to even.
    GuardedPlane dst(2 * s.dw + 5, s.dh, 0xC3);
    std::vector<uint8_t> expected = dst.contents();
    const Packed ref = Ref422(c.ctx, src, s.w, s.h, s.dw, s.dh);
    for (int32_t y = 0; y < s.dh; ++y)
        for (int32_t x = 0; x < s.dw; ++x) {
            const size_t off = static_cast<size_t>(y) * (2 * s.dw + 4) + 2 * x;
            expected[off] = static_cast<uint8_t>(ref.px[static_cast<size_t>(y) * s.dw + x]);
            expected[off + 1] = static_cast<uint8_t>(ref.px[static_cast<size_t>(y) * s.dw + x] >> 8);
        }
    ASSERT_EQ(RunToPacked(c, src, dst), 0);
    EXPECT_EQ(dst.contents(), expected);
    EXPECT_TRUE(dst.guardsIntact());
}
INSTANTIATE_TEST_SUITE_P(Sizes, From422Test,
                         testing::Values(SizeCase{16, 8, 16, 8}, SizeCase{16, 12, 8, 8}, SizeCase{8, 8, 20, 12},
                                         SizeCase{12, 16, 24, 8}));

TEST(From422Test, ScalerAtEqualSizeEqualsTheDirectConverter) {
    Context c(MakeParams(0x103, 12, 8, 12, 8));
    ASSERT_EQ(c.status, 0);
    Planar src(12, 8, 2, 1);
    src.fillRandom(8);
    GuardedPlane direct(24, 8), scaled(24, 8);
    const auto sp = src.src();
    const auto ss = src.strides();
    qv::_QVYCbCr422ToRGB565(c.ctx, sp.data(), ss.data(), 12, 8, direct.data(), 24);
    qv::_QVYCbCr422ToRGB565Rsz(c.ctx, sp.data(), ss.data(), 12, 8, scaled.data(), 24, 12, 8);
    EXPECT_EQ(scaled.contents(), direct.contents());
    EXPECT_TRUE(direct.guardsIntact() && scaled.guardsIntact());
}

// ---- 4:4:4 to RGB565, RGB888, ARGB32 --------------------------------------------------------------
struct From444Case {
    int32_t destination;  // format code
    SizeCase size;
    uint32_t code;
};

class From444Test : public testing::TestWithParam<From444Case> {};

TEST_P(From444Test, MatchesTheReferencePlacedByTheRotationTable) {
    const From444Case p = GetParam();
    const SizeCase s = p.size;
    const uint8_t alpha = 0x5E;
    Context c(MakeParams(0x200 | p.destination, s.w, s.h, s.dw, s.dh, p.code, 2, 0x700 | alpha));
    ASSERT_EQ(c.status, 0);
    Adjust(c);
    Planar src(s.w, s.h, 1, 1);
    src.fillRandom(s.w * 3 + s.dh + p.code);
    const int32_t bytes = p.destination == qv::kRGB565 ? 2 : p.destination == qv::kRGB888 ? 3 : 4;
    Packed ref(s.dw, s.dh, bytes);
    const int32_t sx = Step(s.w, s.dw), sy = Step(s.h, s.dh);
    for (int32_t j = 0; j < s.dh; ++j)
        for (int32_t i = 0; i < s.dw; ++i) {
            const Pos px = PosAt(i, sx, s.w), py = PosAt(j, sy, s.h);
            const uint8_t Y = RefBilinear(src.view(0), px, py), cb = RefBilinear(src.view(1), px, py),
                          cr = RefBilinear(src.view(2), px, py);
            ref.at(i, j) = bytes == 2   ? Ref565(c.ctx, Y, cb, cr)
                           : bytes == 3 ? RefRGB8(c.ctx, Y, cb, cr)
                                        : (RefRGB8(c.ctx, Y, cb, cr) | static_cast<uint32_t>(alpha) << 24);
        }
    GuardedPlane dst = PackedPlane(p.code, s.dw, s.dh, bytes);
    const std::vector<uint8_t> expected = PlacedPacked(dst, ref, p.code);
    ASSERT_EQ(RunToPacked(c, src, dst), 0);
    EXPECT_EQ(dst.contents(), expected);
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<From444Case> From444Cases() {
    std::vector<From444Case> v;
    for (int32_t d : {qv::kRGB565, qv::kRGB888, qv::kARGB32})
        for (uint32_t code = 0; code <= 5; ++code)
            for (SizeCase s : {SizeCase{12, 8, 12, 8}, SizeCase{16, 12, 8, 8}, SizeCase{8, 8, 20, 12}})
                v.push_back({d, s, code});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllFormatsAndCodes, From444Test, testing::ValuesIn(From444Cases()));

// ---- RGB to 4:2:0 -----------------------------------------------------------------------------------
struct RGB {
    int32_t r, g, b;
};
RGB Unpack(int32_t source, const uint8_t* p) {
    if (source == qv::kRGB565) {
        const uint32_t v = p[0] | p[1] << 8;
        return {static_cast<int32_t>((v >> 11) << 3), static_cast<int32_t>(((v >> 5) & 63) << 2), static_cast<int32_t>((v & 31) << 3)};
    }
    if (source == qv::kARGB32) return {p[2], p[1], p[0]};
    return {p[0], p[1], p[2]};  // ABGR32: red in the low byte
}

struct Yuv {
    std::vector<uint8_t> y, cb, cr;  // tight, W x H and W/2 x H/2
};
Yuv RefEncode(int32_t source, const uint8_t* src, int32_t pitch, int32_t W, int32_t H) {
    const bool is565 = source == qv::kRGB565;
    const int32_t B = is565 ? 2 : 4, round = is565 ? 0 : 128;
    Yuv out{std::vector<uint8_t>(W * H), std::vector<uint8_t>(W * H / 4), std::vector<uint8_t>(W * H / 4)};
    for (int32_t r = 0; r < H / 2; ++r)
        for (int32_t c = 0; c < W / 2; ++c) {
            const uint8_t* top = src + 2 * r * pitch + 2 * c * B;
            const uint8_t* bottom = top + (is565 ? (pitch & ~3) : pitch);  // RGB565: pitch rounded to 4
            const RGB px[4] = {Unpack(source, top), Unpack(source, top + B), Unpack(source, bottom),
                               Unpack(source, bottom + B)};
            for (int k = 0; k < 4; ++k)
                out.y[(2 * r + k / 2) * W + 2 * c + k % 2] =
                    static_cast<uint8_t>(((65 * px[k].r + 129 * px[k].g + 25 * px[k].b + round) >> 8) + 16);
            const RGB& q = is565 ? px[2] : px[3];  // bottom-left for RGB565, bottom-right otherwise
            out.cb[r * W / 2 + c] = static_cast<uint8_t>(((112 * q.b - 38 * q.r - 74 * q.g + round) >> 8) + 128);
            out.cr[r * W / 2 + c] = static_cast<uint8_t>(((112 * q.r - 94 * q.g - 18 * q.b + round) >> 8) + 128);
        }
    return out;
}

// Encodes a tight 4 x 2 frame of `pixels` (row-major, in the source's own unit) straight.
Yuv Encode(int32_t source, const std::vector<uint32_t>& pixels, int32_t W, int32_t H) {
    const int32_t B = source == qv::kRGB565 ? 2 : 4;
    Context c(MakeParams(source << 8, W, H, W, H));
    EXPECT_EQ(c.status, 0);
    GuardedPlane src(W * B, H);
    for (size_t i = 0; i < pixels.size(); ++i)
        for (int32_t k = 0; k < B; ++k) src.data()[i * B + k] = static_cast<uint8_t>(pixels[i] >> (8 * k));
    Planar dst(W, H, 2, 2);
    EXPECT_EQ(RunFromPacked(c, src, dst), 0);
    EXPECT_TRUE(dst.guardsIntact());
    Yuv out;
    for (int32_t y = 0; y < H; ++y)
        for (int32_t x = 0; x < W; ++x) out.y.push_back(dst.p[0].at(x, y));
    for (int32_t y = 0; y < H / 2; ++y)
        for (int32_t x = 0; x < W / 2; ++x) {
            out.cb.push_back(dst.p[1].at(x, y));
            out.cr.push_back(dst.p[2].at(x, y));
        }
    return out;
}

TEST(ToYCbCr420Test, WorkedNumbers) {
    const std::vector<uint32_t> white565(16, 0xFFFF), black565(16, 0);
    EXPECT_EQ(Encode(qv::kRGB565, white565, 4, 4).y, std::vector<uint8_t>(16, 230));
    EXPECT_EQ(Encode(qv::kRGB565, black565, 4, 4).y, std::vector<uint8_t>(16, 16));
    for (int32_t source : {qv::kARGB32, qv::kABGR32}) {
        EXPECT_EQ(Encode(source, std::vector<uint32_t>(16, 0xFFFFFFFF), 4, 4).y, std::vector<uint8_t>(16, 234));
        EXPECT_EQ(Encode(source, std::vector<uint32_t>(16, 0xFF000000), 4, 4).y, std::vector<uint8_t>(16, 16));
    }
    const Yuv blue = Encode(qv::kARGB32, std::vector<uint32_t>(16, 0x000000FF), 4, 4);
    EXPECT_EQ(blue.cb, std::vector<uint8_t>(4, 240));
    EXPECT_EQ(blue.cr, std::vector<uint8_t>(4, 110));
    const Yuv blueAbgr = Encode(qv::kABGR32, std::vector<uint32_t>(16, 0x00FF0000), 4, 4);
    EXPECT_EQ(blueAbgr.cb, std::vector<uint8_t>(4, 240));
    const Yuv red = Encode(qv::kRGB565, std::vector<uint32_t>(16, 0xF800), 4, 4);
    EXPECT_EQ(red.cr, std::vector<uint8_t>(4, 236));
    EXPECT_EQ(red.cb, std::vector<uint8_t>(4, 91));
}

TEST(ToYCbCr420Test, ChromaCornerDiffersBetween16And32BitSources) {
    // Bottom-left pixel of every block red, the rest white.
    auto frame = [](uint32_t white, uint32_t red, int corner) {
        std::vector<uint32_t> px(16, white);
        for (int32_t r = 1; r < 4; r += 2)
            for (int32_t c = 0; c < 4; c += 2) px[r * 4 + c + corner] = red;
        return px;
    };
    const Yuv a = Encode(qv::kRGB565, frame(0xFFFF, 0xF800, 0), 4, 4);
    EXPECT_EQ(a.cb, std::vector<uint8_t>(4, 91));
    EXPECT_EQ(a.cr, std::vector<uint8_t>(4, 236));
    const Yuv b = Encode(qv::kARGB32, frame(0xFFFFFFFF, 0xFFFF0000, 0), 4, 4);
    EXPECT_EQ(b.cb, std::vector<uint8_t>(4, 128));
    EXPECT_EQ(b.cr, std::vector<uint8_t>(4, 128));
    // Red in the bottom-right corner instead: the 32-bit source now takes red chroma.
    const Yuv d = Encode(qv::kARGB32, frame(0xFFFFFFFF, 0xFFFF0000, 1), 4, 4);
    EXPECT_EQ(d.cb, std::vector<uint8_t>(4, 90));
    EXPECT_EQ(d.cr, std::vector<uint8_t>(4, 240));
}

struct EncodeCase {
    int32_t source;
    uint32_t code;
};
class ToYCbCr420Test : public testing::TestWithParam<EncodeCase> {};

TEST_P(ToYCbCr420Test, MatchesTheReferencePlacedByTheRotationTable) {
    const EncodeCase p = GetParam();
    const int32_t W = 16, H = 12, B = p.source == qv::kRGB565 ? 2 : 4;
    Context c(MakeParams(p.source << 8, W, H, W, H, p.code));
    ASSERT_EQ(c.status, 0);
    // An RGB565 pitch that is not a multiple of 4: the lower row of a pair is read at pitch & ~3.
    GuardedPlane src(W * B + (B == 2 ? 6 : 8), H);
    qvtest::FillPattern(src.data(), src.size(), 40 + p.source + p.code);  // alpha bytes too: never read
    const Yuv ref = RefEncode(p.source, src.data(), src.stride(), W, H);
    const int32_t cols = Turns(p.code) ? H : W, rows = Turns(p.code) ? W : H;
    Planar dst(cols, rows, 2, 2, 0x66);
    std::vector<uint8_t> expected[3];
    for (int i = 0; i < 3; ++i) {
        expected[i] = dst.p[i].contents();
        const int32_t w = i == 0 ? W : W / 2, h = i == 0 ? H : H / 2;
        const std::vector<uint8_t>& plane = i == 0 ? ref.y : i == 1 ? ref.cb : ref.cr;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) {
                const auto [cc, rr] = Place(p.code, x, y, w, h);
                expected[i][static_cast<size_t>(rr) * dst.p[i].stride() + cc] = plane[y * w + x];
            }
    }
    ASSERT_EQ(RunFromPacked(c, src, dst), 0);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), expected[i]) << "plane " << i;
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<EncodeCase> EncodeCases() {
    std::vector<EncodeCase> v;
    for (int32_t s : {qv::kRGB565, qv::kARGB32, qv::kABGR32})
        for (uint32_t code = 0; code <= 5; ++code) v.push_back({s, code});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllSourcesAndCodes, ToYCbCr420Test, testing::ValuesIn(EncodeCases()));

TEST(ToYCbCr420Test, RotatedIntoASmallerDestinationIsRefused) {
    for (int32_t source : {qv::kRGB565, qv::kARGB32, qv::kABGR32}) {
        Context c(MakeParams(source << 8, 16, 16, 16, 8, 1));
        ASSERT_EQ(c.status, 0);
        GuardedPlane src(64, 16, 0x44);
        Planar dst(16, 16, 2, 2, 0x99);
        const std::vector<uint8_t> before = dst.p[0].contents();
        EXPECT_EQ(RunFromPacked(c, src, dst), -1);
        EXPECT_EQ(dst.p[0].contents(), before);
        for (int i = 1; i < 3; ++i) EXPECT_EQ(dst.p[i].contents(), std::vector<uint8_t>(dst.p[i].size(), 0x99));
        EXPECT_TRUE(dst.guardsIntact());
    }
}

// ---- RGB scaling and rotation -----------------------------------------------------------------------
struct RgbCase {
    int32_t operation;
    SizeCase size;
    uint32_t code;
};

Packed RefRgbScale(int32_t operation, const GuardedPlane& src, const SizeCase& s) {
    const bool to565 = (operation & 0xFF) == qv::kRGB565;
    Packed out(s.dw, s.dh, to565 ? 2 : 3);
    const int32_t sx = Step(s.w, s.dw), sy = Step(s.h, s.dh);
    for (int32_t j = 0; j < s.dh; ++j)
        for (int32_t i = 0; i < s.dw; ++i) {
            const Pos px = PosAt(i, sx, s.w), py = PosAt(j, sy, s.h);
            const uint8_t* r0 = src.row(py.i0);
            const uint8_t* r1 = src.row(py.i1);
            if (operation == 0x303) {
                auto E = [](const uint8_t* p) {
                    const uint32_t v = p[0] | p[1] << 8;
                    return ((v >> 5) & 63) << 10 | (v >> 11) << 21 | (v & 31);
                };
                auto column = [&](int32_t x) {
                    return ((E(r1 + 2 * x) * py.w + E(r0 + 2 * x) * (32 - py.w)) >> 5) & 0x3E0FC1Fu;
                };
                const uint32_t v = column(px.i1) * px.w + column(px.i0) * (32 - px.w);
                out.at(i, j) = ((v >> 15) & 63) << 5 | (v >> 26) << 11 | ((v >> 5) & 31);
            } else {
                uint32_t h[3];
                for (int k = 0; k < 3; ++k) {
                    auto V = [&](int32_t b) { return static_cast<uint32_t>(r1[b + k] * py.w + r0[b + k] * (32 - py.w)); };
                    h[k] = (V(3 * px.i1) >> 5) * px.w + (V(3 * px.i0) >> 5) * (32 - px.w);
                }
                out.at(i, j) = to565 ? (h[2] >> 8) << 11 | (h[1] >> 7) << 5 | (h[0] >> 8)
                                     : (h[2] >> 5) << 16 | (h[1] >> 5) << 8 | (h[0] >> 5);
            }
        }
    return out;
}

class RgbScaleTest : public testing::TestWithParam<RgbCase> {};

TEST_P(RgbScaleTest, MatchesTheReferencePlacedByTheRotationTable) {
    const RgbCase p = GetParam();
    const SizeCase s = p.size;
    Context c(MakeParams(p.operation, s.w, s.h, s.dw, s.dh, p.code));
    ASSERT_EQ(c.status, 0);
    const int32_t srcBytes = p.operation == 0x303 ? 2 : 3, dstBytes = p.operation == 0x404 ? 3 : 2;
    GuardedPlane src(s.w * srcBytes + 6, s.h);
    qvtest::FillPattern(src.data(), src.size(), p.operation + 5 * p.code + s.dw);
    const Packed ref = RefRgbScale(p.operation, src, s);
    GuardedPlane dst = PackedPlane(p.code, s.dw, s.dh, dstBytes);
    const std::vector<uint8_t> expected = PlacedPacked(dst, ref, p.code);
    ASSERT_EQ(RunPacked(c, src, dst), 0);
    EXPECT_EQ(dst.contents(), expected);
    EXPECT_TRUE(dst.guardsIntact());
}

std::vector<RgbCase> RgbCases() {
    std::vector<RgbCase> v;
    for (int32_t op : {0x303, 0x403, 0x404})
        for (uint32_t code = 0; code <= 5; ++code)
            for (SizeCase s : {SizeCase{12, 8, 12, 8}, SizeCase{16, 12, 8, 8}, SizeCase{8, 8, 20, 12}, SizeCase{8, 16, 16, 4}})
                v.push_back({op, s, code});
    return v;
}
INSTANTIATE_TEST_SUITE_P(AllOperationsAndCodes, RgbScaleTest, testing::ValuesIn(RgbCases()));

TEST(RgbScaleTest, EqualSizeCopiesPixels) {
    for (int32_t op : {0x303, 0x404}) {
        const int32_t B = op == 0x303 ? 2 : 3;
        Context c(MakeParams(op, 12, 8, 12, 8));
        ASSERT_EQ(c.status, 0);
        GuardedPlane src(12 * B, 8), dst(12 * B, 8);
        qvtest::FillPattern(src.data(), src.size(), 77);
        ASSERT_EQ(RunPacked(c, src, dst), 0);
        EXPECT_EQ(dst.contents(), src.contents()) << std::hex << op;
        EXPECT_TRUE(dst.guardsIntact());
    }
}

TEST(RGB565ToARGB32Test, WidensEveryPixelWithTheAlphaOnTop) {
    const int32_t W = 12, H = 8;
    Context c(MakeParams(0x305, W, H, W, H, 3, 2, 0x1C7));  // rotation is not looked at
    ASSERT_EQ(c.status, 0);
    GuardedPlane src(2 * W + 10, H), dst(4 * W + 8, H, 0xD2);
    qvtest::FillPattern(src.data(), src.size(), 9);
    src.row(0)[0] = src.row(0)[1] = 0xFF;  // one white pixel
    std::vector<uint8_t> expected = dst.contents();
    for (int32_t y = 0; y < H; ++y)
        for (int32_t x = 0; x < W; ++x) {
            const uint32_t p = src.row(y)[2 * x] | src.row(y)[2 * x + 1] << 8;
            const uint32_t v = 0xC7000000u | ((p >> 11) << 3) << 16 | (((p >> 5) & 63) << 2) << 8 | (p & 31) << 3;
            for (int k = 0; k < 4; ++k) expected[static_cast<size_t>(y) * dst.stride() + 4 * x + k] = static_cast<uint8_t>(v >> (8 * k));
        }
    ASSERT_EQ(RunPacked(c, src, dst), 0);
    EXPECT_EQ(dst.contents(), expected);
    uint32_t white;
    std::memcpy(&white, dst.row(0), 4);
    EXPECT_EQ(white, 0xC7F8FCF8u);  // red 248, green 252, blue 248
    EXPECT_TRUE(dst.guardsIntact());
}

TEST(RGB565ToARGB32Test, EmptyPictureWritesNothing) {
    GuardedPlane src(16, 2, 0xFF), dst(32, 2, 0x31);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(src.data(), 8, dst.data(), 8, 0, 2, 0xFF), 0);
    EXPECT_EQ(qv::_QVRGB565ToARGB32(src.data(), 8, dst.data(), 8, 8, 0, 0xFF), 0);
    EXPECT_EQ(dst.contents(), std::vector<uint8_t>(dst.size(), 0x31));
    EXPECT_TRUE(dst.guardsIntact());
}

// ---- 4:2:0 to RGB555 --------------------------------------------------------------------------------
uint16_t Ref555(const qv::QvImgPrcContext* ctx, uint8_t Y, uint8_t cb, uint8_t cr, uint32_t key) {
    if ((static_cast<uint32_t>(Y) << 16 | cb << 8 | cr) == key) return 0;
    const int32_t y = ctx->yTable[Y];
    const Terms t = TermsOf(ctx, cb, cr);
    return static_cast<uint16_t>(Clamp((y + t.red) >> 10, 31) << 11 | Clamp((y + t.green) >> 10, 31) << 6 |
                                 Clamp((y + t.blue) >> 10, 31) << 1 | 1);
}

// Converts a W x H 4:2:0 frame through the dispatcher, checks every pixel against the reference
// and the row padding, and returns the destination pixels.
std::vector<uint16_t> To555(const Planar& src, int32_t W, int32_t H, uint32_t key, bool adjust = false) {
    Context c(MakeParams(0x00A, W, H, W, H, 0, 2, 0xFF, key));
    EXPECT_EQ(c.status, 0);
    if (adjust) Adjust(c);
    GuardedPlane dst(2 * W + 6, H, 0xB4);
    EXPECT_EQ(RunToPacked(c, src, dst), 0);
    std::vector<uint16_t> out;
    for (int32_t y = 0; y < H; ++y) {
        for (int32_t x = 0; x < W; ++x) {
            out.push_back(static_cast<uint16_t>(dst.row(y)[2 * x] | dst.row(y)[2 * x + 1] << 8));
            EXPECT_EQ(out.back(), Ref555(c.ctx, src.view(0).at(x, y), src.view(1).at(x / 2, y / 2),
                                         src.view(2).at(x / 2, y / 2), key))
                << x << "," << y;
        }
        for (int32_t b = 2 * W; b < dst.stride(); ++b) EXPECT_EQ(dst.row(y)[b], 0xB4);
    }
    EXPECT_TRUE(dst.guardsIntact());
    return out;
}

Planar Flat420(uint8_t y, uint8_t cb, uint8_t cr) {
    Planar p(8, 4, 2, 2);
    for (int i = 0; i < 3; ++i) std::fill(p.p[i].data(), p.p[i].data() + p.p[i].size(), i == 0 ? y : i == 1 ? cb : cr);
    return p;
}

TEST(ToRGB555Test, KeyedBlackBecomesZeroAndEverythingElseCarriesTheMaskBit) {
    const uint32_t key = 16u << 16 | 128u << 8 | 128u;
    EXPECT_EQ(To555(Flat420(16, 128, 128), 8, 4, key), std::vector<uint16_t>(32, 0));
    // One luma level off the key is converted: black without the key is the mask bit alone.
    EXPECT_EQ(To555(Flat420(17, 128, 128), 8, 4, key), std::vector<uint16_t>(32, 1));
    EXPECT_EQ(To555(Flat420(16, 128, 128), 8, 4, 0), std::vector<uint16_t>(32, 1));
    // Saturated: every channel clamps to 31.
    EXPECT_EQ(To555(Flat420(255, 128, 128), 8, 4, key), std::vector<uint16_t>(32, 0xFFFF));
    // A key with a non-zero top byte never matches.
    EXPECT_EQ(To555(Flat420(16, 128, 128), 8, 4, key | 0x01000000), std::vector<uint16_t>(32, 1));
    // A key of 0 matches only Y = Cb = Cr = 0.
    EXPECT_EQ(To555(Flat420(0, 0, 0), 8, 4, 0), std::vector<uint16_t>(32, 0));
}

TEST(ToRGB555Test, MatchesTheReferencePerPixelWithTheBlocksSharedChroma) {
    const int32_t W = 16, H = 12;
    Planar src(W, H, 2, 2);
    src.fillRandom(123);
    // Key one pixel's triple; its block neighbours share the chroma but not the luma.
    src.p[0].at(5, 3) = 200;
    src.p[0].at(4, 3) = 201;
    const uint32_t key = 200u << 16 | src.view(1).at(2, 1) << 8 | src.view(2).at(2, 1);
    const std::vector<uint16_t> out = To555(src, W, H, key, true);
    EXPECT_EQ(out[3 * W + 5], 0);
    EXPECT_EQ(out[3 * W + 4] & 1, 1);
}

}  // namespace
