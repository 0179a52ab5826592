// Planar 4:2:0 to planar 4:2:0 rotated, scaled, or both; plain or through the adjustment curves.
// Each routine is one loop shape instantiated with an output mapping: straight (identity) or
// through the context's luma and chroma curves, applied to every sample on the way out.
#include <cstdint>
#include <cstring>

#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"

namespace qv {
namespace {

// ---- output mappings ----------------------------------------------------------------------
struct Straight {
    uint8_t Luma(uint8_t v) const { return v; }
    uint8_t Chroma(uint8_t v) const { return v; }
    const uint8_t* LumaTable() const { return nullptr; }
    const uint8_t* ChromaTable() const { return nullptr; }
};

// The one chroma curve serves Cb and Cr alike; it is applied after interpolation.
struct ThroughCurves {
    const uint8_t* luma;
    const uint8_t* chroma;
    uint8_t Luma(uint8_t v) const { return luma[v]; }
    uint8_t Chroma(uint8_t v) const { return chroma[v]; }
    const uint8_t* LumaTable() const { return luma; }
    const uint8_t* ChromaTable() const { return chroma; }
};

// ---- rotation: every source sample scattered to start + x * stepX + y * stepY --------------
// A plane's curve: a table of 256 bytes, or none.
struct PlaneMap {
    const uint8_t* table;
    uint8_t operator()(uint8_t v) const { return table != nullptr ? table[v] : v; }
};

void MapBytes(const uint8_t* src, uint8_t* dst, int32_t n, const uint8_t* table) {
    for (int32_t i = 0; i < n; ++i) dst[i] = table[src[i]];
}

// Rows going out whole (stepX 1) or reversed (stepX -1), one after another as the scatter orders
// them.
void MoveRows(const uint8_t* src, int32_t srcStride, int32_t width, int32_t rows, uint8_t* start, int32_t stepX,
              int32_t stepY, const uint8_t* table) {
    const KernelTable& k = Kernels();
    constexpr int32_t kChunk = 1024;
    uint8_t mapped[kChunk];
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* s = Row(src, y, srcStride);
        uint8_t* d = Row(start, y, stepY);
        if (stepX == 1) {
            if (table == nullptr) std::memcpy(d, s, static_cast<size_t>(width));
            else MapBytes(s, d, width, table);
        } else if (table == nullptr) {
            k.reverseRow(s, d - (width - 1), width);
        } else {
            for (int32_t x = 0; x < width; x += kChunk) {
                const int32_t n = width - x < kChunk ? width - x : kChunk;
                MapBytes(s + x, mapped, n, table);
                k.reverseRow(mapped, d - (x + n - 1), n);
            }
        }
    }
}

// Quarter turns: source column x becomes the destination run at start + x * stepX, stepped by
// stepY = +-1 per source row. A step of -1 is the transpose of the rows taken bottom up.
void TransposePlane(const uint8_t* src, int32_t srcStride, int32_t width, int32_t rows, uint8_t* start,
                    int32_t stepX, int32_t stepY, const uint8_t* table) {
    const KernelTable& k = Kernels();
    ptrdiff_t srcPitch = srcStride;
    if (stepY < 0) {
        src = Row(src, rows - 1, srcStride);
        srcPitch = -srcPitch;
        start -= rows - 1;
    }
    if (table == nullptr) return k.transpose(src, srcPitch, start, stepX, width, rows);
    // Through the curve: blocks of 16 rows are mapped into a buffer, then transposed from it.
    constexpr int32_t kRows = 16, kColumns = 256;
    uint8_t mapped[kRows * kColumns];
    for (int32_t y = 0; y < rows; y += kRows) {
        const int32_t h = rows - y < kRows ? rows - y : kRows;
        for (int32_t x = 0; x < width; x += kColumns) {
            const int32_t n = width - x < kColumns ? width - x : kColumns;
            for (int32_t r = 0; r < h; ++r) MapBytes(src + (y + r) * srcPitch + x, mapped + r * kColumns, n, table);
            k.transpose(mapped, kColumns, start + y + static_cast<ptrdiff_t>(x) * stepX, stepX, n, h);
        }
    }
}

void ScatterPlane(const uint8_t* src, int32_t srcStride, int32_t width, int32_t rows, uint8_t* start,
                  int32_t stepX, int32_t stepY, PlaneMap map) {
    if (width <= 0 || rows <= 0) return;
    if (stepX == 1 || stepX == -1) return MoveRows(src, srcStride, width, rows, start, stepX, stepY, map.table);
    // Tiles may write in any order when no two samples share a destination byte.
    const int64_t span = stepX < 0 ? -static_cast<int64_t>(stepX) : stepX;
    if ((stepY == 1 || stepY == -1) && span >= rows)
        return TransposePlane(src, srcStride, width, rows, start, stepX, stepY, map.table);
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* s = Row(src, y, srcStride);
        uint8_t* d = Row(start, y, stepY);
        for (int32_t x = 0; x < width; ++x) *Row(d, x, stepX) = map(s[x]);
    }
}

