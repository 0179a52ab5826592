// Colour adjustment: brightness, contrast and saturation, the byte curves of 4:2:0 output, the
// rebuilt conversion tables, the colour-key hook and the adjusting same-size 4:2:0 copy.
#include <algorithm>
#include <cstdint>

#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// Maps `rows` rows of `width` bytes through a 256-entry curve.
void MapPlane(const uint8_t* src, int32_t srcStride, uint8_t* dst, int32_t dstStride, int32_t width,
              int32_t rows, const uint8_t* curve) {
    for (int32_t r = 0; r < rows; ++r) {
        const uint8_t* s = Row(src, r, srcStride);
        uint8_t* d = Row(dst, r, dstStride);
        for (int32_t x = 0; x < width; ++x) d[x] = curve[s[x]];
    }
}

// v up to 128 as it is; above, 128 + (v - 128)^2 x bend / 128.
constexpr int32_t Bend(int32_t v, int32_t bend) { return v <= 128 ? v : (((v - 128) * (v - 128) * bend) >> 7) + 128; }
constexpr int32_t kContrastBend = 3;
constexpr int32_t kSaturationBend = 7;

}  // namespace

void CalcColorKey() {
    // The colour key is compared exactly as stored; nothing is derived from it.
}

int32_t QV_ImgColorAdjustSet(QvImgPrcContext* ctx, const int32_t* values) {
    if (ctx == nullptr || values == nullptr) return kInvalidArg;
    const int32_t b = values[0], c = values[1], s = values[2];
    if (b == ctx->brightness && c == ctx->contrast && s == ctx->saturation) return kOk;
    if (b == kNeutralAdjust && c == kNeutralAdjust && s == kNeutralAdjust) {
        // Back to neutral: the curves keep their last contents but are no longer used.
        ctx->adjustOn = 0;
        ctx->brightness = ctx->contrast = ctx->saturation = kNeutralAdjust;
        BuildConversionTables(ctx, kNeutralAdjust, kNeutralAdjust, kNeutralAdjust);
        return kOk;
    }
    if (ctx->adjustCurveBlock == nullptr) {
        ctx->adjustCurveBlock = static_cast<uint8_t*>(Allocate(kCurveBlockBytes));
        if (ctx->adjustCurveBlock == nullptr) return kOutOfMemory;
        ctx->lumaCurve = ctx->adjustCurveBlock;
        ctx->chromaCurve = ctx->adjustCurveBlock + kCurveBytes;
    }
    ctx->adjustOn = 1;
    ctx->brightness = b;
    ctx->contrast = c;
    ctx->saturation = s;
    BuildConversionTables(ctx, b, c, s);

    // Each value is taken clamped to 0..255. Contrast and saturation bend above 128 by squared
    // formulas, unlike the linear conversion tables; the gains are in 1/128 units.
    const int32_t offset = 2 * std::clamp(b, 0, 255) - 256;
    const int32_t slope = Bend(std::clamp(c, 0, 255), kContrastBend);
    const double gain = Bend(std::clamp(s, 0, 255), kSaturationBend) / 128.0;
    for (int32_t i = 0; i < kCurveBytes; ++i) {
        ctx->lumaCurve[i] = ClampByte(((i * slope) >> 7) + offset);
        ctx->chromaCurve[i] = ClampByte(static_cast<int32_t>((i - 128) * gain + 128.0));
    }
    return kOk;
}

int32_t QV_ImgColorAdjustGet(const QvImgPrcContext* ctx, int32_t* values) {
    if (ctx == nullptr || values == nullptr) return kInvalidArg;
    values[0] = ctx->brightness;
    values[1] = ctx->contrast;
    values[2] = ctx->saturation;
    return _CheckCapability_depend(ctx->operation);
}

int32_t _QVYCbCrAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                       DstPlanes dp, Strides ds) {
    for (int i = 0; i < 3; ++i)
        if (sp[i] == nullptr || dp[i] == nullptr) return kInvalidArg;
    MapPlane(sp[0], ss[0], dp[0], ds[0], W, H, ctx->lumaCurve);
    if (H < 2) return kOk;
    // Cb and Cr share the one chroma curve.
    MapPlane(sp[1], ss[1], dp[1], ds[1], W >> 1, H >> 1, ctx->chromaCurve);
    MapPlane(sp[2], ss[2], dp[2], ds[2], W >> 1, H >> 1, ctx->chromaCurve);
    return kOk;
}

}  // namespace qv
