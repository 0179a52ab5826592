// An independent per-pixel model of the 4:2:0 to RGB converters, written channel by channel from
// the conversion formulas (never by calling the library's arithmetic), plus the frames, line
// buffers and placement helpers the RGB tests share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/qv_routines.h"
#include "test_support.h"

namespace rgbref {

using qvtest::GuardedPlane;

// ---- colour model -------------------------------------------------------------------------------

// Chroma contributions of a table pair, in 1/128 level units.
struct Terms {
    int32_t red, green, blue;
};
inline Terms TermsOf(const qv::QvImgPrcContext* ctx, uint8_t cb, uint8_t cr) {
    const int32_t B = ctx->cbTable[cb], R = ctx->crTable[cr];
    const uint32_t sum = static_cast<uint32_t>(B) + static_cast<uint32_t>(R);
    // Whole entries shifted by 15; green: the signed low half of the sum, doubled.
    return {R >> 15, 2 * static_cast<int32_t>(static_cast<int16_t>(sum & 0xFFFF)), B >> 15};
}
inline int32_t Clamp(int32_t v, int32_t hi) { return std::min(std::max(v, 0), hi); }

// Channels of an interpolation word: red and green 0..63, blue 0..31.
struct Rgb {
    int32_t r, g, b;
    bool operator==(const Rgb&) const = default;
};
inline Rgb WordOf(const qv::QvImgPrcContext* ctx, uint8_t y, const Terms& t) {
    const int32_t l = ctx->yTable[y];
    return {Clamp((l + t.red) >> 9, 63), Clamp((l + t.green) >> 9, 63), Clamp((l + t.blue) >> 10, 31)};
}
inline uint32_t Encode(const Rgb& c) {
    return static_cast<uint32_t>(c.r) << 21 | static_cast<uint32_t>(c.g) << 10 | static_cast<uint32_t>(c.b);
}
inline Rgb Decode(uint32_t w) {
    return {static_cast<int32_t>(w >> 21 & 63), static_cast<int32_t>(w >> 10 & 63), static_cast<int32_t>(w & 31)};
}

// A weighted sum of channels; the weights of a blend sum to 2^k.
struct Sum {
    int32_t r = 0, g = 0, b = 0;
};
inline Sum Weighted(std::initializer_list<std::pair<int32_t, Rgb>> terms) {
    Sum s;
    for (const auto& [w, c] : terms) {
        s.r += w * c.r;
        s.g += w * c.g;
        s.b += w * c.b;
    }
    return s;
}
inline Rgb Shifted(const Sum& s, int k) { return {s.r >> k, s.g >> k, s.b >> k}; }

// RGB565 of a blend with denominator 2^k (the lowest red bit is dropped).
inline uint32_t To565(const Sum& s, int k) {
    return static_cast<uint32_t>((s.r >> (k + 1)) << 11 | (s.g >> k) << 5 | (s.b >> k));
}
// ARGB32 of a fixed-ratio blend: red and green x4, blue x8 with its low three bits clear.
inline uint32_t ToARGBFixed(const Sum& s, int k, uint8_t alpha) {
    return static_cast<uint32_t>(alpha) << 24 | static_cast<uint32_t>(((4 * s.r) >> k) & 0xFF) << 16 |
           static_cast<uint32_t>(((4 * s.g) >> k) & 0xFF) << 8 | static_cast<uint32_t>(((s.b >> k) << 3) & 0xFF);
}
// 8-bit channels of a 32-weight blend as HLerp32 and HLerp24 produce them.
struct Rgb8 {
    uint32_t r, g, b;
};
inline Rgb8 To8(const Sum& s) {
    return {static_cast<uint32_t>(s.r >> 3) & 0xFF, static_cast<uint32_t>(s.g >> 3) & 0xFF,
            static_cast<uint32_t>(s.b >> 2) & 0xFF};
}
inline uint32_t ARGB(const Rgb8& c, uint8_t alpha) {
    return static_cast<uint32_t>(alpha) << 24 | c.r << 16 | c.g << 8 | c.b;
}
// RGB888 values are kept as b | g << 8 | r << 16, the byte order in memory.
inline uint32_t BGR(const Rgb8& c) { return c.b | c.g << 8 | c.r << 16; }

// Direct per-pixel conversions.
enum class Format { kRGB565, kARGB32, kRGB888 };
inline int32_t BytesOf(Format f) { return f == Format::kRGB565 ? 2 : f == Format::kARGB32 ? 4 : 3; }
inline uint32_t Direct(const qv::QvImgPrcContext* ctx, Format f, uint8_t y, const Terms& t, uint8_t alpha) {
    const int32_t l = ctx->yTable[y];
    if (f == Format::kRGB565) {
        return static_cast<uint32_t>(Clamp((l + t.red) >> 10, 31) << 11 | Clamp((l + t.green) >> 9, 63) << 5 |
                                     Clamp((l + t.blue) >> 10, 31));
    }
    const Rgb8 c{static_cast<uint32_t>(Clamp((l + t.red) >> 7, 255)), static_cast<uint32_t>(Clamp((l + t.green) >> 7, 255)),
                 static_cast<uint32_t>(Clamp((l + t.blue) >> 7, 255))};
    return f == Format::kARGB32 ? ARGB(c, alpha) : BGR(c);
}

// ---- frames ---------------------------------------------------------------------------------------

// A 4:2:0 picture with random content. `extraRows` luma rows (and half as many chroma rows) lie
// below the picture inside the planes; the Cr plane may have its own stride.
struct Frame {
    int32_t W, H;
    GuardedPlane y, cb, cr;
    Frame(int32_t w, int32_t h, uint32_t seed, int32_t lumaPad = 3, int32_t cbPad = 1, int32_t crPad = 1,
          int32_t extraRows = 0)
        : W(w), H(h), y(w + lumaPad, h + extraRows), cb(w / 2 + cbPad, (h + extraRows + 1) / 2),
          cr(w / 2 + crPad, (h + extraRows + 1) / 2) {
        qvtest::FillPattern(y.data(), y.size(), seed);
        qvtest::FillPattern(cb.data(), cb.size(), seed + 1);
        qvtest::FillPattern(cr.data(), cr.size(), seed + 2);
    }
    const uint8_t* planes[3];
    int32_t strides[3];
    // The arrays handed to the routines.
    const uint8_t* const* sp() {
        planes[0] = y.data();
        planes[1] = cb.data();
        planes[2] = cr.data();
        return planes;
    }
    const int32_t* ss() {
        strides[0] = y.stride();
        strides[1] = cb.stride();
        strides[2] = cr.stride();
        return strides;
    }
    // Makes every chroma row equal to row 0, so a row's choice of chroma row cannot matter.
    void FlattenChromaRows() {
        for (int32_t r = 1; r < cb.rows(); ++r) std::copy(cb.row(0), cb.row(0) + cb.stride(), cb.row(r));
        for (int32_t r = 1; r < cr.rows(); ++r) std::copy(cr.row(0), cr.row(0) + cr.stride(), cr.row(r));
    }
    uint8_t Y(int32_t x, int32_t r) const { return y.row(r)[x]; }
    uint8_t Cb(int32_t cx, int32_t cy) const { return cb.row(cy)[cx]; }
    // Cr read with a chosen row stride: its own, or the Cb stride where a routine steps it so.
    uint8_t Cr(int32_t cx, int32_t cy, int32_t rowStride) const {
        return cr.data()[static_cast<ptrdiff_t>(cy) * rowStride + cx];
    }
    uint8_t Cr(int32_t cx, int32_t cy) const { return Cr(cx, cy, cr.stride()); }
};

// Interpolation words of source row r converted with chroma row c.
inline std::vector<Rgb> ConvertedRow(const qv::QvImgPrcContext* ctx, const Frame& f, int32_t r, int32_t c,
                                     int32_t crRowStride) {
    std::vector<Rgb> row(f.W);
    for (int32_t x = 0; x < f.W; ++x) row[x] = WordOf(ctx, f.Y(x, r), TermsOf(ctx, f.Cb(x / 2, c), f.Cr(x / 2, c, crRowStride)));
    return row;
}

// ---- pictures and placement -----------------------------------------------------------------------

// A picture of packed pixel values, row-major.
struct Picture {
    int32_t w, h;
    std::vector<uint32_t> px;
    Picture(int32_t w_, int32_t h_) : w(w_), h(h_), px(static_cast<size_t>(w_) * h_) {}
    uint32_t& at(int32_t x, int32_t y) { return px[static_cast<size_t>(y) * w + x]; }
    uint32_t at(int32_t x, int32_t y) const { return px[static_cast<size_t>(y) * w + x]; }
};

inline void PutBytes(uint8_t* p, uint32_t v, int32_t bytes) {
    for (int32_t i = 0; i < bytes; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

// Straight rows, row r at rowOffset(r); rows written in order.
inline void PlaceRows(std::vector<uint8_t>& out, const Picture& pic, int32_t bytes,
                      const std::function<ptrdiff_t(int32_t)>& rowOffset) {
    for (int32_t y = 0; y < pic.h; ++y)
        for (int32_t x = 0; x < pic.w; ++x) PutBytes(out.data() + rowOffset(y) + static_cast<ptrdiff_t>(x) * bytes, pic.at(x, y), bytes);
}

// Destination byte offset of picture pixel (x, y) under a rotation code, for a destination stored
// as W x H (unrotated) with stride s: the rotation table, where the half turn finds its first
// pixel from the stride (the picture sits against the right end of each row).
inline ptrdiff_t RotatedOffset(uint32_t code, int32_t x, int32_t y, int32_t W, int32_t H, int32_t s, int32_t B) {
    ptrdiff_t row = 0, col = 0;
    switch (code) {
        case 0: row = y; col = x; break;
        case 1: row = W - 1 - x; col = y; break;
        case 2: row = x; col = H - 1 - y; break;
        case 3: return static_cast<ptrdiff_t>(H - 1 - y) * s + (s - B) - static_cast<ptrdiff_t>(x) * B;
        case 4: row = y; col = W - 1 - x; break;
        default: row = H - 1 - y; col = x; break;
    }
    return row * s + col * B;
}
inline void PlaceRotated(std::vector<uint8_t>& out, const Picture& pic, uint32_t code, int32_t s, int32_t B) {
    for (int32_t y = 0; y < pic.h; ++y)
        for (int32_t x = 0; x < pic.w; ++x)
            PutBytes(out.data() + RotatedOffset(code, x, y, pic.w, pic.h, s, B), pic.at(x, y), B);
}
// Rows (in bytes) of a destination of `rows` stored rows for a rotation code.
inline int32_t StoredRows(uint32_t code, int32_t W, int32_t H) { return code == 1 || code == 2 ? W : H; }

// ---- route models -----------------------------------------------------------------------------------

// Same size: 2x2 blocks share the chroma sample; the Cr row is addressed with crRowStride.
inline Picture SameSize(const qv::QvImgPrcContext* ctx, const Frame& f, Format fmt, int32_t crRowStride,
                        uint8_t alpha = 0) {
    Picture p(f.W, f.H);
    for (int32_t y = 0; y < f.H; ++y)
        for (int32_t x = 0; x < f.W; ++x)
            p.at(x, y) = Direct(ctx, fmt, f.Y(x, y), TermsOf(ctx, f.Cb(x / 2, y / 2), f.Cr(x / 2, y / 2, crRowStride)), alpha);
    return p;
}

// Single-pass scaling: bilinear luma in two truncating 5-bit stages, lower neighbour taken from the
// next row (weight 0 at the last row), right neighbour clamped; chroma of the 2x2 destination block
// from the mean of its two integer positions.
inline Picture Scaled(const qv::QvImgPrcContext* ctx, const Frame& f, int32_t DW, int32_t DH, Format fmt,
                      uint8_t alpha = 0) {
    const int32_t xstep = ((f.W - 1) << 16) / (DW - 1), ystep = ((f.H - 1) << 16) / (DH - 1);
    Picture p(DW, DH);
    for (int32_t r = 0; r < DH; ++r) {
        const int32_t pos = r * ystep, top = pos >> 16, fy = (pos >> 11) & 31;
        const int32_t below = std::min(top + 1, f.H - 1);  // only ever weighted 0 when clamped
        const int32_t pairTop = (r & ~1) * ystep >> 16, pairBottom = ((r & ~1) + 1) * ystep >> 16;
        const int32_t chromaRow = (pairTop + pairBottom + 1) >> 2;
        for (int32_t c = 0; c < DW; ++c) {
            const int32_t xpos = c * xstep, left = xpos >> 16, fx = (xpos >> 11) & 31;
            const int32_t right = std::min(left + 1, f.W - 1);
            auto vert = [&](int32_t x) { return (32 * f.Y(x, top) + (f.Y(x, below) - f.Y(x, top)) * fy) >> 4; };
            const int32_t luma = (((vert(right) - vert(left)) * fx + 32 * vert(left)) >> 6) & 0xFF;
            const int32_t pairLeft = (c & ~1) * xstep >> 16, pairRight = ((c & ~1) + 1) * xstep >> 16;
            const int32_t chromaCol = (pairLeft + pairRight + 1) >> 2;
            p.at(c, r) = Direct(ctx, fmt, static_cast<uint8_t>(luma),
                                TermsOf(ctx, f.Cb(chromaCol, chromaRow), f.Cr(chromaCol, chromaRow)), alpha);
        }
    }
    return p;
}

// Horizontal stages of the line-buffer routes, from a row of interpolation-word channels.
enum class Horizontal { k565, kARGB32, kRGB888, k23_565, k23_ARGB32, k25_565, k25_ARGB32 };

inline std::vector<uint32_t> Resample(const std::vector<Rgb>& line, int32_t DW, Horizontal h, uint8_t alpha) {
    const int32_t W = static_cast<int32_t>(line.size());
    std::vector<uint32_t> out;
    auto s = [&](int32_t i) { return line[std::min(i, W - 1)]; };
    if (h == Horizontal::k565 || h == Horizontal::kARGB32 || h == Horizontal::kRGB888) {
        const int32_t xstep = ((W - 1) << 16) / (DW - 1);
        for (int32_t c = 0; c < DW; ++c) {
            const int32_t pos = c * xstep, i = pos >> 16, w = (pos >> 11) & 31;
            const Sum sum = Weighted({{32 - w, s(i)}, {w, w ? s(i + 1) : Rgb{}}});
            out.push_back(h == Horizontal::k565 ? To565(sum, 5) : h == Horizontal::kARGB32 ? ARGB(To8(sum), alpha) : BGR(To8(sum)));
        }
        return out;
    }
    // Fixed ratios, from the weight tables; the outputs past the last source word repeat it.
    struct Tap {
        int32_t w0, i0, w1, i1, k;  // w0 x s[base + i0] + w1 x s[base + i1], denominator 2^k
    };
    const bool is23 = h == Horizontal::k23_565 || h == Horizontal::k23_ARGB32;
    const bool argb = h == Horizontal::k23_ARGB32 || h == Horizontal::k25_ARGB32;
    static const std::vector<Tap> k23 = {{1, 0, 0, 0, 0}, {11, 0, 21, 1, 5}, {21, 1, 11, 2, 5}};
    // 2:5: the fifth output of a pair weighs (13, 19) in the first pair of each RGB565 group of four
    // words and (19, 13) in the second; the ARGB32 kernel uses (19, 13) for every pair.
    static const std::vector<Tap> k25a = {{1, 0, 0, 0, 0}, {5, 0, 3, 1, 3}, {7, 0, 25, 1, 5}, {13, 1, 3, 2, 4}, {13, 1, 19, 2, 5}};
    static const std::vector<Tap> k25b = {{1, 0, 0, 0, 0}, {5, 0, 3, 1, 3}, {7, 0, 25, 1, 5}, {13, 1, 3, 2, 4}, {19, 1, 13, 2, 5}};
    for (int32_t base = 0; base < W; base += 2) {
        const bool firstOfFour = (base & 3) == 0;
        const std::vector<Tap>& taps = is23 ? k23 : (!argb && firstOfFour ? k25a : k25b);
        for (const Tap& t : taps) {
            Sum sum;
            int k = t.k;
            if (base + t.i1 >= W && t.w1 != 0) {
                sum = Weighted({{1, s(W - 1)}});  // tail: the last source word alone
                k = 0;
            } else {
                sum = Weighted({{t.w0, s(base + t.i0)}, {t.w1, s(base + t.i1)}});
            }
            out.push_back(argb ? ToARGBFixed(sum, k, alpha) : To565(sum, k));
        }
    }
    (void)DW;
    return out;
}

// Line-cache upscaling: destination row j blends source rows s and s + 1 (converted with their own
// chroma rows) with the 5-bit weight of j x ((H - 1) << 16) / (DH - 1), then resamples.
inline Picture LineCache(const qv::QvImgPrcContext* ctx, const Frame& f, int32_t DW, int32_t DH, Horizontal h,
                         uint8_t alpha = 0) {
    const int32_t ystep = ((f.H - 1) << 16) / (DH - 1);
    Picture p(DW, DH);
    for (int32_t j = 0; j < DH; ++j) {
        const int32_t pos = j * ystep, s = pos >> 16, v = (pos >> 11) & 31;
        std::vector<Rgb> line = ConvertedRow(ctx, f, s, s / 2, f.cr.stride());
        if (v != 0) {
            const std::vector<Rgb> lower = ConvertedRow(ctx, f, s + 1, (s + 1) / 2, f.cr.stride());
            for (int32_t x = 0; x < f.W; ++x) line[x] = Shifted(Weighted({{32 - v, line[x]}, {v, lower[x]}}), 5);
        }
        const std::vector<uint32_t> row = Resample(line, DW, h, alpha);
        for (int32_t c = 0; c < DW; ++c) p.at(c, j) = row[c];
    }
    return p;
}

// Height x 2 through source rows and half-way rows: row 2m is source row m, row 2m + 1 the mean of
// rows m and m + 1; `belowRow(m)` names the row read for m >= H.
inline Picture TwiceVertically(const qv::QvImgPrcContext* ctx, const Frame& f, int32_t DH, Horizontal h,
                               uint8_t alpha, bool clampBelow) {
    auto conv = [&](int32_t m) {
        const int32_t r = clampBelow ? std::min(m, f.H - 1) : m;
        return ConvertedRow(ctx, f, r, r / 2, f.cb.stride());  // the Cr row steps by the Cb stride
    };
    const int32_t DW = h == Horizontal::k25_565 || h == Horizontal::k25_ARGB32 ? f.W * 5 / 2 : f.W * 3 / 2;
    Picture p(DW, DH);
    for (int32_t j = 0; j < DH; ++j) {
        std::vector<Rgb> line = conv(j / 2);
        if (j & 1) {
            const std::vector<Rgb> lower = conv(j / 2 + 1);
            for (int32_t x = 0; x < f.W; ++x) line[x] = Shifted(Weighted({{1, line[x]}, {1, lower[x]}}), 1);
        }
        const std::vector<uint32_t> row = Resample(line, DW, h, alpha);
        for (int32_t c = 0; c < DW; ++c) p.at(c, j) = row[c];
    }
    return p;
}

// A destination plane pre-filled with a pattern, and the expected bytes starting as that pattern.
struct Dest {
    GuardedPlane plane;
    std::vector<uint8_t> expected;
    Dest(int32_t stride, int32_t rows, uint32_t seed = 99) : plane(stride, rows) {
        qvtest::FillPattern(plane.data(), plane.size(), seed);
        expected = plane.contents();
    }
    uint8_t* data() { return plane.data(); }
    int32_t stride() const { return plane.stride(); }
    // Every byte equals the expectation and the guards around the plane are intact.
    void Check(const char* what) const {
        EXPECT_TRUE(plane.guardsIntact()) << what;
        const std::vector<uint8_t> got = plane.contents();
        size_t bad = 0, first = 0;
        for (size_t i = 0; i < got.size(); ++i) {
            if (got[i] != expected[i] && bad++ == 0) first = i;
        }
        EXPECT_EQ(bad, 0u) << what << ": first difference at byte " << first << " (row " << first / plane.stride()
                           << ", byte " << first % plane.stride() << ")";
    }
};

// ---- line buffers -----------------------------------------------------------------------------------

// Four line buffers of exactly L bytes each, with guards after each.
struct LineSet {
    std::vector<std::unique_ptr<GuardedPlane>> planes;
    uint32_t* ptrs[4];
    explicit LineSet(int32_t lengthBytes) {
        for (int i = 0; i < 4; ++i) {
            planes.push_back(std::make_unique<GuardedPlane>(lengthBytes, 1, 0));
            ptrs[i] = reinterpret_cast<uint32_t*>(planes.back()->data());
        }
    }
    static int32_t Length(int32_t W, int32_t DW, bool nearLinear = false) {
        const int32_t M = std::max(W, DW);
        return nearLinear ? 8 * M + 32 : 4 * M + 16;
    }
    const qv::LineBuffers* get() const { return reinterpret_cast<const qv::LineBuffers*>(&ptrs); }
    bool guardsIntact() const {
        for (const auto& p : planes)
            if (!p->guardsIntact()) return false;
        return true;
    }
};

// ---- contexts -----------------------------------------------------------------------------------------

// A context of the given operation and sizes (tables, parameter record), optionally with non-neutral
// brightness, contrast and saturation.
struct Ctx {
    qvtest::Context owner;
    qv::QvImgPrcContext* ctx;
    Ctx(int32_t op, int32_t W, int32_t H, int32_t DW, int32_t DH, uint32_t rotation = 0, uint32_t interp = 2,
        int32_t brightness = 128, int32_t contrast = 128, int32_t saturation = 128)
        : owner(qvtest::MakeParams(op, W, H, DW, DH, rotation, interp)), ctx(owner.ctx) {
        EXPECT_EQ(owner.status, 0);
        if (brightness != 128 || contrast != 128 || saturation != 128) {
            const int32_t v[3] = {brightness, contrast, saturation};
            EXPECT_EQ(qv::QV_ImgColorAdjustSet(ctx, v), 0);
        }
    }
    // Builds the parameter record for a destination of DW x DH.
    void Rotate(uint8_t* dst, int32_t stride, int32_t DW, int32_t DH) {
        uint8_t* planes[3] = {dst, nullptr, nullptr};
        const int32_t strides[3] = {stride, 0, 0};
        ASSERT_EQ(qv::_QV_RotationInit(ctx, planes, DW, DH, strides), 0);
    }
};

}  // namespace rgbref