template <class Out>
int32_t Rotate(const QvRotationParams& p, SrcPlanes sp, Strides ss, int32_t W, int32_t H, Out out) {
    ScatterPlane(sp[0], ss[0], W, H, p.startY, p.stepX, p.stepY, {out.LumaTable()});
    if (H < 2) return kOk;
    // W < 2 leaves no chroma column; the rows are still walked.
    ScatterPlane(sp[1], ss[1], W >> 1, H >> 1, p.startCb, p.stepXCb, p.stepYCb, {out.ChromaTable()});
    ScatterPlane(sp[2], ss[2], W >> 1, H >> 1, p.startCr, p.stepXCr, p.stepYCr, {out.ChromaTable()});
    return kOk;
}

// ---- scaling: sinks for the scaled 2x2-block walk ------------------------------------------
// Straight rows of the destination planes; the two luma samples of a row go out as one
// little-endian 16-bit word, the first in the low byte.
template <class Out>
struct PlaneSink {
    uint8_t* const* dp;
    const int32_t* ds;
    Out out;
    uint8_t *y0 = nullptr, *y1 = nullptr, *cb = nullptr, *cr = nullptr;

    void BeginRowPair(int32_t k) {
        y0 = Row(dp[0], 2 * k, ds[0]);
        y1 = y0 + ds[0];
        cb = Row(dp[1], k, ds[1]);
        cr = Row(dp[2], k, ds[2]);
    }
    void Put(int32_t j, const Block& b) {
        Store16(y0 + 2 * j, out.Luma(b.y00) | out.Luma(b.y01) << 8);
        Store16(y1 + 2 * j, out.Luma(b.y10) | out.Luma(b.y11) << 8);
        cb[j] = out.Chroma(b.cb);
        cr[j] = out.Chroma(b.cr);
    }
};

// Through the planar parameter record: the scaled image is what the rotation moves.
template <class Out>
struct RotatedSink {
    QvRotationParams p;  // a copy: the walk keeps the steps in registers
    Out out;
    uint8_t *y0 = nullptr, *y1 = nullptr, *cb = nullptr, *cr = nullptr;

    void BeginRowPair(int32_t k) {
        y0 = Row(p.startY, 2 * k, p.stepY);
        y1 = y0 + p.stepY;
        cb = Row(p.startCb, k, p.stepYCb);
        cr = Row(p.startCr, k, p.stepYCr);
    }
    void Put(int32_t j, const Block& b) {
        uint8_t* a = Row(y0, 2 * j, p.stepX);
        uint8_t* c = Row(y1, 2 * j, p.stepX);
        a[0] = out.Luma(b.y00);
        a[p.stepX] = out.Luma(b.y01);
        c[0] = out.Luma(b.y10);
        c[p.stepX] = out.Luma(b.y11);
        *Row(cb, j, p.stepXCb) = out.Chroma(b.cb);
        *Row(cr, j, p.stepXCr) = out.Chroma(b.cr);
    }
};

