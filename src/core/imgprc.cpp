// Scaler and rotation set-up: supported operations, conversion tables, fixed-ratio recognition,
// line buffers and the per-frame scale and rotation parameters.
#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {

// The table and line-buffer blocks are carved at this alignment. A line buffer holds 4 bytes for
// each pixel of the wider size and 16 more; the near-linear upscaler's, which doubles its lines, twice that.
constexpr int64_t kBlockAlignment = 4;
constexpr int64_t kNearLinearLineFactor = 2;

// A scaled size is refined to a fixed ratio only without rotation and with interpolation 1.
uint32_t FixedRatioCase(const QvImgPrcContext* ctx) {
    const int64_t sw = ctx->srcWidth, sh = ctx->srcHeight;
    const int64_t dw = ctx->dstWidth, dh = ctx->dstHeight;
    if (dw == 2 * sw && dh == 2 * sh) return kScaleDouble;
    if (2 * dw == 5 * sw && dh == 2 * sh) return kScaleWide25x2;
    if (sw == 320 && sh == 240 && dw == 480 && dh == 272) return kScale320To480x272;
    if (2 * dw == 3 * sw) return kScaleWide15;  // heights are not compared
    return ctx->scaleCase;
}

int16_t ClampToInt16(int64_t v) {
    if (v > 32767) return 32767;
    if (v < -32768) return -32768;
    return static_cast<int16_t>(v);
}

int32_t PackHalves(int16_t high, int16_t low) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(high)) << 16 |
                                static_cast<uint16_t>(low));
}

// Address arithmetic in unsigned pointer width: a placement may lie before the plane start of a
// destination smaller than the picture, and is only ever formed, not dereferenced, there.
uint8_t* Offset(uint8_t* base, int64_t bytes) {
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(base) + static_cast<uintptr_t>(bytes));
}

}  // namespace

void set_transtable(uint16_t* yTable, int32_t* cbTable, int32_t* crTable, int32_t brightness,
                    int32_t contrast, int32_t saturation) {
    // Extended precision throughout; every conversion to an integer truncates toward zero, so
    // adding 0.5 rounds negative products up (-10.3 becomes -9), as the tables always have.
    long double offset = (brightness - 128.0L) * 2;
    if (offset < -255) offset = -255;
    if (offset > 255) offset = 255;
    const long double lumaGain = contrast < 0 ? 0.0L : contrast < 256 ? contrast / 128.0L : 255 / 128.0L;
    const long double chromaGain = saturation < 0 ? 0.0L : (saturation < 255 ? saturation : 255) / 128.0L;
    for (int e = 0; e < 256; ++e) {
        const long double i = e - 16;
        const long double d = e - 128;
        const int64_t y = static_cast<int64_t>(((i * lumaGain) + offset) * 1.16438355L * 128.0L + 0.5L);
        yTable[e] = static_cast<uint16_t>(y > 65535 ? 65535 : y < 0 ? 0 : y);
        const int16_t r = ClampToInt16(static_cast<int64_t>(1.59602715L * d * chromaGain * 64 + 0.5L));
        const int16_t g1 = ClampToInt16(static_cast<int64_t>(-0.81296805L * d * chromaGain * 64 + 0.5L));
        crTable[e] = PackHalves(r, g1);
        const int16_t b = ClampToInt16(static_cast<int64_t>(64 * (2.01723105L * d * chromaGain) + 0.5L));
        const int16_t g2 = ClampToInt16(static_cast<int64_t>(d * -0.3917616L * chromaGain * 64 + 0.5L));
        cbTable[e] = PackHalves(b, g2);
    }
}

