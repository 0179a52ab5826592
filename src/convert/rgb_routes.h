// The algorithm shapes shared by the 4:2:0 to RGB565, ARGB32 and RGB888 converters. Each shape
// is written once; the named routines of the three family files instantiate it with a pixel
// format (how one pixel is packed and stored) and name their addressing quirks there.
//
// - 2x2 block sinks for the same-size and single-pass scaled routes (`WalkBlocks`,
//   `WalkScaledBlocks` of pixel.h): straight rows or rotated through the parameter record.
// - The line-cache upscaler: converted source rows cached in three line buffers, blended
//   vertically into the fourth and written by a row writer (one kernel of kernels.h).
// - The 2x vertical / fixed horizontal upscaler (width x 2.5, height x 2).
// - The nearest-neighbour RGB565 upscalers.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/kernels.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv::rgb {

// ---- pixel formats --------------------------------------------------------------------------

struct RGB565Format {
    static constexpr int32_t kBytes = 2;
    // Row pairs advance by exactly two destination strides.
    static int32_t RowPairAdvance(int32_t stride) { return 2 * stride; }
    // Rotated steps lose their lowest bit (a 16-bit pixel never starts at an odd offset).
    static constexpr int32_t kRotatedStepMask = ~1;
    void Store(uint8_t* p, int32_t y, const ChromaTerms& t) const { Store16(p, PixelRGB565(y, t)); }
};

struct ARGB32Format {
    uint8_t alpha;
    static constexpr int32_t kBytes = 4;
    // The row pair advances by (stride >> 1) x 4 bytes, two bytes short of two odd strides,
    // while the lower row of the pair still sits one full stride below the upper.
    static int32_t RowPairAdvance(int32_t stride) { return (stride >> 1) * 4; }
    // Rotated steps are rounded down to a multiple of 4 bytes.
    static constexpr int32_t kRotatedStepMask = ~3;
    void Store(uint8_t* p, int32_t y, const ChromaTerms& t) const {
        Store32(p, PixelARGB32(y, t, alpha));
    }
};

struct RGB888Format {
    static constexpr int32_t kBytes = 3;
    // Strides and steps are used as they are: a 3-byte pixel has no alignment to keep.
    static int32_t RowPairAdvance(int32_t stride) { return 2 * stride; }
    static constexpr int32_t kRotatedStepMask = ~0;
    void Store(uint8_t* p, int32_t y, const ChromaTerms& t) const {
        StoreRGB888(p, PixelRGB8(y, t));
    }
};

// The same-size and rotated routines take one chroma stride: the Cr row advances by the Cb
// stride, as their callers always pass equal chroma strides.
constexpr bool kCrStepsByCbStride = true;

// ---- 2x2 block sinks ------------------------------------------------------------------------

// Converts the four pixels of a block with the block's shared chroma terms and stores them at
// upper-left, upper-right, lower-left and lower-right.
template <class Format>
inline void PutBlock(const ConvTables& tables, const Format& fmt, const Block& b, uint8_t* p00,
                     uint8_t* p10, uint8_t* p01, uint8_t* p11) {
    const ChromaTerms t = tables.Chroma(b.cb, b.cr);
    fmt.Store(p00, tables.y[b.y00], t);
    fmt.Store(p10, tables.y[b.y01], t);
    fmt.Store(p01, tables.y[b.y10], t);
    fmt.Store(p11, tables.y[b.y11], t);
}

// Straight rows: row pair k starts at k row-pair advances from the destination, its lower row
// one stride below.
template <class Format>
struct RowSink {
    ConvTables tables;
    Format fmt;
    uint8_t* dst;
    int32_t stride;
    uint8_t* upper = nullptr;

    void BeginRowPair(int32_t k) { upper = Row(dst, k, Format::RowPairAdvance(stride)); }
    void Put(int32_t j, const Block& b) {
        uint8_t* p = upper + static_cast<ptrdiff_t>(j) * 2 * Format::kBytes;
        uint8_t* q = p + stride;
        PutBlock(tables, fmt, b, p, p + Format::kBytes, q, q + Format::kBytes);
    }
};

// Rotated: the block of row pair k, column pair j goes to dst00..dst11 plus j x stepX plus
// k x stepY, both steps rounded as the format asks.
template <class Format>
struct RotatedSink {
    ConvTables tables;
    Format fmt;
    QvRotationParams prm;
    ptrdiff_t rowOffset = 0;

    void BeginRowPair(int32_t k) {
        rowOffset = static_cast<ptrdiff_t>(k) * (prm.stepY & Format::kRotatedStepMask);
    }
    void Put(int32_t j, const Block& b) {
        const ptrdiff_t o = rowOffset + static_cast<ptrdiff_t>(j) * (prm.stepX & Format::kRotatedStepMask);
        PutBlock(tables, fmt, b, prm.dst00 + o, prm.dst10 + o, prm.dst01 + o, prm.dst11 + o);
    }
};

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
// rows a pass at multiples of the stride rounded down to 4 bytes. The chroma stride serves both
// chroma planes. The source height is DH / 2. `writeRow(line, dst)` writes one row.
template <BelowPicture kBelow, class RowWriter>
int32_t UpscaleTwiceVertically(const QvImgPrcContext* ctx, const LineBuffers* lines,
                               SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t s0,
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
    const int32_t rowStride = s0 & ~3;
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
// the previous one is a byte copy of the row above. Destination rows advance by the stride
// rounded down to 4 bytes.
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
    const int32_t rowStride = s0 & ~3;
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
