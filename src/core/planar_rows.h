// Kernels that move bytes without arithmetic: tile transposes, reversed rows, the packed 4:2:2
// words and the interleaved chroma of NV12. These are the scalar references; the vector variants
// (planar_rows_simd.cpp) give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qv {

// dst[x * dstPitch + y] = src[y * srcPitch + x] for x < width, y < height (source columns become
// destination rows). Pitches may be negative; the caller guarantees that no two destination
// positions coincide.
using TransposeKernel = void (*)(const uint8_t* src, ptrdiff_t srcPitch, uint8_t* dst, ptrdiff_t dstPitch,
                                 int32_t width, int32_t height);
// dst[i] = src[n - 1 - i] for i < n.
using ReverseKernel = void (*)(const uint8_t* src, uint8_t* dst, int32_t n);
// n pixel pairs of one row packed into 32-bit words: YUY2 (y0 cb y1 cr) or UYVY (cb y0 cr y1).
using PackKernel = void (*)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t n);
// n chroma pairs: Cb and Cr interleaved into q (cb cr cb cr ...), or split out of it.
using InterleaveKernel = void (*)(const uint8_t* cb, const uint8_t* cr, uint8_t* q, int32_t n);
using SplitKernel = void (*)(const uint8_t* q, uint8_t* cb, uint8_t* cr, int32_t n);
// The scalers' vertical taps with one extra bit of fraction: out[i] = (32 a + (b - a) fy) >> 4
// for a = above[i], b = below[i], fy a 5-bit weight (0-31); every value lies in 0 .. 510.
using VerticalTapKernel = void (*)(const uint8_t* above, const uint8_t* below, int32_t fy, int16_t* out, int32_t n);
// The scalers' horizontal taps over vertical taps v (source columns first .. last, last being the
// final column of the row): for destination column c = c0 + i at 16.16 position p = c x step,
// x = p >> 16, fx = (p >> 11) & 31, a = v[x - first], b = v[min(x + 1, last) - first],
// out[i] = ((b - a) fx + 32 a) >> 6. v holds one element past the columns it covers.
using HorizontalTapKernel = void (*)(const int16_t* v, uint8_t* out, int32_t n, int32_t c0, int32_t step,
                                     int32_t first, int32_t last);

namespace planar {

inline void Transpose(const uint8_t* src, ptrdiff_t srcPitch, uint8_t* dst, ptrdiff_t dstPitch, int32_t width,
                      int32_t height) {
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* s = src + y * srcPitch;
        for (int32_t x = 0; x < width; ++x) dst[x * dstPitch + y] = s[x];
    }
}

inline void Reverse(const uint8_t* src, uint8_t* dst, int32_t n) {
    for (int32_t i = 0; i < n; ++i) dst[i] = src[n - 1 - i];
}

inline void PackYUY2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        d[4 * i] = y[2 * i];
        d[4 * i + 1] = cb[i];
        d[4 * i + 2] = y[2 * i + 1];
        d[4 * i + 3] = cr[i];
    }
}

inline void PackUYVY(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        d[4 * i] = cb[i];
        d[4 * i + 1] = y[2 * i];
        d[4 * i + 2] = cr[i];
        d[4 * i + 3] = y[2 * i + 1];
    }
}

inline void Interleave(const uint8_t* cb, const uint8_t* cr, uint8_t* q, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        q[2 * i] = cb[i];
        q[2 * i + 1] = cr[i];
    }
}

inline void Split(const uint8_t* q, uint8_t* cb, uint8_t* cr, int32_t n) {
    for (int32_t i = 0; i < n; ++i) {
        cb[i] = q[2 * i];
        cr[i] = q[2 * i + 1];
    }
}

inline void VerticalTaps(const uint8_t* above, const uint8_t* below, int32_t fy, int16_t* out, int32_t n) {
    for (int32_t i = 0; i < n; ++i) out[i] = static_cast<int16_t>((32 * above[i] + (below[i] - above[i]) * fy) >> 4);
}

inline void HorizontalTaps(const int16_t* v, uint8_t* out, int32_t n, int32_t c0, int32_t step, int32_t first,
                           int32_t last) {
    for (int32_t i = 0; i < n; ++i) {
        const int32_t p = static_cast<int32_t>(static_cast<uint32_t>(c0 + i) * static_cast<uint32_t>(step));
        const int32_t x = p >> 16, fx = (p >> 11) & 31;
        const int32_t a = v[x - first], b = v[(x + 1 < last ? x + 1 : last) - first];
        out[i] = static_cast<uint8_t>(((b - a) * fx + 32 * a) >> 6);
    }
}

}  // namespace planar
}  // namespace qv
