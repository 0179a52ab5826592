// Vector variants of the deinterlacer's kernels, one source for the x86 Highway targets (SSE4,
// AVX2, AVX-512); other targets keep the scalar references (deinterlace_rows.h).
//
// Bytes stay bytes where the arithmetic allows it: the truncating average (a + b) >> 1 is the
// rounding average less ((a ^ b) & 1); with h = (a + b) >> 1, the progressive block line
// (a + 6m + b + 4) >> 3 is v - ((h ^ m) & (u ^ m) & 1) for u = avg(h, m), v = avg(u, m) (rounding
// averages), and the strip line (a + 2m + b + 2) >> 2 is avg(h, m); both hold for all inputs, and
// so does the five-tap filter in bytes (FiveTaps).
//
// Block mode, one block row at a time:
//   - the detector's sums of squares come from 16-bit differences (bytes widened within each
//     16-byte lane group, so an 8x8 block is half a group), multiplied and added in pairs into
//     32-bit lanes and summed per block; the comparisons leave a 64-bit mask per block, which is
//     the block's eight bytes of mask. Once every block of a vector is combed the remaining line
//     pairs are not looked at (one combed pair decides);
//   - the direction costs are 8-pixel sums of absolute differences at every column. The
//     differences of a line pair are stored for a segment of the row (the interior cut into
//     equal segments of at most kSegment columns), summed four at a time
//     (pairs of bytes added into 16-bit lanes, twice), and each cost is two such sums: for the
//     even columns in one vector, the odd ones in another. The costs are only compared, so the
//     choice of each pixel is a byte mask (even columns in the low byte of each 16-bit lane),
//     which picks the two pixels to average;
//   - blocks of the first and last column are combed-vertical or progressive and never read a
//     neighbour: the two are done together in one 16-byte vector. Interior blocks go in vectors
//     of whole blocks; the last vector of a segment is moved back to end at the segment's end
//     and recomputes some blocks (the same bytes again), so a row is done in place only by the
//     scalar reference;
//   - below the bottom block row the strips' detectors read the first `height` pixels of each
//     block only; those lines are gathered block by block (BelowStrips), exactly those bytes.
// Every vector loop covers whole vectors of the row; no load or store leaves it.

#include "core/simd_targets.h"  // before foreach_target

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "deinterlace/deinterlace_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/kernel_table.h"
#include "deinterlace/deinterlace_rows.h"

// The one-lane fallback targets get nothing (the same as ycbcr_rows_simd.cpp).
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// ---- operations Highway 1.0 lacks, on the x86 registers -----------------------------------------
// 16-bit lanes multiplied and added in pairs into 32-bit lanes; unsigned bytes added in pairs into
// 16-bit lanes.
HWY_INLINE __m128i MaddRaw(__m128i a, __m128i b) { return _mm_madd_epi16(a, b); }
HWY_INLINE __m128i PairSumsRaw(__m128i v) { return _mm_maddubs_epi16(v, _mm_set1_epi8(1)); }
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE __m256i MaddRaw(__m256i a, __m256i b) { return _mm256_madd_epi16(a, b); }
HWY_INLINE __m256i PairSumsRaw(__m256i v) { return _mm256_maddubs_epi16(v, _mm256_set1_epi8(1)); }
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE __m512i MaddRaw(__m512i a, __m512i b) { return _mm512_madd_epi16(a, b); }
HWY_INLINE __m512i PairSumsRaw(__m512i v) { return _mm512_maddubs_epi16(v, _mm512_set1_epi8(1)); }
#endif

template <class D8>
using D16 = hn::Repartition<int16_t, D8>;
template <class D8>
using D32 = hn::Repartition<int32_t, D8>;
template <class D8>
using V16 = hn::Vec<D16<D8>>;
template <class D8>
using V32 = hn::Vec<D32<D8>>;

// Bytes 0-7 (lower) and 8-15 (upper) of each 16-byte group as 16-bit lanes.
template <class D8>
HWY_INLINE void Widen(D8 d8, hn::Vec<D8> v, V16<D8>& lower, V16<D8>& upper) {
    const D16<D8> d16;
    const hn::RepartitionToWide<D8> du16;
    lower = hn::BitCast(d16, hn::ZipLower(v, hn::Zero(d8)));
    upper = hn::BitCast(d16, hn::ZipUpper(du16, v, hn::Zero(d8)));
}
// v[2i]^2 + v[2i+1]^2.
template <class D8>
HWY_INLINE V32<D8> SumSquares(D8, V16<D8> v) {
    return V32<D8>{MaddRaw(v.raw, v.raw)};
}
// v[2i] + v[2i+1] of unsigned bytes.
template <class D8>
HWY_INLINE V16<D8> PairSums(D8, hn::Vec<D8> v) {
    return V16<D8>{PairSumsRaw(v.raw)};
}

