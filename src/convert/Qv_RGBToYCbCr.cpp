// Packed RGB565, ARGB32 and ABGR32 to planar 4:2:0 with integer BT.601 studio-range weights
// scaled by 256. Luma for every pixel; chroma from one corner pixel of each 2x2 block.
#include <cstdint>

#include "core/pixel.h"
#include "core/qv_routines.h"

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
    static int32_t LowerRowOffset(int32_t pitch) { return pitch & ~3; }
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

// Rows and columns are taken in whole pairs (the library's sizes are multiples of 4).
template <class Format>
void EncodeBlocks(const uint8_t* src, int32_t pitch, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    constexpr int32_t kRound = Format::kRound;
    for (int32_t r = 0; r < (H >> 1); ++r) {
        const uint8_t* upper = Row(src, 2 * r, pitch);
        const uint8_t* lower = upper + Format::LowerRowOffset(pitch);
        uint8_t* y0 = Row(dp[0], 2 * r, ds[0]);
        uint8_t* y1 = Row(dp[0], 2 * r + 1, ds[0]);
        uint8_t* cb = Row(dp[1], r, ds[1]);
        uint8_t* cr = Row(dp[2], r, ds[2]);
        for (int32_t c = 0; c < (W >> 1); ++c) {
            const uint8_t* u = upper + 2 * c * Format::kBytes;
            const uint8_t* l = lower + 2 * c * Format::kBytes;
            const RGB tl = Format::Read(u), tr = Format::Read(u + Format::kBytes);
            const RGB bl = Format::Read(l), br = Format::Read(l + Format::kBytes);
            y0[2 * c] = LumaOf<kRound>(tl);
            y0[2 * c + 1] = LumaOf<kRound>(tr);
            y1[2 * c] = LumaOf<kRound>(bl);
            y1[2 * c + 1] = LumaOf<kRound>(br);
            // Signed sums, arithmetic shifts: rounding toward minus infinity.
            const RGB& k = Format::kChromaColumn == 0 ? bl : br;
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
