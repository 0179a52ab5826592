// Planar 4:4:4 to RGB565, RGB888 and ARGB32, always resampled and placed through the scale and
// rotation parameters. Y, Cb and Cr are each interpolated before conversion, not the RGB.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "convert/resample.h"
#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Destination formats: the record's two-pixel steps become pixel steps in whole units of the
// format (PlacementOf); a pixel is kBytes.
struct RGB565Out {
    static constexpr int32_t kFormat = kRGB565, kBytes = 2;
    static RowKernel Kernel(const KernelTable& k) { return k.row444ToRGB565; }
};
struct RGB888Out {
    static constexpr int32_t kFormat = kRGB888, kBytes = 3;
    static RowKernel Kernel(const KernelTable& k) { return k.row444ToRGB888; }
};
struct ARGB32Out {
    static constexpr int32_t kFormat = kARGB32, kBytes = 4;
    static RowKernel Kernel(const KernelTable& k) { return k.row444ToARGB32; }
};

constexpr int32_t kChunk = 512;  // pixels per kernel call through scratch rows

// Each destination row: the three planes' samples (the source rows themselves at equal sizes,
// bilinear samples otherwise) converted by the row kernel, straight into the row when its pixels
// are adjacent, else into a scratch row placed pixel by pixel.
template <class Out>
int32_t Resample444(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H, int32_t DW,
                    int32_t DH, uint32_t arg) {
    if (ctx->params == nullptr) return kInvalidArg;
    // Destination sizes below 2 have no step (the library's sizes are multiples of 4).
    if (W < 1 || H < 1 || DW < 2 || DH < 2) return kOk;
    const Placement dst = PlacementOf<Out::kFormat>(*ctx->params);
    const RowKernel kernel = Out::Kernel(Kernels());
    const ConvTables tables = TablesOf(ctx);
    const int32_t stepX = ScaleStep(W, DW), stepY = ScaleStep(H, DH);
    const bool sameSize = W == DW && H == DH;  // every position on a whole sample
    const bool straight = dst.dx == Out::kBytes;
    uint8_t samples[3][kChunk];
    uint8_t scratch[kChunk * Out::kBytes];
    for (int32_t j = 0; j < DH; ++j) {
        uint8_t* const row = dst.RowStart(j);
        const Tap ty = TapAt(ScalePosition(j, stepY), H);
        const int32_t chunk = sameSize && straight ? DW : kChunk;
        for (int32_t x0 = 0; x0 < DW; x0 += chunk) {
            const int32_t n = std::min(chunk, DW - x0);
            const uint8_t* in[3];
            for (int p = 0; p < 3; ++p) {
                if (sameSize) {
                    in[p] = Row(sp[p], j, ss[p]) + x0;
                } else {
                    BilinearRow(RowsAt(sp[p], ss[p], ty), W, stepX, x0, n, samples[p]);
                    in[p] = samples[p];
                }
            }
            uint8_t* const out = straight ? Row(row, x0, dst.dx) : scratch;
            kernel(in[0], in[1], in[2], out, n, tables, arg);
            if (!straight) {
                for (int32_t i = 0; i < n; ++i) std::memcpy(Row(row, x0 + i, dst.dx), scratch + i * Out::kBytes, Out::kBytes);
            }
        }
    }
    return kOk;
}

}  // namespace

int32_t _QVYCbCr444ToRGB565RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH) {
    return Resample444<RGB565Out>(ctx, sp, ss, W, H, DW, DH, 0);
}

int32_t _QVYCbCr444ToRGB888RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH) {
    return Resample444<RGB888Out>(ctx, sp, ss, W, H, DW, DH, 0);
}

int32_t _QVYCbCr444ToARGB32RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH, uint8_t alpha) {
    return Resample444<ARGB32Out>(ctx, sp, ss, W, H, DW, DH, alpha);
}

}  // namespace qv
