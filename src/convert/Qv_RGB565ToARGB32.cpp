// RGB565 widened to ARGB32 at the same size, with a constant alpha.
#include <cstdint>

#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Each channel widened by shifting with zero low bits: white becomes 248, 252, 248.
inline uint32_t Widen(uint32_t p, uint32_t alphaBits) {
    return ((p & 0xF800) << 8) | ((p << 5) & 0xFC00) | ((p << 3) & 0xF8) | alphaBits;
}

}  // namespace

int32_t _QVRGB565ToARGB32(const uint8_t* src, int32_t srcStridePixels, uint8_t* dst, int32_t dstStrideWords,
                          int32_t W, int32_t H, uint8_t alpha) {
    const uint32_t alphaBits = static_cast<uint32_t>(alpha) << 24;
    // The source is read as 32-bit words of two pixels, the first in the low half. Only whole
    // pairs are converted, and an empty picture writes nothing.
    for (int32_t r = 0; r < H; ++r) {
        const uint8_t* s = Row(src, r, 2 * srcStridePixels);
        uint8_t* d = Row(dst, r, 4 * dstStrideWords);
        for (int32_t p = 0; p < (W >> 1); ++p) {
            const uint32_t w = Load32(s + 4 * p);
            Store32(d + 8 * p, Widen(w & 0xFFFF, alphaBits));
            Store32(d + 8 * p + 4, Widen(w >> 16, alphaBits));
        }
    }
    return kOk;
}

}  // namespace qv
