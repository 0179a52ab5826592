// Planar 4:4:4 to RGB565, RGB888 and ARGB32, always resampled and placed through the scale and
// rotation parameters. Y, Cb and Cr are each interpolated before conversion, not the RGB.
#include <cstdint>

#include "convert/resample.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Pixel writers: the destination unit (as a shift of the two-pixel step and its byte size) and
// how one converted pixel is packed and stored.
struct WriteRGB565 {
    static constexpr int kShift = 2, kUnitBytes = 2;
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t) const { Store16(p, PixelRGB565(y, t)); }
};
struct WriteRGB888 {
    static constexpr int kShift = 1, kUnitBytes = 1;
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t) const { StoreRGB888(p, PixelRGB8(y, t)); }
};
struct WriteARGB32 {
    static constexpr int kShift = 3, kUnitBytes = 4;
    uint8_t alpha;
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t) const { Store32(p, PixelARGB32(y, t, alpha)); }
};

template <class Writer>
int32_t Resample444(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H, int32_t DW,
                    int32_t DH, Writer write) {
    if (ctx->params == nullptr) return kInvalidArg;
    const Placement dst = PlacementOf<Writer::kShift, Writer::kUnitBytes>(*ctx->params);
    const ConvTables tables = TablesOf(ctx);
    WalkResampled(W, H, DW, DH, [&](int32_t j, const auto& ty) {
        const auto y = RowsAt(sp[0], ss[0], ty);
        const auto cb = RowsAt(sp[1], ss[1], ty);
        const auto cr = RowsAt(sp[2], ss[2], ty);
        uint8_t* const row = dst.RowStart(j);
        return [=, dx = dst.dx](int32_t i, const auto& tx) {
            write(Row(row, i, dx), tables.y[Bilinear(y, tx)], tables.Chroma(Bilinear(cb, tx), Bilinear(cr, tx)));
        };
    });
    return kOk;
}

}  // namespace

int32_t _QVYCbCr444ToRGB565RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH) {
    return Resample444(ctx, sp, ss, W, H, DW, DH, WriteRGB565{});
}

int32_t _QVYCbCr444ToRGB888RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH) {
    return Resample444(ctx, sp, ss, W, H, DW, DH, WriteRGB888{});
}

int32_t _QVYCbCr444ToARGB32RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                  int32_t DW, int32_t DH, uint8_t alpha) {
    return Resample444(ctx, sp, ss, W, H, DW, DH, WriteARGB32{alpha});
}

}  // namespace qv
