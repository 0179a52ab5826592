// Vector variants of the scalers' row kernels (scale_rows.h), one source for every Highway target.
//
// Interpolation words blend in 32-bit lanes as 32 a + (b - a) f, which equals (32 - f) a + f b
// modulo 2^32, as the scalar references compute it.
//
// Horizontal blends of an enlargement (step at most one word) reach at most N consecutive words
// for N pixels, so a vector of the words from a window start and one from the start + 1 give
// every lane's pair through one lane permutation. The window starts at the first pixel's word,
// or earlier near the row's end so that it never passes the spare word after the last index.
// The fixed ratios' pixels reach fewer words than pixels too, and take their words the same way.
// Reductions, sources shorter than a vector and the pixels after the last whole vector go
// through the scalar references, so no vector touches a byte past the row or its source extent.
//
// The nearest walk keeps each lane's own walk state (source index and error), advanced a vector
// of pixels at a time by the walk's step over that many pixels, and the first lane's apart in
// scalars for the window start. With integer step q, N pixels
// reach at most (q + 1) N consecutive source pixels: q + 1 windows of N pixels, each loaded,
// widened and permuted, give every lane its pixel.

#include "core/simd_targets.h"  // before foreach_target

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/scale_rows_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>

#include "core/kernel_table.h"
#include "core/scale_rows.h"

#if HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SCALAR
HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DI32 = hn::ScalableTag<int32_t>;
using DU32 = hn::RebindToUnsigned<DI32>;
using VU32 = hn::Vec<DU32>;

// (32 - f) a + f b for 32-bit lanes, modulo 2^32.
HWY_INLINE VU32 Blend(VU32 a, VU32 b, VU32 f) { return hn::Add(hn::ShiftLeft<5>(a), hn::Mul(hn::Sub(b, a), f)); }

void VLerp(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t weight, int32_t count) {
    const DU32 d;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    const VU32 f = hn::Set(d, weight), mask = hn::Set(d, kInterpMask);
    int32_t i = 0;
    for (; i + lanes <= count; i += lanes)
        hn::StoreU(hn::And(hn::ShiftRight<5>(Blend(hn::LoadU(d, a + i), hn::LoadU(d, b + i), f)), mask), d, out + i);
    if (i < count) scalerows::VLerp(a + i, b + i, out + i, weight, count - i);
}

// PackInterpRGB565(sum, k) in 32-bit lanes.
template <int k>
HWY_INLINE VU32 Pack565(VU32 sum) {
    const DU32 d;
    return hn::Or(hn::Or(hn::And(hn::ShiftRight<11 + k>(sum), hn::Set(d, 0xF800u)),
                         hn::And(hn::ShiftRight<5 + k>(sum), hn::Set(d, 0x07E0u))),
                  hn::And(hn::ShiftRight<k>(sum), hn::Set(d, 0x1Fu)));
}

