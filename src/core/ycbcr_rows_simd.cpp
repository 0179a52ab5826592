// Vector variants of the YCbCr-to-RGB row kernels, one source for every Highway target.
//
// A pixel's channel is clamp((y + term) >> 7, 0, 255) before packing, where y is the luma table
// entry and the term comes from the chroma entries (pixel.h). Every packing of the library is that
// 8-bit value shifted and masked, so the lanes compute it exactly, in 16 bits:
//   Y' = y - 32768 fits a signed 16-bit lane, and each term is split into two halves of the same
//   sign that fit one too (the red term 2 x high + [low < 0] as high and high + [low < 0], the
//   green term 2 x g as g and g). Y' + a + b with saturating additions then saturates exactly
//   when the true sum leaves -32768..32767, and the channel is (sum + 32768) >> 7, limited to 255.
// The entries themselves are computed in 32-bit lanes from the tables' fitted lines (ConvFit), or
// gathered from the tables when they have no fit.
//
// Each kernel covers whole vectors and leaves the rest of the row to its scalar reference, so
// no vector touches a byte past the row.

#include "core/simd_targets.h"  // before foreach_target

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/ycbcr_rows_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include <type_traits>

#include "core/kernel_table.h"
#include "core/vector_steps-inl.h"
#include "core/ycbcr_rows.h"

// The one-lane fallback targets get nothing: the scalar references serve there.
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

