// The per-pixel bilinear walk of the 4:2:2, 4:4:4 and packed-RGB scalers: 16.16 positions from
// the first to the last sample, 5-bit weights, neighbours clamped to the last row and column,
// and the destination placed through the scale and rotation parameters.
#pragma once

#include <cstdint>

#include "core/pixel.h"

namespace qv {

// One axis of a position: the sample, its neighbour and the weight toward the neighbour. The
// neighbour of the last sample is the sample itself (at the bottom edge that row only ever
// carries a weight of 0, so reading it in place of the row below changes nothing).
struct Tap {
    int32_t i0, i1, w;
};
inline Tap TapAt(int32_t pos, int32_t size) {
    const int32_t i0 = PosIndex(pos);
    return {i0, i0 + 1 < size ? i0 + 1 : size - 1, PosWeight(pos)};
}

// Walks a DW x DH destination pixel by pixel, rows outer: pixel(i, j, tx, ty). Destination
// sizes below 2 have no step (the library's sizes are multiples of 4) and are not walked.
template <class Pixel>
inline void WalkResampled(int32_t W, int32_t H, int32_t DW, int32_t DH, Pixel pixel) {
    if (W < 1 || H < 1 || DW < 2 || DH < 2) return;
    const int32_t stepX = ScaleStep(W, DW);
    const int32_t stepY = ScaleStep(H, DH);
    for (int32_t j = 0; j < DH; ++j) {
        const Tap ty = TapAt(ScalePosition(j, stepY), H);
        for (int32_t i = 0; i < DW; ++i) pixel(i, j, TapAt(ScalePosition(i, stepX), W), ty);
    }
}

// Bilinear sample of a byte plane: vertical taps with one extra bit, then horizontal.
inline uint8_t Bilinear(const uint8_t* plane, int32_t stride, const Tap& tx, const Tap& ty) {
    const uint8_t* r0 = Row(plane, ty.i0, stride);
    const uint8_t* r1 = Row(plane, ty.i1, stride);
    return HorizontalTap(VerticalTap(r0[tx.i0], r1[tx.i0], ty.w), VerticalTap(r0[tx.i1], r1[tx.i1], ty.w), tx.w);
}

// Destination pixel (i, j) through the packed parameter record. The record's steps count bytes
// for two pixels and two rows; each destination unit converts them with its own arithmetic
// shift (16-bit: >> 2 units, RGB888: >> 1 bytes, 32-bit: >> 3 units), so negative steps work.
struct Placement {
    uint8_t* start;
    int32_t dx, dy;  // bytes
    uint8_t* At(int32_t i, int32_t j) const { return Row(Row(start, j, dy), i, dx); }
};
template <int kShift, int kUnitBytes>
inline Placement PlacementOf(const QvRotationParams& p) {
    return {p.dst00, (p.stepX >> kShift) * kUnitBytes, (p.stepY >> kShift) * kUnitBytes};
}

}  // namespace qv