// The vector packings of the horizontal blends: N sums into N pixels at p.
struct Vec565 {
    using Ref = scalerows::To565;
    static constexpr int32_t kOverhang = 0;  // pixels past its own that a vector's stores reach
    explicit Vec565(uint32_t) {}
    HWY_INLINE void Put(VU32 sum, uint8_t* p) const {
        const VU32 px = Pack565<5>(sum);
        const hn::Rebind<uint16_t, DU32> d16;
        hn::StoreU(hn::DemoteTo(d16, hn::BitCast(DI32(), px)), d16, reinterpret_cast<uint16_t*>(p));
    }
};
// Each 16-byte block's four pixels are packed into its first 12 bytes, and the blocks stored 12
// bytes apart, each store's last 4 bytes overwritten by the next: the vector's stores reach 4
// bytes (kOverhang pixels, rounded up) past its pixels. SVE vectors, whose blocks have no count
// known at compile time, interleave three byte vectors instead.
#if HWY_HAVE_SCALABLE
struct Vec888 {
    using Ref = scalerows::To888;
    static constexpr int32_t kOverhang = 0;
    explicit Vec888(uint32_t) {}
    HWY_INLINE void Put(VU32 sum, uint8_t* p) const {
        const DU32 d;
        const DI32 di;
        const hn::Rebind<uint8_t, DU32> d8;
        const VU32 byte = hn::Set(d, 0xFFu);
        const auto blue = hn::DemoteTo(d8, hn::BitCast(di, hn::And(hn::ShiftRight<2>(sum), byte)));
        const auto green = hn::DemoteTo(d8, hn::BitCast(di, hn::And(hn::ShiftRight<13>(sum), byte)));
        const auto red = hn::DemoteTo(d8, hn::BitCast(di, hn::ShiftRight<24>(sum)));
        hn::StoreInterleaved3(blue, green, red, d8, p);
    }
};
#else
template <class D>
HWY_INLINE void StorePacked(D d, hn::Vec<D> v, uint8_t* p) {
    if constexpr (hn::MaxLanes(D()) <= 16) {
        hn::StoreU(v, d, p);
    } else {
        const hn::Half<D> dh;
        StorePacked(dh, hn::LowerHalf(dh, v), p);
        StorePacked(dh, hn::UpperHalf(dh, v), p + 3 * hn::MaxLanes(D()) / 8);
    }
}
struct Vec888 {
    using Ref = scalerows::To888;
    static constexpr int32_t kOverhang = 2;
    explicit Vec888(uint32_t) {}
    HWY_INLINE void Put(VU32 sum, uint8_t* p) const {
        const DU32 d;
        const hn::Repartition<uint8_t, DU32> d8;
        alignas(16) static constexpr uint8_t kPack[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15};
        const VU32 px = hn::Or(hn::Or(hn::And(hn::ShiftRight<8>(sum), hn::Set(d, 0xFF0000u)),
                                      hn::And(hn::ShiftRight<5>(sum), hn::Set(d, 0xFF00u))),
                               hn::And(hn::ShiftRight<2>(sum), hn::Set(d, 0xFFu)));
        StorePacked(d8, hn::TableLookupBytes(hn::BitCast(d8, px), hn::LoadDup128(d8, kPack)), p);
    }
};
#endif
template <uint32_t kBlue>
struct VecARGB32 {
    using Ref = scalerows::ToARGB32Of<kBlue>;
    static constexpr int32_t kOverhang = 0;
    uint32_t alphaBits;
    explicit VecARGB32(uint32_t alpha) : alphaBits((alpha & 0xFF) << 24) {}
    HWY_INLINE void Put(VU32 sum, uint8_t* p) const {
        const DU32 d;
        const VU32 px = hn::Or(hn::Or(hn::And(hn::ShiftRight<8>(sum), hn::Set(d, 0xFF0000u)),
                                      hn::And(hn::ShiftRight<5>(sum), hn::Set(d, 0xFF00u))),
                               hn::Or(hn::And(hn::ShiftRight<2>(sum), hn::Set(d, kBlue)), hn::Set(d, alphaBits)));
        hn::StoreU(px, d, reinterpret_cast<uint32_t*>(p));
    }
};

template <class VecTo>
void HLerp(const uint32_t* src, uint8_t* dst, int32_t step, int32_t n, uint32_t arg) {
    using Ref = typename VecTo::Ref;
    const DU32 d;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    int32_t i = 0;
    const uint64_t lastPos = static_cast<uint64_t>(n - 1) * static_cast<uint32_t>(step);
    // The window start may not pass lastIndex + 1 - lanes; positions must not wrap.
    const int64_t lastStart = static_cast<int64_t>(lastPos >> 16) + 1 - lanes;
    if (step >= 0 && step <= 0x10000 && lastPos <= 0xFFFFFFFFu && lastStart >= 0 && n >= lanes) {
        const VecTo to(arg);
        const uint32_t ustep = static_cast<uint32_t>(step);
        const VU32 stride = hn::Set(d, ustep * static_cast<uint32_t>(lanes));
        const VU32 fraction = hn::Set(d, 31u);
        VU32 pos = hn::Mul(hn::Iota(d, 0), hn::Set(d, ustep));
        uint32_t first = 0;  // the first lane's position
        for (; i + lanes + VecTo::kOverhang <= n; i += lanes) {
            const uint32_t start = std::min<uint32_t>(first >> 16, static_cast<uint32_t>(lastStart));
            const auto lane = hn::IndicesFromVec(d, hn::Sub(hn::ShiftRight<16>(pos), hn::Set(d, start)));
            const VU32 a = hn::TableLookupLanes(hn::LoadU(d, src + start), lane);
            const VU32 b = hn::TableLookupLanes(hn::LoadU(d, src + start + 1), lane);
            to.Put(Blend(a, b, hn::And(hn::ShiftRight<11>(pos), fraction)), dst + i * Ref::kBytes);
            pos = hn::Add(pos, stride);
            first += ustep * static_cast<uint32_t>(lanes);
        }
    }
    if (i < n) scalerows::HLerpRange<Ref>(src, dst, step, i, n, arg);
}