namespace {

using DI16 = hn::ScalableTag<int16_t>;
using DU16 = hn::RebindToUnsigned<DI16>;
using DI32 = hn::Repartition<int32_t, DI16>;  // half as many lanes
using DU8H = hn::Rebind<uint8_t, DI16>;       // one byte per 16-bit lane
using DU8Q = hn::Rebind<uint8_t, DI32>;       // one byte per 32-bit lane
using V16 = hn::Vec<DI16>;
using V32 = hn::Vec<DI32>;

// Two 32-bit lanes of values in 16-bit range become the two 16-bit halves of one lane: the
// first (even pixel) below, the second above. Lane order is kept on every target.
HWY_INLINE V16 Join(V32 even, V32 odd) {
    const DI32 d32;
    return hn::BitCast(DI16(), hn::Or(hn::And(even, hn::Set(d32, 0xFFFF)), hn::ShiftLeft<16>(odd)));
}
// Both halves from the even pixel's lane, as chroma shared by a pixel pair needs: one byte shuffle.
// Either way only the low 16 bits of a 32-bit lane count.
template <bool kShared>
HWY_INLINE V16 JoinOf(V32 even, V32 odd) {
    if constexpr (kShared) {
        alignas(16) static constexpr uint8_t kLowTwice[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
        const hn::Repartition<uint8_t, DI32> d8;
        return hn::BitCast(DI16(), hn::TableLookupBytes(even, hn::BitCast(DI32(), hn::LoadDup128(d8, kLowTwice))));
    } else {
        return Join(even, odd);
    }
}
HWY_INLINE V32 Even(V32 v) { return hn::And(v, hn::Set(DI32(), 0xFFFF)); }
HWY_INLINE V32 Odd(V32 v) { return hn::ShiftRight<16>(v); }
// v >> shift in every lane: by a vector of counts (one operation where the target shifts lanes by
// their own counts; the shift by one count for all lanes is two on AVX2), else by one count (SSE4
// has no per-lane shifts).
HWY_INLINE V32 ShiftDown(V32 v, int32_t shift) {
#if HWY_TARGET == HWY_SSE4
    return hn::ShiftRightSame(v, shift);
#else
    return hn::Shr(v, hn::Set(DI32(), shift));
#endif
}
HWY_INLINE V32 Clamp16(V32 v) {
    const DI32 d32;
    return hn::Min(hn::Max(v, hn::Set(d32, -32768)), hn::Set(d32, 32767));
}
// Join of values clamped to -32768..32767. Where the saturating narrowing of two vectors lays each
// 128-bit block out as four lanes of the first, then four of the second (x86, 64-bit NEON; 32-bit
// NEON puts the second first), a byte shuffle interleaves them: two operations against six.
HWY_INLINE V16 JoinClamped(V32 even, V32 odd) {
#if HWY_ARCH_X86 || (HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64)
    alignas(16) static constexpr uint8_t kInterleave[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
    const hn::Repartition<uint8_t, DI16> d8;
    return hn::TableLookupBytes(hn::ReorderDemote2To(DI16(), even, odd), hn::BitCast(DI16(), hn::LoadDup128(d8, kInterleave)));
#else
    return Join(Clamp16(even), Clamp16(odd));
#endif
}

// The Entries classes below give, for samples in 32-bit lanes, the luma entry (y - 32768) and
// the entries of the four chroma halves. SVE vectors have no size known at compile time and
// cannot be members of a class, so several vectors are returned through references and the
// classes hold scalars; the broadcasts of those are the same in every iteration of a row's loop
// and the compiler lifts them out of it.

// Entries computed from the fitted lines. The fit is copied: read through the table block inside
// the loop it would be reloaded after every store into the destination. kPlain: the fit is plain
// (ConvFit), one slope a half and no clamp.
template <bool kPlain>
struct FittedEntries {
    struct Half {
        // The second piece also as its differences from the first (wrapping, as the lanes do).
        int32_t split, a0, b0, a1, b1, da, db, shift;  // both pieces of a half share one shift
    };
    AffinePiece luma;
    Half half[4];
    explicit FittedEntries(const ConvFit& fit) : luma(fit.luma) {
        const auto minus = [](int32_t x, int32_t y) {
            return static_cast<int32_t>(static_cast<uint32_t>(x) - static_cast<uint32_t>(y));
        };
        for (int t = 0; t < 4; ++t) {
            const AffinePiece& p0 = fit.chroma[t][0];
            const AffinePiece& p1 = fit.chroma[t][1];
            half[t] = {fit.split[t], p0.a, p0.b, p1.a, p1.b, minus(p1.a, p0.a), minus(p1.b, p0.b), p0.shift};
        }
    }
    HWY_INLINE V32 Entry(V32 s, int t) const {
        const DI32 d32;
        const Half& h = half[t];
#if HWY_TARGET == HWY_AVX2
        // The differences added where the sample reaches the split: two operations a coefficient
        // against a three-operation byte blend.
        const V32 second = hn::VecFromMask(d32, hn::Gt(s, hn::Set(d32, h.split - 1)));
        const V32 a = kPlain ? hn::Set(d32, h.a0) : hn::Add(hn::Set(d32, h.a0), hn::And(second, hn::Set(d32, h.da)));
        const V32 b = hn::Add(hn::Set(d32, h.b0), hn::And(second, hn::Set(d32, h.db)));
#else
        const auto below = hn::Lt(s, hn::Set(d32, h.split));
        const V32 a = kPlain ? hn::Set(d32, h.a0) : hn::IfThenElse(below, hn::Set(d32, h.a0), hn::Set(d32, h.a1));
        const V32 b = hn::IfThenElse(below, hn::Set(d32, h.b0), hn::Set(d32, h.b1));
#endif
        const V32 line = ShiftDown(hn::Add(hn::Mul(s, a), b), h.shift);
        return kPlain ? line : Clamp16(line);
    }
    // y - 32768 for luma samples, before the clamp to 16 bits.
    HWY_INLINE V32 Luma(V32 s) const {
        const DI32 d32;
        return ShiftDown(hn::Add(hn::Mul(s, hn::Set(d32, luma.a)), hn::Set(d32, luma.b)), luma.shift);
    }
    HWY_INLINE void Chroma(V32 cb, V32 cr, V32& cbHigh, V32& cbLow, V32& crHigh, V32& crLow) const {
        cbHigh = Entry(cb, 0);
        cbLow = Entry(cb, 1);
        crHigh = Entry(cr, 2);
        crLow = Entry(cr, 3);
    }
};

// Entries gathered from the tables.
struct GatheredEntries {
    const ConvTables& t;
    HWY_INLINE V32 Luma(V32 s) const {
        const DI32 d32;
        // Two 16-bit entries per 32-bit word: the word of s / 2, then its half for s.
        const V32 word = hn::GatherIndex(d32, reinterpret_cast<const int32_t*>(t.y), hn::ShiftRight<1>(s));
        const auto odd = hn::Ne(hn::And(s, hn::Set(d32, 1)), hn::Zero(d32));
        const V32 high = hn::BitCast(d32, hn::ShiftRight<16>(hn::BitCast(hn::RebindToUnsigned<DI32>(), word)));
        const V32 entry = hn::IfThenElse(odd, high, hn::And(word, hn::Set(d32, 0xFFFF)));
        return hn::Sub(entry, hn::Set(d32, 32768));
    }
    HWY_INLINE void Chroma(V32 cb, V32 cr, V32& cbHigh, V32& cbLow, V32& crHigh, V32& crLow) const {
        const DI32 d32;
        const V32 b = hn::GatherIndex(d32, t.cb, cb);
        const V32 r = hn::GatherIndex(d32, t.cr, cr);
        cbHigh = hn::ShiftRight<16>(b);
        cbLow = hn::ShiftRight<16>(hn::ShiftLeft<16>(b));
        crHigh = hn::ShiftRight<16>(r);
        crLow = hn::ShiftRight<16>(hn::ShiftLeft<16>(r));
    }
};

// The chroma terms of each pixel as split halves in 16-bit lanes, from the entries of the even
// and the odd pixels of each 32-bit lane.

// A red or blue term from its high and low entries: the high half, and the high half plus one
// for a negative low half. Past 32767 (a high half at its limit) the sum saturates either way, so
// the second is held there.
template <bool kShared>
HWY_INLINE void SplitTerm(V32 evenHigh, V32 evenLow, V32 oddHigh, V32 oddLow, V16& a, V16& b) {
    const DI32 d32;
    const auto second = [&](V32 high, V32 low) {
        return hn::Min(hn::Sub(high, hn::ShiftRight<31>(low)), hn::Set(d32, 32767));
    };
    a = JoinOf<kShared>(evenHigh, oddHigh);
    b = JoinOf<kShared>(second(evenHigh, evenLow), second(oddHigh, oddLow));
}
// The green term's two halves are equal: the 16-bit sum of the low entries.
template <bool kShared>
HWY_INLINE V16 GreenTerm(V32 evenCbLow, V32 evenCrLow, V32 oddCbLow, V32 oddCrLow) {
    return JoinOf<kShared>(hn::Add(evenCbLow, evenCrLow), hn::Add(oddCbLow, oddCrLow));
}

// Saturated Y' + a + b: one channel of every pixel, before the shift by 7.
HWY_INLINE V16 Channel(V16 luma, V16 a, V16 b) { return hn::SaturatedAdd(hn::SaturatedAdd(luma, a), b); }
// The channel level in a 16-bit lane, 0..511: above 255 where the sum is not negative.
HWY_INLINE hn::Vec<DU16> Level(V16 sum) {
    return hn::ShiftRight<7>(hn::BitCast(DU16(), hn::Xor(sum, hn::Set(DI16(), int16_t{-32768}))));
}
// The 8-bit channel value in a 16-bit lane, 0..255.
HWY_INLINE hn::Vec<DU16> Byte(V16 sum) { return Level(hn::Min(sum, hn::Set(DI16(), int16_t{-1}))); }

// ---- vector packers: the three channel sums of N16 pixels into their destination ------------

struct VecRGB565 {
    using Ref = rows::PackRGB565;
    explicit VecRGB565(uint32_t) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16 /*luma samples*/, V16 /*cb*/, V16 /*cr*/, uint8_t* p) const {
        const DI16 d16;
        const V16 m1 = hn::Set(d16, int16_t{-1});
        r = hn::Min(r, m1);
        g = hn::Min(g, m1);
        b = hn::Min(b, m1);
        // (c >> 3) << 11 == (m << 1) & 0xF800 for c = low byte of m >> 7; likewise green, blue.
        const V16 px = hn::Or(hn::Or(hn::And(hn::ShiftLeft<1>(r), hn::Set(d16, static_cast<int16_t>(0xF800))),
                                     hn::And(hn::ShiftRight<4>(g), hn::Set(d16, int16_t{0x07E0}))),
                              hn::And(hn::ShiftRight<10>(b), hn::Set(d16, int16_t{0x1F})));
        hn::StoreU(px, d16, reinterpret_cast<int16_t*>(p));
    }
};

struct VecRGB555 {
    using Ref = rows::PackRGB555;
    int16_t keyY, keyCb, keyCr;  // a key with a non-zero top byte has keyY > 255: never matched
    explicit VecRGB555(uint32_t key)
        : keyY(static_cast<int16_t>(key >> 16 > 255 ? -1 : key >> 16)),
          keyCb(static_cast<int16_t>((key >> 8) & 0xFF)),
          keyCr(static_cast<int16_t>(key & 0xFF)) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16 y, V16 cb, V16 cr, uint8_t* p) const {
        const DI16 d16;
        const V16 m1 = hn::Set(d16, int16_t{-1});
        r = hn::Min(r, m1);
        g = hn::Min(g, m1);
        b = hn::Min(b, m1);
        const V16 px = hn::Or(
            hn::Or(hn::And(hn::ShiftLeft<1>(r), hn::Set(d16, static_cast<int16_t>(0xF800))),
                   hn::And(hn::ShiftRight<4>(g), hn::Set(d16, int16_t{0x07C0}))),
            hn::Or(hn::And(hn::ShiftRight<9>(b), hn::Set(d16, int16_t{0x3E})), hn::Set(d16, int16_t{1})));
        const auto key = hn::And(hn::And(hn::Eq(y, hn::Set(d16, keyY)), hn::Eq(cb, hn::Set(d16, keyCb))),
                                 hn::Eq(cr, hn::Set(d16, keyCr)));
        hn::StoreU(hn::IfThenZeroElse(key, px), d16, reinterpret_cast<int16_t*>(p));
    }
};

#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
// RGB888 bytes of the 8 pixels of a 128-bit block, from blue and green bytes side by side (b0-7,
// g0-7) and red ones (r0-7 twice): bytes 0-15 of the 24, then bytes 16-23 in the low half.
// 0x80: a zero byte, which the other shuffle fills.
template <int kFrom, bool kRed>
constexpr Index kRGB888Bytes = MakeIndex([](int k) {
    const int at = kFrom + k % 16, channel = at % 3;
    if (at >= 24 || (channel == 2) != kRed) return 0x80;
    return channel == 1 ? 8 + at / 3 : at / 3;
});
using DU8 = hn::Repartition<uint8_t, DI16>;
// Per 128-bit block, the levels of a's eight lanes then b's, narrowed to bytes with saturation.
HWY_INLINE hn::Vec<DU8> NarrowBlocks(hn::Vec<DU16> a, hn::Vec<DU16> b) {
#if HWY_TARGET == HWY_AVX3
    return hn::Vec<DU8>{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return hn::Vec<DU8>{_mm256_packus_epi16(a.raw, b.raw)};
#else
    return hn::Vec<DU8>{_mm_packus_epi16(a.raw, b.raw)};
#endif
}
#endif

struct VecRGB888 {
    using Ref = rows::PackRGB888;
    explicit VecRGB888(uint32_t) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16, V16, V16, uint8_t* p) const {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
        // Per 128-bit block, blue with green and red with itself narrowed (the saturation clamps
        // the levels to 255), then byte shuffles into the block's 24 bytes: 16 and 8.
        const DU8 d8;
        const auto bg = NarrowBlocks(Level(b), Level(g)), rr = NarrowBlocks(Level(r), Level(r));
        const auto bytes = [&](const Index& fromBG, const Index& fromR) {
            return hn::Or(hn::TableLookupBytesOr0(bg, hn::LoadU(d8, fromBG.data())),
                          hn::TableLookupBytesOr0(rr, hn::LoadU(d8, fromR.data()))).raw;
        };
        const auto first = bytes(kRGB888Bytes<0, false>, kRGB888Bytes<0, true>);
        const auto last = bytes(kRGB888Bytes<16, false>, kRGB888Bytes<16, true>);
#if HWY_TARGET == HWY_AVX3
        // The four blocks' bytes gathered into 96 contiguous ones by two dword permutes: output
        // dword k from `first` (0-15) or `last` (16-31), each block's four, then its two.
        alignas(64) static constexpr int32_t kDwords[32] = {0, 1, 2,  3,  16, 17, 4,  5,  6,  7,  20, 21,
                                                            8, 9, 10, 11, 24, 25, 12, 13, 14, 15, 28, 29};
        _mm512_storeu_si512(p, _mm512_permutex2var_epi32(first, _mm512_load_si512(kDwords), last));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 64),
                            _mm512_castsi512_si256(_mm512_permutex2var_epi32(first, _mm512_load_si512(kDwords + 16), last)));
#elif HWY_TARGET == HWY_AVX2
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(first));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), _mm256_castsi256_si128(last));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 24), _mm256_extracti128_si256(first, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 40), _mm256_extracti128_si256(last, 1));
#else
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), first);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), last);
#endif
#else
        const DU8H d8;
        const DI16 d16;
        hn::StoreInterleaved3(hn::DemoteTo(d8, hn::BitCast(d16, Byte(b))), hn::DemoteTo(d8, hn::BitCast(d16, Byte(g))),
                              hn::DemoteTo(d8, hn::BitCast(d16, Byte(r))), d8, p);
