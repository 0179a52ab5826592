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

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/ycbcr_rows_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/kernel_table.h"
#include "core/ycbcr_rows.h"

// The one-lane fallback targets get nothing: the scalar references serve there.
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
namespace qv {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

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
HWY_INLINE V32 Even(V32 v) { return hn::And(v, hn::Set(DI32(), 0xFFFF)); }
HWY_INLINE V32 Odd(V32 v) { return hn::ShiftRight<16>(v); }
HWY_INLINE V32 Clamp16(V32 v) {
    const DI32 d32;
    return hn::Min(hn::Max(v, hn::Set(d32, -32768)), hn::Set(d32, 32767));
}

// The entries of the four chroma halves for the samples in 32-bit lanes.
struct ChromaEntries {
    V32 cbHigh, cbLow, crHigh, crLow;
};

// Entries computed from the fitted lines. The coefficients are broadcast once per row: read
// from the fit inside the loop they would be reloaded after every store into the destination.
struct FittedEntries {
    struct Half {
        V32 split, a0, b0, a1, b1;
        int shift;
    };
    V32 lumaA, lumaB;
    int lumaShift;
    Half half[4];
    explicit FittedEntries(const ConvFit& fit) {
        const DI32 d32;
        lumaA = hn::Set(d32, fit.luma.a);
        lumaB = hn::Set(d32, fit.luma.b);
        lumaShift = fit.luma.shift;
        for (int t = 0; t < 4; ++t) {
            // Both pieces of a half share one shift.
            half[t] = {hn::Set(d32, fit.split[t]), hn::Set(d32, fit.chroma[t][0].a), hn::Set(d32, fit.chroma[t][0].b),
                       hn::Set(d32, fit.chroma[t][1].a), hn::Set(d32, fit.chroma[t][1].b), fit.chroma[t][0].shift};
        }
    }
    HWY_INLINE V32 Entry(V32 s, int t) const {
        const Half& h = half[t];
        const auto below = hn::Lt(s, h.split);
        const V32 line = hn::Add(hn::Mul(s, hn::IfThenElse(below, h.a0, h.a1)), hn::IfThenElse(below, h.b0, h.b1));
        return Clamp16(hn::ShiftRightSame(line, h.shift));
    }
    // y - 32768 for luma samples.
    HWY_INLINE V32 Luma(V32 s) const {
        return Clamp16(hn::ShiftRightSame(hn::Add(hn::Mul(s, lumaA), lumaB), lumaShift));
    }
    HWY_INLINE ChromaEntries Chroma(V32 cb, V32 cr) const {
        return {Entry(cb, 0), Entry(cb, 1), Entry(cr, 2), Entry(cr, 3)};
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
    HWY_INLINE ChromaEntries Chroma(V32 cb, V32 cr) const {
        const DI32 d32;
        const V32 b = hn::GatherIndex(d32, t.cb, cb);
        const V32 r = hn::GatherIndex(d32, t.cr, cr);
        return {hn::ShiftRight<16>(b), hn::ShiftRight<16>(hn::ShiftLeft<16>(b)), hn::ShiftRight<16>(r),
                hn::ShiftRight<16>(hn::ShiftLeft<16>(r))};
    }
};

// The chroma terms of each pixel as split halves in 16-bit lanes (green's two halves are equal).
struct Terms {
    V16 redA, redB, green, blueA, blueB;
};

// Terms from the chroma entries of the even and the odd pixels of each 32-bit lane.
HWY_INLINE Terms TermsOf(const ChromaEntries& e, const ChromaEntries& o) {
    const DI32 d32;
    // The second half of a red or blue term is the high half plus one for a negative low half.
    // Past 32767 (a high half at its limit) the sum saturates either way, so it is held there.
    const auto second = [&](V32 high, V32 low) {
        return hn::Min(hn::Sub(high, hn::ShiftRight<31>(low)), hn::Set(d32, 32767));
    };
    const auto green = [](const ChromaEntries& c) {
        return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::Add(c.cbLow, c.crLow)));  // the 16-bit sum
    };
    return {Join(e.crHigh, o.crHigh), Join(second(e.crHigh, e.crLow), second(o.crHigh, o.crLow)),
            Join(green(e), green(o)), Join(e.cbHigh, o.cbHigh),
            Join(second(e.cbHigh, e.cbLow), second(o.cbHigh, o.cbLow))};
}

// Saturated Y' + a + b: one channel of every pixel, before the shift by 7.
HWY_INLINE V16 Channel(V16 luma, V16 a, V16 b) { return hn::SaturatedAdd(hn::SaturatedAdd(luma, a), b); }
// The 8-bit channel value in a 16-bit lane, 0..255.
HWY_INLINE hn::Vec<DU16> Byte(V16 sum) {
    const DI16 d16;
    const V16 m = hn::Min(sum, hn::Set(d16, int16_t{-1}));
    return hn::ShiftRight<7>(hn::BitCast(DU16(), hn::Xor(m, hn::Set(d16, int16_t{-32768}))));
}

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

struct VecRGB888 {
    using Ref = rows::PackRGB888;
    explicit VecRGB888(uint32_t) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16, V16, V16, uint8_t* p) const {
        const DU8H d8;
        const DI16 d16;
        hn::StoreInterleaved3(hn::DemoteTo(d8, hn::BitCast(d16, Byte(b))), hn::DemoteTo(d8, hn::BitCast(d16, Byte(g))),
                              hn::DemoteTo(d8, hn::BitCast(d16, Byte(r))), d8, p);
    }
};

