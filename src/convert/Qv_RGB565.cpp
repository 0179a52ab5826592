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

inline uint32_t Blend565(const RowPair& r, const Tap& tx) {
    auto column = [&](int32_t x) {
        const uint32_t above = Expand(Load16(r.r0 + 2 * x)), below = Expand(Load16(r.r1 + 2 * x));
        return ((below * r.w + above * (32 - r.w)) >> 5) & kExpandedMask;
    };
    // No shift after the horizontal blend: the fields carry five extra bits.
    const uint32_t s = column(tx.i1) * tx.w + column(tx.i0) * (32 - tx.w);
    return ((s >> 15) & 63) << 5 | (s >> 26) << 11 | ((s >> 5) & 31);
}
// A whole-sample blend gives back the source pixel.
inline uint32_t Blend565(const uint8_t* row, const WholeTap& tx) { return Load16(row + 2 * tx.i0); }

}  // namespace

int32_t _QVRGB565RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStridePixels, int32_t W,
                        int32_t H, int32_t DW, int32_t DH) {
    if (prm == nullptr) return kInvalidArg;
    const Placement dst = PlacementOf<kRGB565>(*prm);
    const int32_t pitch = 2 * srcStridePixels;
    WalkResampled(W, H, DW, DH, [&](int32_t j, const auto& ty) {
        const auto rows = RowsAt(src, pitch, ty);
        uint8_t* const row = dst.RowStart(j);
        return [=, dx = dst.dx](int32_t i, const auto& tx) { Store16(Row(row, i, dx), Blend565(rows, tx)); };
    });
    return kOk;
}

}  // namespace qv