#endif
    }
};

struct VecARGB32 {
    using Ref = rows::PackARGB32;
    uint8_t alpha;
    explicit VecARGB32(uint32_t a) : alpha(static_cast<uint8_t>(a)) {}
    // Blue and green bytes in one 16-bit lane, red and alpha in another, stored interleaved.
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16, V16, V16, uint8_t* p) const {
        const DU16 du;
        hn::StoreInterleaved2(hn::Or(Byte(b), hn::ShiftLeft<8>(Byte(g))),
                              hn::Or(Byte(r), hn::Set(du, static_cast<uint16_t>(alpha << 8))), du,
                              reinterpret_cast<uint16_t*>(p));
    }
};

// Interpolation words: red (6 bits) << 21 | green (6 bits) << 10 | blue (5 bits).
struct VecInterp {
    using Ref = rows::PackInterp;
    explicit VecInterp(uint32_t) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16, V16, V16, uint8_t* p) const {
        const DU16 du;
        const auto low = hn::Or(hn::ShiftLeft<10>(hn::ShiftRight<2>(Byte(g))), hn::ShiftRight<3>(Byte(b)));
        const auto high = hn::ShiftLeft<5>(hn::ShiftRight<2>(Byte(r)));
        hn::StoreInterleaved2(low, high, du, reinterpret_cast<uint16_t*>(p));
    }
};

// ---- the row loop ---------------------------------------------------------------------------

