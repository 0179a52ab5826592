// The algorithm shapes shared by the 4:2:0 to RGB565, ARGB32, RGB888 and RGB555 converters. Each
// shape is written once; the named routines of the family files instantiate it with a pixel
// format and name their addressing quirks there.
//
// - The row-pair driver of the same-size and single-pass scaled routes: source rows (the picture's
//   own, or scaled into scratch rows) converted by a row-pair kernel of the kernel table into
//   straight destination rows, or into scratch rows placed through the rotation record.
// - The line-cache upscaler: converted source rows cached in three line buffers, blended
//   vertically into the fourth and written by a row writer (one kernel of kernels.h).
// - The 2x vertical / fixed horizontal upscaler (width x 2.5, height x 2).
// - The nearest-neighbour RGB565 upscalers.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/kernel_table.h"
#include "core/kernels.h"
#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv::rgb {

// ---- pixel formats --------------------------------------------------------------------------

// Each format's steps are its route's row geometry (core/routes.h).
struct RGB565Format {
    static constexpr int32_t kBytes = FormatOf(kRGB565).pixelBytes;
    static constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kRGB565)).rows;
    static RowPairKernel Kernel(const KernelTable& k) { return k.pairToRGB565; }
    uint32_t Arg() const { return 0; }
};

struct ARGB32Format {
    uint8_t alpha;
    static constexpr int32_t kBytes = FormatOf(kARGB32).pixelBytes;
    static constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kARGB32)).rows;
    static RowPairKernel Kernel(const KernelTable& k) { return k.pairToARGB32; }
    uint32_t Arg() const { return alpha; }
};

struct RGB888Format {
    static constexpr int32_t kBytes = FormatOf(kRGB888).pixelBytes;
    static constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kRGB888)).rows;
    static RowPairKernel Kernel(const KernelTable& k) { return k.pairToRGB888; }
    uint32_t Arg() const { return 0; }
};

// Masked RGB555 with a colour key, never rotated or scaled.
struct RGB555Format {
    uint32_t key;
    static constexpr int32_t kBytes = FormatOf(kRGB555).pixelBytes;
    static constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kRGB555)).rows;
    static RowPairKernel Kernel(const KernelTable& k) { return k.pairToRGB555; }
    uint32_t Arg() const { return key; }
};

// ---- the row-pair driver --------------------------------------------------------------------

// Pixels per kernel call where rows go through scratch rows.
constexpr int32_t kChunk = 512;

struct RowPairIn {
    const uint8_t *y0, *y1, *cb, *cr;
};
struct RowPairOut {
    uint8_t *d0, *d1;
};

// Same size: row pair k is luma rows 2k and 2k + 1 and chroma row k of the picture.
template <bool kCrByCbStride>
struct PictureRows {
    static constexpr bool kBuffered = false;
    const uint8_t* const* sp;
    const int32_t* ss;
    RowPairIn At(int32_t k, int32_t x0, int32_t /*n*/) const {
        const uint8_t* y0 = Row(sp[0], 2 * k, ss[0]) + x0;
        return {y0, y0 + ss[0], Row(sp[1], k, ss[1]) + x0 / 2, Row(sp[2], k, kCrByCbStride ? ss[1] : ss[2]) + x0 / 2};
    }
};