// Fixed ratios. The pixels repeat every V vectors (V N pixels: whole groups), so a table of V
// vectors gives each lane's word, relative to its vector's first word, and weight. Vectors cover
// the full groups' pixels; the rest of the last group they reach, and the closed group, go
// through the scalar reference.
template <const scalerows::Ratio& R, class VecTo>
void FixedRatio(const uint32_t* src, uint8_t* dst, int32_t groups, uint32_t arg) {
    using Ref = typename VecTo::Ref;
    const DU32 d;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    int32_t vectors = R.out;  // V = out / gcd(out, lanes)
    while (vectors % 2 == 0 && lanes % (2 * (R.out / vectors)) == 0) vectors /= 2;
    constexpr int32_t kMaxPeriod = 5 * static_cast<int32_t>(hn::MaxLanes(DU32()));
    const int32_t period = vectors * lanes;
    const int64_t extent = static_cast<int64_t>(R.in) * (groups + 1);  // words the row reads
    const int64_t fullPixels = static_cast<int64_t>(R.out) * groups;
    int64_t done = 0;
    if (period <= kMaxPeriod && extent > lanes + 1 && fullPixels >= lanes) {
        HWY_ALIGN uint32_t lane[kMaxPeriod], weight[kMaxPeriod];
        int32_t first[5];  // each vector's first word within the period
        for (int32_t k = 0; k < period; ++k) {
            const int32_t j = k % R.out, word = k / R.out * R.in + R.word[j];
            if (k % lanes == 0) first[k / lanes] = word;
            lane[k] = static_cast<uint32_t>(word - first[k / lanes]);
            weight[k] = R.weight[j];
        }
        const int64_t periodWords = static_cast<int64_t>(period / R.out) * R.in;
        const int64_t lastStart = extent - 1 - lanes;  // the second load ends at the last word
        const VecTo to(arg);
        int64_t periodStart = 0;
        for (int32_t v = 0; done + lanes + VecTo::kOverhang <= fullPixels; done += lanes) {
            const int64_t word = periodStart + first[v];
            const int64_t start = std::min(word, lastStart);
            const auto index = hn::IndicesFromVec(
                d, hn::Add(hn::LoadU(d, lane + v * lanes), hn::Set(d, static_cast<uint32_t>(word - start))));
            const VU32 a = hn::TableLookupLanes(hn::LoadU(d, src + start), index);
            const VU32 b = hn::TableLookupLanes(hn::LoadU(d, src + start + 1), index);
            to.Put(Blend(a, b, hn::LoadU(d, weight + v * lanes)), dst + done * Ref::kBytes);
            if (++v == vectors) v = 0, periodStart += periodWords;
        }
    }
    scalerows::FixedRatioFrom<R, Ref>(src, dst, static_cast<int32_t>(done / R.out), groups, arg);
}

// Word 0 by the scalar reference, then whole vectors from word 1. Loads run a vector ahead of
// the stores, so in place every word is read before a store overwrites it.
void DoubleWords(uint8_t* out, const uint8_t* in, int32_t count) {
    const DU32 d;
    const hn::Repartition<uint8_t, DU32> d8;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d));
    if (count < lanes + 1) return scalerows::DoubleWords(out, in, count);
    const auto words = [&](int32_t i) { return hn::BitCast(d, hn::LoadU(d8, in + 4 * i)); };
    VU32 previous = words(0), current = words(1);
    scalerows::DoubleRange(out, in, 0, 1, Load32(in));
    uint32_t last = 0;  // the last word of the last vector
    int32_t i = 1;
    for (; i + lanes <= count; i += lanes) {
        last = Load32(in + 4 * (i + lanes - 1));
        VU32 nextPrevious = previous, nextCurrent = current;
        if (i + 2 * lanes <= count) nextPrevious = words(i + lanes - 1), nextCurrent = words(i + lanes);
        const VU32 pair = hn::Or(Pack565<1>(hn::Add(previous, current)), hn::ShiftLeft<16>(Pack565<0>(current)));
        hn::StoreU(hn::BitCast(d8, pair), d8, out + 4 * i);
        previous = nextPrevious, current = nextCurrent;
    }
    scalerows::DoubleRange(out, in, i, count, last);
}

// Walks with q + 1 up to this many windows run as vectors; steeper ones go through the reference.
constexpr int32_t kNearestWindows = 4;