namespace {

// Finds (a x s + b) >> shift with clamp(that, lo, hi) == f[s] for every s in [first, last]: an
// entry at lo (hi) only asks the line to be at or below (above) it. Slopes are tried outward
// from the one through the outermost unclamped entries; the offset is then any value inside
// every entry's bounds.
bool FitPiece(const int32_t* f, int first, int last, int64_t lo, int64_t hi, AffinePiece* out) {
    int u0 = -1, u1 = -1;
    for (int s = first; s <= last; ++s) {
        if (f[s] > lo && f[s] < hi) {
            if (u0 < 0) u0 = s;
            u1 = s;
        }
    }
    for (int32_t shift = 16; shift >= 8; --shift) {
        const int64_t one = int64_t{1} << shift;
        const int64_t guess = u1 > u0 ? ((f[u1] - f[u0]) * one) / (u1 - u0) : 0;
        const int64_t window = u1 > u0 ? one / (u1 - u0) + 2 : 2;
        if ((std::abs(guess) + window) * 256 > INT32_MAX) continue;  // too fine for 32-bit lanes
        for (int64_t i = 0; i <= 2 * window; ++i) {
            const int64_t a = guess + ((i & 1) ? -(i + 1) / 2 : i / 2);
            int64_t bLow = INT64_MIN, bHigh = INT64_MAX;
            for (int s = first; s <= last && bLow <= bHigh; ++s) {
                const int64_t zLow = f[s] <= lo ? INT64_MIN / 2 : f[s] * one;
                const int64_t zHigh = f[s] >= hi ? INT64_MAX / 2 : f[s] * one + one - 1;
                bLow = std::max(bLow, zLow - a * s);
                bHigh = std::min(bHigh, zHigh - a * s);
            }
            if (bLow > bHigh) continue;
            // Prefer the offset nearest zero that keeps every product within 32 bits.
            const int64_t b = std::clamp<int64_t>(0, bLow, bHigh);
            bool fits = a >= INT32_MIN && a <= INT32_MAX && b >= INT32_MIN && b <= INT32_MAX;
            for (int s = first; s <= last && fits; ++s) fits = a * s + b >= INT32_MIN && a * s + b <= INT32_MAX;
            if (!fits) continue;
            *out = {static_cast<int32_t>(a), static_cast<int32_t>(b), shift};
            return true;
        }
    }
    return false;
}

}  // namespace

bool FitConversionTables(const uint16_t* yTable, const int32_t* cbTable, const int32_t* crTable, ConvFit* fit) {
    int32_t values[5][256];
    for (int s = 0; s < 256; ++s) {
        values[0][s] = yTable[s] - 32768;
        values[1][s] = cbTable[s] >> 16;
        values[2][s] = static_cast<int16_t>(cbTable[s] & 0xFFFF);
        values[3][s] = crTable[s] >> 16;
        values[4][s] = static_cast<int16_t>(crTable[s] & 0xFFFF);
    }
    bool ok = FitPiece(values[0], 0, 255, -32768, 32767, &fit->luma);
    for (int t = 0; t < 4 && ok; ++t) {
        ok = false;
        for (int32_t split = 128; split <= 129 && !ok; ++split) {
            fit->split[t] = split;
            ok = FitPiece(values[t + 1], 0, split - 1, -32768, 32767, &fit->chroma[t][0]) &&
                 FitPiece(values[t + 1], split, 255, -32768, 32767, &fit->chroma[t][1]);
        }
    }
    bool plain = ok;
    for (int t = 0; t < 4 && plain; ++t) plain = fit->chroma[t][0].a == fit->chroma[t][1].a;
    for (int t = 1; t < 5 && plain; ++t) {
        for (int s = 0; s < 256 && plain; ++s) plain = values[t][s] > -32768 && values[t][s] < 32767;
    }
    fit->plain = plain ? 1 : 0;
    fit->ok = ok ? 1 : 0;
    return ok;
}

void SplitConversionTables(const uint16_t* yTable, const int32_t* cbTable, const int32_t* crTable, uint8_t* terms) {
    const auto put = [terms](int32_t table, int s, int32_t value) {
        terms[table * 512 + s] = static_cast<uint8_t>(value & 0xFF);
        terms[table * 512 + 256 + s] = static_cast<uint8_t>((value >> 8) & 0xFF);
    };
    const auto fits = [](int32_t v) { return v >= -32768 && v <= 32767; };
    bool red = true, blue = true, doubled = true;
    int32_t cbLowMin = 32767, cbLowMax = -32768, crLowMin = 32767, crLowMax = -32768;
    for (int s = 0; s < 256; ++s) {
        const int32_t cbHigh = cbTable[s] >> 16, crHigh = crTable[s] >> 16;
        const int32_t cbLow = static_cast<int16_t>(cbTable[s] & 0xFFFF), crLow = static_cast<int16_t>(crTable[s] & 0xFFFF);
        put(kTermLuma, s, yTable[s] - 32768);
        put(kTermRedA, s, crHigh);
        put(kTermBlueA, s, cbHigh);
        put(kTermCbLow, s, cbLow);
        put(kTermCrLow, s, crLow);
        put(kTermRedWhole, s, 2 * crHigh + (crLow < 0 ? 1 : 0));
        put(kTermCbLow2, s, 2 * cbLow);
        put(kTermCrLow2, s, 2 * crLow);
        red = red && fits(2 * crHigh + (crLow < 0 ? 1 : 0));
        doubled = doubled && fits(2 * cbLow) && fits(2 * crLow);
        blue = blue && fits(2 * cbHigh + (cbLow < 0 ? 1 : 0));
        cbLowMin = std::min(cbLowMin, cbLow);
        cbLowMax = std::max(cbLowMax, cbLow);
        crLowMin = std::min(crLowMin, crLow);
        crLowMax = std::max(crLowMax, crLow);
    }
    const bool green = fits(2 * (cbLowMin + crLowMin)) && fits(2 * (cbLowMax + crLowMax));
    terms[kTermFitsOffset] = static_cast<uint8_t>((red ? kRedFits : 0) | (green ? kGreenFits : 0) | (blue ? kBlueFits : 0) |
                                                  (red && green && doubled ? kWholeTerms : 0));
}