// Scaled: the samples of destination row pair k (bilinear luma, nearest chroma) in scratch rows.
// Luma is computed separably, as the 4:2:0 scaler does: the vertical taps of the source columns
// under the chunk, then the horizontal taps (both kernels of the table). Steps above 4 source
// columns per destination column, very wide pictures and odd destination widths take the
// per-block walk.
struct ScaledRows {
    static constexpr bool kBuffered = true;
    static constexpr int32_t kSpan = 4 * kChunk + 2;
    const uint8_t* const* sp;
    const int32_t* ss;
    int32_t W, H, xstep, ystep;
    bool separable;
    VerticalTapKernel vertical;
    HorizontalTapKernel horizontal;
    uint8_t y0[kChunk], y1[kChunk], cb[kChunk / 2], cr[kChunk / 2];
    int16_t va[kSpan + 1] = {}, vb[kSpan + 1] = {};  // one past the span: read, never weighted
    ScaledRows(const uint8_t* const* p, const int32_t* s, int32_t w, int32_t h, int32_t dw, int32_t dh)
        : sp(p),
          ss(s),
          W(w),
          H(h),
          xstep(ScaleStep(w, dw)),
          ystep(ScaleStep(h, dh)),
          separable(xstep <= (4 << 16) && w < (1 << 14) && dw < (1 << 14) && (dw & 1) == 0),
          vertical(Kernels().verticalTaps),
          horizontal(Kernels().horizontalTaps) {}
    RowPairIn At(int32_t k, int32_t x0, int32_t n) {
        const ScaledRowPair rows = ScaledRowPairAt(sp, ss, H, ystep, k);
        if (!separable) {
            for (int32_t i = 0; i < n; i += 2) {
                const Block b = ScaledBlockAt(rows, W, xstep, (x0 + i) >> 1);
                y0[i] = b.y00;
                y0[i + 1] = b.y01;
                y1[i] = b.y10;
                y1[i + 1] = b.y11;
                cb[i >> 1] = b.cb;
                cr[i >> 1] = b.cr;
            }
            return {y0, y1, cb, cr};
        }
        const int32_t first = PosIndex(ScalePosition(x0, xstep));
        const int32_t lastTap = PosIndex(ScalePosition(x0 + n - 1, xstep)) + 1;
        const int32_t span = (lastTap < W ? lastTap : W - 1) - first + 1;
        vertical(rows.a0 + first, rows.a1 + first, rows.fyA, va, span);
        vertical(rows.b0 + first, rows.b1 + first, rows.fyB, vb, span);
        horizontal(va, y0, n, x0, xstep, first, W - 1);
        horizontal(vb, y1, n, x0, xstep, first, W - 1);
        for (int32_t i = 0; i < n; i += 2) {
            const int32_t c = x0 + i;
            const int32_t col =
                (PosIndex(ScalePosition(c, xstep)) + PosIndex(ScalePosition(c + 1, xstep)) + 1) >> 2;
            cb[i >> 1] = rows.cb[col];
            cr[i >> 1] = rows.cr[col];
        }
        return {y0, y1, cb, cr};
    }
};

// Straight rows: row pair k starts at k row-pair advances from the destination, its lower row
// one stride below.
template <class Format>
struct StraightRows {
    static constexpr bool kBuffered = false;
    uint8_t* dst;
    int32_t stride;
    RowPairOut At(int32_t k, int32_t x0) const {
        uint8_t* upper = dst + k * Format::kRows.PairStep(stride) + static_cast<ptrdiff_t>(x0) * Format::kBytes;
        return {upper, upper + stride};
    }
    void Place(int32_t, int32_t, int32_t) const {}
};

// Rotated: the block of row pair k, column pair j goes to dst00..dst11 plus j x stepX plus
// k x stepY, both steps rounded as the format asks.
template <class Format>
struct RotatedRows {
    static constexpr bool kBuffered = true;
    QvRotationParams prm;
    uint8_t upper[kChunk * Format::kBytes], lower[kChunk * Format::kBytes];
    RowPairOut At(int32_t, int32_t) { return {upper, lower}; }
    void Place(int32_t k, int32_t x0, int32_t n) const {
        constexpr int32_t B = Format::kBytes;
        const ptrdiff_t stepX = Format::kRows.RotatedStep(prm.stepX);
        ptrdiff_t o = static_cast<ptrdiff_t>(k) * Format::kRows.RotatedStep(prm.stepY) + (x0 >> 1) * stepX;
        for (int32_t i = 0; i < n; i += 2, o += stepX) {
            std::memcpy(prm.dst00 + o, upper + i * B, B);
            std::memcpy(prm.dst10 + o, upper + (i + 1) * B, B);
            std::memcpy(prm.dst01 + o, lower + i * B, B);
            std::memcpy(prm.dst11 + o, lower + (i + 1) * B, B);
        }
    }
};

// Converts `pairs` row pairs of `width` pixels (even) from the source into the destination.
template <class Format, class Source, class Dest>
inline void ConvertRowPairs(const QvImgPrcContext* ctx, const Format& fmt, int32_t pairs, int32_t width,
                            Source&& src, Dest&& dst) {
    const RowPairKernel kernel = Format::Kernel(Kernels());
    const ConvTables tables = TablesOf(ctx);
    const int32_t chunk = (std::decay_t<Source>::kBuffered || std::decay_t<Dest>::kBuffered) ? kChunk : width;
    for (int32_t k = 0; k < pairs; ++k) {
        for (int32_t x0 = 0; x0 < width; x0 += chunk) {
            const int32_t n = std::min(chunk, width - x0);
            const RowPairIn in = src.At(k, x0, n);
            const RowPairOut out = dst.At(k, x0);
            kernel(in.y0, in.y1, in.cb, in.cr, out.d0, out.d1, n, tables, fmt.Arg());
            dst.Place(k, x0, n);
        }
    }
}