template <class D8>
HWY_INLINE hn::Vec<D8> AbsDiff(D8, hn::Vec<D8> a, hn::Vec<D8> b) {
    return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}
// (a + b) >> 1.
template <class D8>
HWY_INLINE hn::Vec<D8> Average(D8 d8, hn::Vec<D8> a, hn::Vec<D8> b) {
    return hn::Sub(hn::AverageRound(a, b), hn::And(hn::Xor(a, b), hn::Set(d8, uint8_t{1})));
}
// (a + 6m + b + 4) >> 3: a progressive block's odd line.
template <class D8>
HWY_INLINE hn::Vec<D8> Smoothed(D8 d8, hn::Vec<D8> a, hn::Vec<D8> m, hn::Vec<D8> b) {
    const auto h = Average(d8, a, b);
    const auto u = hn::AverageRound(h, m);
    const auto v = hn::AverageRound(u, m);
    return hn::Sub(v, hn::And(hn::And(hn::Xor(h, m), hn::Xor(u, m)), hn::Set(d8, uint8_t{1})));
}

// Per 8-byte block, the sum of the four 32-bit lanes `lower` holds for it (bytes 0-7 of a
// 16-byte group) or `upper` does (bytes 8-15), left in both 32-bit halves of the block's 64 bits.
template <class D8>
HWY_INLINE V32<D8> BlockSums(D8, V32<D8> lower, V32<D8> upper) {
    const D32<D8> d32;
    const hn::Repartition<uint64_t, D8> d64;
    const auto l = hn::BitCast(d64, lower), u = hn::BitCast(d64, upper);
    const V32<D8> t = hn::Add(hn::BitCast(d32, hn::InterleaveLower(d64, l, u)),
                              hn::BitCast(d32, hn::InterleaveUpper(d64, l, u)));
    return hn::Add(t, hn::Shuffle2301(t));
}

// ---- block mode: the detector -------------------------------------------------------------------

// The combed blocks among the vector's 8-byte blocks, as a mask of 32-bit lanes (both lanes of a
// block alike); row(k) loads line k (0..9).
template <class D8, class Row>
HWY_INLINE hn::Mask<D32<D8>> CombedBlocks(D8 d8, Row row) {
    const D32<D8> d32;
    V16<D8> l0, u0, l1, u1;
    Widen(d8, row(0), l0, u0);
    Widen(d8, row(1), l1, u1);
    auto combed = hn::FirstN(d32, 0);
    for (int32_t j = 0; j < deint::kBlock; j += 2) {
        V16<D8> l2, u2, l3, u3;
        Widen(d8, row(j + 2), l2, u2);
        Widen(d8, row(j + 3), l3, u3);
        const auto sq = [d8](V16<D8> a, V16<D8> b) { return SumSquares(d8, hn::Sub(a, b)); };
        const V32<D8> fr = BlockSums(d8, hn::Add(sq(l0, l1), sq(l1, l2)), hn::Add(sq(u0, u1), sq(u1, u2)));
        const V32<D8> ff = BlockSums(d8, hn::Add(sq(l0, l2), sq(l1, l3)), hn::Add(sq(u0, u2), sq(u1, u3)));
        // (fr * 6) >> 3 is (3 fr) >> 2; every sum is below 2^21.
        const auto pair = hn::And(hn::Gt(hn::ShiftRight<2>(hn::Add(fr, hn::ShiftLeft<1>(fr))), ff),
                                  hn::Gt(fr, hn::Set(d32, 32)));
        combed = hn::Or(combed, pair);
        if (hn::AllTrue(d32, combed)) break;
        l0 = l2, u0 = u2, l1 = l3, u1 = u3;
    }
    return combed;
}

// ---- block mode: the first and last block of a row, in one 16-byte vector --------------------------

