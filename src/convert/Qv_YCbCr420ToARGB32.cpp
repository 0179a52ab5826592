// Planar YCbCr 4:2:0 to ARGB32: same size, rotated, single-pass scaled, line-cache upscaled and
// the two fixed ratios. Every pixel carries the caller's alpha byte.
#include "convert/rgb_routes.h"

namespace qv {

using rgb::ARGB32Format;

int32_t _QVYCbCr420ToARGB32(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0, uint8_t alpha) {
    rgb::ConvertPicture(ctx, ARGB32Format{alpha}, sp, ss, W, H, rgb::StraightRows<ARGB32Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToARGB32Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t alpha) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertPicture(ctx, ARGB32Format{alpha}, sp, ss, W, H, rgb::RotatedRows<ARGB32Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToARGB32Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH,
                               uint8_t alpha) {
    rgb::ConvertScaled(ctx, ARGB32Format{alpha}, sp, ss, W, H, DW, DH, rgb::StraightRows<ARGB32Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToARGB32RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH, uint8_t alpha) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertScaled(ctx, ARGB32Format{alpha}, sp, ss, W, H, DW, DH, rgb::RotatedRows<ARGB32Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToARGB32RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH, uint8_t alpha) {
    const int32_t xstep = ScaleStep(W, DW);
    const int32_t rowStride = ARGB32Format::kRows.RowStep(s0);
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerp32(line, d0, xstep, DW, alpha);
        d0 += rowStride;
    });
}

// Width x 2.5, height x 2. The row pair converted after the last source row is read as the
// last source row, so the last destination row repeats it instead of reading below the picture.
int32_t _QVYCbCr420ToARGB32Case1(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t s0,
                                 int32_t DH, uint8_t alpha) {
    return rgb::UpscaleTwiceVertically<rgb::BelowPicture::kClamp>(
        ctx, lines, sp, ss, W, d0, ARGB32Format::kRows.RowStep(s0), DH,
        [W, alpha](const uint32_t* line, uint8_t* row) { HLerp32_25(line, row, W, alpha); });
}

// Width x 1.5, free vertical ratio.
int32_t _QVYCbCr420ToARGB32Case2(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DH, uint8_t alpha) {
    const int32_t rowStride = ARGB32Format::kRows.RowStep(s0);
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerp32_23(line, d0, W, alpha);
        d0 += rowStride;
    });
}

}  // namespace qv