void BuildConversionTables(QvImgPrcContext* ctx, int32_t brightness, int32_t contrast, int32_t saturation) {
    set_transtable(ctx->yTable, ctx->cbTable, ctx->crTable, brightness, contrast, saturation);
    if (ConvFit* fit = FitOf(ctx)) FitConversionTables(ctx->yTable, ctx->cbTable, ctx->crTable, fit);
    if (uint8_t* terms = TermTablesOf(ctx)) SplitConversionTables(ctx->yTable, ctx->cbTable, ctx->crTable, terms);
}

int32_t _ImgPrcInit_depend(QvImgPrcContext* ctx) {
    const Route* route = FindRoute(ctx->operation);
    if (route != nullptr && route->rotations == Rotations::kOnlyNone) {
        // Such a route (RGB555 with its colour key) exists only at the source size and orientation.
        if (ctx->rotation != kRotateNone || ctx->scaleCase != kScaleSame) {
            std::puts("Unsupport conversion!");
            return kNotImplemented;
        }
    } else {
        if (route == nullptr) {
            std::puts("Unsupport image format conversion! ");
            return kNotImplemented;
        }
        if (ctx->rotation > kLastRotation) {
            std::puts("Unsupport image rotation type! ");
            return kNotImplemented;
        }
    }

    // The tables, their fit and the split term tables.
    ctx->convTableBlock = static_cast<uint8_t*>(Allocate(kConvTableBlockBytes));
    if (ctx->convTableBlock == nullptr) return kOutOfMemory;
    uint8_t* tables = AlignUp(ctx->convTableBlock, kBlockAlignment);
    ctx->yTable = reinterpret_cast<uint16_t*>(tables);
    ctx->cbTable = reinterpret_cast<int32_t*>(tables + kCbTableOffset);
    ctx->crTable = reinterpret_cast<int32_t*>(tables + kCrTableOffset);
    BuildConversionTables(ctx, kNeutralAdjust, kNeutralAdjust, kNeutralAdjust);

    if (ctx->scaleCase != kScaleSame) {
        if (ctx->rotation == kRotateNone && ctx->interpolation == kInterpFixedRatio) ctx->scaleCase = FixedRatioCase(ctx);
        const int64_t m = ctx->srcWidth > ctx->dstWidth ? ctx->srcWidth : ctx->dstWidth;
        const int64_t lineBytes = (ctx->interpolation == kInterpNearLinear && ctx->scaleCase == kScaleUp)
                                      ? kNearLinearLineFactor * (4 * m + 16)
                                      : 4 * m + 16;
        const int64_t blockBytes = 4 * lineBytes + kBlockAlignment;
        // A size that is negative or beyond the address space cannot be allocated.
        if (lineBytes >= 0 && blockBytes <= static_cast<int64_t>(PTRDIFF_MAX))
            ctx->lineBufferBlock = static_cast<uint8_t*>(Allocate(static_cast<size_t>(blockBytes)));
        if (ctx->lineBufferBlock == nullptr) {
            std::puts("fail to alloc line buffer!");
            return kOutOfMemory;
        }
        uint8_t* first = AlignUp(ctx->lineBufferBlock, kBlockAlignment);
        for (int i = 0; i < 4; ++i)
            ctx->lineBuffer[i] = reinterpret_cast<uint32_t*>(first + i * lineBytes);
    }

    ctx->paramSize = sizeof(QvRotationParams);
    ctx->params = static_cast<QvRotationParams*>(Allocate(sizeof(QvRotationParams)));
    if (ctx->params == nullptr) {
        std::puts("fail to init rotation param! ");
        return kOutOfMemory;
    }
    return kOk;
}