void EdgeBlocks(uint8_t* const dst[8], const uint8_t* const src[10], int32_t width) {
    const hn::Full128<uint8_t> d;
    const hn::Full64<uint8_t> dh;
    const int32_t last = width - deint::kBlock;
    const auto row = [&](int32_t k) { return hn::Combine(d, hn::LoadU(dh, src[k] + last), hn::LoadU(dh, src[k])); };
    const auto store = [&](hn::Vec<decltype(d)> v, uint8_t* p) {
        hn::StoreU(hn::LowerHalf(dh, v), dh, p);
        hn::StoreU(hn::UpperHalf(dh, v), dh, p + last);
    };
    const auto combed = hn::BitCast(d, hn::VecFromMask(D32<decltype(d)>(), CombedBlocks(d, row)));
    for (int32_t j = 0; j < deint::kBlock; j += 2) {
        const auto a = row(j), m = row(j + 1), b = row(j + 2);
        store(a, dst[j]);
        store(hn::IfVecThenElse(combed, Average(d, a, b), Smoothed(d, a, m, b)), dst[j + 1]);
    }
}

// ---- block mode: interior blocks -----------------------------------------------------------------

// Columns handled per pass over the direction buffers, at most.
constexpr int32_t kSegment = 768;

// A segment's buffers: for one line pair (a above, b below the missing line), the absolute
// differences |a[p] - b[p + 2]|, |a[p] - b[p]|, |a[p] - b[p - 2]| (costs 0, 1, 2) from column
// start - 4, and their sums over four columns p..p+3 for even p from start - 4 and odd p from
// start - 3, each at p / 2; the combed mask of every column, and per vector whether its blocks
// are all progressive (0), mixed (1) or all combed (2).
struct SegmentBuffers {
    alignas(64) uint8_t diff[3][kSegment + 16];
    alignas(64) int16_t quadEven[3][kSegment / 2 + 8];
    alignas(64) int16_t quadOdd[3][kSegment / 2 + 8];
    alignas(64) uint8_t combed[kSegment + HWY_MAX_BYTES];
    uint8_t kind[kSegment / 16 + 1];
};

// Calls f(start) for vectors of n columns covering [lo, hi) (at least n columns), the last one
// moved back to end at hi.
template <class F>
HWY_INLINE void Cover(int32_t lo, int32_t hi, int32_t n, F f) {
    for (int32_t s = lo;; s += n) {
        s = std::min(s, hi - n);
        f(s);
        if (s + n >= hi) break;
    }
}

// The differences and four-column sums of line pair (a, b) for the segment's vectors xa..xb.
template <class D8>
void FillDirections(D8 d8, const uint8_t* a, const uint8_t* b, int32_t xa, int32_t xb, SegmentBuffers& buf) {
    const D16<D8> d16;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d8));
    const int32_t base = xa - 4;
    Cover(base, xb + n + 5, n, [&](int32_t p) {
        const auto av = hn::LoadU(d8, a + p);
        hn::StoreU(AbsDiff(d8, av, hn::LoadU(d8, b + p + 2)), d8, buf.diff[0] + (p - base));
        hn::StoreU(AbsDiff(d8, av, hn::LoadU(d8, b + p)), d8, buf.diff[1] + (p - base));
        hn::StoreU(AbsDiff(d8, av, hn::LoadU(d8, b + p - 2)), d8, buf.diff[2] + (p - base));
    });
    const auto quads = [&](int32_t q, int16_t* const out[3]) {
        for (int32_t t = 0; t < 3; ++t) {
            const uint8_t* dp = buf.diff[t] + (q - base);
            hn::StoreU(hn::Add(PairSums(d8, hn::LoadU(d8, dp)), PairSums(d8, hn::LoadU(d8, dp + 2))), d16, out[t]);
        }
    };
    Cover(xa - 4, xb + n + 2, n, [&](int32_t q) {
        int16_t* const out[3] = {buf.quadEven[0] + (q - (xa - 4)) / 2, buf.quadEven[1] + (q - (xa - 4)) / 2,
                                 buf.quadEven[2] + (q - (xa - 4)) / 2};
        quads(q, out);
    });
    Cover(xa - 3, xb + n + 3, n, [&](int32_t q) {
        int16_t* const out[3] = {buf.quadOdd[0] + (q - (xa - 3)) / 2, buf.quadOdd[1] + (q - (xa - 3)) / 2,
                                 buf.quadOdd[2] + (q - (xa - 3)) / 2};
        quads(q, out);
    });
}