void Nearest(const uint8_t* src, uint8_t* dst, int32_t n, int32_t d, int32_t q, int32_t r) {
    const DU32 d32;
    const DI32 di;
    const hn::Rebind<uint16_t, DU32> d16;
    const uint16_t* const pixels = reinterpret_cast<const uint16_t*>(src);
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d32));
    const int32_t windows = q + 1;
    const int64_t lastIndex = static_cast<int64_t>(n - 1) * q + static_cast<int64_t>(n - 1) * r / d;
    const int64_t lastStart = lastIndex + 1 - static_cast<int64_t>(windows) * lanes;  // windows end at lastIndex
    int32_t i = 0;
    uint32_t first = 0;  // the first lane's walk, kept in scalars for the window start
    int32_t firstError = 0;
    // Vectors of four pixels take as long as the reference: those targets keep it.
    if (lanes >= 8 && (lanes & (lanes - 1)) == 0 && q >= 0 && windows <= kNearestWindows && r >= 0 && r < d &&
        d < (1 << 30) && lastIndex < (int64_t{1} << 31) && lastStart >= 0 && n >= lanes) {
        HWY_ALIGN uint32_t laneIndex[hn::MaxLanes(DU32())], laneError[hn::MaxLanes(DU32())];
        for (int32_t k = 0; k < lanes; ++k) {
            const int64_t steps = static_cast<int64_t>(k) * r;
            laneIndex[k] = static_cast<uint32_t>(static_cast<int64_t>(k) * q + steps / d);
            laneError[k] = static_cast<uint32_t>(steps % d);
        }
        // The walk over a vector of pixels: step stepN, remainder remainderN.
        const int64_t spanSteps = static_cast<int64_t>(lanes) * r;
        const uint32_t stepN = static_cast<uint32_t>(static_cast<int64_t>(lanes) * q + spanSteps / d);
        const int32_t remainderN = static_cast<int32_t>(spanSteps % d);
        const VU32 vStep = hn::Set(d32, stepN), vRemainder = hn::Set(d32, static_cast<uint32_t>(remainderN));
        const VU32 denominator = hn::Set(d32, static_cast<uint32_t>(d)), one = hn::Set(d32, 1u);
        const VU32 laneMask = hn::Set(d32, static_cast<uint32_t>(lanes - 1));
        VU32 index = hn::Load(d32, laneIndex), error = hn::Load(d32, laneError);
        for (; i + lanes <= n; i += lanes) {
            const uint32_t start = static_cast<uint32_t>(std::min<int64_t>(first, lastStart));
            const VU32 rel = hn::Sub(index, hn::Set(d32, start));
            const VU32 lane = hn::And(rel, laneMask);
            const auto within = hn::IndicesFromVec(d32, lane);
            VU32 px = hn::TableLookupLanes(hn::PromoteTo(d32, hn::LoadU(d16, pixels + start)), within);
            for (int32_t w = 1; w < windows; ++w) {
                const VU32 window = hn::PromoteTo(d32, hn::LoadU(d16, pixels + start + static_cast<uint32_t>(w * lanes)));
                const auto inWindow = hn::RebindMask(d32, hn::Eq(hn::BitCast(di, hn::Sub(rel, lane)), hn::Set(di, w * lanes)));
                px = hn::IfThenElse(inWindow, hn::TableLookupLanes(window, within), px);
            }
            hn::StoreU(hn::DemoteTo(d16, hn::BitCast(di, px)), d16, reinterpret_cast<uint16_t*>(dst) + i);
            index = hn::Add(index, vStep);
            error = hn::Add(error, vRemainder);
            const auto carry = hn::RebindMask(d32, hn::Gt(hn::BitCast(di, error), hn::Set(di, d - 1)));
            error = hn::IfThenElse(carry, hn::Sub(error, denominator), error);
            index = hn::IfThenElse(carry, hn::Add(index, one), index);
            first += stepN;
            firstError += remainderN;
            if (firstError >= d) firstError -= d, ++first;
        }
    }
    scalerows::NearestRange(src, dst, i, n, first, firstError, d, q, r);
}

}  // namespace

void FillScaleKernels(KernelTable* k) {
    k->vLerp = &VLerp;
    k->hLerpRGB565 = &HLerp<Vec565>;
    k->hLerpRGB888 = &HLerp<Vec888>;
    k->hLerpARGB32 = &HLerp<VecARGB32<0xFF>>;
    k->hLerp23RGB565 = &FixedRatio<scalerows::k23Of4, Vec565>;
    k->hLerp25RGB565 = &FixedRatio<scalerows::k25Of4, Vec565>;
    k->hLerp23ClosedRGB565 = &FixedRatio<scalerows::k23ClosedOf4, Vec565>;
    k->hLerp23ARGB32 = &FixedRatio<scalerows::k23Of2, VecARGB32<0xF8>>;
    k->hLerp25ARGB32 = &FixedRatio<scalerows::k25Of2, VecARGB32<0xF8>>;
    k->doubleLine = &DoubleWords;
    k->nearestRGB565 = &Nearest;
}

}  // namespace HWY_NAMESPACE
}  // namespace qv
HWY_AFTER_NAMESPACE();
#endif  // vector targets
