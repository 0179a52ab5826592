// Packed RGB565, ARGB32 and ABGR32 to planar 4:2:0 with integer BT.601 studio-range weights
// scaled by 256. Luma for every pixel; chroma from one corner pixel of each 2x2 block.
#include <cstdint>

#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {

struct RGB {
    int32_t r, g, b;
};

// Per-format quirks: pixel size and unpacking, the rounding term (0 or 128), the corner whose
// chroma the block takes (column 0 or 1 of its lower row) and where the lower row lies.
struct FromRGB565 {
    static constexpr int kBytes = 2;
    static constexpr int32_t kRound = 0;  // no rounding term anywhere
    static constexpr int kChromaColumn = 0;  // bottom-left
    // The lower row is addressed at the pitch rounded down to a multiple of 4 bytes, as the
    // source is read in 32-bit words of two pixels.
    static int32_t LowerRowOffset(int32_t pitch) { return RouteOf(Op(kRGB565, kYCbCr420)).rows.RowStep(pitch); }
    // Widened by shifting alone: white is 248, 252, 248.
    static RGB Read(const uint8_t* p) {
        const uint32_t v = Load16(p);
        return {static_cast<int32_t>((v >> 11) << 3), static_cast<int32_t>(((v >> 5) & 63) << 2),
                static_cast<int32_t>((v & 31) << 3)};
    }
};
template <int kRedShift, int kBlueShift>
struct From32 {
    static constexpr int kBytes = 4;
    static constexpr int32_t kRound = 128;
    static constexpr int kChromaColumn = 1;  // bottom-right
    static int32_t LowerRowOffset(int32_t pitch) { return pitch; }
    // The alpha byte is ignored.
    static RGB Read(const uint8_t* p) {
        const uint32_t v = Load32(p);
        return {static_cast<int32_t>((v >> kRedShift) & 255), static_cast<int32_t>((v >> 8) & 255),
                static_cast<int32_t>((v >> kBlueShift) & 255)};
    }
};
using FromARGB32 = From32<16, 0>;
using FromABGR32 = From32<0, 16>;

template <int32_t kRound>
inline uint8_t LumaOf(const RGB& c) {
    return static_cast<uint8_t>(((65 * c.r + 129 * c.g + 25 * c.b + kRound) >> 8) + 16);
}

// One row of luma, every pixel.
template <class Format>
void LumaRow(const uint8_t* src, uint8_t* y, int32_t W) {
    for (int32_t x = 0; x < W; ++x) y[x] = LumaOf<Format::kRound>(Format::Read(Row(src, x, Format::kBytes)));
}

// Rows and columns are taken in whole pairs (the library's sizes are multiples of 4). Each
// destination row is written by its own loop (source and destination planes never overlap), so
// that the compiler can vectorise the luma rows.
template <class Format>
void EncodeBlocks(const uint8_t* src, int32_t pitch, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    constexpr int32_t kRound = Format::kRound;
    const int32_t evenW = W & ~1;
    for (int32_t r = 0; r < (H >> 1); ++r) {
        const uint8_t* upper = Row(src, 2 * r, pitch);
        const uint8_t* lower = upper + Format::LowerRowOffset(pitch);
        LumaRow<Format>(upper, Row(dp[0], 2 * r, ds[0]), evenW);
        LumaRow<Format>(lower, Row(dp[0], 2 * r + 1, ds[0]), evenW);
        uint8_t* cb = Row(dp[1], r, ds[1]);
        uint8_t* cr = Row(dp[2], r, ds[2]);
        // The block's chroma comes from one corner of its lower row.
        const uint8_t* corner = lower + Format::kChromaColumn * Format::kBytes;
        for (int32_t c = 0; c < (W >> 1); ++c) {
            const RGB k = Format::Read(corner + 2 * c * Format::kBytes);
            // Signed sums, arithmetic shifts: rounding toward minus infinity.
            cb[c] = static_cast<uint8_t>(((112 * k.b - 38 * k.r - 74 * k.g + kRound) >> 8) + 128);
            cr[c] = static_cast<uint8_t>(((112 * k.r - 94 * k.g - 18 * k.b + kRound) >> 8) + 128);
        }
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