// Converts kRows luma rows in vectors of N16 pixels, the last moved back to end at the row's end;
// returns the pixels done (all but an odd last one of shared chroma, or none of a row shorter
// than a vector). Chroma is one sample per pixel pair (kChromaShift 1) or per pixel (0).
template <class VecPack, int kRows, int kChromaShift, class Entries>
HWY_INLINE int32_t VectorPart(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2],
                              int32_t width, const Entries& entries, const VecPack& pack) {
    const DI16 d16;
    const DI32 d32;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d16));
    constexpr int kBytes = VecPack::Ref::kBytes;
    const auto step = [&](int32_t x) __attribute__((always_inline)) {
        V16 redA, redB, green, blueA, blueB, cbs, crs;
        if constexpr (kChromaShift == 1) {
            const V32 b = hn::PromoteTo(d32, hn::LoadU(DU8Q(), cb + (x >> 1)));
            const V32 r = hn::PromoteTo(d32, hn::LoadU(DU8Q(), cr + (x >> 1)));
            V32 cbHigh, cbLow, crHigh, crLow;
            entries.Chroma(b, r, cbHigh, cbLow, crHigh, crLow);
            SplitTerm<true>(crHigh, crLow, crHigh, crLow, redA, redB);
            SplitTerm<true>(cbHigh, cbLow, cbHigh, cbLow, blueA, blueB);
            green = GreenTerm<true>(cbLow, crLow, cbLow, crLow);
            cbs = JoinOf<true>(b, b);
            crs = JoinOf<true>(r, r);
        } else {
            const V32 b = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), cb + x)));
            const V32 r = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), cr + x)));
            V32 cbHighE, cbLowE, crHighE, crLowE, cbHighO, cbLowO, crHighO, crLowO;
            entries.Chroma(Even(b), Even(r), cbHighE, cbLowE, crHighE, crLowE);
            entries.Chroma(Odd(b), Odd(r), cbHighO, cbLowO, crHighO, crLowO);
            SplitTerm<false>(crHighE, crLowE, crHighO, crLowO, redA, redB);
            SplitTerm<false>(cbHighE, cbLowE, cbHighO, cbLowO, blueA, blueB);
            green = GreenTerm<false>(cbLowE, crLowE, cbLowO, crLowO);
            cbs = hn::BitCast(d16, b);
            crs = hn::BitCast(d16, r);
        }
        for (int row = 0; row < kRows; ++row) {
            const V32 s = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), y[row] + x)));
            const V16 luma = JoinClamped(entries.Luma(Even(s)), entries.Luma(Odd(s)));
            pack.Store(Channel(luma, redA, redB), Channel(luma, green, green), Channel(luma, blueA, blueB),
                       hn::BitCast(d16, s), cbs, crs, d[row] + x * kBytes);
        }
    };
    return WholeSteps<kChromaShift>(width, n, step);
}

#if HWY_TARGET == HWY_AVX3_DL
// ---- table look-ups with byte permutes (AVX-512 VBMI) ---------------------------------------
// A 256-entry byte table is four registers; 64 samples are looked up with four one-register
// permutes (the low six bits of each sample), merged by bits 6 and 7 (Bytes below). A 16-bit
// term is a table of low bytes and one of high bytes; a third permute lays the pairs out as
// 16-bit lanes in pixel order, duplicated per pixel pair for shared chroma.

struct SplitTerms {
    const uint8_t* base;
    // Four 64-byte permutes, each merged where bit 6 of the sample picks its quarter, the two
    // halves then blended by bit 7 (cheaper than two-source permutes and a blend). kShort: the
    // halves side by side, a shorter chain for one more operation.
    template <bool kShort = false>
    HWY_INLINE __m512i Bytes(__m512i samples, __mmask64 top, int32_t table, int half) const {
        const uint8_t* t = base + table * 512 + half * 256;
        const __mmask64 six = _mm512_movepi8_mask(_mm512_add_epi8(samples, samples));
        if constexpr (kShort) {
            const __m512i low = _mm512_mask_permutexvar_epi8(_mm512_permutexvar_epi8(samples, _mm512_load_si512(t)),
                                                             six, samples, _mm512_load_si512(t + 64));
            const __m512i high = _mm512_mask_permutexvar_epi8(
                _mm512_permutexvar_epi8(samples, _mm512_load_si512(t + 128)), six, samples, _mm512_load_si512(t + 192));
            return _mm512_mask_blend_epi8(top, low, high);
        }
        __m512i r = _mm512_permutexvar_epi8(samples, _mm512_load_si512(t));
        r = _mm512_mask_permutexvar_epi8(r, six, samples, _mm512_load_si512(t + 64));
        r = _mm512_mask_permutexvar_epi8(r, top, samples, _mm512_load_si512(t + 128));
        return _mm512_mask_permutexvar_epi8(r, six & top, samples, _mm512_load_si512(t + 192));
    }
    // The 16-bit values of `table` for the samples, laid out by `order`.
    HWY_INLINE void Lookup(__m512i samples, __mmask64 top, int32_t table, const __m512i order[2], V16 out[2]) const {
        const __m512i low = Bytes(samples, top, table, 0);
        const __m512i high = Bytes(samples, top, table, 1);
        out[0] = V16{_mm512_permutex2var_epi8(low, order[0], high)};
        out[1] = V16{_mm512_permutex2var_epi8(low, order[1], high)};
    }
};

HWY_INLINE __m512i Load(const Index& index) { return _mm512_loadu_si512(index.data()); }

// 16-bit lanes of half h (pixels 32h..32h+31) of a 64-pixel step from a low-byte and a
// high-byte source: sample j of the half, or sample j / 2 (chroma shared by a pixel pair).
template <int h>
constexpr Index kPixelOrder = MakeIndex([](int k) { return (k & 1) * 64 + 32 * h + (k >> 1); });
template <int h>
constexpr Index kPairOrder = MakeIndex([](int k) { return (k & 1) * 64 + 16 * h + (k >> 2); });


// Stores the 64 pixels of a step: two halves of 32 through the packer.
template <class VecPack>
HWY_INLINE void Store64(const VecPack& pack, const V16 r[2], const V16 g[2], const V16 b[2], const V16 y[2],
                        const V16 cb[2], const V16 cr[2], uint8_t* p) {
    for (int h = 0; h < 2; ++h) pack.Store(r[h], g[h], b[h], y[h], cb[h], cr[h], p + 32 * h * VecPack::Ref::kBytes);
}

