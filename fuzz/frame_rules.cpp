// Frame-buffer rules, route by route. Every access of a plane is one or more lattices of equal
// runs of bytes: run k1, k2 starts at offset + k1 x step1 + k2 x step2 and is `bytes` long. A
// plane's span is the hull of its lattices, so negative and small strides come out right.
// Arithmetic saturates: sizes no host could allocate only have to come out large.
#include "frame_rules.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstddef>

namespace qv::rules {
namespace {

// ---- saturating 64-bit arithmetic -----------------------------------------------------------
int64_t Add(int64_t a, int64_t b) {
    int64_t r;
    if (__builtin_add_overflow(a, b, &r)) return b > 0 ? INT64_MAX : INT64_MIN;
    return r;
}
int64_t Mul(int64_t a, int64_t b) {
    int64_t r;
    if (__builtin_mul_overflow(a, b, &r)) return (a < 0) != (b < 0) ? INT64_MIN : INT64_MAX;
    return r;
}

// ---- plane extents ----------------------------------------------------------------------------
class Extent {
public:
    // Runs of `bytes` at offset + k1 x step1 + k2 x step2, k1 < n1, k2 < n2.
    void Lattice(int64_t offset, int64_t n1, int64_t step1, int64_t n2, int64_t step2, int64_t bytes) {
        if (n1 <= 0 || n2 <= 0 || bytes <= 0) return;
        const int64_t a = Mul(n1 - 1, step1), b = Mul(n2 - 1, step2);
        const int64_t lo = Add(offset, Add(std::min<int64_t>(a, 0), std::min<int64_t>(b, 0)));
        const int64_t hi = Add(Add(offset, Add(std::max<int64_t>(a, 0), std::max<int64_t>(b, 0))), bytes);
        if (span_.empty()) {
            span_ = {lo, hi};
        } else {
            span_.begin = std::min(span_.begin, lo);
            span_.end = std::max(span_.end, hi);
        }
    }
    // `rows` rows of `bytes` from row `first`, rows `stride` apart.
    void Rows(int64_t rows, int64_t stride, int64_t bytes, int64_t first = 0) {
        Lattice(Mul(first, stride), rows, stride, 1, 0, bytes);
    }
    // Rows first..last (inclusive), columns [c0, c1).
    void Rect(int64_t first, int64_t last, int64_t c0, int64_t c1, int64_t stride) {
        Lattice(Add(Mul(first, stride), c0), last - first + 1, stride, 1, 0, c1 - c0);
    }
    Span span() const { return span_; }

private:
    Span span_;
};

// ---- the public header's codes --------------------------------------------------------------------
enum : int32_t {
    k420 = QV_FORMAT_YCBCR420,
    k422 = QV_FORMAT_YCBCR422,
    k444 = QV_FORMAT_YCBCR444,
    kRGB565 = QV_FORMAT_RGB565,
    kRGB888 = QV_FORMAT_RGB888,
    kARGB32 = QV_FORMAT_ARGB32,
    kYUY2 = QV_FORMAT_YUY2,
    kUYVY = QV_FORMAT_UYVY,
    kNV12 = QV_FORMAT_NV12,
    kABGR32 = QV_FORMAT_ABGR32,
    kRGB555 = QV_FORMAT_RGB555,
};
constexpr int32_t Op(int32_t source, int32_t destination) { return QV_OPERATION(source, destination); }

// ---- the context as creation leaves it ----------------------------------------------------------
enum : uint32_t { kSame = 0, kMixed = 1, kUp = 2, kDown = 3, kDouble = 4, kWide25 = 5, kWide15 = 6, kFixed320 = 7 };

struct Context {
    int32_t op;
    uint32_t rotation, interpolation;
    int32_t W, H, DW, DH;  // rounded down to multiples of 4
    uint32_t scale;
    int64_t planeStride;  // work-plane stride: W rounded up to 16
};

bool Supported(int32_t op) {
    switch (op) {
        case Op(k420, k420):
        case Op(k420, kRGB565):
        case Op(k420, kRGB888):
        case Op(k420, kARGB32):
        case Op(k420, kYUY2):
        case Op(k420, kUYVY):
        case Op(k420, kNV12):
        case Op(k422, kRGB565):
        case Op(k444, kRGB565):
        case Op(k444, kRGB888):
        case Op(k444, kARGB32):
        case Op(kRGB565, k420):
        case Op(kRGB565, kRGB565):
        case Op(kRGB565, kARGB32):
        case Op(kRGB888, kRGB565):
        case Op(kRGB888, kRGB888):
        case Op(kARGB32, k420):
        case Op(kNV12, k420):
        case Op(kABGR32, k420):
            return true;
        default:
            return false;
    }
}

// Operations that always write a picture of the source size (they never scale).
bool NeverScales(int32_t op) {
    switch (op) {
        case Op(k420, kYUY2):
        case Op(k420, kUYVY):
        case Op(k420, kNV12):
        case Op(kRGB565, k420):
        case Op(kRGB565, kARGB32):
        case Op(kARGB32, k420):
        case Op(kNV12, k420):
        case Op(kABGR32, k420):
            return true;
        default:
            return false;
    }
}

// Operations that resample every frame, whatever the sizes.
bool AlwaysResamples(int32_t op) {
    switch (op) {
        case Op(k444, kRGB565):
        case Op(k444, kRGB888):
        case Op(k444, kARGB32):
        case Op(kRGB565, kRGB565):
        case Op(kRGB888, kRGB565):
        case Op(kRGB888, kRGB888):
            return true;
        default:
            return false;
    }
}

// Operations whose converters place packed pixels through the rotation record.
bool PlacesThroughRecord(int32_t op) {
    switch (op) {
        case Op(k420, kRGB565):
        case Op(k420, kRGB888):
        case Op(k420, kARGB32):
        case Op(k444, kRGB565):
        case Op(k444, kRGB888):
        case Op(k444, kARGB32):
        case Op(kRGB565, kRGB565):
        case Op(kRGB888, kRGB565):
        case Op(kRGB888, kRGB888):
            return true;
        default:
            return false;
    }
}

int32_t CreateContext(const QvCreateParams& p, Context* c, int64_t* contextBytes) {
    c->op = p.operation;
    c->rotation = p.rotation;
    c->interpolation = p.interpolation;
    c->W = p.srcWidth & ~3;
    c->H = p.srcHeight & ~3;
    c->DW = p.dstWidth & ~3;
    c->DH = p.dstHeight & ~3;
    // Work planes: four of (W rounded up to 16) x H bytes, for planar YCbCr sources only.
    c->planeStride = (static_cast<int64_t>(c->W) + 15) & ~static_cast<int64_t>(15);
    *contextBytes = 0;
    const int32_t source = c->op >> 8;
    if (source == k420 || source == k422 || source == k444) {
        const int64_t planeBytes = c->planeStride * c->H;
        if (c->planeStride < 0 || planeBytes < 0 || planeBytes > (static_cast<int64_t>(PTRDIFF_MAX) - 15) / 4) {
            *contextBytes = -1;
            return -2;
        }
        *contextBytes = 4 * planeBytes + 15;
    }
    if (c->W == c->DW && c->H == c->DH)
        c->scale = kSame;
    else if (c->W < c->DW && c->H < c->DH)
        c->scale = kUp;
    else if (c->W > c->DW && c->H > c->DH)
        c->scale = kDown;
    else
        c->scale = kMixed;
    if (c->op == Op(k420, kRGB555)) {
        if (c->rotation != QV_ROTATE_NONE || c->scale != kSame) return -3;
    } else if (!Supported(c->op) || c->rotation > QV_FLIP) {
        return -3;
    }
    if (c->scale == kSame) return 0;
    if (c->rotation == QV_ROTATE_NONE && c->interpolation == QV_INTERP_FIXED_RATIO) {
        const int64_t sw = c->W, sh = c->H, dw = c->DW, dh = c->DH;
        if (dw == 2 * sw && dh == 2 * sh)
            c->scale = kDouble;
        else if (2 * dw == 5 * sw && dh == 2 * sh)
            c->scale = kWide25;
        else if (sw == 320 && sh == 240 && dw == 480 && dh == 272)
            c->scale = kFixed320;
        else if (2 * dw == 3 * sw)
            c->scale = kWide15;
    }
    // Four line buffers of 4M + 16 bytes (8M + 32 for the near-linear upscaler), M the wider size.
    const int64_t m = std::max(c->W, c->DW);
    const int64_t lineBytes = (c->interpolation == QV_INTERP_NEAR_LINEAR && c->scale == kUp) ? 8 * m + 32 : 4 * m + 16;
    const int64_t blockBytes = 4 * lineBytes + 4;
    if (lineBytes < 0 || blockBytes > static_cast<int64_t>(PTRDIFF_MAX)) {
        *contextBytes = -1;
        return -2;
    }
    *contextBytes = Add(*contextBytes, blockBytes);
    return 0;
}

// ---- rotation records (computed from the destination size and strides, every frame) -------------
struct PackedRecord {
    int64_t d00, d10, d01, d11;  // offsets of source pixels (0,0), (1,0), (0,1), (1,1)
    int32_t stepX, stepY;        // bytes for two source pixels, two source rows
};

PackedRecord Packed(uint32_t rotation, int64_t B, int64_t W, int64_t H, int64_t s) {
    PackedRecord r{};
    int64_t stepX = 0, stepY = 0;
    switch (rotation) {
        case QV_ROTATE_NONE:
            stepX = 2 * B;
            stepY = 2 * s;
            r.d00 = 0;
            r.d10 = B;
            r.d01 = s;
            r.d11 = s + B;
            break;
        case QV_ROTATE_90_CCW:
            stepX = -2 * s;
            stepY = 2 * B;
            r.d00 = (W - 1) * s;
            r.d10 = r.d00 - s;
            r.d01 = r.d00 + B;
            r.d11 = r.d10 + B;
            break;
        case QV_ROTATE_90_CW:
            stepX = 2 * s;
            stepY = -2 * B;
            r.d00 = (H - 1) * B;
            r.d10 = r.d00 + s;
            r.d01 = r.d00 - B;
            r.d11 = r.d10 - B;
            break;
        case QV_ROTATE_180:
            stepX = -2 * B;
            stepY = -2 * s;
            r.d00 = H * s - B;
            r.d10 = r.d00 - B;
            r.d01 = r.d00 - s;
            r.d11 = r.d01 - B;
            break;
        case QV_MIRROR:
            stepX = -2 * B;
            stepY = 2 * s;
            r.d00 = (W - 1) * B;
            r.d10 = r.d00 - B;
            r.d01 = r.d00 + s;
            r.d11 = r.d01 - B;
            break;
        default:  // QV_FLIP
            stepX = 2 * B;
            stepY = -2 * s;
            r.d00 = (H - 1) * s;
            r.d10 = r.d00 + B;
            r.d01 = r.d00 - s;
            r.d11 = r.d01 + B;
            break;
    }
    // The record holds 32-bit steps.
    r.stepX = static_cast<int32_t>(static_cast<uint32_t>(stepX));
    r.stepY = static_cast<int32_t>(static_cast<uint32_t>(stepY));
    return r;
}

struct PlanarRecord {
    int32_t stepX, stepY;
    int64_t start;
};

// One plane of the planar record: w x h is that plane's destination size. The half turn uses
// the width here, unlike the packed record.
PlanarRecord Planar(uint32_t rotation, int64_t w, int64_t h, int64_t s) {
    int64_t sx, sy, start;
    switch (rotation) {
        case QV_ROTATE_NONE:
            sx = 1;
            sy = s;
            start = 0;
            break;
        case QV_ROTATE_90_CCW:
            sx = -s;
            sy = 1;
            start = (w - 1) * s;
            break;
        case QV_ROTATE_90_CW:
            sx = s;
            sy = -1;
            start = h - 1;
            break;
        case QV_ROTATE_180:
            sx = -1;
            sy = -s;
            start = (h - 1) * s + w - 1;
            break;
        case QV_MIRROR:
            sx = -1;
            sy = s;
            start = w - 1;
            break;
        default:  // QV_FLIP
            sx = 1;
            sy = -s;
            start = (h - 1) * s;
            break;
    }
    return {static_cast<int32_t>(static_cast<uint32_t>(sx)), static_cast<int32_t>(static_cast<uint32_t>(sy)), start};
}

// ---- the deinterlacer's reads of the caller's source planes -------------------------------------

// Block mode on one plane of `width` processed bytes and `lines` lines.
void BlockModeReads(Extent& e, int64_t width, int64_t lines, int64_t pitch) {
    if (width <= 0 || lines <= 0) return;
    const int64_t columns = width / 8, right = width - 8 * columns;
    const int64_t fullRows = lines >= 10 ? (lines - 2) / 8 : 0;
    // A strip of w x h at (row0, col0): its detector takes w as the line count and h as the pixel
    // count, reading line pairs 0, 2, ... (the first always, more while below w - 2) and the line
    // below each; the rebuild reads the strip itself. Odd heights and widths below 2 are skipped.
    auto strip = [&](int64_t row0, int64_t col0, int64_t w, int64_t h) {
        if (h % 2 != 0 || w < 2) return;
        if (w != 2) {
            int64_t lastPair = 0;
            for (int64_t y = 2; y < w - 2; y += 2) lastPair = y;
            e.Rect(row0, row0 + lastPair + 2, col0, col0 + h, pitch);
        }
        e.Rect(row0, row0 + h - 1, col0, col0 + w, pitch);
    };
    // Whole 8x8 blocks read their own lines and the two below (detector), within the columns.
    if (fullRows > 0 && columns > 0) e.Rect(0, 8 * (fullRows - 1) + 9, 0, 8 * columns, pitch);
    if (right != 0)
        for (int64_t r = 0; r < fullRows; ++r) strip(8 * r, 8 * columns, right, 8);
    const int64_t lastRow = 8 * fullRows, lastHeight = lines - lastRow;
    if (columns > 0) {
        strip(lastRow, 0, 8, lastHeight);
        strip(lastRow, 8 * (columns - 1), 8, lastHeight);
    }
    if (right != 0) strip(lastRow, 8 * columns, right, lastHeight);
}

const char* DeinterlaceReads(Extent src[3], uint32_t fmt, uint32_t mode, const Context& c, const int32_t ss[3]) {
    const uint32_t P = static_cast<uint32_t>(c.planeStride);
    const char* name = "";
    for (int i = 0; i < 3; ++i) {
        const int64_t lines = fmt == k420 && i != 0 ? c.H >> 1 : c.H;
        const int64_t width = i == 0 ? c.W : fmt == k444 ? c.W : c.W >> 1;
        const uint32_t pitch = static_cast<uint32_t>(ss[i]);
        // Simple modes move min(|source pitch|, work pitch) bytes a line.
        const int64_t simpleBytes = std::min<int64_t>(std::abs(int64_t{ss[i]}), P);
        const bool chroma422 = fmt == k422 && i != 0;
        switch (mode) {
            case QV_DEINTERLACE_DISCARD:  //: the kept field's lines; 4:2:2 chroma runs to the last line
                name = "picture_deinterlace_discard";
                if (fmt != k444) src[i].Rows(chroma422 ? lines : lines - 1, ss[i], simpleBytes);
                break;
            case QV_DEINTERLACE_BOB:
                name = "picture_deinterlace_bob";
                if (fmt != k444) src[i].Rows(lines, ss[i], simpleBytes);
                break;
            case QV_DEINTERLACE_BLEND:
                name = "picture_deinterlace_blend";
                if (fmt != k444) src[i].Rows(lines, ss[i], simpleBytes);
                break;
            case QV_DEINTERLACE_MEAN:
                name = "picture_deinterlace_mean";
                if (fmt != k444) src[i].Rows(lines, ss[i], simpleBytes);
                break;
            case QV_DEINTERLACE_LINEAR:
                name = "picture_deinterlace_linear";
                src[i].Rows(lines, ss[i], simpleBytes);
                break;
            case QV_DEINTERLACE_X: {
                // Luma is processed over the work pitch, chroma over the chroma width (bounded by
                // both pitches).
                name = "picture_deinterlace_x";
                const int64_t w = i == 0 ? P : std::min<int64_t>({width, pitch, P});
                BlockModeReads(src[i], w, lines, ss[i]);
                break;
            }
            default:  // QV_DEINTERLACE_FAST and every unknown mode: the five-tap filter over the picture
                name = "picture_deinterlace_fast";
                if (lines >= 2) src[i].Rows(lines, ss[i], width);
                break;
        }
    }
    return name;
}

// ---- the converters ------------------------------------------------------------------------------

struct Frame {
    const Context& c;
    const int32_t* ss;  // working source strides (the caller's when no deinterlacing)
    const int32_t* ds;
    bool readsCaller;  // converters read the caller's source (no deinterlacing)
    bool crStepsByCbStride = false;
    Extent src[3];
    Extent dst[3];