struct VecARGB32 {
    using Ref = rows::PackARGB32;
    uint8_t alpha;
    explicit VecARGB32(uint32_t a) : alpha(static_cast<uint8_t>(a)) {}
    HWY_INLINE void Store(V16 r, V16 g, V16 b, V16, V16, V16, uint8_t* p) const {
        const DU8H d8;
        const DI16 d16;
        hn::StoreInterleaved4(hn::DemoteTo(d8, hn::BitCast(d16, Byte(b))), hn::DemoteTo(d8, hn::BitCast(d16, Byte(g))),
                              hn::DemoteTo(d8, hn::BitCast(d16, Byte(r))), hn::Set(d8, alpha), d8, p);
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

// Converts whole vectors of N16 pixels of kRows luma rows; returns the pixels done. Chroma is
// one sample per pixel pair (kChromaShift 1) or per pixel (0).
template <class VecPack, int kRows, int kChromaShift, class Entries>
HWY_INLINE int32_t VectorPart(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2],
                              int32_t width, const Entries& entries, const VecPack& pack) {
    const DI16 d16;
    const DI32 d32;
    const int32_t n = static_cast<int32_t>(hn::Lanes(d16));
    constexpr int kBytes = VecPack::Ref::kBytes;
    int32_t x = 0;
    for (; x + n <= width; x += n) {
        Terms t;
        V16 cbs, crs;
        if constexpr (kChromaShift == 1) {
            const V32 b = hn::PromoteTo(d32, hn::LoadU(DU8Q(), cb + (x >> 1)));
            const V32 r = hn::PromoteTo(d32, hn::LoadU(DU8Q(), cr + (x >> 1)));
            const ChromaEntries c = entries.Chroma(b, r);
            t = TermsOf(c, c);
            cbs = Join(b, b);
            crs = Join(r, r);
        } else {
            const V32 b = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), cb + x)));
            const V32 r = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), cr + x)));
            t = TermsOf(entries.Chroma(Even(b), Even(r)), entries.Chroma(Odd(b), Odd(r)));
            cbs = hn::BitCast(d16, b);
            crs = hn::BitCast(d16, r);
        }
        for (int row = 0; row < kRows; ++row) {
            const V32 s = hn::BitCast(d32, hn::PromoteTo(DU16(), hn::LoadU(DU8H(), y[row] + x)));
            const V16 luma = Join(entries.Luma(Even(s)), entries.Luma(Odd(s)));
            pack.Store(Channel(luma, t.redA, t.redB), Channel(luma, t.green, t.green), Channel(luma, t.blueA, t.blueB),
                       hn::BitCast(d16, s), cbs, crs, d[row] + x * kBytes);
        }
    }
    return x;
}

template <class VecPack, int kRows, int kChromaShift>
void ConvertRows(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2], int32_t width,
                 const ConvTables& t, uint32_t arg) {
    const VecPack pack(arg);
    const int32_t done = t.fit != nullptr && t.fit->ok
                             ? VectorPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, FittedEntries(*t.fit), pack)
                             : VectorPart<VecPack, kRows, kChromaShift>(y, cb, cr, d, width, GatheredEntries{t}, pack);
    if (done == width) return;
    constexpr int kBytes = VecPack::Ref::kBytes;
    const uint8_t* const yRest[2] = {y[0] + done, y[1] + done};
    uint8_t* const dRest[2] = {d[0] + done * kBytes, d[1] + done * kBytes};
    rows::ConvertRows<typename VecPack::Ref, kRows, kChromaShift>(yRest, cb + (done >> kChromaShift),
                                                                   cr + (done >> kChromaShift), dRest, width - done, t,
                                                                   arg);
}

template <class VecPack>
void RowPair(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* d0, uint8_t* d1,
             int32_t width, const ConvTables& t, uint32_t arg) {
    const uint8_t* const y[2] = {y0, y1};
    uint8_t* const d[2] = {d0, d1};
    ConvertRows<VecPack, 2, 1>(y, cb, cr, d, width, t, arg);
}

template <class VecPack, int kChromaShift>
void Row(const uint8_t* y0, const uint8_t* cb, const uint8_t* cr, uint8_t* d0, int32_t width, const ConvTables& t,
         uint32_t arg) {
    const uint8_t* const y[2] = {y0, y0};
    uint8_t* const d[2] = {d0, d0};
    ConvertRows<VecPack, 1, kChromaShift>(y, cb, cr, d, width, t, arg);
}

}  // namespace

void FillKernels(KernelTable* k) {
    k->name = hwy::TargetName(HWY_TARGET);
    k->pairToRGB565 = &RowPair<VecRGB565>;
    k->pairToRGB888 = &RowPair<VecRGB888>;
    k->pairToARGB32 = &RowPair<VecARGB32>;
    k->pairToRGB555 = &RowPair<VecRGB555>;
    k->pairToInterp = &RowPair<VecInterp>;
    k->row422ToRGB565 = &Row<VecRGB565, 1>;
    k->row444ToRGB565 = &Row<VecRGB565, 0>;
    k->row444ToRGB888 = &Row<VecRGB888, 0>;
    k->row444ToARGB32 = &Row<VecARGB32, 0>;
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
        const int64_t supported = hwy::SupportedTargets();
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