// The picture in 2x2 blocks: ceil(H / 2) row pairs of ceil(W / 2) pixel pairs.
template <class Format, class Dest>
inline void ConvertPicture(const QvImgPrcContext* ctx, const Format& fmt, SrcPlanes sp, Strides ss, int32_t W,
                           int32_t H, Dest&& dst) {
    if (W < 1 || H < 1) return;
    ConvertRowPairs(ctx, fmt, (H + 1) >> 1, (W + 1) & ~1, PictureRows<Format::kRows.crStepsByCbStride>{sp, ss}, dst);
}

// The scaled picture: ceil(DH / 2) row pairs of ceil(DW / 2) pixel pairs.
template <class Format, class Dest>
inline void ConvertScaled(const QvImgPrcContext* ctx, const Format& fmt, SrcPlanes sp, Strides ss, int32_t W,
                          int32_t H, int32_t DW, int32_t DH, Dest&& dst) {
    if (DH < 1 || DW < 1 || W < 1 || H < 1) return;
    ConvertRowPairs(ctx, fmt, (DH + 1) >> 1, (DW + 1) & ~1, ScaledRows(sp, ss, W, H, DW, DH), dst);
}

// ---- line conversion with clamped rows ------------------------------------------------------

// Converts luma rows `top` and `top + 1` with chroma row `chromaRow` into two lines. Rows past
// the picture are read as its last row: their conversions only ever carry weight 0 or are
// never stored, so no output changes.
inline void ConvertRowPair(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                           int32_t H, int32_t top, int32_t chromaRow, int32_t crStride,
                           uint32_t* out0, uint32_t* out1) {
    const int32_t last = H - 1;
    const int32_t lastChroma = (H - 1) >> 1;
    chromaRow = std::min(chromaRow, lastChroma);
    Convert(ctx, Row(sp[0], std::min(top, last), ss[0]), Row(sp[0], std::min(top + 1, last), ss[0]),
            Row(sp[1], chromaRow, ss[1]), Row(sp[2], chromaRow, crStride), out0, out1, W);
}

// ---- line-cache upscaler --------------------------------------------------------------------

// Destination row j lies at 16.16 position j x ((H - 1) << 16) / (DH - 1). Three buffers cache
// converted source rows (current, next, spare); rows are converted two at a time with one
// chroma row, so an odd first row shares the chroma row of the row above it. A non-zero weight
// blends current and next into the fourth buffer. `writeRow(line)` writes one destination row
// and advances the destination.
template <class RowWriter>
int32_t UpscaleThroughLineCache(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                SrcPlanes sp, Strides ss, int32_t W, int32_t H, int32_t DH,
                                RowWriter writeRow) {
    if (lines == nullptr) return kInvalidArg;
    if (W < 1 || H < 1) return kOk;  // an empty source has no row to convert
    const int32_t ystep = ScaleStep(H, DH);
    uint32_t* current = (*lines)[0];
    uint32_t* next = (*lines)[1];
    uint32_t* spare = (*lines)[2];
    uint32_t* const blend = (*lines)[3];
    int32_t nextRow = -1, spareRow = -1, lastRow = -1;
    for (int32_t j = 0; j < DH; ++j) {
        const int32_t pos = ScalePosition(j, ystep);
        const int32_t s = static_cast<int16_t>(pos >> 16);
        if (s != lastRow) {
            if (nextRow == s) {
                std::swap(current, next);  // next becomes current,
                std::swap(next, spare);    // spare becomes next, current becomes spare
                nextRow = spareRow;
            } else if (spareRow == s) {
                std::swap(current, spare);
            } else {
                ConvertRowPair(ctx, sp, ss, W, H, s, pos >> 17, ss[2], current, next);
                nextRow = s + 1;
            }
        }
        const uint32_t* line = current;
        const uint32_t v = static_cast<uint32_t>(PosWeight(pos));
        if (v != 0) {
            if (nextRow != s + 1) {
                ConvertRowPair(ctx, sp, ss, W, H, s + 1, (s + 1) >> 1, ss[2], next, spare);
                spareRow = s + 2;
            }
            VLerp(current, next, blend, v, W);
            line = blend;
            nextRow = s + 1;
        }
        writeRow(line);
        lastRow = s;
    }
    return kOk;
}

// ---- width x 2.5, height x 2 ----------------------------------------------------------------

// How the fixed 2x vertical path reads the row pair after the last source row.
enum class BelowPicture {
    kRead,   // read as it stands: the caller's planes carry two more luma rows and a chroma row
    kClamp,  // clamped to the last source row, so the last destination row is that row
};

