// Planar YCbCr 4:2:0 to RGB888 (bytes blue, green, red): same size, rotated, single-pass scaled
// and line-cache upscaled. Strides and rotation steps are used exactly as given.
#include "convert/rgb_routes.h"

namespace qv {

using rgb::RGB888Format;

int32_t _QVYCbCr420ToRGB888(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0) {
    rgb::ConvertPicture(ctx, RGB888Format{}, sp, ss, W, H, rgb::StraightRows<RGB888Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToRGB888Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertPicture(ctx, RGB888Format{}, sp, ss, W, H, rgb::RotatedRows<RGB888Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToRGB888Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    rgb::ConvertScaled(ctx, RGB888Format{}, sp, ss, W, H, DW, DH, rgb::StraightRows<RGB888Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToRGB888RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertScaled(ctx, RGB888Format{}, sp, ss, W, H, DW, DH, rgb::RotatedRows<RGB888Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToRGB888RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH) {
    const int32_t xstep = ScaleStep(W, DW);
    // Unlike the 16- and 32-bit upscalers, rows advance by the full stride.
    const int32_t rowStride = RGB888Format::kRows.RowStep(s0);
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerp24(line, d0, xstep, DW);
        d0 += rowStride;
    });
}

}  // namespace qv
