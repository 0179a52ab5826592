// Vector variants of the byte-moving kernels (planar_rows.h), one source for every Highway target.
//
// Transposes work on strips of 16 rows: each 128-bit block of a row vector is one 16x16 tile, and
// four rounds of byte interleaves (rows i and i + 8 each round) leave column k of every tile in
// vector k. Reversed rows reverse the bytes of each 64-bit lane with a byte shuffle, then the
// lanes (with AVX-512 VBMI, one byte permute). The last strip, column run or chunk of a row is
// moved back so that it ends at the edge: it rewrites bytes already written with the same values,
// and no vector touches a byte outside the rows. Sizes below one 128-bit vector go through the scalar references.

#include "core/simd_targets.h"  // before foreach_target

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/planar_rows_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "core/kernel_table.h"
#include "core/vector_steps-inl.h"
#include "core/planar_rows.h"

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DFull = hn::ScalableTag<uint8_t>;
using D128 = hn::Full128<uint8_t>;
// The transpose's widest vectors. StoreBlocks places blocks by the vector's compile-time length,
// which SVE vectors do not have: there each vector is one 16x16 tile.
#if HWY_HAVE_SCALABLE
using DTile = D128;
#else
using DTile = DFull;
#endif

// Stores the 16-byte blocks of v to p, p + blockStep, p + 2 x blockStep, ...
template <class D>
HWY_INLINE void StoreBlocks(D d, hn::Vec<D> v, uint8_t* p, ptrdiff_t blockStep) {
    if constexpr (hn::MaxLanes(D()) <= 16) {
        hn::StoreU(v, d, p);
    } else {
        const hn::Half<D> dh;
        StoreBlocks(dh, hn::LowerHalf(dh, v), p, blockStep);
        StoreBlocks(dh, hn::UpperHalf(dh, v), p + blockStep * static_cast<ptrdiff_t>(hn::MaxLanes(D()) / 32),
                    blockStep);
    }
}

// One round of the transpose: vectors 2i and 2i + 1 become the interleaved lower and upper halves
// of each block of vectors i and i + 8. SVE vectors cannot be array elements, so the 16 are named.
template <class D, class V>
HWY_INLINE void InterleaveRound(D d, V& v0, V& v1, V& v2, V& v3, V& v4, V& v5, V& v6, V& v7, V& v8, V& v9, V& v10,
                                V& v11, V& v12, V& v13, V& v14, V& v15) {
    const V w0 = hn::InterleaveLower(d, v0, v8), w1 = hn::InterleaveUpper(d, v0, v8);
    const V w2 = hn::InterleaveLower(d, v1, v9), w3 = hn::InterleaveUpper(d, v1, v9);
    const V w4 = hn::InterleaveLower(d, v2, v10), w5 = hn::InterleaveUpper(d, v2, v10);
    const V w6 = hn::InterleaveLower(d, v3, v11), w7 = hn::InterleaveUpper(d, v3, v11);
    const V w8 = hn::InterleaveLower(d, v4, v12), w9 = hn::InterleaveUpper(d, v4, v12);
    const V w10 = hn::InterleaveLower(d, v5, v13), w11 = hn::InterleaveUpper(d, v5, v13);
    const V w12 = hn::InterleaveLower(d, v6, v14), w13 = hn::InterleaveUpper(d, v6, v14);
    const V w14 = hn::InterleaveLower(d, v7, v15), w15 = hn::InterleaveUpper(d, v7, v15);
    v0 = w0, v1 = w1, v2 = w2, v3 = w3, v4 = w4, v5 = w5, v6 = w6, v7 = w7;
    v8 = w8, v9 = w9, v10 = w10, v11 = w11, v12 = w12, v13 = w13, v14 = w14, v15 = w15;
}

