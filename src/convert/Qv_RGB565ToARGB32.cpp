// RGB565 widened to ARGB32 at the same size, with a constant alpha.
#include <cstdint>

#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
int32_t _QVRGB565ToARGB32(const uint8_t* src, int32_t srcStridePixels, uint8_t* dst, int32_t dstStrideWords,
                          int32_t W, int32_t H, uint8_t alpha) {
    const uint32_t alphaBits = static_cast<uint32_t>(alpha) << 24;
    const WidenKernel widen = Kernels().widenRGB565;
    // The source is read as 32-bit words of two pixels, the first in the low half. Only whole
    // pairs are converted, and an empty picture writes nothing.
    for (int32_t r = 0; r < H; ++r) {
        const uint8_t* s = Row(src, r, 2 * srcStridePixels);
        uint8_t* d = Row(dst, r, 4 * dstStrideWords);
        widen(s, d, 2 * (W >> 1), alphaBits);
    }
    return kOk;
}

}  // namespace qv