// The combed line of the vector at column x (k = (x - xa) / 2): the average along the cheapest
// direction, c0 < c1 <= c2 taking a[x-1], b[x+1] and c2 < c1 <= c0 taking a[x+1], b[x-1].
template <class D8>
HWY_INLINE hn::Vec<D8> AlongDirections(D8 d8, const uint8_t* a, const uint8_t* b, hn::Vec<D8> av, hn::Vec<D8> bv,
                                       int32_t x, int32_t k, const SegmentBuffers& buf) {
    const D16<D8> d16;
    const auto even = [&](int32_t t, int32_t i) { return hn::LoadU(d16, buf.quadEven[t] + k + i); };
    const auto odd = [&](int32_t t, int32_t i) { return hn::LoadU(d16, buf.quadOdd[t] + k + i); };
    // Costs of the even columns x + 2i (lane i) and of the odd ones x + 2i + 1.
    const V16<D8> e0 = hn::Add(even(0, 0), even(0, 2)), o0 = hn::Add(odd(0, 0), odd(0, 2));
    const V16<D8> e1 = hn::Add(odd(1, 0), odd(1, 2)), o1 = hn::Add(even(1, 1), even(1, 3));
    const V16<D8> e2 = hn::Add(even(2, 1), even(2, 3)), o2 = hn::Add(odd(2, 1), odd(2, 3));
    const auto left = [&](V16<D8> c0, V16<D8> c1, V16<D8> c2) {
        return hn::VecFromMask(d16, hn::AndNot(hn::Gt(c1, c2), hn::Gt(c1, c0)));
    };
    const V16<D8> lowByte = hn::Set(d16, int16_t{0x00FF});
    const auto toLeft = hn::BitCast(d8, hn::IfVecThenElse(lowByte, left(e0, e1, e2), left(o0, o1, o2)));
    const auto toRight = hn::BitCast(d8, hn::IfVecThenElse(lowByte, left(e2, e1, e0), left(o2, o1, o0)));
    const auto above = hn::IfVecThenElse(toLeft, hn::LoadU(d8, a + x - 1),
                                         hn::IfVecThenElse(toRight, hn::LoadU(d8, a + x + 1), av));
    const auto below = hn::IfVecThenElse(toLeft, hn::LoadU(d8, b + x + 1),
                                         hn::IfVecThenElse(toRight, hn::LoadU(d8, b + x - 1), bv));
    return Average(d8, above, below);
}

// The interior blocks of columns xa .. xe - 1 (at least one vector): vectors from xa, the last
// one moved back to end at xe.
template <class D8>
void InteriorSegment(D8 d8, uint8_t* const dst[8], const uint8_t* const src[10], int32_t xa, int32_t xe,
                     SegmentBuffers& buf) {
    const D32<D8> d32;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d8));
    const int32_t count = (xe - xa + n - 1) / n;
    const auto column = [&](int32_t c) { return std::min(xa + c * n, xe - n); };
    bool anyCombed = false;
    for (int32_t c = 0; c < count; ++c) {
        const int32_t x = column(c);
        const auto combed = CombedBlocks(d8, [&](int32_t k) { return hn::LoadU(d8, src[k] + x); });
        hn::StoreU(hn::BitCast(d8, hn::VecFromMask(d32, combed)), d8, buf.combed + c * n);
        buf.kind[c] = hn::AllTrue(d32, combed) ? 2 : hn::AllFalse(d32, combed) ? 0 : 1;
        anyCombed |= buf.kind[c] != 0;
    }
    const int32_t xb = xe - n;  // the last vector
    for (int32_t j = 0; j < deint::kBlock; j += 2) {
        const uint8_t* a = src[j];
        const uint8_t* m = src[j + 1];
        const uint8_t* b = src[j + 2];
        if (anyCombed) FillDirections(d8, a, b, xa, xb, buf);
        for (int32_t c = 0; c < count; ++c) {
            const int32_t x = column(c);
            const auto av = hn::LoadU(d8, a + x), bv = hn::LoadU(d8, b + x);
            hn::StoreU(av, d8, dst[j] + x);
            hn::Vec<D8> odd;
            if (buf.kind[c] == 2) {
                odd = AlongDirections(d8, a, b, av, bv, x, (x - xa) / 2, buf);
            } else {
                odd = Smoothed(d8, av, hn::LoadU(d8, m + x), bv);
                if (buf.kind[c] == 1)
                    odd = hn::IfVecThenElse(hn::LoadU(d8, buf.combed + c * n),
                                            AlongDirections(d8, a, b, av, bv, x, (x - xa) / 2, buf), odd);
            }
            hn::StoreU(odd, d8, dst[j + 1] + x);
        }
    }
}

