// Planar YCbCr 4:2:0 to RGB565: same size, rotated, single-pass scaled, line-cache upscaled,
// nearest-neighbour upscaled and the three fixed ratios.
#include "convert/rgb_routes.h"

namespace qv {

using rgb::RGB565Format;

int32_t _QVYCbCr420ToRGB565(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0) {
    rgb::ConvertPicture(ctx, RGB565Format{}, sp, ss, W, H, rgb::StraightRows<RGB565Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToRGB565Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertPicture(ctx, RGB565Format{}, sp, ss, W, H, rgb::RotatedRows<RGB565Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToRGB565Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    rgb::ConvertScaled(ctx, RGB565Format{}, sp, ss, W, H, DW, DH, rgb::StraightRows<RGB565Format>{d0, s0});
    return kOk;
}

int32_t _QVYCbCr420ToRGB565RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH) {
    if (ctx->params == nullptr) return kInvalidArg;
    rgb::ConvertScaled(ctx, RGB565Format{}, sp, ss, W, H, DW, DH, rgb::RotatedRows<RGB565Format>{*ctx->params, {}, {}});
    return kOk;
}

int32_t _QVYCbCr420ToRGB565RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH) {
    const int32_t xstep = ScaleStep(W, DW);
    const int32_t rowStride = RGB565Format::kRows.RowStep(s0);
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerp(line, d0, xstep, DW);
        d0 += rowStride;
    });
}

// Called with the parameter record's dst00 and stepY, stepX each halved: one destination row
// of the unrotated picture advances by rowAdvance, one pixel along it by columnPitch.
int32_t _QVYCbCr420ToRGB565RszUpRot(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                    SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                    uint8_t* dstStart, int32_t rowAdvance, int32_t columnPitch,
                                    int32_t DW, int32_t DH) {
    const int32_t xstep = ScaleStep(W, DW);
    const int32_t pitchPixels = columnPitch >> 1;
    const int32_t advance = rowAdvance & RGB565Format::kRows.rotatedStepMask;  // its lowest bit cleared
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerpRot(line, dstStart, xstep, DW, pitchPixels);
        dstStart += advance;
    });
}

int32_t _QVYCbCr420ToRGB565RszUp_Nearest(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                         SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                         uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    return rgb::UpscaleNearest<rgb::NearestLine::kPlain>(ctx, lines, sp, ss, W, H, d0, s0, DW, DH);
}

int32_t _QVYCbCr420ToRGB565RszUp_NearLinear(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                            SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                            uint8_t* d0, int32_t s0, int32_t DW, int32_t DH) {
    return rgb::UpscaleNearest<rgb::NearestLine::kDoubled>(ctx, lines, sp, ss, W, H, d0, s0, DW,
                                                           DH);
}

// Width x 2.5, height x 2. Every pass converts the row pair after its own, so the last pass
// reads two luma rows and one chroma row below the picture; callers provide them.
int32_t _QVYCbCr420ToRGB565Case1(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t s0,
                                 int32_t DH) {
    return rgb::UpscaleTwiceVertically<rgb::BelowPicture::kRead>(
        ctx, lines, sp, ss, W, d0, RGB565Format::kRows.RowStep(s0), DH,
        [W](const uint32_t* line, uint8_t* row) { HLerp_25(line, row, W); });
}

// Width x 1.5, free vertical ratio.
int32_t _QVYCbCr420ToRGB565Case2(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DH) {
    const int32_t rowStride = RGB565Format::kRows.RowStep(s0);
    return rgb::UpscaleThroughLineCache(ctx, lines, sp, ss, W, H, DH, [&](const uint32_t* line) {
        HLerp_23(line, d0, W);
        d0 += rowStride;
    });
}

// ---- 320 x 240 to 480 x 272 ---------------------------------------------------------------
// Seventeen passes of 14 source rows into 16 destination rows. Destination row j of a pass lies
// at 7j / 8 source rows from the pass's first row and blends the two rows around it in eighths;
// row 15 (position 13.125) is the pass's row 13 alone, so a pass never reads the next pass's
// rows. Each pass converts its 7 row pairs; a row pair emits the destination rows whose lower
// source row it holds, the row above it kept from the previous pair. Horizontally every group of
// four words gives six pixels and ends on its own last word.
//
// A blend in eighths is the vertical blend at four times the weight: words never exceed
// kInterpMask, so 32 x a word stays below 2^32 and the sum in 32nds is the sum in eighths times
// four exactly.

namespace {

struct Case3Row {
    int8_t row;    // destination row within the pass
    int8_t upper;  // source row within the pass
    int8_t eighths;  // weight of the row below `upper`
};

// Rows emitted by each of the seven row pairs of a pass.
constexpr int kCase3RowsPerPair[7] = {2, 2, 2, 3, 2, 2, 3};
constexpr Case3Row kCase3Rows[16] = {
    {0, 0, 0},  {1, 0, 7},   {2, 1, 6},   {3, 2, 5},   {4, 3, 4},   {5, 4, 3},
    {6, 5, 2},  {7, 6, 1},   {8, 7, 0},   {9, 7, 7},   {10, 8, 6},  {11, 9, 5},
    {12, 10, 4}, {13, 11, 3}, {14, 12, 2}, {15, 13, 0},
};

}  // namespace

int32_t _QVYCbCr420ToRGB565Case3(const QvImgPrcContext* ctx, uint32_t* rowBuffer0,
                                 uint32_t* rowBuffer1, SrcPlanes sp, Strides ss, uint8_t* d0,
                                 int32_t s0) {
    constexpr int32_t kPasses = 17, kPairs = 7, kWidth = 320;
    // Source row k of a pass lives in slot k % 3: a pair's two rows and the row above them.
    alignas(64) uint32_t spare[kWidth], blended[kWidth];
    uint32_t* const slots[3] = {rowBuffer0, rowBuffer1, spare};
    for (int32_t pass = 0; pass < kPasses; ++pass) {
        const Case3Row* emit = kCase3Rows;
        for (int32_t p = 0; p < kPairs; ++p) {
            const uint8_t* top = Row(sp[0], 14 * pass + 2 * p, ss[0]);
            Convert(ctx, top, top + ss[0], Row(sp[1], 7 * pass + p, ss[1]), Row(sp[2], 7 * pass + p, ss[2]),
                    slots[2 * p % 3], slots[(2 * p + 1) % 3], kWidth);
            for (int e = 0; e < kCase3RowsPerPair[p]; ++e) {
                const Case3Row& out = emit[e];
                const uint32_t* line = slots[out.upper % 3];
                if (out.eighths != 0) {
                    VLerp(line, slots[(out.upper + 1) % 3], blended, 4 * static_cast<uint32_t>(out.eighths), kWidth);
                    line = blended;
                }
                HLerp_23Closed(line, Row(d0, 16 * pass + out.row, s0), kWidth);
            }
            emit += kCase3RowsPerPair[p];
        }
    }
    return kOk;
}

}  // namespace qv