// Transposes the 16 rows x Lanes(d) columns at src into Lanes(d) destination rows of 16 bytes.
template <class D>
HWY_INLINE void TransposeStrip(D d, const uint8_t* src, ptrdiff_t srcPitch, uint8_t* dst, ptrdiff_t dstPitch) {
    using V = hn::Vec<D>;
    const auto row = [&](int i) { return hn::LoadU(d, src + i * srcPitch); };
    V v0 = row(0), v1 = row(1), v2 = row(2), v3 = row(3), v4 = row(4), v5 = row(5), v6 = row(6), v7 = row(7);
    V v8 = row(8), v9 = row(9), v10 = row(10), v11 = row(11), v12 = row(12), v13 = row(13), v14 = row(14),
      v15 = row(15);
    for (int round = 0; round < 4; ++round)
        InterleaveRound(d, v0, v1, v2, v3, v4, v5, v6, v7, v8, v9, v10, v11, v12, v13, v14, v15);
    const auto column = [&](int k, V v) { StoreBlocks(d, v, dst + k * dstPitch, 16 * dstPitch); };
    column(0, v0), column(1, v1), column(2, v2), column(3, v3), column(4, v4), column(5, v5), column(6, v6);
    column(7, v7), column(8, v8), column(9, v9), column(10, v10), column(11, v11), column(12, v12);
    column(13, v13), column(14, v14), column(15, v15);
}

// Columns x0 .. width - 1 of one strip in vectors of d; returns false if the strip is narrower
// than one vector.
template <class D>
HWY_INLINE bool TransposeColumns(D d, const uint8_t* src, ptrdiff_t srcPitch, uint8_t* dst, ptrdiff_t dstPitch,
                                 int32_t width) {
    const int32_t n = static_cast<int32_t>(hn::Lanes(d));
    if (width < n) return false;
    for (int32_t x = 0;; x += n) {
        if (x > width - n) x = width - n;
        TransposeStrip(d, src + x, srcPitch, dst + x * dstPitch, dstPitch);
        if (x == width - n) return true;
    }
}

void Transpose(const uint8_t* src, ptrdiff_t srcPitch, uint8_t* dst, ptrdiff_t dstPitch, int32_t width,
               int32_t height) {
    if (height < 16 || width < 16) return planar::Transpose(src, srcPitch, dst, dstPitch, width, height);
    for (int32_t y = 0;; y += 16) {
        if (y > height - 16) y = height - 16;
        const uint8_t* s = src + y * srcPitch;
        uint8_t* d = dst + y;
        if (!TransposeColumns(DTile(), s, srcPitch, d, dstPitch, width))
            TransposeColumns(D128(), s, srcPitch, d, dstPitch, width);
        if (y == height - 16) return;
    }
}

template <class D>
HWY_INLINE hn::Vec<D> ReverseBytes(D d, hn::Vec<D> v) {
    // Within each 64-bit lane first (the shuffle indexes within 128-bit blocks), then the lanes.
    alignas(16) static constexpr uint8_t kLane[16] = {7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8};
    const hn::Repartition<uint64_t, D> d64;
    const hn::Vec<D> idx = hn::BitCast(d, hn::LoadDup128(hn::Repartition<uint8_t, D>(), kLane));
    return hn::BitCast(d, hn::Reverse(d64, hn::BitCast(d64, hn::TableLookupBytes(v, idx))));
}


// For SVE a function of its own: GCC 12 fails (an internal compiler error) when the loops of both
// vector sizes are inlined into one SVE function.
template <class D>
#if HWY_HAVE_SCALABLE
HWY_NOINLINE
#else
HWY_INLINE
#endif
bool ReverseIn(D d, const uint8_t* src, uint8_t* dst, int32_t n) {
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    if (n < lanes) return false;
    // The destination prefetched ahead, as in PackVbmi.
    const auto step = [&](int32_t i) {
        hwy::Prefetch(dst + i + 256);
        hn::StoreU(ReverseBytes(d, hn::LoadU(d, src + (n - lanes - i))), d, dst + i);
    };
    EachStep(n, lanes, step);
    return true;
}

