// Row kernels of the scaling YCbCr-to-RGB converters, over rows of interpolation words (pixel.h):
// the vertical blend of two rows and the horizontal blends at a 16.16 source position into
// RGB565, RGB888 and ARGB32. These are the scalar references; the vector variants
// (scale_rows_simd.cpp) give the same bytes.
#pragma once

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
struct ToARGB32 {
    static constexpr int kBytes = 4;
    static void Put(uint32_t sum, uint8_t* p, uint32_t alpha) {
        Store32(p, alpha << 24 | ((sum >> 8) & 0xFF0000) | ((sum >> 5) & 0xFF00) | ((sum >> 2) & 0xFF));
    }
};

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

}  // namespace scalerows
}  // namespace qv
