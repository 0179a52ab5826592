// Planar 4:2:0 moved without arithmetic: the copy, NV12 both ways, and the packed YUY2 and UYVY.
#include <cstdint>
#include <cstring>

#include "core/kernel_table.h"
#include "core/pixel.h"
#include "core/qv_routines.h"
#include "core/routes.h"

namespace qv {
namespace {

void CopyRows(const uint8_t* src, int32_t srcStride, uint8_t* dst, int32_t dstStride, int32_t bytes,
              int32_t rows) {
    for (int32_t r = 0; r < rows; ++r) std::memcpy(Row(dst, r, dstStride), Row(src, r, srcStride), bytes);
}

// The same bytes as CopyRows, in one block when both planes hold their rows back to back (a
// deinterlaced frame's luma work plane and a tight destination, for one).
void CopyPlane(const uint8_t* src, int32_t srcStride, uint8_t* dst, int32_t dstStride, int32_t bytes,
               int32_t rows) {
    if (srcStride == bytes && dstStride == bytes && bytes > 0 && rows > 0)
        std::memcpy(dst, src, static_cast<size_t>(bytes) * static_cast<size_t>(rows));
    else
        CopyRows(src, srcStride, dst, dstStride, bytes, rows);
}

uintptr_t Address(const void* p) { return reinterpret_cast<uintptr_t>(p); }

}  // namespace

int32_t _QVYCbCr420Copy(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    const bool compact = ss[0] == W && ss[1] == (W >> 1) && ss[1] == ss[2] && ds[0] == W && ds[1] == ss[1] &&
                         ds[2] == ds[1];
    if (compact) {
        // The chroma size here is (W x H) >> 2, the same as (W >> 1) x (H >> 1) for the even
        // sizes a context holds.
        const size_t S = static_cast<size_t>(W) * static_cast<size_t>(H);
        const size_t C = S >> 2;
        const bool backToBack = Address(sp[1]) == Address(sp[0]) + S && Address(sp[2]) == Address(sp[1]) + C &&
                                Address(dp[1]) == Address(dp[0]) + S && Address(dp[2]) == Address(dp[1]) + C;
        if (backToBack) {
            std::memcpy(dp[0], sp[0], S + 2 * C);
        } else {
            std::memcpy(dp[0], sp[0], S);
            std::memcpy(dp[1], sp[1], C);
            std::memcpy(dp[2], sp[2], C);
        }
        return kOk;
    }
    CopyPlane(sp[0], ss[0], dp[0], ds[0], W, H);
    if (H >= 2) {
        CopyPlane(sp[1], ss[1], dp[1], ds[1], W >> 1, H >> 1);
        CopyPlane(sp[2], ss[2], dp[2], ds[2], W >> 1, H >> 1);
    }
    return kOk;
}

// The luma rows, then H >> 1 chroma rows moved between the Cb and Cr planes (p0, p1) and the
// interleaved NV12 row (q): interleaved when `kToNV12`, split otherwise. Each side advances by its
// own stride.
template <bool kToNV12>
int32_t MoveNV12(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    CopyPlane(sp[0], ss[0], dp[0], ds[0], W, H);
    if (H < 2) return kOk;
    // Planes that hold their rows back to back are one long row.
    const int32_t half = W >> 1;
    const int32_t planar = kToNV12 ? ss[1] : ds[1], planar2 = kToNV12 ? ss[2] : ds[2], packed = kToNV12 ? ds[1] : ss[1];
    const int32_t rows = (planar == half && planar2 == half && packed == W) ? 1 : H >> 1;
    const int32_t count = rows == 1 ? half * (H >> 1) : half;
    for (int32_t r = 0; r < rows; ++r) {
        if constexpr (kToNV12) {
            Kernels().interleaveUV(Row(sp[1], r, ss[1]), Row(sp[2], r, ss[2]), Row(dp[1], r, ds[1]), count);
        } else {
            Kernels().splitUV(Row(sp[1], r, ss[1]), Row(dp[1], r, ds[1]), Row(dp[2], r, ds[2]), count);
        }
    }
    return kOk;
}

int32_t _QVYCbCr420ToNV12(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    return MoveNV12<true>(sp, ss, W, H, dp, ds);
}

int32_t _QVNV12ToYCbCr420(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds) {
    return MoveNV12<false>(sp, ss, W, H, dp, ds);
}

int32_t _QVYCbCr420ToYUY2(uint8_t* d0, int32_t s0, SrcPlanes sp, Strides ss, int32_t W, int32_t H) {
    const PackKernel pack = Kernels().packYUY2;
    const int32_t pairs = (W >> 3) * 4;  // whole groups of 8 pixels
    const uint8_t* luma = sp[0];
    const uint8_t* cb = sp[1];
    const uint8_t* cr = sp[2];
    uint8_t* dst = d0;
    // Row pairs advance by (stride >> 1) x 4 and chroma rows by stride & ~3 (the route's row
    // geometry): strides that are not multiples of 4 drift, as they always have on this path.
    // Only whole groups of 8 pixels are written; the last W mod 8 pixels of a row are left as they
    // were.
    constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kYUY2)).rows;
    const int32_t lumaStride = ss[0];  // a local: a store through dst could otherwise change ss[0]
    for (int32_t pair = 0; pair < (H >> 1); ++pair) {
        const uint8_t* lumaBelow = luma + lumaStride;
        uint8_t* dstBelow = dst + s0;
        pack(luma, cb, cr, dst, pairs);
        pack(lumaBelow, cb, cr, dstBelow, pairs);
        luma += kRows.PairStep(lumaStride);
        dst += kRows.PairStep(s0);
        cb += kRows.RowStep(ss[1]);
        cr += kRows.RowStep(ss[2]);
    }
    return kOk;
}

int32_t _QVYCbCr420ToUYVY(uint8_t* d0, int32_t s0, SrcPlanes sp, Strides ss, int32_t W, int32_t H) {
    const PackKernel pack = Kernels().packUYVY;
    const int32_t pairs = (W >> 3) * 4;  // whole groups of 8 pixels
    const uint8_t* luma = sp[0];
    const uint8_t* cb = sp[1];
    const uint8_t* cr = sp[2];
    uint8_t* dst = d0;
    // The row counter, not the row index, decides when chroma advances: for an odd height row 0
    // has a chroma row to itself. Every stride is rounded down to a multiple of 4.
    constexpr RowGeometry kRows = RouteOf(Op(kYCbCr420, kUYVY)).rows;
    for (int32_t r = H; r >= 1; --r) {
        pack(luma, cb, cr, dst, pairs);
        if (r & 1) {
            cb += kRows.RowStep(ss[1]);
            cr += kRows.RowStep(ss[2]);
        }
        luma += kRows.RowStep(ss[0]);
        dst += kRows.RowStep(s0);
    }
    return kOk;
}

}  // namespace qv