#if HWY_TARGET == HWY_AVX3_DL
// 64 bytes a step, reversed by one byte permute.
HWY_INLINE bool ReverseVbmi(const uint8_t* src, uint8_t* dst, int32_t n) {
    static constexpr Index kOrder = MakeIndex([](int k) { return 63 - k; });
    if (n < 64) return false;
    const __m512i order = _mm512_loadu_si512(kOrder.data());
    const auto step = [&](int32_t i) {
        hwy::Prefetch(dst + i + 256);
        _mm512_storeu_si512(dst + i, _mm512_permutexvar_epi8(order, _mm512_loadu_si512(src + (n - 64 - i))));
    };
    EachStep(n, 64, step);
    return true;
}
#endif

// Otherwise at most 32 bytes a vector, as Split below: faster on whole frames than 64.
void Reverse(const uint8_t* src, uint8_t* dst, int32_t n) {
#if HWY_TARGET == HWY_AVX3_DL
    if (ReverseVbmi(src, dst, n)) return;
#endif
    if (!ReverseIn(hn::CappedTag<uint8_t, 32>(), src, dst, n) && !ReverseIn(D128(), src, dst, n))
        planar::Reverse(src, dst, n);
}

// Pixel pairs in vectors of d: `pack(d, y even, y odd, cb, cr, out)`.
template <class D, class Pack>
HWY_INLINE bool PackIn(D d, const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* out, int32_t n,
                       Pack pack) {
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    if (n < lanes) return false;
    for (int32_t i = 0;; i += lanes) {
        if (i > n - lanes) i = n - lanes;
        hn::Vec<D> even, odd;
        hn::LoadInterleaved2(d, y + 2 * i, even, odd);
        pack(d, even, odd, hn::LoadU(d, cb + i), hn::LoadU(d, cr + i), out + 4 * i);
        if (i == n - lanes) return true;
    }
}

struct YUY2 {
    template <class D, class V>
    HWY_INLINE void operator()(D d, V even, V odd, V cb, V cr, uint8_t* out) const {
        hn::StoreInterleaved4(even, cb, odd, cr, d, out);
    }
};
struct UYVY {
    template <class D, class V>
    HWY_INLINE void operator()(D d, V even, V odd, V cb, V cr, uint8_t* out) const {
        hn::StoreInterleaved4(cb, even, cr, odd, d, out);
    }
};

#if HWY_TARGET == HWY_AVX3_DL
// 16 pixel pairs a step: 32 luma bytes, 16 Cb and 16 Cr loaded into the quarters of one vector
// (loads only), then one byte permute gives the 64 output bytes. Each step prefetches the output
// 256 bytes ahead: on whole frames, with the rows in L2, the stores otherwise wait for their lines
// (a prefetch never faults, so it may look past the row). Rows under 16 pairs: false.
template <bool kUYVY>
HWY_INLINE bool PackVbmi(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* out, int32_t n) {
    // Output byte k of pair j = k / 4: luma 2j or 2j + 1 (bytes 0-31), Cb j (32-47), Cr j (48-63).
    static constexpr Index kOrder = MakeIndex([](int k) {
        const int j = k >> 2, slot = (kUYVY ? k ^ 1 : k) & 3;  // 0-3: y0 cb y1 cr
        return slot == 0 ? 2 * j : slot == 2 ? 2 * j + 1 : slot == 1 ? 32 + j : 48 + j;
    });
    if (n < 16) return false;
    const __m512i order = _mm512_loadu_si512(kOrder.data());
    const auto step = [&](int32_t i) {
        hwy::Prefetch(out + 4 * i + 256);
        __m512i v = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(y + 2 * i)));
        v = _mm512_inserti32x4(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(cb + i)), 2);
        v = _mm512_inserti32x4(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(cr + i)), 3);
        _mm512_storeu_si512(out + 4 * i, _mm512_permutexvar_epi8(order, v));
    };
    EachStep(n, 16, step);
    return true;
}
#endif

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
// 16 pixel pairs a step in 256-bit vectors: Cb and Cr interleaved (a quadword permute, then a byte
// shuffle within halves), then unpacked with the luma; each half of the two results is 16 output
// bytes in order, stored as it is. Prefetched and looped as PackVbmi: so, on whole frames, faster
// than PackIn; without the prefetch it was slower.
template <bool kUYVY>
HWY_INLINE bool PackUnpack(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* out, int32_t n) {
    if (n < 16) return false;
    const __m256i zip = _mm256_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15,
                                         0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
    const auto step = [&](int32_t i) {
        uint8_t* o = out + 4 * i;
        hwy::Prefetch(o + 256);
        // Cb 0-15 | Cr 0-15, then Cb 0-7 Cr 0-7 | Cb 8-15 Cr 8-15, then the pairs interleaved.
        __m256i c = _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(cb + i)));
        c = _mm256_inserti128_si256(c, _mm_loadu_si128(reinterpret_cast<const __m128i*>(cr + i)), 1);
        const __m256i uv = _mm256_shuffle_epi8(_mm256_permute4x64_epi64(c, 0xD8), zip);
        const __m256i vy = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(y + 2 * i));
        // Output bytes 0-15 | 32-47 and 16-31 | 48-63.
        const __m256i lo = kUYVY ? _mm256_unpacklo_epi8(uv, vy) : _mm256_unpacklo_epi8(vy, uv);
        const __m256i hi = kUYVY ? _mm256_unpackhi_epi8(uv, vy) : _mm256_unpackhi_epi8(vy, uv);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm256_castsi256_si128(lo));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 16), _mm256_castsi256_si128(hi));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 32), _mm256_extracti128_si256(lo, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(o + 48), _mm256_extracti128_si256(hi, 1));
    };
    EachStep(n, 16, step);
    return true;
}
#endif

