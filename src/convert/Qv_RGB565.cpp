// RGB565 scaled and/or rotated to RGB565: every destination pixel blended bilinearly from four
// source pixels and placed through the scale and rotation parameters.
#include <cstdint>

#include "convert/resample.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Expanded pixel: blue bits 0-4, green 10-15, red (5 bits) 21-25, zero guard bits between, so
// one multiply blends all three fields.
constexpr uint32_t kExpandedMask = 0x3E0FC1F;
inline uint32_t Expand(uint32_t p) { return ((p >> 5) & 63) << 10 | (p >> 11) << 21 | (p & 31); }

}  // namespace

int32_t _QVRGB565RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStridePixels, int32_t W,
                        int32_t H, int32_t DW, int32_t DH) {
    if (prm == nullptr) return kInvalidArg;
    const Placement dst = PlacementOf<2, 2>(*prm);
    const int32_t pitch = 2 * srcStridePixels;
    WalkResampled(W, H, DW, DH, [&](int32_t i, int32_t j, const Tap& tx, const Tap& ty) {
        const uint8_t* r0 = Row(src, ty.i0, pitch);
        const uint8_t* r1 = Row(src, ty.i1, pitch);
        auto column = [&](int32_t x) {
            const uint32_t above = Expand(Load16(r0 + 2 * x)), below = Expand(Load16(r1 + 2 * x));
            return ((below * ty.w + above * (32 - ty.w)) >> 5) & kExpandedMask;
        };
        // No shift after the horizontal blend: the fields carry five extra bits.
        const uint32_t s = column(tx.i1) * tx.w + column(tx.i0) * (32 - tx.w);
        Store16(dst.At(i, j), ((s >> 15) & 63) << 5 | (s >> 26) << 11 | ((s >> 5) & 31));
    });
    return kOk;
}

}  // namespace qv