PackedPlacement PackedPlacementOf(uint32_t rotation, int64_t B, int64_t W, int64_t H, int64_t s) {
    PackedPlacement p{};
    int64_t stepX = 0, stepY = 0;
    switch (rotation) {
        case kRotateNone:
            stepX = 2 * B; stepY = 2 * s;
            p.d00 = 0; p.d10 = p.d00 + B;
            p.d01 = p.d00 + s; p.d11 = p.d00 + s + B;
            break;
        case kRotate90CCW:
            stepX = -2 * s; stepY = 2 * B;
            p.d00 = (W - 1) * s; p.d10 = p.d00 - s;
            p.d01 = p.d00 + B; p.d11 = p.d10 + B;
            break;
        case kRotate90CW:
            stepX = 2 * s; stepY = -2 * B;
            p.d00 = (H - 1) * B; p.d10 = p.d00 + s;
            p.d01 = p.d00 - B; p.d11 = p.d10 - B;
            break;
        case kRotate180:
            // The first pixel is found from the stride, not the width: a destination wider
            // than the picture gets the picture against the right end of each row.
            stepX = -2 * B; stepY = -2 * s;
            p.d00 = H * s - B; p.d10 = p.d00 - B;
            p.d01 = p.d00 - s; p.d11 = p.d01 - B;
            break;
        case kMirror:
            stepX = -2 * B; stepY = 2 * s;
            p.d00 = (W - 1) * B; p.d10 = p.d00 - B;
            p.d01 = p.d00 + s; p.d11 = p.d01 - B;
            break;
        default:  // kFlip
            stepX = 2 * B; stepY = -2 * s;
            p.d00 = (H - 1) * s; p.d10 = p.d00 + B;
            p.d01 = p.d00 - s; p.d11 = p.d01 + B;
            break;
    }
    // The record holds 32-bit steps.
    p.stepX = static_cast<int32_t>(static_cast<uint32_t>(stepX));
    p.stepY = static_cast<int32_t>(static_cast<uint32_t>(stepY));
    return p;
}

int32_t _QV_RotationInit(QvImgPrcContext* ctx, uint8_t* const dstPlanes[3], int32_t dstWidth,
                         int32_t dstHeight, const int32_t dstStrides[3]) {
    if (ctx == nullptr || ctx->params == nullptr) return kInvalidArg;
    QvRotationParams& p = *ctx->params;
    const int32_t format = DestinationFormat(ctx->operation);
    if (format > kLastDestinationFormat || FormatOf(format).recordBytes == kNoRecord) return kNotImplemented;
    if (ctx->rotation > kLastRotation) return kNotImplemented;
    const int64_t B = FormatOf(format).recordBytes;
    const int64_t W = dstWidth, H = dstHeight;

    if (B != kPlanarRecord) {
        const PackedPlacement o = PackedPlacementOf(ctx->rotation, B, W, H, dstStrides[0]);
        uint8_t* const base = dstPlanes[0];
        p.dst00 = Offset(base, o.d00);
        p.dst10 = Offset(base, o.d10);
        p.dst01 = Offset(base, o.d01);
        p.dst11 = Offset(base, o.d11);
        p.stepX = o.stepX;
        p.stepY = o.stepY;
        return kOk;
    }

    // Planar 4:2:0: one set of steps and a start per plane; here the half turn uses the width.
    const int64_t w2 = dstWidth >> 1, h2 = dstHeight >> 1;
    struct PlaneSteps {
        int64_t stepX, stepY, start;
    };
    auto planar = [&](int64_t w, int64_t h, int64_t s) -> PlaneSteps {
        switch (ctx->rotation) {
            case kRotateNone: return {1, s, 0};
            case kRotate90CCW: return {-s, 1, (w - 1) * s};
            case kRotate90CW: return {s, -1, h - 1};
            case kRotate180: return {-1, -s, (h - 1) * s + w - 1};
            case kMirror: return {-1, s, w - 1};
            default: return {1, -s, (h - 1) * s};  // kFlip
        }
    };
    const PlaneSteps y = planar(W, H, dstStrides[0]);
    const PlaneSteps cb = planar(w2, h2, dstStrides[1]);
    const PlaneSteps cr = planar(w2, h2, dstStrides[2]);
    p.stepX = static_cast<int32_t>(y.stepX);
    p.stepY = static_cast<int32_t>(y.stepY);
    p.stepXCb = static_cast<int32_t>(cb.stepX);
    p.stepYCb = static_cast<int32_t>(cb.stepY);
    p.stepXCr = static_cast<int32_t>(cr.stepX);
    p.stepYCr = static_cast<int32_t>(cr.stepY);
    p.startY = Offset(dstPlanes[0], y.start);
    p.startCb = Offset(dstPlanes[1], cb.start);
    p.startCr = Offset(dstPlanes[2], cr.start);
    return kOk;
}

}  // namespace qv