void PackYUY2(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t n) {
#if HWY_TARGET == HWY_AVX3_DL
    if (PackVbmi<false>(y, cb, cr, d, n)) return;
#elif HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    if (PackUnpack<false>(y, cb, cr, d, n)) return;
#endif
    if (!PackIn(DFull(), y, cb, cr, d, n, YUY2()) && !PackIn(D128(), y, cb, cr, d, n, YUY2()))
        planar::PackYUY2(y, cb, cr, d, n);
}
void PackUYVY(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t n) {
#if HWY_TARGET == HWY_AVX3_DL
    if (PackVbmi<true>(y, cb, cr, d, n)) return;
#elif HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    if (PackUnpack<true>(y, cb, cr, d, n)) return;
#endif
    if (!PackIn(DFull(), y, cb, cr, d, n, UYVY()) && !PackIn(D128(), y, cb, cr, d, n, UYVY()))
        planar::PackUYVY(y, cb, cr, d, n);
}

template <class D>
HWY_INLINE bool InterleaveIn(D d, const uint8_t* cb, const uint8_t* cr, uint8_t* q, int32_t n) {
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    if (n < lanes) return false;
    for (int32_t i = 0;; i += lanes) {
        if (i > n - lanes) i = n - lanes;
        hn::StoreInterleaved2(hn::LoadU(d, cb + i), hn::LoadU(d, cr + i), d, q + 2 * i);
        if (i == n - lanes) return true;
    }
}
void Interleave(const uint8_t* cb, const uint8_t* cr, uint8_t* q, int32_t n) {
    if (!InterleaveIn(DFull(), cb, cr, q, n) && !InterleaveIn(D128(), cb, cr, q, n))
        planar::Interleave(cb, cr, q, n);
}

