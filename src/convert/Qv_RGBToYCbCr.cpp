// Packed RGB565, ARGB32 and ABGR32 to planar 4:2:0 with integer BT.601 studio-range weights
// scaled by 256 (the row kernels, rgb_rows.h). Luma for every pixel; chroma from one corner pixel
// of each 2x2 block.
#include <cstdint>

#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {

// Where the lower row of a block lies, and the kernels of each format.
struct FromRGB565 {
    // The lower row is addressed at the pitch rounded down to a multiple of 4 bytes, as the
    // source is read in 32-bit words of two pixels.
    static int32_t LowerRowOffset(int32_t pitch) { return RouteOf(Op(kRGB565, kYCbCr420)).rows.RowStep(pitch); }
    static constexpr EncodeLumaKernel KernelTable::*kLuma = &KernelTable::lumaFromRGB565;
    static constexpr EncodeChromaKernel KernelTable::*kChroma = &KernelTable::chromaFromRGB565;
};
struct FromARGB32 {
    static int32_t LowerRowOffset(int32_t pitch) { return pitch; }
    static constexpr EncodeLumaKernel KernelTable::*kLuma = &KernelTable::lumaFromARGB32;
    static constexpr EncodeChromaKernel KernelTable::*kChroma = &KernelTable::chromaFromARGB32;
};
struct FromABGR32 {
    static int32_t LowerRowOffset(int32_t pitch) { return pitch; }
    static constexpr EncodeLumaKernel KernelTable::*kLuma = &KernelTable::lumaFromABGR32;
    static constexpr EncodeChromaKernel KernelTable::*kChroma = &KernelTable::chromaFromABGR32;
};

// Rows and columns are taken in whole pairs (the library's sizes are multiples of 4).
template <class Format>
void EncodeBlocks(const uint8_t* src, int32_t pitch, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    const EncodeLumaKernel luma = Kernels().*Format::kLuma;
    const EncodeChromaKernel chroma = Kernels().*Format::kChroma;
    const int32_t evenW = W & ~1;
    for (int32_t r = 0; r < (H >> 1); ++r) {
        const uint8_t* upper = Row(src, 2 * r, pitch);
        const uint8_t* lower = upper + Format::LowerRowOffset(pitch);
        luma(upper, Row(dp[0], 2 * r, ds[0]), evenW);
        luma(lower, Row(dp[0], 2 * r + 1, ds[0]), evenW);
        // The block's chroma comes from one corner of its lower row.
        chroma(lower, Row(dp[1], r, ds[1]), Row(dp[2], r, ds[2]), W >> 1);
    }
}

}  // namespace

int32_t _QVRGB565ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, int32_t W, int32_t H, DstPlanes dp,
                            Strides ds) {
    EncodeBlocks<FromRGB565>(src, srcStrideBytes, W, H, dp, ds);
    return kOk;
}

int32_t _QVARGB32ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, DstPlanes dp, Strides ds, int32_t W,
                            int32_t H) {
    EncodeBlocks<FromARGB32>(src, srcStrideBytes, W, H, dp, ds);
    return kOk;
}

int32_t _QVABGR32ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, DstPlanes dp, Strides ds, int32_t W,
                            int32_t H) {
    EncodeBlocks<FromABGR32>(src, srcStrideBytes, W, H, dp, ds);
    return kOk;
}

}  // namespace qv
