// Context lifecycle, frame validation and routing to exactly one converter.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "core/qv_routines.h"
#include "core/routes.h"
#include "deinterlace/deinterlace.h"

namespace qv {
namespace {

void ReleaseIfSet(void* block) {
    if (block != nullptr) Release(block);
}

// Everything a context owns, then the context: every failed creation and Destroy end here.
void ReleaseContext(QvImgPrcContext* ctx) {
    ReleaseIfSet(ctx->params);
    ReleaseIfSet(ctx->lineBufferBlock);
    ReleaseIfSet(ctx->adjustCurveBlock);
    ReleaseIfSet(ctx->convTableBlock);
    ReleaseIfSet(ctx->reservedBuffer);
    ReleaseIfSet(ctx->planeBlock);
    Release(ctx);
}

uint32_t ScaleCaseOf(SizePair src, SizePair dst) {
    if (src.width == dst.width && src.height == dst.height) return kScaleSame;
    if (src.width < dst.width && src.height < dst.height) return kScaleUp;
    if (src.width > dst.width && src.height > dst.height) return kScaleDown;
    return kScaleMixed;
}

// Bytes of the four work planes plus alignment slack, or -1 when no such block can exist. The
// work-plane stride is the source width rounded up to the planes' alignment.
int64_t WorkPlaneBlockBytes(int32_t srcWidth, int32_t srcHeight, uint32_t* stride, int64_t* planeBytes) {
    constexpr int64_t kSlack = kWorkPlaneAlignment - 1;
    const int64_t s = (static_cast<int64_t>(srcWidth) + kSlack) & ~kSlack;
    const int64_t bytes = s * srcHeight;
    *stride = static_cast<uint32_t>(s);
    *planeBytes = bytes;
    if (s < 0 || bytes < 0 || bytes > (static_cast<int64_t>(PTRDIFF_MAX) - kSlack) / 4) return -1;
    return 4 * bytes + kSlack;
}

bool HasPlanes(int32_t format, const uint8_t* const planes[3], const int32_t strides[3]) {
    for (int i = 0; i < FormatOf(format).planes; ++i)
        if (planes == nullptr || strides == nullptr || planes[i] == nullptr || strides[i] == 0) return false;
    return true;
}

// A rotated RGB-to-4:2:0 frame goes through three temporary planes of the source size.
template <class Encode>
int32_t EncodeThenRotate(QvImgPrcContext* ctx, int32_t W, int32_t H, int32_t DW, int32_t DH,
                         Encode encode, const uint8_t* const srcPlanes[3], const int32_t srcStrides[3]) {
    // A destination smaller than the source cannot hold the rotated picture: the placement would
    // start outside its planes, so such a frame is refused before anything is written.
    if (DW < W || DH < H) return kInvalidArg;
    const int64_t lumaBytes = static_cast<int64_t>(W) * H;
    if (lumaBytes > static_cast<int64_t>(PTRDIFF_MAX)) return kOutOfMemory;
    uint8_t* y = static_cast<uint8_t*>(Allocate(static_cast<size_t>(lumaBytes)));
    uint8_t* cb = static_cast<uint8_t*>(Allocate(static_cast<size_t>(lumaBytes >> 2)));
    uint8_t* cr = static_cast<uint8_t*>(Allocate(static_cast<size_t>(lumaBytes >> 2)));
    if (y == nullptr || cb == nullptr || cr == nullptr) {
        ReleaseIfSet(y);
        ReleaseIfSet(cb);
        ReleaseIfSet(cr);
        return kOutOfMemory;
    }
    uint8_t* const tmp[3] = {y, cb, cr};
    const int32_t tmpStrides[3] = {W, W / 2, W / 2};
    encode(srcPlanes[0], srcStrides[0], tmp, tmpStrides);
    const uint8_t* const tmpSrc[3] = {y, cb, cr};
    _QVYCbCr420Rot(ctx->params, tmpSrc, tmpStrides, W, H);
    Release(y);
    Release(cb);
    Release(cr);
    return kOk;
}

// Resampling positions are 16.16: a source row or column index above 32767 cannot be addressed,
// and the step ((size - 1) << 16) / (n - 1) would wrap to a negative value.
constexpr int32_t kMaxResampledSize = 32768;

// The bytes [first, end) a rotated packed frame writes, as offsets from destination plane 0: runs
// of `bytes` at start + i x stepI + j x stepJ (i < nI, j < nJ) added one lattice at a time.
class TouchedBytes {
public:
    void Add(int64_t start, int64_t nI, int64_t stepI, int64_t nJ, int64_t stepJ, int64_t bytes) {
        if (nI <= 0 || nJ <= 0) return;
        const int64_t i = (nI - 1) * stepI, j = (nJ - 1) * stepJ;
        const int64_t lo = start + (i < 0 ? i : 0) + (j < 0 ? j : 0);
        const int64_t hi = start + (i > 0 ? i : 0) + (j > 0 ? j : 0) + bytes;
        first_ = any_ && first_ < lo ? first_ : lo;
        end_ = any_ && end_ > hi ? end_ : hi;
        any_ = true;
    }
    // Inside [begin, end), or nothing touched.
    bool Within(int64_t begin, int64_t end) const { return !any_ || (first_ >= begin && end_ <= end); }

private:
    bool any_ = false;
    int64_t first_ = 0, end_ = 0;
};

// Rotated packed output goes through the rotation record, whose steps the writers round to whole
// pixels (see RowGeometry::RotatedStep and PixelUnit): a frame is refused exactly when those
// steps would carry a write outside the destination plane. The plane holds the picture's rows (DW
// of them for a quarter turn, DH otherwise), row r at r x stride and max(|stride|, a picture row)
// bytes long; for a negative stride the rows lie before the pointer. Each writer touches a
// lattice whose extreme corners are bytes it writes, so the lattices' hull decides. Sizes and
// strides are 32-bit and the steps rounded from 32-bit record steps: every sum stays below 2^63.
bool PlacementStaysInPlane(const Route& route, uint32_t rotation, uint32_t scale, int32_t DW, int32_t DH,
                           int32_t stride) {
    if (!route.placesThroughRecord()) return true;  // planar output, or a route that does not use the record
    const int64_t B = route.destinationBytes();
    const PackedPlacement p = PackedPlacementOf(rotation, B, DW, DH, stride);
    TouchedBytes touched;
    if (route.alwaysResamples() || (route.destination == kRGB565 && scale == kScaleUp)) {
        // Pixel by pixel: the resamplers, and the 4:2:0 to RGB565 enlarging column writer, whose
        // halved steps (a pitch of whole pixels, a row advance with its lowest bit cleared) are
        // the same whole 16-bit units.
        const PixelUnit unit = PixelUnitOf(static_cast<int32_t>(B));
        touched.Add(p.d00, DW, unit.Step(p.stepX), DH, unit.Step(p.stepY), B);
    } else {
        // In 2x2 blocks (same size, DW x DH, or scaled to it): each corner pixel of a block at
        // the record's steps as the route rounds them.
        for (const int64_t corner : {p.d00, p.d10, p.d01, p.d11})
            touched.Add(corner, DW >> 1, route.rows.RotatedStep(p.stepX), DH >> 1, route.rows.RotatedStep(p.stepY), B);
    }
    const bool quarterTurn = rotation == kRotate90CCW || rotation == kRotate90CW;
    const int64_t rows = quarterTurn ? DW : DH;
    const int64_t rowBytes = B * (quarterTurn ? DH : DW);
    const int64_t s = stride, width = s < 0 ? (-s > rowBytes ? -s : rowBytes) : (s > rowBytes ? s : rowBytes);
    const int64_t begin = s < 0 ? (rows - 1) * s : 0;
    const int64_t end = s < 0 ? width : (rows - 1) * s + width;
    return touched.Within(begin, end);
}

}  // namespace

int32_t QV_ImgPrcInit(void** handleSlot, const QvCreateParams* createParams, SizePair src, SizePair dst) {
    if (handleSlot == nullptr || *handleSlot != nullptr) return kInvalidArg;
    if (createParams == nullptr) return kInvalidArg;

    if (((src.width | src.height | dst.width | dst.height) & 3) != 0) {
        src.width &= ~3;
        src.height &= ~3;
        dst.width &= ~3;
        dst.height &= ~3;
        std::puts("mis-aligned resolution found, patching...");
    }

    auto* ctx = static_cast<QvImgPrcContext*>(Allocate(sizeof(QvImgPrcContext)));
    if (ctx == nullptr) {
        std::puts("Fail to allocate memory for image process parameter set!");
        return kOutOfMemory;
    }
    std::memset(ctx, 0, sizeof(*ctx));

    ctx->operation = createParams->operation;
    ctx->rotation = createParams->rotation;
    ctx->interpolation = createParams->interpolation;
    ctx->alpha = createParams->alpha;
    ctx->colourValue = createParams->colourValue;
    if (ctx->operation == Op(kYCbCr420, kRGB555)) CalcColorKey();

    ctx->srcWidth = src.width;
    ctx->srcHeight = src.height;
    ctx->dstWidth = dst.width;
    ctx->dstHeight = dst.height;
    ctx->brightness = ctx->contrast = ctx->saturation = kNeutralAdjust;

    // Work planes only for the planar sources, the only ones the deinterlacer runs on.
    if (IsPlanarYCbCr(SourceFormat(ctx->operation))) {
        int64_t planeBytes = 0;
        const int64_t blockBytes = WorkPlaneBlockBytes(src.width, src.height, &ctx->planeStride, &planeBytes);
        if (blockBytes >= 0) ctx->planeBlock = static_cast<uint8_t*>(Allocate(static_cast<size_t>(blockBytes)));
        if (ctx->planeBlock == nullptr) {
            ReleaseContext(ctx);
            return kOutOfMemory;
        }
        // The work planes start out defined: a mode that leaves a plane unwritten hands the
        // converter zeros, not whatever the allocator returned.
        std::memset(ctx->planeBlock, 0, static_cast<size_t>(blockBytes));
        ctx->plane[0] = AlignUp(ctx->planeBlock, kWorkPlaneAlignment);
        for (int i = 1; i < 4; ++i) ctx->plane[i] = ctx->plane[0] + i * planeBytes;
        ctx->planeHeight = static_cast<uint32_t>(src.height);
    }

    ctx->scaleCase = ScaleCaseOf(src, dst);

    const int32_t status = _ImgPrcInit_depend(ctx);
    if (status != kOk) {
        ReleaseContext(ctx);
        *handleSlot = nullptr;
        return status;
    }
    *handleSlot = ctx;
    return kOk;
}

int32_t QV_ImgPrcUninit(QvImgPrcContext* ctx) {
    if (ctx == nullptr) return kInvalidArg;
    ReleaseContext(ctx);
    return kOk;
}

int32_t _CheckCapability_depend(int32_t operation) {
    if (!IsPlanarYCbCr(SourceFormat(operation))) return kNotImplemented;
    const Route* route = FindRoute(operation);
    return route != nullptr && !route->adjustable() ? kNotImplemented : kOk;
}

int32_t QV_ImgPrcOneFrame(QvImgPrcContext* ctx, const uint8_t* const srcPlanes[3],
                          const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                          const int32_t dstStrides[3]) {
    if (ctx == nullptr) return kInvalidArg;
    const int32_t source = SourceFormat(ctx->operation);
    if (source > kLastSourceFormat || source < 0) return kNotImplemented;
    if (!HasPlanes(source, srcPlanes, srcStrides)) return kInvalidArg;
    const int32_t destination = DestinationFormat(ctx->operation);
    if (destination > kLastDestinationFormat) return kNotImplemented;
    if (!HasPlanes(destination, dstPlanes, dstStrides)) return kInvalidArg;
    return _ImgPrcOneFrame_depend(ctx, srcPlanes, srcStrides, dstPlanes, dstStrides);
}

int32_t _ImgPrcOneFrame_depend(QvImgPrcContext* ctx, const uint8_t* const srcPlanes[3],
                               const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                               const int32_t dstStrides[3]) {
    // An empty picture has nothing to deinterlace or convert (a width below zero would reach the
    // deinterlacer as a huge unsigned line length).
    const int32_t W = ctx->srcWidth, H = ctx->srcHeight;
    if (W <= 0 || H <= 0) return kOk;

    // 1. Deinterlaced frames are read from the context's work planes from here on.
    const uint8_t* const* sp = srcPlanes;
    const int32_t* ss = srcStrides;
    const uint8_t* workPlanes[3] = {ctx->plane[0], ctx->plane[1], ctx->plane[2]};
    const int32_t workStrides[3] = {static_cast<int32_t>(ctx->planeStride), static_cast<int32_t>(ctx->planeStride),
                                    static_cast<int32_t>(ctx->planeStride)};
    if (ctx->deinterlaceMode != kDeintOff) {
        // A plain copy out of the work planes can be skipped: nothing else reads them (a 4:2:0
        // source has every byte the copy reads rewritten by each frame's mode) and no check after
        // this point refuses such a frame.
        const bool plainCopy = ctx->operation == Op(kYCbCr420, kYCbCr420) && ctx->adjustOn == 0 &&
                               ctx->rotation == kRotateNone && ctx->scaleCase == kScaleSame;
        if (plainCopy && QV_DeInterlaceIntoFrame(ctx, srcPlanes, srcStrides, dstPlanes, dstStrides)) return kOk;
        uint8_t* const work[3] = {ctx->plane[0], ctx->plane[1], ctx->plane[2]};
        const int32_t status = QV_DeInterlace(ctx, srcPlanes, srcStrides, work, workStrides);
        if (status != kOk) return status;
        sp = workPlanes;
        ss = workStrides;
    }

    // 2. Sizes; 3. this frame's placement.
    const int32_t DW = ctx->dstWidth, DH = ctx->dstHeight;
    const int32_t rotStatus = _QV_RotationInit(ctx, dstPlanes, DW, DH, dstStrides);
    if (rotStatus != kOk) return rotStatus;

    // A context holds only operations of the route table.
    const Route* route = FindRoute(ctx->operation);
    if (route == nullptr) return kOk;  // nothing to do
    // An empty destination for a route that scales has nothing to write.
    const bool rot = ctx->rotation != kRotateNone;
    const uint32_t scale = ctx->scaleCase;
    const bool scales = scale != kScaleSame && !route->neverScales();
    if (scales && (DW <= 0 || DH <= 0)) return kOk;
    // Refused frames write nothing; see each reason.
    if ((scales || route->alwaysResamples()) && (W > kMaxResampledSize || H > kMaxResampledSize))
        return kInvalidArg;
    if (rot && !PlacementStaysInPlane(*route, ctx->rotation, scale, DW, DH, dstStrides[0])) return kInvalidArg;

    // 4. Exactly one converter.
    const QvRotationParams* prm = ctx->params;
    const LineBuffers* lines = ctx->lineBufferBlock != nullptr ? &ctx->lineBuffer : nullptr;
    uint8_t* const d0 = dstPlanes[0];
    const int32_t s0 = dstStrides[0];
    const uint8_t alpha = static_cast<uint8_t>(ctx->alpha);
    const uint32_t interp = ctx->interpolation;

    switch (ctx->operation) {
        case Op(kYCbCr420, kYCbCr420):
            if (ctx->adjustOn == 0) {
                if (!rot && scale == kScaleSame) _QVYCbCr420Copy(sp, ss, W, H, dstPlanes, dstStrides);
                else if (!rot) _QVYCbCr420Rsz(sp, ss, W, H, dstPlanes, dstStrides, DW, DH);
                else if (scale == kScaleSame) _QVYCbCr420Rot(prm, sp, ss, W, H);
                else _QVYCbCr420RszRot(prm, sp, ss, W, H, DW, DH);
            } else {
                if (!rot && scale == kScaleSame) _QVYCbCrAdjust(ctx, sp, ss, W, H, dstPlanes, dstStrides);
                else if (!rot) _QVYCbCr420RszAdjust(ctx, sp, ss, W, H, dstPlanes, dstStrides, DW, DH);
                else if (scale == kScaleSame) _QVYCbCr420RotAdjust(ctx, sp, ss, W, H);
                else _QVYCbCr420RszRotAdjust(ctx, sp, ss, W, H, DW, DH);
            }
            break;
        case Op(kYCbCr420, kRGB565):
            if (rot) {
                if (scale == kScaleSame) {
                    _QVYCbCr420ToRGB565Rot(ctx, sp, ss, W, H);
                } else if (scale == kScaleUp) {
                    // The column writer takes the start unchanged and the record's steps for two
                    // pixels halved (arithmetic shifts) to steps for one.
                    _QVYCbCr420ToRGB565RszUpRot(ctx, lines, sp, ss, W, H, prm->dst00, prm->stepY >> 1,
                                                prm->stepX >> 1, DW, DH);
                } else {
                    _QVYCbCr420ToRGB565RszRot(ctx, sp, ss, W, H, DW, DH);
                }
                break;
            }
            switch (scale) {
                case kScaleSame: _QVYCbCr420ToRGB565(ctx, sp, ss, W, H, d0, s0); break;
                case kScaleUp:
                case kScaleDouble:
                    if (interp == kInterpNearest)
                        _QVYCbCr420ToRGB565RszUp_Nearest(ctx, lines, sp, ss, W, H, d0, s0, DW, DH);
                    else if (interp == kInterpNearLinear)
                        _QVYCbCr420ToRGB565RszUp_NearLinear(ctx, lines, sp, ss, W, H, d0, s0, DW, DH);
                    else
                        _QVYCbCr420ToRGB565RszUp(ctx, lines, sp, ss, W, H, d0, s0, DW, DH);
                    break;
                case kScaleWide25x2: _QVYCbCr420ToRGB565Case1(ctx, lines, sp, ss, W, d0, s0, DH); break;
                case kScaleWide15: _QVYCbCr420ToRGB565Case2(ctx, lines, sp, ss, W, H, d0, s0, DH); break;
                case kScale320To480x272:
                    _QVYCbCr420ToRGB565Case3(ctx, ctx->lineBuffer[0], ctx->lineBuffer[1], sp, ss, d0, s0);
                    break;
                default: _QVYCbCr420ToRGB565Rsz(ctx, sp, ss, W, H, d0, s0, DW, DH); break;
            }
            break;
        case Op(kYCbCr420, kRGB888):
            if (rot) {
                if (scale == kScaleSame) _QVYCbCr420ToRGB888Rot(ctx, sp, ss, W, H);
                else _QVYCbCr420ToRGB888RszRot(ctx, sp, ss, W, H, DW, DH);
            } else if (scale == kScaleSame) {
                _QVYCbCr420ToRGB888(ctx, sp, ss, W, H, d0, s0);
            } else if (scale == kScaleMixed || scale == kScaleDown) {
                _QVYCbCr420ToRGB888Rsz(ctx, sp, ss, W, H, d0, s0, DW, DH);
            } else {
                _QVYCbCr420ToRGB888RszUp(ctx, lines, sp, ss, W, H, d0, s0, DW, DH);
            }
            break;
        case Op(kYCbCr420, kARGB32):
            if (rot) {
                if (scale == kScaleSame) _QVYCbCr420ToARGB32Rot(ctx, sp, ss, W, H, alpha);
                else _QVYCbCr420ToARGB32RszRot(ctx, sp, ss, W, H, DW, DH, alpha);
            } else if (scale == kScaleSame) {
                _QVYCbCr420ToARGB32(ctx, sp, ss, W, H, d0, s0, alpha);
            } else if (scale == kScaleWide25x2) {
                _QVYCbCr420ToARGB32Case1(ctx, lines, sp, ss, W, d0, s0, DH, alpha);
            } else if (scale == kScaleWide15) {
                _QVYCbCr420ToARGB32Case2(ctx, lines, sp, ss, W, H, d0, s0, DH, alpha);
            } else if (scale == kScaleMixed || scale == kScaleDown) {
                _QVYCbCr420ToARGB32Rsz(ctx, sp, ss, W, H, d0, s0, DW, DH, alpha);
            } else {  // 2, 4 and 7 take the general upscaler
                _QVYCbCr420ToARGB32RszUp(ctx, lines, sp, ss, W, H, d0, s0, DW, DH, alpha);
            }
            break;
        case Op(kYCbCr420, kYUY2): _QVYCbCr420ToYUY2(d0, s0, sp, ss, W, H); break;
        case Op(kYCbCr420, kUYVY): _QVYCbCr420ToUYVY(d0, s0, sp, ss, W, H); break;
        case Op(kYCbCr420, kNV12): _QVYCbCr420ToNV12(sp, ss, W, H, dstPlanes, dstStrides); break;
        case Op(kYCbCr420, kRGB555): _QVYCbCr420ToRGB555(ctx, sp, ss, W, H, d0, s0, ctx->colourValue); break;
        case Op(kYCbCr422, kRGB565):
            // 4:2:2 sources ignore the rotation code.
            if (scale == kScaleSame) _QVYCbCr422ToRGB565(ctx, sp, ss, W, H, d0, s0);
            else _QVYCbCr422ToRGB565Rsz(ctx, sp, ss, W, H, d0, s0, DW, DH);
            break;
        case Op(kYCbCr444, kRGB565): _QVYCbCr444ToRGB565RszRot(ctx, sp, ss, W, H, DW, DH); break;
        case Op(kYCbCr444, kRGB888): _QVYCbCr444ToRGB888RszRot(ctx, sp, ss, W, H, DW, DH); break;
        case Op(kYCbCr444, kARGB32): _QVYCbCr444ToARGB32RszRot(ctx, sp, ss, W, H, DW, DH, alpha); break;
        case Op(kRGB565, kYCbCr420):
            if (!rot) return (_QVRGB565ToYCbCr420(sp[0], ss[0], W, H, dstPlanes, dstStrides), kOk);
            return EncodeThenRotate(
                ctx, W, H, DW, DH,
                [&](const uint8_t* src, int32_t stride, uint8_t* const tmp[3], const int32_t tmpStrides[3]) {
                    _QVRGB565ToYCbCr420(src, stride, W, H, tmp, tmpStrides);
                },
                sp, ss);
        case Op(kARGB32, kYCbCr420):
        case Op(kABGR32, kYCbCr420): {
            auto encode = ctx->operation == Op(kARGB32, kYCbCr420) ? _QVARGB32ToYCbCr420 : _QVABGR32ToYCbCr420;
            if (!rot) return (encode(sp[0], ss[0], dstPlanes, dstStrides, W, H), kOk);
            return EncodeThenRotate(
                ctx, W, H, DW, DH,
                [&](const uint8_t* src, int32_t stride, uint8_t* const tmp[3], const int32_t tmpStrides[3]) {
                    encode(src, stride, tmp, tmpStrides, W, H);
                },
                sp, ss);
        }
        // One-plane RGB sources get their strides in the converter's own unit.
        case Op(kRGB565, kRGB565): _QVRGB565RszRot(prm, sp[0], ss[0] / route->sourceBytes(), W, H, DW, DH); break;
        case Op(kRGB565, kARGB32):
            _QVRGB565ToARGB32(sp[0], ss[0] / route->sourceBytes(), d0, s0 / route->destinationBytes(), W, H, alpha);
            break;
        case Op(kRGB888, kRGB565): _QVRGB888ToRGB565RszRot(prm, sp[0], ss[0], W, H, DW, DH); break;
        case Op(kRGB888, kRGB888): _QVRGB888RszRot(prm, sp[0], ss[0], W, H, DW, DH); break;
        case Op(kNV12, kYCbCr420): _QVNV12ToYCbCr420(sp, ss, W, H, dstPlanes, dstStrides); break;
        default: break;  // nothing to do
    }
    return kOk;
}

}  // namespace qv