// Blocks 1 .. width / 8 - 2 of a row whose interior holds at least one vector, in segments of
// equal size (whole blocks, at most kSegment columns).
template <class D8>
void Interior(D8 d8, uint8_t* const dst[8], const uint8_t* const src[10], int32_t width) {
    SegmentBuffers buf;
    const int32_t begin = deint::kBlock, end = width - deint::kBlock;
    const int32_t segments = (end - begin + kSegment - 1) / kSegment;
    const int32_t blocks = (end - begin) / deint::kBlock;
    for (int32_t i = 0; i < segments; ++i) {
        const int32_t xa = begin + deint::kBlock * (blocks * i / segments);
        const int32_t xe = begin + deint::kBlock * (blocks * (i + 1) / segments);
        InteriorSegment(d8, dst, src, xa, xe, buf);
    }
}

bool Overlap(const uint8_t* d, const uint8_t* s, int32_t width) {
    const uintptr_t a = reinterpret_cast<uintptr_t>(d), b = reinterpret_cast<uintptr_t>(s);
    return a < b + static_cast<uintptr_t>(width) && b < a + static_cast<uintptr_t>(width);
}

void BlockRow(uint8_t* const dst[8], const uint8_t* const src[10], int32_t width) {
    // Four blocks at least: the interior is then one 16-byte vector or more.
    if (width < 4 * deint::kBlock || Overlap(dst[1], src[1], width)) {
        deint::BlockRow(dst, src, width);
        return;
    }
    EdgeBlocks(dst, src, width);
    const int32_t interior = width - 2 * deint::kBlock;
    const hn::ScalableTag<uint8_t> d;
    if (interior >= static_cast<int32_t>(hn::Lanes(d))) {
        Interior(d, dst, src, width);
#if HWY_TARGET <= HWY_AVX3
    } else if (interior >= 32) {
        Interior(hn::Full256<uint8_t>(), dst, src, width);
#endif
#if HWY_TARGET <= HWY_AVX2
    } else {
        Interior(hn::Full128<uint8_t>(), dst, src, width);
#endif
    }
}

// ---- block mode: the bottom block row ---------------------------------------------------------------

// Line k >= height of the bottom block row, below the strips: their detectors read only the
// first `height` (2, 4 or 6) pixels of each block there, and so does this (the other lanes are 0).
template <class D8>
HWY_INLINE hn::Vec<D8> BelowStrips(D8 d8, const uint8_t* line, int32_t height) {
    alignas(64) uint8_t pixels[HWY_MAX_BYTES] = {};
    for (size_t b = 0; b < hn::Lanes(d8); b += deint::kBlock) {
        switch (height) {
            case 2: std::memcpy(pixels + b, line + b, 2); break;
            case 4: std::memcpy(pixels + b, line + b, 4); break;
            default: std::memcpy(pixels + b, line + b, 6); break;
        }
    }
    return hn::Load(d8, pixels);
}

template <class D8>
void StripVector(D8 d8, uint8_t* const dst[8], const uint8_t* const src[8], int32_t x, int32_t height) {
    const D16<D8> d16;
    const D32<D8> d32;
    // Only the first `height` pixels of each block are summed.
    const V16<D8> inStrip = hn::VecFromMask(
        d16, hn::Lt(hn::And(hn::Iota(d16, 0), hn::Set(d16, int16_t{7})), hn::Set(d16, static_cast<int16_t>(height))));
    const auto line = [&](int32_t k) {
        return k < height ? hn::LoadU(d8, src[k] + x) : BelowStrips(d8, src[k] + x, height);
    };
    const auto combedPair = [&](int32_t y) {
        V16<D8> l0, u0, l1, u1, l2, u2;
        Widen(d8, line(y), l0, u0);
        Widen(d8, line(y + 1), l1, u1);
        Widen(d8, line(y + 2), l2, u2);
        const auto sq = [&](V16<D8> a, V16<D8> b) { return SumSquares(d8, hn::And(hn::Sub(a, b), inStrip)); };
        const V32<D8> fr = BlockSums(d8, sq(l0, l1), sq(u0, u1));
        const V32<D8> ff = BlockSums(d8, sq(l0, l2), sq(u0, u2));
        return hn::And(hn::Lt(ff, fr), hn::Gt(fr, hn::Set(d32, height >> 1)));
    };
    const auto c0 = combedPair(0), c2 = combedPair(2), c4 = combedPair(4);
    const auto combed = hn::BitCast(
        d8, hn::VecFromMask(d32, hn::Or(hn::Or(hn::And(c0, c2), hn::And(c0, c4)), hn::And(c2, c4))));
    for (int32_t y = 0; y < height; y += 2) {
        const auto a = hn::LoadU(d8, src[y] + x), m = hn::LoadU(d8, src[y + 1] + x);
        hn::StoreU(a, d8, dst[y] + x);
        hn::Vec<D8> odd;
        if (y < height - 2) {
            const auto h = Average(d8, a, hn::LoadU(d8, src[y + 2] + x));
            odd = hn::IfVecThenElse(combed, h, hn::AverageRound(h, m));
        } else {
            odd = Average(d8, a, m);
        }
        hn::StoreU(odd, d8, dst[y + 1] + x);
    }
}

