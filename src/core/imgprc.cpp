// Scaler and rotation set-up: supported operations, conversion tables, fixed-ratio recognition,
// line buffers and the per-frame scale and rotation parameters.
#include <cstdint>
#include <cstdio>

#include "core/qv_routines.h"

namespace qv {
namespace {

bool IsAcceptedOperation(int32_t op) {
    switch (op) {
        case 0x000: case 0x003: case 0x004: case 0x005: case 0x006: case 0x007: case 0x008:
        case 0x103: case 0x203: case 0x204: case 0x205: case 0x300: case 0x303: case 0x305:
        case 0x403: case 0x404: case 0x500: case 0x800: case 0x900:
            return true;
        default:
            return false;
    }
}

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

int32_t _ImgPrcInit_depend(QvImgPrcContext* ctx) {
    if (ctx->operation == 0x00A) {
        // RGB555 with its colour key exists only at the source size and orientation.
        if (ctx->rotation != 0 || ctx->scaleCase != 0) {
            std::puts("Unsupport conversion!");
            return kNotImplemented;
        }
    } else {
        if (!IsAcceptedOperation(ctx->operation)) {
            std::puts("Unsupport image format conversion! ");
            return kNotImplemented;
        }
        if (ctx->rotation > 5) {
            std::puts("Unsupport image rotation type! ");
            return kNotImplemented;
        }
    }

    ctx->convTableBlock = static_cast<uint8_t*>(Allocate(2564));
    if (ctx->convTableBlock == nullptr) return kOutOfMemory;
    uint8_t* tables = AlignUp(ctx->convTableBlock, 4);
    ctx->yTable = reinterpret_cast<uint16_t*>(tables);
    ctx->cbTable = reinterpret_cast<int32_t*>(tables + 512);
    ctx->crTable = reinterpret_cast<int32_t*>(tables + 1536);
    set_transtable(ctx->yTable, ctx->cbTable, ctx->crTable, 128, 128, 128);

    if (ctx->scaleCase != kScaleSame) {
        if (ctx->rotation == 0 && ctx->interpolation == kInterpFixedRatio) ctx->scaleCase = FixedRatioCase(ctx);
        const int64_t m = ctx->srcWidth > ctx->dstWidth ? ctx->srcWidth : ctx->dstWidth;
        const int64_t lineBytes = (ctx->interpolation == kInterpNearLinear && ctx->scaleCase == kScaleUp)
                                      ? 8 * m + 32
                                      : 4 * m + 16;
        const int64_t blockBytes = 4 * lineBytes + 4;
        // A size that is negative or beyond the address space cannot be allocated.
        if (lineBytes >= 0 && blockBytes <= static_cast<int64_t>(PTRDIFF_MAX))
            ctx->lineBufferBlock = static_cast<uint8_t*>(Allocate(static_cast<size_t>(blockBytes)));
        if (ctx->lineBufferBlock == nullptr) {
            std::puts("fail to alloc line buffer!");
            return kOutOfMemory;
        }
        uint8_t* first = AlignUp(ctx->lineBufferBlock, 4);
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

int32_t _QV_RotationInit(QvImgPrcContext* ctx, uint8_t* const dstPlanes[3], int32_t dstWidth,
                         int32_t dstHeight, const int32_t dstStrides[3]) {
    if (ctx == nullptr || ctx->params == nullptr) return kInvalidArg;
    QvRotationParams& p = *ctx->params;
    const int32_t format = DestinationFormat(ctx->operation);
    int64_t B;
    switch (format) {
        case kYCbCr420: B = 0; break;
        case kRGB565: case kYUY2: case kUYVY: case kNV12: case kRGB555: B = 2; break;
        case kRGB888: B = 3; break;
        case kARGB32: B = 4; break;
        default: return kNotImplemented;
    }
    if (ctx->rotation > 5) return kNotImplemented;
    const int64_t W = dstWidth, H = dstHeight;

    if (B != 0) {
        uint8_t* base = dstPlanes[0];
        const int64_t s = dstStrides[0];
        int64_t stepX = 0, stepY = 0;
        switch (ctx->rotation) {
            case 0:
                stepX = 2 * B; stepY = 2 * s;
                p.dst00 = base; p.dst10 = Offset(p.dst00, B);
                p.dst01 = Offset(p.dst00, s); p.dst11 = Offset(p.dst00, s + B);
                break;
            case 1:
                stepX = -2 * s; stepY = 2 * B;
                p.dst00 = Offset(base, (W - 1) * s); p.dst10 = Offset(p.dst00, -s);
                p.dst01 = Offset(p.dst00, B); p.dst11 = Offset(p.dst10, B);
                break;
            case 2:
                stepX = 2 * s; stepY = -2 * B;
                p.dst00 = Offset(base, (H - 1) * B); p.dst10 = Offset(p.dst00, s);
                p.dst01 = Offset(p.dst00, -B); p.dst11 = Offset(p.dst10, -B);
                break;
            case 3:
                // The first pixel is found from the stride, not the width: a destination wider
                // than the picture gets the picture against the right end of each row.
                stepX = -2 * B; stepY = -2 * s;
                p.dst00 = Offset(base, H * s - B); p.dst10 = Offset(p.dst00, -B);
                p.dst01 = Offset(p.dst00, -s); p.dst11 = Offset(p.dst01, -B);
                break;
            case 4:
                stepX = -2 * B; stepY = 2 * s;
                p.dst00 = Offset(base, (W - 1) * B); p.dst10 = Offset(p.dst00, -B);
                p.dst01 = Offset(p.dst00, s); p.dst11 = Offset(p.dst01, -B);
                break;
            default:  // 5
                stepX = 2 * B; stepY = -2 * s;
                p.dst00 = Offset(base, (H - 1) * s); p.dst10 = Offset(p.dst00, B);
                p.dst01 = Offset(p.dst00, -s); p.dst11 = Offset(p.dst01, B);
                break;
        }
        p.stepX = static_cast<int32_t>(stepX);
        p.stepY = static_cast<int32_t>(stepY);
        return kOk;
    }

    // Planar 4:2:0: one set of steps and a start per plane; here the half turn uses the width.
    const int64_t w2 = dstWidth >> 1, h2 = dstHeight >> 1;
    struct PlaneSteps {
        int64_t stepX, stepY, start;
    };
    auto planar = [&](int64_t w, int64_t h, int64_t s) -> PlaneSteps {
        switch (ctx->rotation) {
            case 0: return {1, s, 0};
            case 1: return {-s, 1, (w - 1) * s};
            case 2: return {s, -1, h - 1};
            case 3: return {-1, -s, (h - 1) * s + w - 1};
            case 4: return {-1, s, w - 1};
            default: return {1, -s, (h - 1) * s};
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