template <class D>
HWY_INLINE bool SplitIn(D d, const uint8_t* q, uint8_t* cb, uint8_t* cr, int32_t n) {
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    if (n < lanes) return false;
    for (int32_t i = 0;; i += lanes) {
        if (i > n - lanes) i = n - lanes;
        hn::Vec<D> b, r;
        hn::LoadInterleaved2(d, q + 2 * i, b, r);
        hn::StoreU(b, d, cb + i);
        hn::StoreU(r, d, cr + i);
        if (i == n - lanes) return true;
    }
}
// At most 32 bytes a vector: on a whole frame (rows coming from L2, not L1) 64-byte interleaved
// loads ran at half the speed of 32-byte ones on an AVX-512 machine, and behind the scalar code.
void Split(const uint8_t* q, uint8_t* cb, uint8_t* cr, int32_t n) {
    if (!SplitIn(hn::CappedTag<uint8_t, 32>(), q, cb, cr, n) && !SplitIn(D128(), q, cb, cr, n))
        planar::Split(q, cb, cr, n);
}

void VerticalTaps(const uint8_t* above, const uint8_t* below, int32_t fy, int16_t* out, int32_t n) {
    const hn::ScalableTag<int16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d16));
    if (n < lanes) return planar::VerticalTaps(above, below, fy, out, n);
    const auto weight = hn::Set(d16, static_cast<int16_t>(fy));
    for (int32_t i = 0;; i += lanes) {
        if (i > n - lanes) i = n - lanes;
        const auto a = hn::PromoteTo(d16, hn::LoadU(d8, above + i));
        const auto b = hn::PromoteTo(d16, hn::LoadU(d8, below + i));
        hn::StoreU(hn::ShiftRight<4>(hn::Add(hn::ShiftLeft<5>(a), hn::Mul(hn::Sub(b, a), weight))), d16, out + i);
        if (i == n - lanes) return;
    }
}

// Positions, taps and weights in 32-bit lanes; each lane gathers the 32-bit word at its tap,
// which holds the tap and the one after it.
void HorizontalTaps(const int16_t* v, uint8_t* out, int32_t n, int32_t c0, int32_t step, int32_t first,
                    int32_t last) {
    const hn::ScalableTag<int32_t> d32;
    const hn::Rebind<uint8_t, decltype(d32)> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d32));
    if (n < lanes) return planar::HorizontalTaps(v, out, n, c0, step, first, last);
    const auto iota = hn::Iota(d32, 0);
    const auto vstep = hn::Set(d32, step);
    const auto vfirst = hn::Set(d32, first);
    const auto vlast = hn::Set(d32, last);
    const int32_t* words = reinterpret_cast<const int32_t*>(v);
    for (int32_t i = 0;; i += lanes) {
        if (i > n - lanes) i = n - lanes;
        const auto pos = hn::Mul(hn::Add(iota, hn::Set(d32, c0 + i)), vstep);
        const auto x = hn::ShiftRight<16>(pos);
        const auto fx = hn::And(hn::ShiftRight<11>(pos), hn::Set(d32, 31));
        const auto word = hn::GatherOffset(d32, words, hn::ShiftLeft<1>(hn::Sub(x, vfirst)));
        const auto a = hn::ShiftRight<16>(hn::ShiftLeft<16>(word));
        const auto b = hn::IfThenElse(hn::Lt(x, vlast), hn::ShiftRight<16>(word), a);
        const auto tap = hn::ShiftRight<6>(hn::Add(hn::Mul(hn::Sub(b, a), fx), hn::ShiftLeft<5>(a)));
        hn::StoreU(hn::DemoteTo(d8, tap), d8, out + i);
        if (i == n - lanes) return;
    }
}

}  // namespace

void FillRgbKernels(KernelTable* k);    // rgb_rows_simd.cpp
void FillScaleKernels(KernelTable* k);  // scale_rows_simd.cpp

void FillPlanarKernels(KernelTable* k) {
    FillRgbKernels(k);
    FillScaleKernels(k);
    k->transpose = &Transpose;
    k->reverseRow = &Reverse;
    k->packYUY2 = &PackYUY2;
    k->packUYVY = &PackUYVY;
    k->interleaveUV = &Interleave;
    k->splitUV = &Split;
    k->verticalTaps = &VerticalTaps;
    k->horizontalTaps = &HorizontalTaps;
}

}  // namespace HWY_NAMESPACE
}  // namespace qv
HWY_AFTER_NAMESPACE();
#endif  // vector targets