// The low and high bytes of the chroma tables for 64 samples of each plane.
struct ChromaBytes {
    __m512i cbs, crs;  // the samples
    __m512i redA[2], blueA[2], cbLow[2], crLow[2];
};
HWY_INLINE ChromaBytes LookupChroma(const SplitTerms& split, __m512i cbs, __m512i crs) {
    const __mmask64 cbTop = _mm512_movepi8_mask(cbs), crTop = _mm512_movepi8_mask(crs);
    ChromaBytes c;
    c.cbs = cbs;
    c.crs = crs;
    for (int half = 0; half < 2; ++half) {
        c.redA[half] = split.Bytes(crs, crTop, kTermRedA, half);
        c.blueA[half] = split.Bytes(cbs, cbTop, kTermBlueA, half);
        c.cbLow[half] = split.Bytes(cbs, cbTop, kTermCbLow, half);
        c.crLow[half] = split.Bytes(crs, crTop, kTermCrLow, half);
    }
    return c;
}

// The chroma terms of 32 pixels, laid out by `order`.
struct ChromaTerms16 {
    V16 redA, redB, green, blueA, blueB, cbSamples, crSamples;
};
HWY_INLINE ChromaTerms16 TermsAt(const ChromaBytes& c, __m512i order) {
    const auto arrange = [order](const __m512i bytes[2]) {
        return V16{_mm512_permutex2var_epi8(bytes[0], order, bytes[1])};
    };
    ChromaTerms16 t;
    t.redA = arrange(c.redA);
    t.blueA = arrange(c.blueA);
    const V16 cbLow = arrange(c.cbLow), crLow = arrange(c.crLow);
    // The second half of a term: one more for a negative low half, held at 32767 (the split
    // tables' red B and blue B, computed here rather than looked up).
    t.redB = hn::SaturatedSub(t.redA, hn::ShiftRight<15>(crLow));
    t.blueB = hn::SaturatedSub(t.blueA, hn::ShiftRight<15>(cbLow));
    t.green = hn::Add(cbLow, crLow);  // wraps in 16 bits, as the entries' sum does
    // The samples themselves as 16-bit lanes (for the colour key), in the same order.
    t.cbSamples = V16{_mm512_permutex2var_epi8(c.cbs, order, _mm512_setzero_si512())};
    t.crSamples = V16{_mm512_permutex2var_epi8(c.crs, order, _mm512_setzero_si512())};
    return t;
}

// One step of 64 x kSteps columns of kRows rows: chroma looked up once (64 samples of a plane,
// shared by pixel pairs over 128 columns, or one a pixel over 64), then 64 columns at a time.
template <class VecPack, int kRows, int kChromaShift, int kSteps>
HWY_INLINE void LookupStep(const SplitTerms& split, const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr,
                           uint8_t* const d[2], int32_t x, const VecPack& pack) {
    constexpr int kBytes = VecPack::Ref::kBytes;
    __m512i cbs, crs;
    if constexpr (kChromaShift == 1 && kSteps == 1) {
        cbs = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cb + (x >> 1))));
        crs = _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cr + (x >> 1))));
    } else {
        cbs = _mm512_loadu_si512(cb + (x >> kChromaShift));
        crs = _mm512_loadu_si512(cr + (x >> kChromaShift));
    }
    const ChromaBytes chroma = LookupChroma(split, cbs, crs);
    static constexpr Index kOrders[4] = {kChromaShift ? kPairOrder<0> : kPixelOrder<0>,
                                         kChromaShift ? kPairOrder<1> : kPixelOrder<1>, kPairOrder<2>, kPairOrder<3>};
    for (int step = 0; step < kSteps; ++step) {
        const ChromaTerms16 t[2] = {TermsAt(chroma, Load(kOrders[2 * step])), TermsAt(chroma, Load(kOrders[2 * step + 1]))};
        const int32_t column = x + 64 * step;
        for (int row = 0; row < kRows; ++row) {
            const __m512i ys = _mm512_loadu_si512(y[row] + column);
            const __m512i pixelOrder[2] = {Load(kPixelOrder<0>), Load(kPixelOrder<1>)};
            V16 luma[2], red[2], green[2], blue[2], ySamples[2], cbSamples[2], crSamples[2];
            split.Lookup(ys, _mm512_movepi8_mask(ys), kTermLuma, pixelOrder, luma);
            for (int h = 0; h < 2; ++h) {
                ySamples[h] = V16{_mm512_permutex2var_epi8(ys, pixelOrder[h], _mm512_setzero_si512())};
                cbSamples[h] = t[h].cbSamples;
                crSamples[h] = t[h].crSamples;
                red[h] = Channel(luma[h], t[h].redA, t[h].redB);
                green[h] = Channel(luma[h], t[h].green, t[h].green);
                blue[h] = Channel(luma[h], t[h].blueA, t[h].blueB);
            }
            Store64(pack, red, green, blue, ySamples, cbSamples, crSamples, d[row] + column * kBytes);
        }
    }
}

// ---- ARGB32 and RGB888: even and odd pixels side by side --------------------------------
// Byte packing costs the two-source byte permutes most; these formats avoid them by keeping a
// 64-pixel step in an order that in-lane unpacks turn into memory order. Word j of lane k of a
// 32-lane vector holds sample Sigma(k, j) of a 32-sample block: the even pixel of that sample's
// pair in one vector, the odd one in another. A channel's 64 bytes then hold pixel
// Rho(k, q) = 4k + (q & 3) + 16 (q >> 2) at byte q of lane k (even and odd pixel of a word side
// by side). Unpacking the bytes of two channel vectors, then the words of two such results, gives
// pixels 0-15 and 16-31 from the low byte unpacks and 32-47 and 48-63 from the high ones.
constexpr int Sigma(int k, int j) { return 2 * k + (j & 1) + 8 * (j >> 1); }
// Luma (and 4:4:4 chroma) bytes gathered so that byte j of lane k holds the even pixel of sample
// Sigma(k, j) and byte 8 + j the odd one: the low and high unpacks of a table's low and high bytes
// then give the words of the even and the odd pixels.
constexpr Index kPairIndex = MakeIndex([](int b) { return 2 * Sigma(b / 16, b % 8) + (b % 16 >= 8 ? 1 : 0); });
// 64 chroma samples shared by pixel pairs: the low 8 bytes of each lane unpack to the words of
// samples 0-31, the high 8 to those of samples 32-63.
constexpr Index kSharedIndex =
    MakeIndex([](int b) { return (b % 16 < 8 ? 0 : 32) + Sigma(b / 16, b % 8); });