void StripRow(uint8_t* const dst[8], const uint8_t* const src[8], int32_t width, int32_t height) {
    if (width < 16 || Overlap(dst[1], src[1], width)) {
        deint::StripRow(dst, src, width, height);
        return;
    }
    const auto cover = [&](auto d) {
        Cover(0, width, static_cast<int32_t>(hn::Lanes(d)), [&](int32_t x) { StripVector(d, dst, src, x, height); });
    };
    const hn::ScalableTag<uint8_t> d;
    if (width >= static_cast<int32_t>(hn::Lanes(d))) {
        cover(d);
#if HWY_TARGET <= HWY_AVX3
    } else if (width >= 32) {
        cover(hn::Full256<uint8_t>());
#endif
#if HWY_TARGET <= HWY_AVX2
    } else {
        cover(hn::Full128<uint8_t>());
#endif
    }
}

// ---- line kernels ------------------------------------------------------------------------------------

// Calls body(d, x) on whole vectors of the line, then on 16-byte vectors; returns the bytes done.
template <class Body>
HWY_INLINE int32_t Vectors(int32_t from, int32_t count, Body body) {
    const hn::ScalableTag<uint8_t> d;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d));
    int32_t x = from;
    for (; x + n <= count; x += n) body(d, x);
#if HWY_TARGET <= HWY_AVX2
    for (; x + 16 <= count; x += 16) body(hn::Full128<uint8_t>(), x);
#endif
    return x;
}

void AverageRow(uint8_t* dst, const uint8_t* a, const uint8_t* b, int32_t count) {
    const hn::ScalableTag<uint8_t> d;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d));
    int32_t x = 0;
    // Four vectors a step, loaded before any is stored: the lines mostly come from the L2 cache.
    for (; x + 4 * n <= count; x += 4 * n) {
        const auto a0 = hn::LoadU(d, a + x), a1 = hn::LoadU(d, a + x + n), a2 = hn::LoadU(d, a + x + 2 * n),
                   a3 = hn::LoadU(d, a + x + 3 * n);
        const auto b0 = hn::LoadU(d, b + x), b1 = hn::LoadU(d, b + x + n), b2 = hn::LoadU(d, b + x + 2 * n),
                   b3 = hn::LoadU(d, b + x + 3 * n);
        hn::StoreU(Average(d, a0, b0), d, dst + x);
        hn::StoreU(Average(d, a1, b1), d, dst + x + n);
        hn::StoreU(Average(d, a2, b2), d, dst + x + 2 * n);
        hn::StoreU(Average(d, a3, b3), d, dst + x + 3 * n);
    }
    const int32_t done = Vectors(x, count, [&](auto dv, int32_t at) {
        hn::StoreU(Average(dv, hn::LoadU(dv, a + at), hn::LoadU(dv, b + at)), dv, dst + at);
    });
    deint::AverageRow(dst + done, a + done, b + done, count - done);
}