// Destination row 2m is source row m and row 2m + 1 the mean of rows m and m + 1, written four
// rows a pass at multiples of `rowStride` (the route's rounded stride). The chroma stride serves
// both chroma planes. The source height is DH / 2. `writeRow(line, dst)` writes one row.
template <BelowPicture kBelow, class RowWriter>
int32_t UpscaleTwiceVertically(const QvImgPrcContext* ctx, const LineBuffers* lines,
                               SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t rowStride,
                               int32_t DH, RowWriter writeRow) {
    if (lines == nullptr) return kInvalidArg;
    uint32_t* a = (*lines)[0];
    uint32_t* b = (*lines)[1];
    uint32_t* c = (*lines)[2];
    uint32_t* const mean = (*lines)[3];
    const int32_t H = DH >> 1;
    auto convertPair = [&](int32_t top, uint32_t* out0, uint32_t* out1) {
        if (kBelow == BelowPicture::kClamp) {
            ConvertRowPair(ctx, sp, ss, W, H, top, top >> 1, ss[1], out0, out1);
        } else {
            Convert(ctx, Row(sp[0], top, ss[0]), Row(sp[0], top + 1, ss[0]),
                    Row(sp[1], top >> 1, ss[1]), Row(sp[2], top >> 1, ss[1]), out0, out1, W);
        }
    };
    // Nothing converted is ever written when there is no destination row.
    if (DH < 1) return kOk;
    convertPair(0, a, b);
    for (int32_t k = 0; 4 * k < DH; ++k) {
        uint8_t* row = Row(d0, 4 * k, rowStride);
        writeRow(a, row);
        VLerp_12(a, b, mean, W);
        writeRow(mean, row + rowStride);
        convertPair(2 * k + 2, c, a);
        writeRow(b, row + 2 * static_cast<ptrdiff_t>(rowStride));
        VLerp_12(b, c, mean, W);
        writeRow(mean, row + 3 * static_cast<ptrdiff_t>(rowStride));
        uint32_t* const oldA = a;
        a = c;
        c = b;
        b = oldA;
    }
    return kOk;
}

// ---- nearest-neighbour RGB565 upscalers -----------------------------------------------------

// How the nearest upscalers turn a source row pair into two RGB565 lines.
enum class NearestLine {
    kPlain,    // Convert_565: the source width
    kDoubled,  // Convert, then DoubleLine in place: twice the source width
};

// Rows follow a Bresenham walk over the source rows; a destination row whose source row equals
// the previous one is a byte copy of the row above. Destination rows advance by the RGB565
// route's rounded stride.
template <NearestLine kLine>
int32_t UpscaleNearest(const QvImgPrcContext* ctx, const LineBuffers* lines, SrcPlanes sp,
                       Strides ss, int32_t W, int32_t H, uint8_t* d0, int32_t s0, int32_t DW,
                       int32_t DH) {
    if (lines == nullptr) return kInvalidArg;
    if (W < 1 || H < 1) return kOk;  // an empty source has no row to convert
    uint32_t* const buf0 = (*lines)[0];
    uint32_t* const buf1 = (*lines)[1];
    const int32_t lineWidth = kLine == NearestLine::kDoubled ? 2 * W : W;
    const int32_t q = lineWidth / DW, r = lineWidth % DW;
    const int32_t rowWhole = H / DH, rowRemainder = H % DH;
    const uint8_t* luma = sp[0];
    const uint8_t* cb = sp[1];
    const uint8_t* cr = sp[2];
    const int32_t rowStride = RGB565Format::kRows.RowStep(s0);
    int32_t phase = 2, previousPhase = -1, error = 0;
    const uint32_t* selected = buf0;
    uint8_t* dst = d0;
    int32_t rows = DH;
    do {
        if (phase == 2) {
            if (kLine == NearestLine::kDoubled) {
                Convert(ctx, luma, luma + ss[0], cb, cr, buf0, buf1, W);
                DoubleLine(reinterpret_cast<uint16_t*>(buf0), reinterpret_cast<uint16_t*>(buf1),
                           buf0, buf1, W);
            } else {
                Convert_565(ctx, luma, luma + ss[0], cb, cr, reinterpret_cast<uint16_t*>(buf0),
                            reinterpret_cast<uint16_t*>(buf1), W);
            }
            luma += 2 * static_cast<ptrdiff_t>(ss[0]);
            cb += ss[1];
            cr += ss[2];
            phase = 0;
            selected = buf0;
        }
        if (phase == previousPhase) {
            std::memmove(dst, dst - rowStride, 2 * static_cast<size_t>(DW));
        } else {
            HLerp_Nearest(reinterpret_cast<const uint16_t*>(selected), dst, DW, q, r);
        }
        previousPhase = phase;
        error += rowRemainder;
        if (error >= DH) {
            error -= DH;
            phase += 1 + rowWhole * W;  // the whole part is 0 when enlarging
            if (phase == 1) selected = buf1;
        }
        dst += rowStride;
    } while (--rows > 0);
    return kOk;
}

}  // namespace qv::rgb