// The four chroma tables looked up: with kWholeTerms the red term whole and the low halves doubled.
template <int kFits>
constexpr int32_t kChromaTables[4] = {(kFits & kWholeTerms) ? kTermRedWhole : kTermRedA, kTermBlueA,
                                      (kFits & kWholeTerms) ? kTermCbLow2 : kTermCbLow,
                                      (kFits & kWholeTerms) ? kTermCrLow2 : kTermCrLow};
constexpr bool FromCr(int32_t table) {
    return table == kTermRedA || table == kTermCrLow || table == kTermRedWhole || table == kTermCrLow2;
}
template <int kFits>
constexpr bool kRedWhole = (kFits & kWholeTerms) != 0;
template <int kFits>
constexpr bool kBlueWhole = (kFits & (kWholeTerms | kBlueFits)) == (kWholeTerms | kBlueFits);

// The chroma terms of 32 samples, in Sigma order, as each channel adds them: the term whole
// (second unused) where the TermFit flags allow, else two halves of one sign added one after
// the other (green's two halves are equal).
struct SampleTerms {
    V16 red, redB, green, blue, blueB;
};
template <int kFits>
HWY_INLINE SampleTerms TermsOf(V16 red, V16 blueA, V16 cbLow, V16 crLow) {
    SampleTerms t;
    // As in TermsAt: a second half is one more for a negative low half, held at 32767. With
    // kWholeTerms, red comes whole and the low halves doubled (their sum is the green term).
    t.red = red;
    t.redB = kRedWhole<kFits> ? red : hn::SaturatedSub(red, hn::ShiftRight<15>(crLow));
    t.green = hn::Add(cbLow, crLow);
    t.blue = blueA;
    t.blueB = hn::SaturatedSub(blueA, hn::ShiftRight<15>(cbLow));
    if constexpr (kBlueWhole<kFits>) t.blue = hn::Add(t.blue, t.blueB);
    return t;
}
// One channel of 32 pixels, saturated: one addition for a whole term, two for halves.
template <bool kWhole>
HWY_INLINE V16 ChannelOf(V16 luma, V16 a, V16 b) {
    if constexpr (kWhole) {
        return hn::SaturatedAdd(luma, a);
    } else {
        return Channel(luma, a, b);
    }
}

// A channel's bytes for the pixel pairs: bits 7-14 of min(s, -1), the even pixel's in the low
// byte of each word, the odd one's in the high byte. kPort5: picked by bit-field extracts, one
// operation fewer but on port 5, which the 4:4:4 look-ups already fill; else shifts and a select.
template <bool kPort5>
HWY_INLINE __m512i PairBytes(V16 even, V16 odd) {
    const DI16 d16;
    const V16 m1 = hn::Set(d16, int16_t{-1});
    if constexpr (kPort5) {
        const __m512i bits = _mm512_set1_epi64(0x3737272717170707LL);  // bit 16j + 7, twice
        const __m512i low = _mm512_multishift_epi64_epi8(bits, hn::Min(even, m1).raw);
        return _mm512_mask_multishift_epi64_epi8(low, 0xAAAAAAAAAAAAAAAAULL, bits, hn::Min(odd, m1).raw);
    }
    return _mm512_ternarylogic_epi64(_mm512_set1_epi16(0x00FF), hn::ShiftRight<7>(hn::Min(even, m1)).raw,
                                     hn::ShiftLeft<1>(hn::Min(odd, m1)).raw, 0xCA);
}

// Position of pixel p in a channel's bytes.
constexpr int RhoInverse(int p) { return 16 * ((p % 16) / 4) + 4 * (p / 16) + p % 4; }
// RGB888 from Rho-ordered channels: output register q takes blue and green, then red.
template <int q>
constexpr Index kBlueGreenRho = MakeIndex([](int k) {
    const int byte = 64 * q + k;
    return byte % 3 == 0 ? RhoInverse(byte / 3) : byte % 3 == 1 ? 64 + RhoInverse(byte / 3) : 0;
});
template <int q>
constexpr Index kThenRedRho = MakeIndex([](int k) {
    const int byte = 64 * q + k;
    return byte % 3 == 2 ? 64 + RhoInverse(byte / 3) : k;
});
template <int q>
HWY_INLINE void StoreRGBThirdRho(__m512i b, __m512i g, __m512i r, uint8_t* p) {
    const __m512i bg = _mm512_permutex2var_epi8(b, Load(kBlueGreenRho<q>), g);
    _mm512_storeu_si512(p + 64 * q, _mm512_permutex2var_epi8(bg, Load(kThenRedRho<q>), r));
}

template <class VecPack>
HWY_INLINE void StorePairs(const VecPack& pack, __m512i b, __m512i g, __m512i r, uint8_t* p) {
    if constexpr (std::is_same_v<typename VecPack::Ref, rows::PackARGB32>) {
        const __m512i a = _mm512_set1_epi8(static_cast<char>(pack.alpha));
        const __m512i bgLow = _mm512_unpacklo_epi8(b, g), bgHigh = _mm512_unpackhi_epi8(b, g);
        const __m512i raLow = _mm512_unpacklo_epi8(r, a), raHigh = _mm512_unpackhi_epi8(r, a);
        _mm512_storeu_si512(p, _mm512_unpacklo_epi16(bgLow, raLow));
        _mm512_storeu_si512(p + 64, _mm512_unpackhi_epi16(bgLow, raLow));
        _mm512_storeu_si512(p + 128, _mm512_unpacklo_epi16(bgHigh, raHigh));
        _mm512_storeu_si512(p + 192, _mm512_unpackhi_epi16(bgHigh, raHigh));
    } else {
        StoreRGBThirdRho<0>(b, g, r, p);
        StoreRGBThirdRho<1>(b, g, r, p);
        StoreRGBThirdRho<2>(b, g, r, p);
    }
}

// The words of a 16-bit table for byte samples gathered by kPairIndex: even and odd pixels.
template <bool kShort = false>
HWY_INLINE void PairLookup(const SplitTerms& split, __m512i samples, __mmask64 top, int32_t table, V16& even,
                           V16& odd) {
    const __m512i low = split.Bytes<kShort>(samples, top, table, 0), high = split.Bytes<kShort>(samples, top, table, 1);
    even = V16{_mm512_unpacklo_epi8(low, high)};
    odd = V16{_mm512_unpackhi_epi8(low, high)};
}

