// An independent per-pixel model of the 4:2:0 to RGB565, ARGB32 and RGB888 converters, written
// channel by channel from the conversion formulas (never by calling the library's arithmetic).
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "core/qv_context.h"
#include "test_support.h"

namespace rgbref {

enum class Fmt { k565, kARGB, k888 };
inline int32_t BytesOf(Fmt f) {
    return f == Fmt::k565 ? 2 : f == Fmt::kARGB ? 4 : 3;
}

// Three channels, or a weighted sum of them.
struct Rgb {
    int32_t r = 0, g = 0, b = 0;
};
inline Rgb Mix(int32_t wa, const Rgb& a, int32_t wb, const Rgb& b) {
    return {wa * a.r + wb * b.r, wa * a.g + wb * b.g, wa * a.b + wb * b.b};
}

// Chroma terms in 1/128 levels: whole table entries shifted by 15 (a negative green half leaks one
// unit into red or blue); green is the doubled signed low half of the entries' sum.
inline Rgb TermsOf(const qv::QvImgPrcContext* c, uint8_t cb, uint8_t cr) {
    const int32_t B = c->cbTable[cb], R = c->crTable[cr];
    return {R >> 15, 2 * static_cast<int16_t>(static_cast<uint32_t>(B) + static_cast<uint32_t>(R)), B >> 15};
}
// Luma plus terms, each channel shifted by its precision and clamped to 0..255 >> (shift - 7):
// 8-bit channels {7, 7, 7}, interpolation words {9, 9, 10}, RGB565 {10, 9, 10}.
inline Rgb Channels(const qv::QvImgPrcContext* c, uint8_t y, const Rgb& t, int sr, int sg, int sb) {
    const int32_t l = c->yTable[y];
    auto ch = [](int32_t v, int s) { return std::clamp(v >> s, 0, 255 >> (s - 7)); };
    return {ch(l + t.r, sr), ch(l + t.g, sg), ch(l + t.b, sb)};
}
// Stored values, little-endian: RGB565; ARGB32; RGB888 as b | g << 8 | r << 16.
inline uint32_t Out(Fmt f, const Rgb& c, uint8_t alpha) {
    if (f == Fmt::k565) return static_cast<uint32_t>(c.r << 11 | c.g << 5 | c.b);
    return (f == Fmt::kARGB ? static_cast<uint32_t>(alpha) << 24 : 0u) |
           static_cast<uint32_t>(c.r << 16 | c.g << 8 | c.b);
}
inline uint32_t Direct(const qv::QvImgPrcContext* c, Fmt f, uint8_t y, const Rgb& t, uint8_t alpha) {
    return f == Fmt::k565 ? Out(f, Channels(c, y, t, 10, 9, 10), 0) : Out(f, Channels(c, y, t, 7, 7, 7), alpha);
}
// A blend of interpolation words whose weights sum to 2^k: RGB565 drops red's lowest bit; 8-bit red
// and green are x4, blue x8, of which the fixed-ratio kernels keep only the five high bits.
inline uint32_t Pack(Fmt f, const Rgb& s, int k, bool fixedRatio, uint8_t alpha) {
    if (f == Fmt::k565) return Out(f, {s.r >> (k + 1), s.g >> k, s.b >> k}, 0);
    const int32_t blue = fixedRatio ? (s.b >> k) << 3 : (8 * s.b) >> k;
    return Out(f, {(4 * s.r) >> k & 255, (4 * s.g) >> k & 255, blue & 255}, alpha);
}

// ---- source frames ------------------------------------------------------------------------------

// A 4:2:0 picture of random content in planes of exactly their rows (the address sanitizer sees any
// read past them), with `extraRows` luma rows more (or fewer) than the picture. Cr has a wider
// stride than Cb unless `equalChroma`.
struct Frame {
    int32_t W, H, strides[3];
    std::vector<uint8_t> y, cb, cr;
    const uint8_t* planes[3];
    Frame(int32_t w, int32_t h, uint32_t seed, int32_t extraRows = 0, bool equalChroma = false)
        : W(w),
          H(h),
          strides{w + 3, w / 2 + 1, w / 2 + (equalChroma ? 1 : 4)},
          y(static_cast<size_t>(strides[0]) * (h + extraRows)),
          cb(static_cast<size_t>(strides[1]) * ((h + extraRows + 1) / 2)),
          cr(static_cast<size_t>(strides[2]) * ((h + extraRows + 1) / 2)),
          planes{y.data(), cb.data(), cr.data()} {
        qvtest::FillPattern(y.data(), y.size(), seed);
        qvtest::FillPattern(cb.data(), cb.size(), seed + 1);
        qvtest::FillPattern(cr.data(), cr.size(), seed + 2);
    }
    // Every chroma row a copy of row 0, so a row's choice of chroma row cannot matter.
    void FlattenChroma() {
        for (std::vector<uint8_t>* p : {&cb, &cr})
            for (size_t i = 0, n = p == &cb ? strides[1] : strides[2]; i < p->size(); ++i) (*p)[i] = (*p)[i % n];
    }
    uint8_t Y(int32_t x, int32_t r) const { return y[static_cast<size_t>(r) * strides[0] + x]; }
    // The block's terms at chroma (cx, cy), the Cr row addressed with crStride.
    Rgb Terms(const qv::QvImgPrcContext* c, int32_t cx, int32_t cy, int32_t crStride) const {
        return TermsOf(c, cb[static_cast<size_t>(cy) * strides[1] + cx], cr[static_cast<size_t>(cy) * crStride + cx]);
    }
};

// Interpolation words of source row r with its chroma row r / 2, and one spare word of 0 beyond.
inline std::vector<Rgb> Words(const qv::QvImgPrcContext* c, const Frame& f, int32_t r, int32_t crStride) {
    std::vector<Rgb> w(f.W + 1);
    for (int32_t x = 0; x < f.W; ++x) w[x] = Channels(c, f.Y(x, r), f.Terms(c, x / 2, r / 2, crStride), 9, 9, 10);
    return w;
}
inline std::vector<Rgb> Blend(const std::vector<Rgb>& a, int32_t wa, const std::vector<Rgb>& b, int32_t wb, int k) {
    std::vector<Rgb> out(a.size());
    for (size_t i = 0; i < a.size(); ++i) {
        const Rgb s = Mix(wa, a[i], wb, b[i]);
        out[i] = {s.r >> k, s.g >> k, s.b >> k};
    }
    return out;
}

// ---- horizontal resampling of a line of words ---------------------------------------------------

enum class Horiz { kFree, k23, k25, k23Closed };

inline std::vector<uint32_t> Resample(const std::vector<Rgb>& s, int32_t W, int32_t DW, Horiz h, Fmt f, uint8_t a) {
    std::vector<uint32_t> out;
    if (h == Horiz::kFree) {  // 16.16 position from the first to the last word, 5-bit weight
        const int32_t step = ((W - 1) << 16) / (DW - 1);
        for (int32_t c = 0; c < DW; ++c) {
            const int32_t pos = c * step, w = pos >> 11 & 31;
            out.push_back(Pack(f, Mix(32 - w, s[pos >> 16], w, s[(pos >> 16) + 1]), 5, false, a));
        }
        return out;
    }
    struct Tap {
        int32_t w0, i0, w1, i1, k;  // w0 x s[p + i0] + w1 x s[p + i1] over 2^k, p the pair's first word
    };
    const std::vector<Tap> k23 = {{1, 0, 0, 0, 0}, {11, 0, 21, 1, 5}, {21, 1, 11, 2, 5}};
    const std::vector<Tap> k25 = {
        {1, 0, 0, 0, 0}, {5, 0, 3, 1, 3}, {7, 0, 25, 1, 5}, {13, 1, 3, 2, 4}, {19, 1, 13, 2, 5}};
    for (int32_t p = 0; p < W; p += 2) {
        // The last pair ends on its own last word; on the 320x240 path every group of four does.
        const bool closed = p + 2 >= W || (h == Horiz::k23Closed && p % 4 == 2);
        for (Tap t : h == Horiz::k25 ? k25 : k23) {
            // The RGB565 2:5 kernel weighs its fifth output 13, 19 in the first pair of each group of four.
            if (f == Fmt::k565 && p % 4 == 0 && t.w0 == 19) t = {13, 1, 19, 2, 5};
            if (closed && t.i1 == 2) t = {1, 1, 0, 1, 0};
            out.push_back(Pack(f, Mix(t.w0, s[p + t.i0], t.w1, s[p + t.i1]), t.k, true, a));
        }
    }
    return out;
}

// ---- whole pictures -----------------------------------------------------------------------------

struct Picture {
    int32_t w, h;
    std::vector<uint32_t> px;
    uint32_t& at(int32_t x, int32_t y) { return px[static_cast<size_t>(y) * w + x]; }
    uint32_t at(int32_t x, int32_t y) const { return px[static_cast<size_t>(y) * w + x]; }
};

enum class Shape {
    kSame,     // same size: the 2x2 block's chroma, the Cr row stepped by the Cb stride
    kScaled,   // single pass: two-stage 5-bit bilinear luma, chroma at the block's mean position
    kCache,    // line cache: rows at 16.16 positions blended in 32nds, then resampled
    kTwice,    // height x 2: source rows and their means, then 2:5
    kNearest,  // nearest rows and columns of RGB565 pixels
    kDoubled,  // nearest over a doubled line: means interleaved with the words
    kCase3,    // 320x240 to 480x272: rows in eighths over passes of 14 rows, closed 2:3 groups
};

inline Picture Model(Shape shape, Horiz h, Fmt f, const qv::QvImgPrcContext* c, const Frame& fr, int32_t DW, int32_t DH,
                     uint8_t a) {
    const int32_t W = fr.W, H = fr.H, cbS = fr.strides[1], crS = fr.strides[2];
    Picture p{DW, DH, std::vector<uint32_t>(static_cast<size_t>(DW) * DH)};
    auto lines = [&](auto lineOf) {
        for (int32_t j = 0; j < DH; ++j) {
            const std::vector<uint32_t> row = Resample(lineOf(j), W, DW, h, f, a);
            std::copy(row.begin(), row.end(), p.px.begin() + static_cast<ptrdiff_t>(j) * DW);
        }
        return p;
    };
    switch (shape) {
        case Shape::kSame:
            for (int32_t y = 0; y < H; ++y)
                for (int32_t x = 0; x < W; ++x)
                    p.at(x, y) = Direct(c, f, fr.Y(x, y), fr.Terms(c, x / 2, y / 2, cbS), a);
            return p;
        case Shape::kScaled: {
            const int32_t xs = ((W - 1) << 16) / (DW - 1), ys = ((H - 1) << 16) / (DH - 1);
            for (int32_t r = 0; r < DH; ++r) {
                const int32_t top = r * ys >> 16, fy = r * ys >> 11 & 31, below = std::min(top + 1, H - 1);
                const int32_t cy = (((r & ~1) * ys >> 16) + (((r & ~1) + 1) * ys >> 16) + 1) >> 2;
                auto vert = [&](int32_t x) { return (32 * fr.Y(x, top) + (fr.Y(x, below) - fr.Y(x, top)) * fy) >> 4; };
                for (int32_t col = 0; col < DW; ++col) {
                    const int32_t left = col * xs >> 16, fx = col * xs >> 11 & 31, right = std::min(left + 1, W - 1);
                    const int32_t luma = ((vert(right) - vert(left)) * fx + 32 * vert(left)) >> 6 & 255;
                    const int32_t cx = (((col & ~1) * xs >> 16) + (((col & ~1) + 1) * xs >> 16) + 1) >> 2;
                    p.at(col, r) = Direct(c, f, static_cast<uint8_t>(luma), fr.Terms(c, cx, cy, crS), a);
                }
            }
            return p;
        }
        case Shape::kCache:
            return lines([&](int32_t j) {
                const int32_t pos = j * (((H - 1) << 16) / (DH - 1)), s = pos >> 16, v = pos >> 11 & 31;
                return v ? Blend(Words(c, fr, s, crS), 32 - v, Words(c, fr, s + 1, crS), v, 5) : Words(c, fr, s, crS);
            });
        case Shape::kTwice:
            // ARGB32 reads the row pair after the last source row as the last row; RGB565 reads the
            // rows below the picture. The Cr row steps by the Cb stride.
            return lines([&](int32_t j) {
                const int32_t m = j / 2, below = f == Fmt::kARGB ? std::min(m + 1, H - 1) : m + 1;
                return j & 1 ? Blend(Words(c, fr, m, cbS), 1, Words(c, fr, below, cbS), 1, 1) : Words(c, fr, m, cbS);
            });
        case Shape::kCase3:
            return lines([&](int32_t j) {
                const int32_t pass = j / 16, k = j % 16, e = k == 15 ? 0 : 7 * k % 8;  // row 15: row 13 alone
                const int32_t r = 14 * pass + (k == 15 ? 13 : 7 * k / 8);
                return Blend(Words(c, fr, r, crS), 8 - e, Words(c, fr, e ? r + 1 : r, crS), e, 3);
            });
        case Shape::kNearest:
        case Shape::kDoubled: {
            const bool doubled = shape == Shape::kDoubled;
            const int32_t n = doubled ? 2 * W : W, q = n / DW, rem = n % DW;
            for (int32_t j = 0; j < DH; ++j) {
                const int32_t sr = j * H / DH;
                const std::vector<Rgb> w = Words(c, fr, sr, crS);
                std::vector<uint32_t> line;
                for (int32_t x = 0; x < W; ++x) {
                    if (doubled) line.push_back(Pack(f, Mix(1, w[x ? x - 1 : 0], 1, w[x]), 1, false, 0));
                    line.push_back(doubled ? Pack(f, w[x], 0, false, 0)
                                           : Direct(c, f, fr.Y(x, sr), fr.Terms(c, x / 2, sr / 2, crS), 0));
                }
                for (int32_t x = 0; x < DW; ++x) p.at(x, j) = line[x * q + x * rem / DW];
            }
            return p;
        }
    }
    return p;
}

}  // namespace rgbref