    // A planar 4:2:0 source: luma rows x bytes, chroma rows x bytes; Cr steps by `crStride`.
    void Source420(int64_t lumaRows, int64_t lumaBytes, int64_t chromaRows, int64_t chromaBytes, int64_t crStride) {
        if (!readsCaller) return;
        src[0].Rows(lumaRows, ss[0], lumaBytes);
        src[1].Rows(chromaRows, ss[1], chromaBytes);
        src[2].Rows(chromaRows, crStride, chromaBytes);
    }
    void Whole420Source(bool crByCbStride) {
        crStepsByCbStride = crByCbStride && readsCaller;
        Source420(c.H, c.W, c.H >> 1, c.W >> 1, crByCbStride ? ss[1] : ss[2]);
    }
    // A planar 4:2:0 destination of w x h written in straight rows.
    void Straight420(int64_t w, int64_t h) {
        dst[0].Rows(h, ds[0], w);
        dst[1].Rows(h >> 1, ds[1], w >> 1);
        dst[2].Rows(h >> 1, ds[2], w >> 1);
    }
    // A planar 4:2:0 destination of DW x DH written through the planar record: the source
    // picture of w x h (w x h samples of luma, half of each for chroma) is scattered.
    void Placed420(int64_t w, int64_t h) {
        for (int i = 0; i < 3; ++i) {
            const int64_t pw = i == 0 ? c.DW : c.DW >> 1, ph = i == 0 ? c.DH : c.DH >> 1;
            const PlanarRecord r = Planar(c.rotation, pw, ph, ds[i]);
            const int64_t n1 = i == 0 ? w : w >> 1, n2 = i == 0 ? h : h >> 1;
            dst[i].Lattice(r.start, n1, r.stepX, n2, r.stepY, 1);
        }
    }
    // Row pairs of a packed destination: pair k at k x advance, its lower row one stride below.
    void RowPairs(int64_t pairs, int64_t advance, int64_t rowBytes) {
        dst[0].Lattice(0, pairs, advance, 1, 0, rowBytes);
        dst[0].Lattice(ds[0], pairs, advance, 1, 0, rowBytes);
    }
    // Blocks of a w x h picture through the packed record, steps masked as the format rounds them.
    void RotatedBlocks(int64_t B, int32_t mask, int64_t w, int64_t h) {
        const PackedRecord r = Packed(c.rotation, B, c.DW, c.DH, ds[0]);
        for (int64_t corner : {r.d00, r.d10, r.d01, r.d11})
            dst[0].Lattice(corner, w >> 1, r.stepX & mask, h >> 1, r.stepY & mask, B);
    }
    // The per-pixel resamplers: pixel (i, j) of DW x DH at d00 + i x dx + j x dy, the record's
    // two-pixel steps converted with an arithmetic shift to the unit and back to bytes.
    void Resampled(int64_t B, int shift, int64_t unitBytes, int64_t pixelBytes) {
        const PackedRecord r = Packed(c.rotation, B, c.DW, c.DH, ds[0]);
        const int64_t dx = static_cast<int64_t>(r.stepX >> shift) * unitBytes;
        const int64_t dy = static_cast<int64_t>(r.stepY >> shift) * unitBytes;
        dst[0].Lattice(r.d00, c.DW, dx, c.DH, dy, pixelBytes);
    }
};

// (n >> 2) - 1 full groups of four (at least one) and a tail group; pairs likewise.
int64_t Groups4(int64_t n) {
    return std::max<int64_t>((n >> 2) - 1, 1) + 1;
}
int64_t Groups2(int64_t n) {
    return std::max<int64_t>((n >> 1) - 1, 1) + 1;
}

const char* Route(Frame& f, bool adjustOn) {
    const Context& c = f.c;
    const int64_t W = c.W, H = c.H, DW = c.DW, DH = c.DH;
    const bool rot = c.rotation != QV_ROTATE_NONE;
    const uint32_t scale = c.scale;
    const int32_t* ds = f.ds;
    switch (c.op) {
        case Op(k420, k420):
            if (!rot && scale == kSame) {
                f.Whole420Source(false);
                f.Straight420(W, H);
                return adjustOn ? "_QVYCbCrAdjust" : "_QVYCbCr420Copy";
            }
            f.Whole420Source(false);
            if (!rot) {
                f.Straight420(DW, DH);
                return adjustOn ? "_QVYCbCr420RszAdjust" : "_QVYCbCr420Rsz";
            }
            if (scale == kSame) {
                f.Placed420(W, H);
                return adjustOn ? "_QVYCbCr420RotAdjust" : "_QVYCbCr420Rot";
            }
            f.Placed420(DW, DH);
            return adjustOn ? "_QVYCbCr420RszRotAdjust" : "_QVYCbCr420RszRot";
        case Op(k420, kRGB565):
            if (rot) {
                if (scale == kSame) {
                    f.Whole420Source(true);
                    f.RotatedBlocks(2, ~1, W, H);
                    return "_QVYCbCr420ToRGB565Rot";
                }
                f.Whole420Source(false);
                if (scale == kUp) {
                    // Rows of the scaled picture down destination columns: the record's start,
                    // the column pitch (stepX / 2) in whole pixels, the row advance (stepY / 2)
                    // with its lowest bit cleared.
                    const PackedRecord r = Packed(c.rotation, 2, DW, DH, ds[0]);
                    const int32_t pitch = (r.stepX >> 1) >> 1, advance = (r.stepY >> 1) & ~1;
                    f.dst[0].Lattice(r.d00, 2 * (DW >> 1), 2 * static_cast<int64_t>(pitch), DH, advance, 2);
                    return "_QVYCbCr420ToRGB565RszUpRot";
                }
                f.RotatedBlocks(2, ~1, DW, DH);
                return "_QVYCbCr420ToRGB565RszRot";
            }
            switch (scale) {
                case kSame:
                    f.Whole420Source(true);
                    f.RowPairs(H >> 1, 2 * static_cast<int64_t>(ds[0]), 2 * W);
                    return "_QVYCbCr420ToRGB565";
                case kUp:
                case kDouble:
                    f.Whole420Source(false);
                    f.dst[0].Rows(DH, ds[0] & ~3, 2 * DW);
                    if (c.interpolation == QV_INTERP_NEAREST) return "_QVYCbCr420ToRGB565RszUp_Nearest";
                    if (c.interpolation == QV_INTERP_NEAR_LINEAR) return "_QVYCbCr420ToRGB565RszUp_NearLinear";
                    return "_QVYCbCr420ToRGB565RszUp";
                case kWide25:
                    // Every pass converts the row pair after its own: two luma rows and one
                    // chroma row below the picture (Cr stepping by the Cb stride).
                    f.Source420(H + 2, W, (H >> 1) + 1, W >> 1, f.ss[1]);
                    f.crStepsByCbStride = f.readsCaller;
                    f.dst[0].Rows(4 * ((DH + 3) / 4), ds[0] & ~3, 20 * Groups4(W));
                    return "_QVYCbCr420ToRGB565Case1";
                case kWide15:
                    f.Whole420Source(false);
                    f.dst[0].Rows(DH, ds[0] & ~3, 12 * Groups4(W));
                    return "_QVYCbCr420ToRGB565Case2";
                case kFixed320:
                    // Fixed sizes: 320 x 238 source pixels (17 passes of 14 rows), 480 x 272 out.
                    f.Source420(238, 320, 119, 160, f.ss[2]);
                    f.dst[0].Rows(272, ds[0], 960);
                    return "_QVYCbCr420ToRGB565Case3";
                default:
                    f.Whole420Source(false);
                    f.RowPairs(DH >> 1, 2 * static_cast<int64_t>(ds[0]), 2 * DW);
                    return "_QVYCbCr420ToRGB565Rsz";
            }
        case Op(k420, kRGB888):
            if (rot) {
                f.Whole420Source(scale == kSame);
                f.RotatedBlocks(3, ~0, scale == kSame ? W : DW, scale == kSame ? H : DH);
                return scale == kSame ? "_QVYCbCr420ToRGB888Rot" : "_QVYCbCr420ToRGB888RszRot";
            }
            if (scale == kSame) {
                f.Whole420Source(true);
                f.RowPairs(H >> 1, 2 * static_cast<int64_t>(ds[0]), 3 * W);
                return "_QVYCbCr420ToRGB888";
            }
            f.Whole420Source(false);
            if (scale == kMixed || scale == kDown) {
                f.RowPairs(DH >> 1, 2 * static_cast<int64_t>(ds[0]), 3 * DW);
                return "_QVYCbCr420ToRGB888Rsz";
            }
            f.dst[0].Rows(DH, ds[0], 3 * DW);  // the full stride, not rounded
            return "_QVYCbCr420ToRGB888RszUp";
        case Op(k420, kARGB32): {
            const int64_t pairAdvance = static_cast<int64_t>(ds[0] >> 1) * 4;
            if (rot) {
                f.Whole420Source(scale == kSame);
                f.RotatedBlocks(4, ~3, scale == kSame ? W : DW, scale == kSame ? H : DH);
                return scale == kSame ? "_QVYCbCr420ToARGB32Rot" : "_QVYCbCr420ToARGB32RszRot";
            }
            switch (scale) {
                case kSame:
                    f.Whole420Source(true);
                    f.RowPairs(H >> 1, pairAdvance, 4 * W);
                    return "_QVYCbCr420ToARGB32";
                case kWide25:
                    // The row pair after the last is clamped to the last source rows.
                    f.Source420(DH >> 1, W, (((DH >> 1) - 1) >> 1) + 1, W >> 1, f.ss[1]);
                    f.crStepsByCbStride = f.readsCaller;
                    f.dst[0].Rows(4 * ((DH + 3) / 4), ds[0] & ~3, 20 * Groups2(W));
                    return "_QVYCbCr420ToARGB32Case1";
                case kWide15:
                    f.Whole420Source(false);
                    f.dst[0].Rows(DH, ds[0] & ~3, 12 * Groups2(W));
                    return "_QVYCbCr420ToARGB32Case2";
                case kMixed:
                case kDown:
                    f.Whole420Source(false);
                    f.RowPairs(DH >> 1, pairAdvance, 4 * DW);
                    return "_QVYCbCr420ToARGB32Rsz";
                default:
                    f.Whole420Source(false);
                    f.dst[0].Rows(DH, ds[0] & ~3, 4 * DW);
                    return "_QVYCbCr420ToARGB32RszUp";
            }
        }
        case Op(k420, kYUY2): {
            // Groups of 8 pixels; row pairs step (stride >> 1) x 4, chroma rows stride & ~3.
            const int64_t groups = W >> 3;
            if (f.readsCaller) {
                const int64_t lumaAdvance = static_cast<int64_t>(f.ss[0] >> 1) * 4;
                f.src[0].Lattice(0, H >> 1, lumaAdvance, 1, 0, 8 * groups);
                f.src[0].Lattice(f.ss[0], H >> 1, lumaAdvance, 1, 0, 8 * groups);
                f.src[1].Rows(H >> 1, f.ss[1] & ~3, 4 * groups);
                f.src[2].Rows(H >> 1, f.ss[2] & ~3, 4 * groups);
            }
            f.RowPairs(H >> 1, static_cast<int64_t>(ds[0] >> 1) * 4, 16 * groups);
            return "_QVYCbCr420ToYUY2";
        }
        case Op(k420, kUYVY): {
            const int64_t groups = W >> 3;
            if (f.readsCaller) {
                f.src[0].Rows(H, f.ss[0] & ~3, 8 * groups);
                f.src[1].Rows(H >> 1, f.ss[1] & ~3, 4 * groups);
                f.src[2].Rows(H >> 1, f.ss[2] & ~3, 4 * groups);
            }
            f.dst[0].Rows(H, ds[0] & ~3, 16 * groups);
            return "_QVYCbCr420ToUYVY";
        }
        case Op(k420, kNV12):
            f.Whole420Source(false);
            f.dst[0].Rows(H, ds[0], W);
            f.dst[1].Rows(H >> 1, ds[1], 2 * (W >> 1));
            return "_QVYCbCr420ToNV12";
        case Op(k420, kRGB555):
            f.Whole420Source(false);
            f.dst[0].Rows(H, ds[0], 2 * W);
            return "_QVYCbCr420ToRGB555";
        case Op(k422, kRGB565):
            // 4:2:2 ignores the rotation code; rows advance by the stride rounded down to even.
            if (f.readsCaller) {
                f.src[0].Rows(H, f.ss[0], W);
                f.src[1].Rows(H, f.ss[1], W >> 1);
                f.src[2].Rows(H, f.ss[2], W >> 1);
            }
            if (scale == kSame) {
                f.dst[0].Rows(H, ds[0] & ~1, 2 * W);
                return "_QVYCbCr422ToRGB565";
            }
            f.dst[0].Rows(DH, ds[0] & ~1, 2 * DW);
            return "_QVYCbCr422ToRGB565Rsz";
        case Op(k444, kRGB565):
        case Op(k444, kRGB888):
        case Op(k444, kARGB32):
            if (f.readsCaller)
                for (int i = 0; i < 3; ++i) f.src[i].Rows(H, f.ss[i], W);
            if (c.op == Op(k444, kRGB565)) {
                f.Resampled(2, 2, 2, 2);
                return "_QVYCbCr444ToRGB565RszRot";
            }
            if (c.op == Op(k444, kRGB888)) {
                f.Resampled(3, 1, 1, 3);
                return "_QVYCbCr444ToRGB888RszRot";
            }
            f.Resampled(4, 3, 4, 4);
            return "_QVYCbCr444ToARGB32RszRot";
        case Op(kRGB565, k420):
        case Op(kARGB32, k420):
        case Op(kABGR32, k420): {
            if (c.op == Op(kRGB565, k420)) {
                // 32-bit reads of pixel pairs; the lower row at the stride rounded down to 4.
                f.src[0].Lattice(0, H >> 1, 2 * static_cast<int64_t>(f.ss[0]), 1, 0, 2 * W);
                f.src[0].Lattice(f.ss[0] & ~3, H >> 1, 2 * static_cast<int64_t>(f.ss[0]), 1, 0, 2 * W);
            } else {
                f.src[0].Rows(H, f.ss[0], 4 * W);
            }
            const char* name = c.op == Op(kRGB565, k420)   ? "_QVRGB565ToYCbCr420"
                               : c.op == Op(kARGB32, k420) ? "_QVARGB32ToYCbCr420"
                                               : "_QVABGR32ToYCbCr420";
            if (!rot) {
                f.Straight420(W, H);
                return name;
            }
            f.Placed420(W, H);  // from temporary planes of the source size through _QVYCbCr420Rot
            return name;
        }
        case Op(kRGB565, kRGB565):
            if (f.readsCaller) f.src[0].Rows(H, 2 * static_cast<int64_t>(f.ss[0] / 2), 2 * W);
            f.Resampled(2, 2, 2, 2);
            return "_QVRGB565RszRot";
        case Op(kRGB565, kARGB32):
            if (f.readsCaller) f.src[0].Rows(H, 2 * static_cast<int64_t>(f.ss[0] / 2), 4 * (W >> 1));
            f.dst[0].Rows(H, 4 * static_cast<int64_t>(ds[0] / 4), 8 * (W >> 1));
            return "_QVRGB565ToARGB32";
        case Op(kRGB888, kRGB565):
        case Op(kRGB888, kRGB888):
            if (f.readsCaller) f.src[0].Rows(H, f.ss[0], 3 * W);
            if (c.op == Op(kRGB888, kRGB565)) {
                f.Resampled(2, 2, 2, 2);
                return "_QVRGB888ToRGB565RszRot";
            }
            f.Resampled(3, 1, 1, 3);
            return "_QVRGB888RszRot";
        case Op(kNV12, k420):
            if (f.readsCaller) {
                f.src[0].Rows(H, f.ss[0], W);
                f.src[1].Rows(H >> 1, f.ss[1], 2 * (W >> 1));
            }
            f.Straight420(W, H);
            return "_QVNV12ToYCbCr420";
        default:
            return "";
    }
}

// RGB555 exists only as a destination.
int PlaneCount(int32_t format, bool source) {
    if (format == k420 || format == k422 || format == k444) return 3;
    if (format == kNV12) return 2;
    if (format >= kRGB565 && format <= (source ? kABGR32 : kRGB555)) return 1;
    return 0;
}

}  // namespace

FrameRule FrameBuffers(const FrameArgs& args) {
    FrameRule rule;
    Context c{};
    rule.createStatus = CreateContext(args.params, &c, &rule.contextBytes);
    if (rule.createStatus != 0) return rule;

    // Validation: every plane of each side's format with a non-zero stride.
    const int32_t srcFormat = c.op >> 8, dstFormat = c.op & 0xFF;
    rule.srcPlanes = PlaneCount(srcFormat, true);
    rule.dstPlanes = PlaneCount(dstFormat, false);
    for (int i = 0; i < rule.srcPlanes; ++i)
        if (args.srcStrides[i] == 0) rule.status = -1;
    for (int i = 0; i < rule.dstPlanes; ++i)
        if (args.dstStrides[i] == 0) rule.status = -1;
    if (rule.status != 0) {
        rule.refusal = "a required stride is zero";
        return rule;
    }
    // An empty picture has nothing to deinterlace or convert.
    if (c.W <= 0 || c.H <= 0) return rule;

    Frame f{c, args.srcStrides, args.dstStrides, true, false, {}, {}};
    const int32_t workStrides[3] = {static_cast<int32_t>(c.planeStride), static_cast<int32_t>(c.planeStride),
                                    static_cast<int32_t>(c.planeStride)};
    const uint32_t mode = srcFormat == k420 || srcFormat == k422 || srcFormat == k444 ? args.deinterlaceMode : 0;
    if (mode != 0) {
        rule.deinterlace = DeinterlaceReads(f.src, static_cast<uint32_t>(srcFormat), mode, c, args.srcStrides);
        f.ss = workStrides;  // the converters read the context's work planes from here on
        f.readsCaller = false;
    }
    auto spans = [&] {
        for (int i = 0; i < 3; ++i) {
            rule.src[i] = f.src[i].span();
            rule.dst[i] = f.dst[i].span();
        }
    };
    auto refuse = [&](const char* why) {
        rule.status = -1;
        rule.refusal = why;
        for (Extent& e : f.dst) e = Extent{};
        spans();
        return rule;
    };

    // A route that scales has nothing to write into an empty destination.
    if (c.scale != kSame && !NeverScales(c.op) && (c.DW <= 0 || c.DH <= 0)) {
        spans();
        return rule;
    }
    const bool rot = c.rotation != QV_ROTATE_NONE;
    if ((c.scale != kSame && !NeverScales(c.op)) || AlwaysResamples(c.op)) {
        if (c.W > kMaxResampledSize || c.H > kMaxResampledSize) return refuse("source too large for 16.16 positions");
    }
    if (rot && PlacesThroughRecord(c.op)) {
        // Rotated packed output is refused exactly when the placement, with its rounded steps,
        // would reach outside the destination plane: the picture's rows (DW for a quarter turn,
        // DH otherwise), row r at r x stride and max(|stride|, a picture row) bytes long.
        Frame placed = f;
        Route(placed, args.adjustOn);
        const Span touched = placed.dst[0].span();
        const int64_t B = dstFormat == kRGB565 ? 2 : dstFormat == kRGB888 ? 3 : 4;
        const bool quarterTurn = c.rotation == QV_ROTATE_90_CCW || c.rotation == QV_ROTATE_90_CW;
        const int64_t rows = quarterTurn ? c.DW : c.DH, rowBytes = B * (quarterTurn ? c.DH : c.DW);
        const int64_t s = args.dstStrides[0], width = std::max<int64_t>(std::abs(s), rowBytes);
        const Span plane = s > 0 ? Span{0, Add(Mul(rows - 1, s), width)} : Span{Mul(rows - 1, s), width};
        if (!touched.empty() && (touched.begin < plane.begin || touched.end > plane.end))
            return refuse("rotated placement reaches outside the destination plane");
    }
    if (rot && (c.op == Op(kRGB565, k420) || c.op == Op(kARGB32, k420) || c.op == Op(kABGR32, k420))) {
        rule.mayRunOutOfMemory = true;
        if (c.DW < c.W || c.DH < c.H) return refuse("rotated destination smaller than the source");
    }
    rule.route = Route(f, args.adjustOn);
    rule.crStepsByCbStride = f.crStepsByCbStride;
    spans();
    return rule;
}

}  // namespace qv::rules