// 64 columns of kRows rows, given the chroma terms of their even and odd pixels. kShared: chroma
// shared by pixel pairs, half the look-ups a pixel, leaving port 5 room for the shorter luma
// chains and the bytes picked there (4:4:4 is faster with neither).
template <class VecPack, int kRows, int kFits, bool kShared>
HWY_INLINE void PairColumns(const SplitTerms& split, const uint8_t* const y[2], uint8_t* const d[2], int32_t column,
                            const SampleTerms& even, const SampleTerms& odd, const VecPack& pack) {
    constexpr int kBytes = VecPack::Ref::kBytes;
    constexpr bool kWhole = kRedWhole<kFits>, kBlue = kBlueWhole<kFits>;
    // Both rows' luma first: the look-ups are long chains, and the rows' arithmetic fills their waits.
    V16 es[kRows], os[kRows];  // luma of the even and odd pixels
    for (int row = 0; row < kRows; ++row) {
        const __m512i ys = _mm512_permutexvar_epi8(Load(kPairIndex), _mm512_loadu_si512(y[row] + column));
        PairLookup<kShared>(split, ys, _mm512_movepi8_mask(ys), kTermLuma, es[row], os[row]);
    }
    for (int row = 0; row < kRows; ++row) {
        const V16 e = es[row], o = os[row];
        const __m512i r =
            PairBytes<kShared>(ChannelOf<kWhole>(e, even.red, even.redB), ChannelOf<kWhole>(o, odd.red, odd.redB));
        const __m512i g =
            PairBytes<kShared>(ChannelOf<kWhole>(e, even.green, even.green), ChannelOf<kWhole>(o, odd.green, odd.green));
        const __m512i b =
            PairBytes<kShared>(ChannelOf<kBlue>(e, even.blue, even.blueB), ChannelOf<kBlue>(o, odd.blue, odd.blueB));
        StorePairs(pack, b, g, r, d[row] + column * kBytes);
    }
}

// Chroma shared by pixel pairs: 64 samples of each plane serve 128 columns (kBlocks 2), or 32
// samples 64 columns (kBlocks 1). Look-ups take the shorter chains here (measured 5% faster);
// 4:4:4, with twice the look-ups a pixel, is faster with fewer operations.
template <class VecPack, int kRows, int kFits, int kBlocks>
HWY_INLINE void SharedPairStep(const SplitTerms& split, const uint8_t* const y[2], const uint8_t* cb,
                               const uint8_t* cr, uint8_t* const d[2], int32_t x, const VecPack& pack) {
    __m512i cbs, crs;
    if constexpr (kBlocks == 1) {
        cbs = _mm512_zextsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cb + (x >> 1))));
        crs = _mm512_zextsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cr + (x >> 1))));
    } else {
        cbs = _mm512_loadu_si512(cb + (x >> 1));
        crs = _mm512_loadu_si512(cr + (x >> 1));
    }
    cbs = _mm512_permutexvar_epi8(Load(kSharedIndex), cbs);
    crs = _mm512_permutexvar_epi8(Load(kSharedIndex), crs);
    const __mmask64 cbTop = _mm512_movepi8_mask(cbs), crTop = _mm512_movepi8_mask(crs);
    __m512i bytes[4][2];
    for (int t = 0; t < 4; ++t) {
        const int32_t table = kChromaTables<kFits>[t];
        for (int half = 0; half < 2; ++half)
            bytes[t][half] = split.Bytes<true>(FromCr(table) ? crs : cbs, FromCr(table) ? crTop : cbTop, table, half);
    }
    for (int block = 0; block < kBlocks; ++block) {
        const auto words = [&](int t) {
            return V16{block == 0 ? _mm512_unpacklo_epi8(bytes[t][0], bytes[t][1])
                                  : _mm512_unpackhi_epi8(bytes[t][0], bytes[t][1])};
        };
        const SampleTerms terms = TermsOf<kFits>(words(0), words(1), words(2), words(3));
        PairColumns<VecPack, kRows, kFits, true>(split, y, d, x + 64 * block, terms, terms, pack);
    }
}

// Chroma for every pixel (4:4:4): 64 samples of each plane for 64 columns.
template <class VecPack, int kRows, int kFits>
HWY_INLINE void OwnPairStep(const SplitTerms& split, const uint8_t* const y[2], const uint8_t* cb,
                            const uint8_t* cr, uint8_t* const d[2], int32_t x, const VecPack& pack) {
    const __m512i cbs = _mm512_permutexvar_epi8(Load(kPairIndex), _mm512_loadu_si512(cb + x));
    const __m512i crs = _mm512_permutexvar_epi8(Load(kPairIndex), _mm512_loadu_si512(cr + x));
    const __mmask64 cbTop = _mm512_movepi8_mask(cbs), crTop = _mm512_movepi8_mask(crs);
    V16 words[4][2];
    for (int t = 0; t < 4; ++t) {
        const int32_t table = kChromaTables<kFits>[t];
        PairLookup(split, FromCr(table) ? crs : cbs, FromCr(table) ? crTop : cbTop, table, words[t][0], words[t][1]);
    }
    PairColumns<VecPack, kRows, kFits, false>(split, y, d, x,
                                       TermsOf<kFits>(words[0][0], words[1][0], words[2][0], words[3][0]),
                                       TermsOf<kFits>(words[0][1], words[1][1], words[2][1], words[3][1]), pack);
}

