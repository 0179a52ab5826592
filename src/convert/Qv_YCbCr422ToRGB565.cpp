// Planar 4:2:2 to RGB565, at the same size and scaled. Chroma is half width, full height.
#include <cstdint>

#include "convert/resample.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Chroma of the scaler: interpolated between its two rows only, never across columns.
inline uint8_t ChromaVertical(const RowPair& r, int32_t c) {
    return static_cast<uint8_t>(((r.r1[c] - r.r0[c]) * r.w + (r.r0[c] << 5)) >> 5);
}
inline uint8_t ChromaVertical(const uint8_t* row, int32_t c) { return row[c]; }

}  // namespace

int32_t _QVYCbCr422ToRGB565(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                            uint8_t* d0, int32_t s0) {
    // Destination rows advance by whole pixels: the byte stride rounded down to an even number.
    const int32_t rowBytes = s0 & ~1;
    const ConvTables tables = TablesOf(ctx);
    for (int32_t r = 0; r < H; ++r) {
        const uint8_t* y = Row(sp[0], r, ss[0]);
        const uint8_t* cb = Row(sp[1], r, ss[1]);
        const uint8_t* cr = Row(sp[2], r, ss[2]);
        uint8_t* d = Row(d0, r, rowBytes);
        // Whole pixel pairs only; the library's widths are multiples of 4.
        for (int32_t x = 0; x + 1 < W; x += 2) {
            const ChromaTerms t = tables.Chroma(cb[x >> 1], cr[x >> 1]);
            Store16(d + 2 * x, PixelRGB565(tables.y[y[x]], t));
            Store16(d + 2 * x + 2, PixelRGB565(tables.y[y[x + 1]], t));
        }
    }
    return kOk;
}

int32_t _QVYCbCr422ToRGB565Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                               uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    const int32_t rowBytes = s0 & ~1;
    // Luma is bilinear; each pixel takes the chroma column under its own position (x >> 1), so
    // two neighbours over one chroma column share it even when their luma differs.
    const ConvTables tables = TablesOf(ctx);
    WalkResampled(W, H, DW, DH, [&](int32_t j, const auto& ty) {
        const auto y = RowsAt(sp[0], ss[0], ty);
        const auto cb = RowsAt(sp[1], ss[1], ty);
        const auto cr = RowsAt(sp[2], ss[2], ty);
        uint8_t* const row = Row(d0, j, rowBytes);
        return [=](int32_t i, const auto& tx) {
            const int32_t c = tx.i0 >> 1;
            const ChromaTerms t = tables.Chroma(ChromaVertical(cb, c), ChromaVertical(cr, c));
            Store16(row + 2 * i, PixelRGB565(tables.y[Bilinear(y, tx)], t));
        };
    });
    return kOk;
}

}  // namespace qv
