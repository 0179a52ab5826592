// The per-pixel bilinear walk of the 4:2:2, 4:4:4 and packed-RGB scalers: 16.16 positions from
// the first to the last sample, 5-bit weights, neighbours clamped to the last row and column,
// and the destination placed through the scale and rotation parameters.
#pragma once

#include <cstdint>

#include "core/pixel.h"
#include "core/routes.h"

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

// A position on a whole sample. Equal sizes step by exactly one sample on both axes: every
// weight is then 0, a blend gives back the sample itself, and the samplers read it directly.
struct WholeTap {
    int32_t i0;
};

// Walks a DW x DH destination, rows outer. row(j, ty) is called once per destination row and
// returns that row's pixel function, called as pixel(i, tx) for each pixel: per-row work (row
// pointers, the vertical weight) stays out of the pixel loop. The taps are Tap, or WholeTap on
// both axes when the sizes are equal. Destination sizes below 2 have no step (the library's
// sizes are multiples of 4) and are not walked.
template <class RowFn>
inline void WalkResampled(int32_t W, int32_t H, int32_t DW, int32_t DH, RowFn row) {
    if (W < 1 || H < 1 || DW < 2 || DH < 2) return;
    const int32_t stepX = ScaleStep(W, DW);
    const int32_t stepY = ScaleStep(H, DH);
    const auto walk = [&](auto tapX, auto tapY) {
        for (int32_t j = 0; j < DH; ++j) {
            auto pixel = row(j, tapY(j));
            for (int32_t i = 0; i < DW; ++i) pixel(i, tapX(i));
        }
    };
    // A step of exactly one sample keeps i x step below 2^31 (the step came from a positive
    // 32-bit quotient), so every position is the whole sample i.
    constexpr int32_t kOneSample = 1 << 16;
    if (stepX == kOneSample && stepY == kOneSample)
        walk([](int32_t i) { return WholeTap{i}; }, [](int32_t j) { return WholeTap{j}; });
    else
        walk([=](int32_t i) { return TapAt(ScalePosition(i, stepX), W); },
             [=](int32_t j) { return TapAt(ScalePosition(j, stepY), H); });
}

// The source rows under one destination row of a byte plane: two rows and the weight toward
// the lower one, or the one row of a whole-sample position.
struct RowPair {
    const uint8_t* r0;
    const uint8_t* r1;
    int32_t w;
};
inline RowPair RowsAt(const uint8_t* plane, int32_t stride, const Tap& ty) {
    return {Row(plane, ty.i0, stride), Row(plane, ty.i1, stride), ty.w};
}
inline const uint8_t* RowsAt(const uint8_t* plane, int32_t stride, const WholeTap& ty) {
    return Row(plane, ty.i0, stride);
}

// Bilinear sample of a byte plane: vertical taps with one extra bit, then horizontal.
inline uint8_t Bilinear(const RowPair& r, const Tap& tx) {
    return HorizontalTap(VerticalTap(r.r0[tx.i0], r.r1[tx.i0], r.w), VerticalTap(r.r0[tx.i1], r.r1[tx.i1], r.w),
                         tx.w);
}
inline uint8_t Bilinear(const uint8_t* row, const WholeTap& tx) { return row[tx.i0]; }

// Bilinear samples of a byte plane for destination columns x0 .. x0 + n - 1 of the row under ty.
inline void BilinearRow(const RowPair& rows, int32_t W, int32_t stepX, int32_t x0, int32_t n, uint8_t* out) {
    for (int32_t i = 0; i < n; ++i) out[i] = Bilinear(rows, TapAt(ScalePosition(x0 + i, stepX), W));
}

// Destination pixel (i, j) through the packed parameter record. The record's steps count bytes
// for two pixels and two rows; each destination format converts them to whole units of its own
// (PixelUnitOf: 16-bit: >> 2 units, RGB888: >> 1 bytes, 32-bit: >> 3 units), so negative steps
// work. Frame validation computes the bytes a frame touches from the same steps.
struct Placement {
    uint8_t* start;
    int32_t dx, dy;  // bytes
    uint8_t* RowStart(int32_t j) const { return Row(start, j, dy); }
};
template <int32_t kDestination>
inline Placement PlacementOf(const QvRotationParams& p) {
    constexpr PixelUnit kUnit = PixelUnitOf(FormatOf(kDestination).pixelBytes);
    return {p.dst00, kUnit.Step(p.stepX), kUnit.Step(p.stepY)};
}

}  // namespace qv