// Whole steps of 64 pixels through the split term tables; returns the pixels done.
template <class VecPack, int kRows, int kChromaShift>
HWY_INLINE int32_t LookupPart(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2],
                              int32_t width, const uint8_t* terms, const VecPack& pack) {
    const SplitTerms split{terms};
    int32_t x = 0;
    using Ref = typename VecPack::Ref;
    if constexpr (std::is_same_v<Ref, rows::PackARGB32> || std::is_same_v<Ref, rows::PackRGB888>) {
        // Whole terms from their own tables for red and green (near-neutral saturation) or all
        // three (low saturation); else each as two halves.
        const auto steps = [&](auto fits) __attribute__((always_inline)) {
            constexpr int kFits = decltype(fits)::value;
            const VecPack packer = pack;  // a local copy: stores into the rows cannot change it
            if constexpr (kChromaShift == 1) {
                // Steps forced inline, as every step lambda here: out of line, their captures are
                // reloaded after every store into the rows (3-6% slower).
                const auto pairs = [&](int32_t at) __attribute__((always_inline)) {
                    SharedPairStep<VecPack, kRows, kFits, 2>(split, y, cb, cr, d, at, packer);
                };
                const auto pair = [&](int32_t at) __attribute__((always_inline)) {
                    SharedPairStep<VecPack, kRows, kFits, 1>(split, y, cb, cr, d, at, packer);
                };
                x = width >= 128 ? WholeSteps<1>(width, 128, pairs) : WholeSteps<1>(width, 64, pair);
            } else {
                const auto own = [&](int32_t at) __attribute__((always_inline)) {
                    OwnPairStep<VecPack, kRows, kFits>(split, y, cb, cr, d, at, packer);
                };
                x = WholeSteps<0>(width, 64, own);
            }
        };
        const int fits = terms[kTermFitsOffset];
        constexpr int kWhole = kRedFits | kGreenFits | kWholeTerms;
        if (fits == (kWhole | kBlueFits)) {
            steps(std::integral_constant<int, kWhole | kBlueFits>());
        } else if ((fits & kWhole) == kWhole) {
            steps(std::integral_constant<int, kWhole>());
        } else {
            steps(std::integral_constant<int, 0>());
        }
        return x;
    }
    const auto one = [&](int32_t at) __attribute__((always_inline)) {
        LookupStep<VecPack, kRows, kChromaShift, 1>(split, y, cb, cr, d, at, pack);
    };
    if constexpr (kChromaShift == 1) {
        const auto two = [&](int32_t at) __attribute__((always_inline)) {
            LookupStep<VecPack, kRows, 1, 2>(split, y, cb, cr, d, at, pack);
        };
        if (width >= 128) return WholeSteps<1>(width, 128, two);
    }
    return WholeSteps<kChromaShift>(width, 64, one);
}
#endif  // HWY_AVX3_DL

template <class VecPack, int kRows, int kChromaShift>
void ConvertRows(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2], int32_t width,
                 const ConvTables& t, uint32_t arg) {
    const VecPack pack(arg);
    int32_t done;
#if HWY_TARGET == HWY_AVX3_DL
    if (t.terms != nullptr) {
        done = LookupPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, t.terms, pack);
    } else
#endif
    if (t.fit != nullptr && t.fit->ok) {
        done = t.fit->plain
                   ? VectorPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, FittedEntries<true>(*t.fit), pack)
                   : VectorPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, FittedEntries<false>(*t.fit), pack);
    } else {
        done = VectorPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, GatheredEntries{t}, pack);
    }
    if (done == width) return;
    constexpr int kBytes = VecPack::Ref::kBytes;
    const uint8_t* const yRest[2] = {y[0] + done, y[1] + done};
    uint8_t* const dRest[2] = {d[0] + done * kBytes, d[1] + done * kBytes};
    rows::ConvertRows<typename VecPack::Ref, kRows, kChromaShift>(yRest, cb + (done >> kChromaShift),
                                                                   cr + (done >> kChromaShift), dRest, width - done, t,
                                                                   arg);
}

template <class VecPack>
constexpr auto RowPair = &rows::RowPairOf<&ConvertRows<VecPack, 2, 1>>;
template <class VecPack, int kChromaShift>
constexpr auto Row = &rows::RowOf<&ConvertRows<VecPack, 1, kChromaShift>>;

}  // namespace

void FillPlanarKernels(KernelTable* k);  // planar_rows_simd.cpp
// The deinterlacer's entries (deinterlace/deinterlace_simd.cpp).
void FillDeinterlaceKernels(KernelTable* k);

void FillKernels(KernelTable* k) {
    k->name = hwy::TargetName(HWY_TARGET);
    k->pairToRGB565 = RowPair<VecRGB565>;
    k->pairToRGB888 = RowPair<VecRGB888>;
    k->pairToARGB32 = RowPair<VecARGB32>;
    k->pairToRGB555 = RowPair<VecRGB555>;
    k->pairToInterp = RowPair<VecInterp>;
    k->row422ToRGB565 = Row<VecRGB565, 1>;
    k->row444ToRGB565 = Row<VecRGB565, 0>;
    k->row444ToRGB888 = Row<VecRGB888, 0>;
    k->row444ToARGB32 = Row<VecARGB32, 0>;
    FillPlanarKernels(k);
    FillDeinterlaceKernels(k);
}

}  // namespace HWY_NAMESPACE
}  // namespace qv
HWY_AFTER_NAMESPACE();
#endif  // vector targets

#if HWY_ONCE
namespace qv {
namespace {

struct TargetFill {
    int64_t target;
    void (*fill)(KernelTable*);
};
// Best first, as Highway orders its targets.
constexpr TargetFill kTargetFills[] = {
#if HWY_TARGETS & HWY_AVX3_DL
    {HWY_AVX3_DL, &N_AVX3_DL::FillKernels},
#endif
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, &N_AVX3::FillKernels},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, &N_AVX2::FillKernels},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, &N_SSE4::FillKernels},
#endif
#if HWY_TARGETS & HWY_SVE2_128
    {HWY_SVE2_128, &N_SVE2_128::FillKernels},
#endif
#if HWY_TARGETS & HWY_SVE_256
    {HWY_SVE_256, &N_SVE_256::FillKernels},
#endif
#if HWY_TARGETS & HWY_SVE2
    {HWY_SVE2, &N_SVE2::FillKernels},
#endif
#if HWY_TARGETS & HWY_SVE
    {HWY_SVE, &N_SVE::FillKernels},
#endif
#if HWY_TARGETS & HWY_NEON
    {HWY_NEON, &N_NEON::FillKernels},
#endif
    {0, nullptr},
};

}  // namespace

const VectorKernelSet* VectorKernelSets(int* count) {
    static VectorKernelSet sets[sizeof(kTargetFills) / sizeof(kTargetFills[0])];
    static const int n = [] {
        int k = 0;
        // The build's own target runs wherever the build does, whether or not the Highway
        // library (built for a lesser baseline, as Debian's armhf one is) reports it.
        const int64_t supported = hwy::SupportedTargets() | HWY_STATIC_TARGET;
        for (const TargetFill& f : kTargetFills) {
            if (f.fill == nullptr || (supported & f.target) == 0) continue;
            sets[k].target = f.target;
            f.fill(&sets[k].table);
            ++k;
        }
        return k;
    }();
    *count = n;
    return sets;
}

}  // namespace qv
#endif  // HWY_ONCE
