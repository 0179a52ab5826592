// Row kernels reading packed RGB: luma and chroma rows of the RGB to 4:2:0 converters (integer
// BT.601 studio-range weights scaled by 256) and RGB565 widened to ARGB32. These are the scalar
// references; the vector variants (rgb_rows_simd.cpp) give the same bytes.
#pragma once

#include <cstdint>
#include <cstring>

namespace qv {

// n luma samples from n pixels.
using EncodeLumaKernel = void (*)(const uint8_t* src, uint8_t* y, int32_t n);
// n chroma pairs from one corner pixel of each pixel pair of the row (pixels 0 .. 2n - 1).
using EncodeChromaKernel = void (*)(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n);
// n RGB565 pixels to ARGB32 words with the given alpha byte already shifted to the top.
using WidenKernel = void (*)(const uint8_t* src, uint8_t* dst, int32_t n, uint32_t alphaBits);

namespace rgbrows {

struct RGB {
    int32_t r, g, b;
};

// Per-format reading: pixel size and unpacking, the rounding term (0 or 128) and the corner
// whose chroma a 2x2 block takes (column 0 or 1 of its lower row).
struct FromRGB565 {
    static constexpr int kBytes = 2;
    static constexpr int32_t kRound = 0;     // no rounding term anywhere
    static constexpr int kChromaColumn = 0;  // bottom-left
    // Widened by shifting alone: white is 248, 252, 248.
    static RGB Read(const uint8_t* p) {
        uint16_t v;
        std::memcpy(&v, p, 2);
        return {static_cast<int32_t>((v >> 11) << 3), static_cast<int32_t>(((v >> 5) & 63) << 2),
                static_cast<int32_t>((v & 31) << 3)};
    }
};
template <int kRedShift, int kBlueShift>
struct From32 {
    static constexpr int kBytes = 4;
    static constexpr int32_t kRound = 128;
    static constexpr int kChromaColumn = 1;  // bottom-right
    // The alpha byte is ignored.
    static RGB Read(const uint8_t* p) {
        uint32_t v;
        std::memcpy(&v, p, 4);
        return {static_cast<int32_t>((v >> kRedShift) & 255), static_cast<int32_t>((v >> 8) & 255),
                static_cast<int32_t>((v >> kBlueShift) & 255)};
    }
};
using FromARGB32 = From32<16, 0>;
using FromABGR32 = From32<0, 16>;

template <class Format>
void Luma(const uint8_t* src, uint8_t* y, int32_t n) {
    for (int32_t x = 0; x < n; ++x) {
        const RGB c = Format::Read(src + x * Format::kBytes);
        y[x] = static_cast<uint8_t>(((65 * c.r + 129 * c.g + 25 * c.b + Format::kRound) >> 8) + 16);
    }
}

template <class Format>
void Chroma(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n) {
    const uint8_t* corner = src + Format::kChromaColumn * Format::kBytes;
    for (int32_t c = 0; c < n; ++c) {
        const RGB k = Format::Read(corner + 2 * c * Format::kBytes);
        // Signed sums, arithmetic shifts: rounding toward minus infinity.
        cb[c] = static_cast<uint8_t>(((112 * k.b - 38 * k.r - 74 * k.g + Format::kRound) >> 8) + 128);
        cr[c] = static_cast<uint8_t>(((112 * k.r - 94 * k.g - 18 * k.b + Format::kRound) >> 8) + 128);
    }
}

// Each channel widened by shifting with zero low bits: white becomes 248, 252, 248.
inline void Widen565(const uint8_t* src, uint8_t* dst, int32_t n, uint32_t alphaBits) {
    for (int32_t i = 0; i < n; ++i) {
        uint16_t v;
        std::memcpy(&v, src + 2 * i, 2);
        const uint32_t p = v;
        const uint32_t w = ((p & 0xF800) << 8) | ((p << 5) & 0xFC00) | ((p << 3) & 0xF8) | alphaBits;
        std::memcpy(dst + 4 * i, &w, 4);
    }
}

}  // namespace rgbrows
}  // namespace qv