// The scaled walk done separably: per destination row the vertical taps of the source columns
// under a chunk of destination columns (a vector kernel), then the horizontal taps over them.
// Each sample is the one the block walk computes; only the order of the writes differs. Steps
// above 4 source columns per destination column (whose chunks would span too many columns) and
// widths whose positions could leave 31 bits take the block walk, as do odd widths (whose last
// column pair reaches past the last position).
template <class Out>
int32_t Scale(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds, int32_t DW, int32_t DH,
              Out out) {
    if (DH < 1 || DW < 1 || W < 1 || H < 1) return kOk;
    const int32_t xstep = ScaleStep(W, DW);
    const int32_t ystep = ScaleStep(H, DH);
    constexpr int32_t kChunk = 256;  // destination columns, even
    constexpr int32_t kSpan = 4 * kChunk + 2;
    if (xstep > (4 << 16) || W >= (1 << 14) || DW >= (1 << 14) || (DW & 1) != 0) {
        PlaneSink<Out> sink{dp, ds, out};
        WalkScaledBlocks(sp, ss, W, H, DW, DH, sink);
        return kOk;
    }
    const VerticalTapKernel vertical = Kernels().verticalTaps;
    const HorizontalTapKernel horizontal = Kernels().horizontalTaps;
    const int32_t columns = 2 * ((DW + 1) / 2);  // whole column pairs, as the block walk writes them
    int16_t va[kSpan + 1] = {}, vb[kSpan + 1] = {};  // one past the span: read, never weighted
    for (int32_t r = 0, k = 0; r < DH; r += 2, ++k) {
        const ScaledRowPair rows = ScaledRowPairAt(sp, ss, H, ystep, k);
        uint8_t* y0 = Row(dp[0], 2 * k, ds[0]);
        uint8_t* y1 = y0 + ds[0];
        uint8_t* cb = Row(dp[1], k, ds[1]);
        uint8_t* cr = Row(dp[2], k, ds[2]);
        for (int32_t c0 = 0; c0 < columns; c0 += kChunk) {
            const int32_t n = columns - c0 < kChunk ? columns - c0 : kChunk;
            const int32_t first = PosIndex(ScalePosition(c0, xstep));
            const int32_t lastTap = PosIndex(ScalePosition(c0 + n - 1, xstep)) + 1;
            const int32_t span = (lastTap < W ? lastTap : W - 1) - first + 1;
            vertical(rows.a0 + first, rows.a1 + first, rows.fyA, va, span);
            vertical(rows.b0 + first, rows.b1 + first, rows.fyB, vb, span);
            horizontal(va, y0 + c0, n, c0, xstep, first, W - 1);
            horizontal(vb, y1 + c0, n, c0, xstep, first, W - 1);
            if (const uint8_t* curve = out.LumaTable()) {
                for (int32_t i = c0; i < c0 + n; ++i) y0[i] = curve[y0[i]], y1[i] = curve[y1[i]];
            }
            for (int32_t j = c0 >> 1; j < (c0 + n) >> 1; ++j) {
                const int32_t col = (PosIndex(ScalePosition(2 * j, xstep)) + PosIndex(ScalePosition(2 * j + 1, xstep)) + 1) >> 2;
                cb[j] = out.Chroma(rows.cb[col]);
                cr[j] = out.Chroma(rows.cr[col]);
            }
        }
    }
    return kOk;
}

template <class Out>
int32_t ScaleRotate(const QvRotationParams& p, SrcPlanes sp, Strides ss, int32_t W, int32_t H, int32_t DW,
                    int32_t DH, Out out) {
    RotatedSink<Out> sink{p, out};
    WalkScaledBlocks(sp, ss, W, H, DW, DH, sink);
    return kOk;
}

// The adjusting routines find the parameter record and the curves through the context.
bool HasCurves(const QvImgPrcContext* ctx) {
    return ctx != nullptr && ctx->lumaCurve != nullptr && ctx->chromaCurve != nullptr;
}
ThroughCurves CurvesOf(const QvImgPrcContext* ctx) { return {ctx->lumaCurve, ctx->chromaCurve}; }

}  // namespace

int32_t _QVYCbCr420Rot(const QvRotationParams* prm, SrcPlanes sp, Strides ss, int32_t W, int32_t H) {
    if (prm == nullptr) return kInvalidArg;
    return Rotate(*prm, sp, ss, W, H, Straight{});
}

int32_t _QVYCbCr420Rsz(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds, int32_t DW,
                       int32_t DH) {
    return Scale(sp, ss, W, H, dp, ds, DW, DH, Straight{});
}

int32_t _QVYCbCr420RszRot(const QvRotationParams* prm, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                          int32_t DW, int32_t DH) {
    if (prm == nullptr) return kInvalidArg;
    return ScaleRotate(*prm, sp, ss, W, H, DW, DH, Straight{});
}

int32_t _QVYCbCr420RotAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H) {
    if (!HasCurves(ctx) || ctx->params == nullptr) return kInvalidArg;
    return Rotate(*ctx->params, sp, ss, W, H, CurvesOf(ctx));
}

int32_t _QVYCbCr420RszAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                             DstPlanes dp, Strides ds, int32_t DW, int32_t DH) {
    if (!HasCurves(ctx)) return kInvalidArg;
    return Scale(sp, ss, W, H, dp, ds, DW, DH, CurvesOf(ctx));
}

int32_t _QVYCbCr420RszRotAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                int32_t DW, int32_t DH) {
    if (!HasCurves(ctx) || ctx->params == nullptr) return kInvalidArg;
    return ScaleRotate(*ctx->params, sp, ss, W, H, DW, DH, CurvesOf(ctx));
}

}  // namespace qv
