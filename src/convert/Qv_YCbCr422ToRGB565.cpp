// Planar 4:2:2 to RGB565, at the same size and scaled. Chroma is half width, full height.
#include <algorithm>
#include <cstdint>

#include "convert/resample.h"
#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {
constexpr RowGeometry kRows = RouteOf(Op(kYCbCr422, kRGB565)).rows;
}  // namespace

int32_t _QVYCbCr422ToRGB565(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                            uint8_t* d0, int32_t s0) {
    // Destination rows advance by whole pixels: the byte stride rounded down to an even number.
    const int32_t rowBytes = kRows.RowStep(s0);
    // Whole pixel pairs only; the library's widths are multiples of 4.
    const int32_t width = W & ~1;
    if (width < 2) return kOk;
    const RowKernel kernel = Kernels().row422ToRGB565;
    const ConvTables tables = TablesOf(ctx);
    for (int32_t r = 0; r < H; ++r)
        kernel(Row(sp[0], r, ss[0]), Row(sp[1], r, ss[1]), Row(sp[2], r, ss[2]), Row(d0, r, rowBytes), width, tables, 0);
    return kOk;
}

int32_t _QVYCbCr422ToRGB565Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                               uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    if (W < 1 || H < 1 || DW < 2 || DH < 2) return kOk;
    const int32_t rowBytes = kRows.RowStep(s0);
    // Luma is bilinear; each pixel takes the chroma column under its own position (x >> 1),
    // interpolated between its two rows only, so two neighbours over one chroma column share it
    // even when their luma differs: a chroma sample per pixel, converted as 4:4:4.
    const RowKernel kernel = Kernels().row444ToRGB565;
    const ConvTables tables = TablesOf(ctx);
    const int32_t stepX = ScaleStep(W, DW), stepY = ScaleStep(H, DH);
    constexpr int32_t kChunk = 512;
    uint8_t y[kChunk], cb[kChunk], cr[kChunk];
    for (int32_t j = 0; j < DH; ++j) {
        const Tap ty = TapAt(ScalePosition(j, stepY), H);
        const RowPair luma = RowsAt(sp[0], ss[0], ty), cbRows = RowsAt(sp[1], ss[1], ty), crRows = RowsAt(sp[2], ss[2], ty);
        for (int32_t x0 = 0; x0 < DW; x0 += kChunk) {
            const int32_t n = std::min(kChunk, DW - x0);
            for (int32_t i = 0; i < n; ++i) {
                const Tap tx = TapAt(ScalePosition(x0 + i, stepX), W);
                const int32_t c = tx.i0 >> 1;
                y[i] = Bilinear(luma, tx);
                cb[i] = static_cast<uint8_t>(((cbRows.r1[c] - cbRows.r0[c]) * ty.w + (cbRows.r0[c] << 5)) >> 5);
                cr[i] = static_cast<uint8_t>(((crRows.r1[c] - crRows.r0[c]) * ty.w + (crRows.r0[c] << 5)) >> 5);
            }
            kernel(y, cb, cr, Row(d0, j, rowBytes) + 2 * static_cast<ptrdiff_t>(x0), n, tables, 0);
        }
    }
    return kOk;
}

}  // namespace qv