// The five taps in bytes. With p = avg(m3, m1), q = avg(m4, lum) (rounding averages) and
// e = (m3 ^ m1) & 1, the filter is p + ((m2 - q + 2 - 2e) >> 2), clamped; and with
// h = avg(m2, 255 - q), the shifted term plus 64 is f = avg(h, 0) - (e & h & 1), 0..128. The sum
// p + f - 64 is clamped by a signed saturated addition on bytes biased by 128.
// Checked for every value of m3 + m1, m4 + lum and m2.
template <class D8>
HWY_INLINE hn::Vec<D8> FiveTaps(D8 d8, hn::Vec<D8> m4, hn::Vec<D8> m3, hn::Vec<D8> m2, hn::Vec<D8> m1,
                                hn::Vec<D8> lum) {
    const hn::RebindToSigned<D8> di8;
    const auto one = hn::Set(d8, uint8_t{1}), k64 = hn::Set(d8, uint8_t{64}), bias = hn::Set(d8, uint8_t{0x80});
    const auto p = hn::AverageRound(m3, m1);
    const auto h = hn::AverageRound(m2, hn::Not(hn::AverageRound(m4, lum)));
    // f - 64: avg(h, 0) less ((e & h & 1) | 64).
    const auto g = hn::Sub(hn::AverageRound(h, hn::Zero(d8)), hn::Or(hn::And(hn::And(hn::Xor(m3, m1), one), h), k64));
    const auto sum = hn::SaturatedAdd(hn::BitCast(di8, hn::Xor(p, bias)), hn::BitCast(di8, g));
    return hn::Xor(hn::BitCast(d8, sum), bias);
}

void FiveTapRow(uint8_t* dst, const uint8_t* m4, const uint8_t* m3, const uint8_t* m2, const uint8_t* m1,
                const uint8_t* lum, int32_t count) {
    const hn::ScalableTag<uint8_t> d;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d));
    int32_t x = 0;
    for (; x + 2 * n <= count; x += 2 * n) {
        const auto a4 = hn::LoadU(d, m4 + x), a3 = hn::LoadU(d, m3 + x), a2 = hn::LoadU(d, m2 + x),
                   a1 = hn::LoadU(d, m1 + x), a0 = hn::LoadU(d, lum + x);
        const auto b4 = hn::LoadU(d, m4 + x + n), b3 = hn::LoadU(d, m3 + x + n), b2 = hn::LoadU(d, m2 + x + n),
                   b1 = hn::LoadU(d, m1 + x + n), b0 = hn::LoadU(d, lum + x + n);
        hn::StoreU(FiveTaps(d, a4, a3, a2, a1, a0), d, dst + x);
        hn::StoreU(FiveTaps(d, b4, b3, b2, b1, b0), d, dst + x + n);
    }
    const int32_t done = Vectors(x, count, [&](auto dv, int32_t at) {
        hn::StoreU(FiveTaps(dv, hn::LoadU(dv, m4 + at), hn::LoadU(dv, m3 + at), hn::LoadU(dv, m2 + at),
                            hn::LoadU(dv, m1 + at), hn::LoadU(dv, lum + at)),
                   dv, dst + at);
    });
    deint::FiveTapRow(dst + done, m4 + done, m3 + done, m2 + done, m1 + done, lum + done, count - done);
}

// Every load of a vector comes before its stores: m1 and lum may be m2.
void FiveTapRowInPlace(uint8_t* m4, const uint8_t* m3, uint8_t* m2, const uint8_t* m1, const uint8_t* lum,
                       int32_t count) {
    const int32_t done = Vectors(0, count, [&](auto d, int32_t x) {
        const auto t = hn::LoadU(d, m2 + x);
        const auto v = FiveTaps(d, hn::LoadU(d, m4 + x), hn::LoadU(d, m3 + x), t, hn::LoadU(d, m1 + x),
                                hn::LoadU(d, lum + x));
        hn::StoreU(t, d, m4 + x);
        hn::StoreU(v, d, m2 + x);
    });
    deint::FiveTapRowInPlace(m4 + done, m3 + done, m2 + done, m1 + done, lum + done, count - done);
}

}  // namespace

void FillDeinterlaceKernels(KernelTable* k) {
    k->deintAverage = &AverageRow;
    k->deintFiveTap = &FiveTapRow;
    k->deintFiveTapInPlace = &FiveTapRowInPlace;
    k->deintBlockRow = &BlockRow;
    k->deintStripRow = &StripRow;
}

#else  // not an x86 vector target: the scalar references

void FillDeinterlaceKernels(KernelTable* k) {
    k->deintAverage = &deint::AverageRow;
    k->deintFiveTap = &deint::FiveTapRow;
    k->deintFiveTapInPlace = &deint::FiveTapRowInPlace;
    k->deintBlockRow = &deint::BlockRow;
    k->deintStripRow = &deint::StripRow;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace qv
HWY_AFTER_NAMESPACE();
#endif  // vector targets
