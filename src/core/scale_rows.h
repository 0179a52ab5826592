// Row kernels of the scaling YCbCr-to-RGB converters, over rows of interpolation words (pixel.h):
// the vertical blend of two rows, the horizontal blends at a 16.16 source position into RGB565,
// RGB888 and ARGB32, the fixed-ratio horizontal blends and the line doubling of the near-linear
// upscaler; and the nearest-neighbour walk over an RGB565 row. These are the scalar references; the vector variants (scale_rows_simd.cpp) give the
// same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/pixel.h"

namespace qv {

// out[i] = ((32 - weight) a[i] + weight b[i]) >> 5, masked to an interpolation word, for
// count >= 1 words. Weight 16 is the half-way blend (a + b) >> 1.
using VLerpKernel = void (*)(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t weight, int32_t count);
// n >= 1 pixels; pixel i lies at 16.16 position p = i x step (modulo 2^32), blends words
// src[p >> 16] and src[(p >> 16) + 1] with weights 32 - f and f, f = (p >> 11) & 31, and is
// packed by the destination format. The word after the last index is read even at weight 0:
// the row carries one spare word. arg: the alpha byte of ARGB32, unused otherwise.
using HLerpKernel = void (*)(const uint32_t* src, uint8_t* dst, int32_t step, int32_t n, uint32_t arg);
// Fixed ratios: `groups` >= 1 full groups of source words, each giving a fixed pattern of pixels
// (Ratio below) whose last pixels may blend in the next group's first word, then one closed group
// that reads no further: there those pixels are its last word itself. arg: the alpha byte of
// ARGB32, unused otherwise.
using FixedRatioKernel = void (*)(const uint32_t* src, uint8_t* dst, int32_t groups, uint32_t arg);
// count interpolation words become 2 x count RGB565 pixels: the mean of each word and its left
// neighbour (the first word with itself), then the word. out may be in itself (in place), or
// not overlap it at all.
using DoubleKernel = void (*)(uint8_t* out, const uint8_t* in, int32_t count);
// n >= 1 RGB565 pixels without blending: a Bresenham walk over denominator d with integer step q
// and remainder r (q >= 0, 0 <= r < d < 2^30), so that pixel i is source pixel
// i q + floor(i r / d). Only the pixels the walk lands on are read.
using NearestKernel = void (*)(const uint8_t* src, uint8_t* dst, int32_t n, int32_t d, int32_t q, int32_t r);

namespace scalerows {

inline void VLerp(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t weight, int32_t count) {
    for (int32_t i = 0; i < count; ++i) out[i] = (((32 - weight) * a[i] + weight * b[i]) >> 5) & kInterpMask;
}

// The horizontal packings of a blend whose weights sum to 32.
struct To565 {
    static constexpr int kBytes = 2;
    static void Put(uint32_t sum, uint8_t* p, uint32_t) { Store16(p, PackInterpRGB565(sum, 5)); }
};
// Blue, green, red bytes: channels of 5, 6, 6 bits widened to 8 bits in the blend itself.
struct To888 {
    static constexpr int kBytes = 3;
    static void Put(uint32_t sum, uint8_t* p, uint32_t) {
        const uint32_t v = sum >> 2;
        p[0] = static_cast<uint8_t>(v);
        p[1] = static_cast<uint8_t>(v >> 11);
        p[2] = static_cast<uint8_t>(v >> 22);
    }
};
// kBlue 0xFF keeps blue's full precision; 0xF8 keeps its five high bits, as the fixed ratios do.
template <uint32_t kBlue>
struct ToARGB32Of {
    static constexpr int kBytes = 4;
    static void Put(uint32_t sum, uint8_t* p, uint32_t alpha) {
        Store32(p, alpha << 24 | ((sum >> 8) & 0xFF0000) | ((sum >> 5) & 0xFF00) | ((sum >> 2) & kBlue));
    }
};
using ToARGB32 = ToARGB32Of<0xFF>;
using ToARGB32High5 = ToARGB32Of<0xF8>;

// Pixels begin .. end - 1 of a horizontal blend (the vector variants finish rows with it).
template <class To>
void HLerpRange(const uint32_t* src, uint8_t* dst, int32_t step, int32_t begin, int32_t end, uint32_t arg) {
    uint32_t pos = static_cast<uint32_t>(begin) * static_cast<uint32_t>(step);
    for (int32_t i = begin; i < end; ++i) {
        const uint32_t x = pos >> 16, f = (pos >> 11) & 31;
        To::Put(f * src[x + 1] + (32 - f) * src[x], dst + i * To::kBytes, arg & 0xFF);
        pos += static_cast<uint32_t>(step);
    }
}
template <class To>
void HLerp(const uint32_t* src, uint8_t* dst, int32_t step, int32_t n, uint32_t arg) {
    HLerpRange<To>(src, dst, step, 0, n, arg);
}

// A fixed ratio: `in` source words give `out` pixels; pixel j blends word `word[j]` of its group
// and the word after it, the latter weighing `weight[j]` 32nds. Each pixel is packed from that
// sum of weights 32: a blend the weights of which sum to 2^k is the same pixel scaled by 2^(5-k),
// modulo 2^32, since the packings keep no bit above the ones scaling moves out.
struct Ratio {
    int32_t in, out;
    int8_t word[10];
    uint8_t weight[10];
};
// 2:3 and 2:5 in RGB565 over groups of four words; the fifth pixel of 2:5 weighs s1, s2 by
// 13, 19 and the tenth s3 and the next word by 19, 13: both as the weight table has them.
inline constexpr Ratio k23Of4 = {4, 6, {0, 0, 1, 2, 2, 3}, {0, 21, 11, 0, 21, 11}};
inline constexpr Ratio k25Of4 = {4, 10, {0, 0, 0, 1, 1, 2, 2, 2, 3, 3}, {0, 12, 25, 6, 19, 0, 12, 25, 6, 13}};
// 2:3 with every group closed, its sixth pixel its last word (the 320x240 to 480x272 path).
inline constexpr Ratio k23ClosedOf4 = {4, 6, {0, 0, 1, 2, 2, 3}, {0, 21, 11, 0, 21, 0}};
// The same weights in ARGB32 over pairs of words. The fifth pixel of 2:5 weighs s1 by 19 and
// the next word by 13, the reverse of the RGB565 fifth pixel; both are kept as they are.
inline constexpr Ratio k23Of2 = {2, 3, {0, 0, 1}, {0, 21, 11}};
inline constexpr Ratio k25Of2 = {2, 5, {0, 0, 0, 1, 1}, {0, 12, 25, 6, 13}};

// Groups begin .. groups - 1, then the closed group `groups` (the vector variants finish rows
// with it). In the closed group a pixel that would blend in the next word takes weight 0.
template <const Ratio& R, class To>
void FixedRatioFrom(const uint32_t* src, uint8_t* dst, int32_t begin, int32_t groups, uint32_t arg) {
    for (int32_t g = begin; g <= groups; ++g) {
        const uint32_t* s = src + static_cast<ptrdiff_t>(g) * R.in;
        uint8_t* d = dst + static_cast<ptrdiff_t>(g) * R.out * To::kBytes;
        for (int32_t j = 0; j < R.out; ++j) {
            const uint32_t a = s[R.word[j]];
            const uint32_t f = g == groups && R.word[j] + 1 == R.in ? 0 : R.weight[j];
            const uint32_t b = f != 0 ? s[R.word[j] + 1] : a;
            To::Put(32 * a + f * (b - a), d + j * To::kBytes, arg & 0xFF);
        }
    }
}
template <const Ratio& R, class To>
void FixedRatio(const uint32_t* src, uint8_t* dst, int32_t groups, uint32_t arg) {
    FixedRatioFrom<R, To>(src, dst, 0, groups, arg);
}

// Words begin .. end - 1, `previous` the word before begin as it was read (the vector variants
// finish rows with it, their stores having overwritten it in place).
inline void DoubleRange(uint8_t* out, const uint8_t* in, int32_t begin, int32_t end, uint32_t previous) {
    for (int32_t i = begin; i < end; ++i) {
        // Word i is read before pixels 2i and 2i + 1 overwrite it when working in place.
        const uint32_t current = Load32(in + 4 * i);
        Store32(out + 4 * i, PackInterpRGB565(previous + current, 1) | PackInterpRGB565(current, 0) << 16);
        previous = current;
    }
}
inline void DoubleWords(uint8_t* out, const uint8_t* in, int32_t count) {
    if (count >= 1) DoubleRange(out, in, 0, count, Load32(in));
}

// Pixels begin .. end - 1 of the nearest walk, `index` and `error` its state at begin (the vector
// variants finish rows with it).
inline void NearestRange(const uint8_t* src, uint8_t* dst, int32_t begin, int32_t end, ptrdiff_t index,
                         int32_t error, int32_t d, int32_t q, int32_t r) {
    for (int32_t i = begin; i < end; ++i) {
        Store16(dst + 2 * static_cast<ptrdiff_t>(i), Load16(src + 2 * index));
        index += q;
        error += r;
        if (error >= d) {
            error -= d;
            ++index;
        }
    }
}
inline void Nearest(const uint8_t* src, uint8_t* dst, int32_t n, int32_t d, int32_t q, int32_t r) {
    NearestRange(src, dst, 0, n, 0, 0, d, q, r);
}

}  // namespace scalerows
}  // namespace qv
