// RGB888 scaled and/or rotated to RGB565 or to RGB888: the three bytes of a pixel are blended
// alike and placed through the scale and rotation parameters; the writer packs the result.
#include <array>
#include <cstdint>

#include "convert/resample.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

using Blend = std::array<uint32_t, 3>;  // per byte: an 8-bit value times 32

// Byte 2 becomes red (top 5 bits), byte 1 green (top 6), byte 0 blue (top 5), truncating.
struct WriteRGB565 {
    static constexpr int32_t kFormat = kRGB565;
    void operator()(uint8_t* p, const Blend& h) const { Store16(p, (h[2] >> 8) << 11 | (h[1] >> 7) << 5 | (h[0] >> 8)); }
};
// The byte order is carried through unchanged.
struct WriteRGB888 {
    static constexpr int32_t kFormat = kRGB888;
    void operator()(uint8_t* p, const Blend& h) const {
        for (int k = 0; k < 3; ++k) p[k] = static_cast<uint8_t>(h[k] >> 5);
    }
};

// The blend of one pixel's three bytes; b1 = min(b + 3, 3W - 3).
inline Blend Blend888(const RowPair& r, const Tap& tx) {
    const int32_t b = 3 * tx.i0, b1 = 3 * tx.i1;
    Blend h;
    for (int k = 0; k < 3; ++k) {
        auto V = [&](int32_t c) { return static_cast<uint32_t>(r.r1[c + k] * r.w + r.r0[c + k] * (32 - r.w)); };
        h[k] = (V(b1) >> 5) * tx.w + (V(b) >> 5) * (32 - tx.w);
    }
    return h;
}
// A whole-sample blend is the pixel's own bytes times 32.
inline Blend Blend888(const uint8_t* row, const WholeTap& tx) {
    const uint8_t* p = row + 3 * tx.i0;
    return {32u * p[0], 32u * p[1], 32u * p[2]};
}

template <class Writer>
int32_t ResampleRGB888(const QvRotationParams* prm, const uint8_t* src, int32_t pitch, int32_t W, int32_t H,
                       int32_t DW, int32_t DH, Writer write) {
    if (prm == nullptr) return kInvalidArg;
    const Placement dst = PlacementOf<Writer::kFormat>(*prm);
    WalkResampled(W, H, DW, DH, [&](int32_t j, const auto& ty) {
        const auto rows = RowsAt(src, pitch, ty);
        uint8_t* const row = dst.RowStart(j);
        return [=, dx = dst.dx](int32_t i, const auto& tx) { write(Row(row, i, dx), Blend888(rows, tx)); };
    });
    return kOk;
}

}  // namespace

int32_t _QVRGB888ToRGB565RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStrideBytes,
                                int32_t W, int32_t H, int32_t DW, int32_t DH) {
    return ResampleRGB888(prm, src, srcStrideBytes, W, H, DW, DH, WriteRGB565{});
}

int32_t _QVRGB888RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStrideBytes, int32_t W,
                        int32_t H, int32_t DW, int32_t DH) {
    return ResampleRGB888(prm, src, srcStrideBytes, W, H, DW, DH, WriteRGB888{});
}

}  // namespace qv
