// Vector variants of the packed-RGB row kernels (rgb_rows.h), one source for every Highway target.
//
// Every sum is exact in 16-bit lanes: luma's 65 r + 129 g + 25 b + 128 stays below 65536 and each
// chroma sum stays within -28672 .. 28688. A 32-bit pixel viewed as two 16-bit lanes holds two
// channels in the low bytes and two in the high bytes, so two multiplications by alternating
// weights and one addition of the lane halves give the pixel's sum. The last vector of a row is
// moved back to end at the row's end (rewriting equal bytes); rows shorter than one vector go
// through the scalar references.

#include "core/simd_targets.h"  // before foreach_target

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/rgb_rows_simd.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "core/kernel_table.h"
#include "core/vector_steps-inl.h"
#include "core/rgb_rows.h"

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
HWY_BEFORE_NAMESPACE();
// The AVX3_DL target's CPUs (Ice Lake and later) have the 512-bit VNNI instructions, which
// Highway's target string does not name; GCC adds them to the target (Clang builds, such as the
// fuzzer's, take the vpmaddwd sums).
#if HWY_TARGET == HWY_AVX3_DL && HWY_COMPILER_GCC_ACTUAL
#define QV_VNNI 1
#pragma GCC target("avx512vnni")
#else
#define QV_VNNI 0
#endif
// AVX2 and AVX-512 without VNNI: 32-bit pixels weighed by byte pairs in 256-bit vectors.
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || (HWY_TARGET == HWY_AVX3_DL && !QV_VNNI)
#define QV_YMM_SUMS 1
#else
#define QV_YMM_SUMS 0
#endif
namespace qv {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DU32 = hn::ScalableTag<uint32_t>;
using DI32 = hn::RebindToSigned<DU32>;
using DU16 = hn::Repartition<uint16_t, DU32>;
using DI16 = hn::RebindToSigned<DU16>;
using DU8Q = hn::Rebind<uint8_t, DU32>;  // one byte per 32-bit lane
using DU8H = hn::Rebind<uint8_t, DU16>;  // one byte per 16-bit lane

// Runs f(i) for i = 0, step, 2 step, ... with the last call at n - step; false if n < step.
template <class F>
HWY_INLINE bool Cover(int32_t n, int32_t step, F f) {
    if (n < step) return false;
    for (int32_t i = 0;; i += step) {
        if (i > n - step) i = n - step;
        f(i);
        if (i == n - step) return true;
    }
}

// Two weights for the low and high 16-bit halves of each 32-bit lane.
HWY_INLINE hn::Vec<DU16> Weights(int32_t low, int32_t high) {
    return hn::BitCast(DU16(), hn::Set(DU32(), (static_cast<uint32_t>(low) & 0xFFFF) |
                                                    (static_cast<uint32_t>(high) & 0xFFFF) << 16));
}

// Weighted bytes of 32-bit pixels: in each lane's low half byte 0 x wLow + byte 1 x wHigh, in its
// high half byte 2 x wLow + byte 3 x wHigh (each weight vector holds a low and a high weight).
HWY_INLINE hn::Vec<DU16> Products(hn::Vec<DU32> v, hn::Vec<DU16> wLow, hn::Vec<DU16> wHigh) {
    const DU16 d16;
    const auto x = hn::BitCast(d16, v);
    return hn::Add(hn::Mul(hn::And(x, hn::Set(d16, 0xFF)), wLow), hn::Mul(hn::ShiftRight<8>(x), wHigh));
}

// ---- 32-bit pixels --------------------------------------------------------------------------
// kRedLow: red is byte 0 (ABGR32), else byte 2 (ARGB32); blue is the other one.
// A 32-bit pixel's weighted sum: a lane of 4224 + 65 r + 129 g + 25 b for luma (the rounding
// term and the offset 16 folded together), or 32896 + the chroma sum (128 and the offset 128).
// Each sum is the pixel's luma or chroma value shifted left by 8.
#if QV_VNNI
// VNNI: four unsigned bytes times four signed weights, summed into the 32-bit lane. Green's 129
// is taken as 64 + 65.
struct Sums32 {
    __m512i yA, yB, cb, cr;
    explicit Sums32(bool redLow) {
        const auto bytes = [](int w0, int w1, int w2, int w3) {
            return _mm512_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(w0) & 0xFF) |
                                                          (static_cast<uint32_t>(w1) & 0xFF) << 8 |
                                                          (static_cast<uint32_t>(w2) & 0xFF) << 16 |
                                                          (static_cast<uint32_t>(w3) & 0xFF) << 24));
        };
        yA = redLow ? bytes(65, 64, 25, 0) : bytes(25, 64, 65, 0);
        yB = bytes(0, 65, 0, 0);
        cb = redLow ? bytes(-38, -74, 112, 0) : bytes(112, -74, -38, 0);
        cr = redLow ? bytes(112, -94, -18, 0) : bytes(-18, -94, 112, 0);
    }
    HWY_INLINE hn::Vec512<uint32_t> Luma(hn::Vec512<uint32_t> v) const {
        const __m512i acc = _mm512_dpbusd_epi32(_mm512_set1_epi32(4224), v.raw, yA);
        return hn::Vec512<uint32_t>{_mm512_dpbusd_epi32(acc, v.raw, yB)};
    }
    HWY_INLINE hn::Vec512<uint32_t> Cb(hn::Vec512<uint32_t> v) const {
        return hn::Vec512<uint32_t>{_mm512_dpbusd_epi32(_mm512_set1_epi32(32896), v.raw, cb)};
    }
    HWY_INLINE hn::Vec512<uint32_t> Cr(hn::Vec512<uint32_t> v) const {
        return hn::Vec512<uint32_t>{_mm512_dpbusd_epi32(_mm512_set1_epi32(32896), v.raw, cr)};
    }
};
#elif HWY_ARCH_X86
// Bytes 0 and 2 (and 1 and 3) as 16-bit lanes, multiplied by a weight pair and summed pairwise
// into the 32-bit lane (vpmaddwd).
struct Sums32 {
    hn::Vec<DI16> yLow, yHigh, cbLow, cbHigh, crLow, crHigh;
    explicit Sums32(bool redLow)
        : yLow(hn::BitCast(DI16(), redLow ? Weights(65, 25) : Weights(25, 65))),
          yHigh(hn::BitCast(DI16(), Weights(129, 0))),
          cbLow(hn::BitCast(DI16(), redLow ? Weights(-38, 112) : Weights(112, -38))),
          cbHigh(hn::BitCast(DI16(), Weights(-74, 0))),
          crLow(hn::BitCast(DI16(), redLow ? Weights(112, -18) : Weights(-18, 112))),
          crHigh(hn::BitCast(DI16(), Weights(-94, 0))) {}
    HWY_INLINE hn::Vec<DU32> Sum(hn::Vec<DU32> v, int32_t start, hn::Vec<DI16> wLow, hn::Vec<DI16> wHigh) const {
        const DI16 d16;
        const DI32 d32;
        const auto low = hn::And(hn::BitCast(d16, v), hn::Set(d16, 0xFF));
        const auto high = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(DU16(), v)));
        hn::Vec<DI32> unused = hn::Zero(d32);
        auto acc = hn::ReorderWidenMulAccumulate(d32, low, wLow, hn::Set(d32, start), unused);
        acc = hn::ReorderWidenMulAccumulate(d32, high, wHigh, acc, unused);
        return hn::BitCast(DU32(), acc);
    }
    HWY_INLINE hn::Vec<DU32> Luma(hn::Vec<DU32> v) const { return Sum(v, 4224, yLow, yHigh); }
    HWY_INLINE hn::Vec<DU32> Cb(hn::Vec<DU32> v) const { return Sum(v, 32896, cbLow, cbHigh); }
    HWY_INLINE hn::Vec<DU32> Cr(hn::Vec<DU32> v) const { return Sum(v, 32896, crLow, crHigh); }
};
#else
// Two 16-bit multiplications by weight pairs, then the lane halves added (signed for chroma). The
// pairs are held as scalars (SVE vectors cannot be members) and broadcast where used; the
// broadcasts are the same in every iteration and leave the loop.
struct Sums32 {
    static constexpr uint32_t Pair(int32_t low, int32_t high) {
        return (static_cast<uint32_t>(low) & 0xFFFF) | (static_cast<uint32_t>(high) & 0xFFFF) << 16;
    }
    uint32_t yLow, yHigh, cbLow, cbHigh, crLow, crHigh;
    explicit Sums32(bool redLow)
        : yLow(redLow ? Pair(65, 25) : Pair(25, 65)),
          yHigh(Pair(129, 0)),
          cbLow(redLow ? Pair(-38, 112) : Pair(112, -38)),
          cbHigh(Pair(-74, 0)),
          crLow(redLow ? Pair(112, -18) : Pair(-18, 112)),
          crHigh(Pair(-94, 0)) {}
    static HWY_INLINE hn::Vec<DU16> Weights(uint32_t pair) { return hn::BitCast(DU16(), hn::Set(DU32(), pair)); }
    HWY_INLINE hn::Vec<DU32> Luma(hn::Vec<DU32> v) const {
        const DU32 d32;
        const auto p = hn::BitCast(d32, Products(v, Weights(yLow), Weights(yHigh)));
        return hn::Add(hn::Add(hn::And(p, hn::Set(d32, 0xFFFF)), hn::ShiftRight<16>(p)), hn::Set(d32, 4224));
    }
    HWY_INLINE hn::Vec<DU32> Chroma(hn::Vec<DU32> v, uint32_t wLow, uint32_t wHigh) const {
        const DI32 d32;
        const auto p = hn::BitCast(d32, Products(v, Weights(wLow), Weights(wHigh)));
        const auto sum = hn::Add(hn::ShiftRight<16>(hn::ShiftLeft<16>(p)), hn::ShiftRight<16>(p));
        return hn::BitCast(DU32(), hn::Add(sum, hn::Set(d32, 32896)));
    }
    HWY_INLINE hn::Vec<DU32> Cb(hn::Vec<DU32> v) const { return Chroma(v, cbLow, cbHigh); }
    HWY_INLINE hn::Vec<DU32> Cr(hn::Vec<DU32> v) const { return Chroma(v, crLow, crHigh); }
};
#endif

// The value of a sum (below 65536 and not negative) as bytes.
HWY_INLINE void StoreValues(hn::Vec<DU32> sum, uint8_t* p) {
    hn::StoreU(hn::DemoteTo(DU8Q(), hn::BitCast(DI32(), hn::ShiftRight<8>(sum))), DU8Q(), p);
}

#if QV_VNNI
// Byte 1 of each 32-bit lane of a vector (a sum's value) in bytes 0-15, repeated for each quarter:
// a permute merged into quarter q of the result takes the values of 16 sums.
constexpr Index kByte1 = MakeIndex([](int k) { return 4 * (k & 15) + 1; });

// 64 pixels a step. Luma: the weights are the unsigned operand (129 does not fit a signed byte)
// and the pixels, less 128 each, the signed one; 128 x (65 + 129 + 25) = 28032 more in the start
// value undoes that. The value is byte 1 of each 32-bit sum: four byte permutes, three of them
// merged under masks, gather the 64 values.
template <bool kRedLow>
HWY_INLINE bool LumaVnni(const uint8_t* src, uint8_t* y, int32_t n) {
    if (n < 64) return false;
    const __m512i weights = _mm512_set1_epi32(kRedLow ? 0x00198141 : 0x00418119);  // red 65, green 129, blue 25
    const __m512i start = _mm512_set1_epi32(4224 + 28032);
    const __m512i bias = _mm512_set1_epi32(static_cast<int32_t>(0x80808080u));
    const __m512i order = _mm512_loadu_si512(kByte1.data());
    const auto sum = [&](const uint8_t* p) {
        return _mm512_dpbusd_epi32(start, weights, _mm512_xor_si512(_mm512_loadu_si512(p), bias));
    };
    const auto step = [&](int32_t i) {
        const uint8_t* p = src + 4 * i;
        __m512i v = _mm512_permutexvar_epi8(order, sum(p));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF0000ull, order, sum(p + 64));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF00000000ull, order, sum(p + 128));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF000000000000ull, order, sum(p + 192));
        _mm512_storeu_si512(y + i, v);
    };
    EachStep(n, 64, step);
    return true;
}
#endif


#if QV_YMM_SUMS
// 256-bit sums in 16-bit lanes (every sum and partial sum fits): vpmaddubsw weighs byte pairs,
// vpmaddwd with ones adds the pairs of a pixel. Luma's weights are the unsigned operand (129 does
// not fit a signed byte) and the pixels, less 128 each, the signed one; 128 x (65 + 129 + 25) =
// 28032 more in the offset undoes that.
struct Sums256 {
    __m256i y, cb, cr;
    explicit Sums256(bool redLow)
        : y(_mm256_set1_epi32(redLow ? 0x00198141 : 0x00418119)),  // red 65, green 129, blue 25
          cb(_mm256_set1_epi32(redLow ? 0x0070B6DA : 0x00DAB670)),  // red -38, green -74, blue 112
          cr(_mm256_set1_epi32(redLow ? 0x00EEA270 : 0x0070A2EE)) {}  // red 112, green -94, blue -18
    static __m256i Pixel(__m256i pairs) { return _mm256_madd_epi16(pairs, _mm256_set1_epi16(1)); }
    __m256i Luma(__m256i v) const {
        return Pixel(_mm256_maddubs_epi16(y, _mm256_xor_si256(v, _mm256_set1_epi8(-128))));
    }
    __m256i Cb(__m256i v) const { return Pixel(_mm256_maddubs_epi16(v, cb)); }
    __m256i Cr(__m256i v) const { return Pixel(_mm256_maddubs_epi16(v, cr)); }
};

// The values of 32 sums (s0 .. s3, each holding 8 in order by 128-bit halves) plus an offset (the
// rounding term and the value's offset, shifted left by 8) as 32 bytes in order.
HWY_INLINE void StoreValues32(__m256i s0, __m256i s1, __m256i s2, __m256i s3, int16_t offset, uint8_t* p) {
    const __m256i k = _mm256_set1_epi16(offset);
    // The 16-bit sums wrap to the unsigned values they stand for.
    const __m256i w0 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_packs_epi32(s0, s1), k), 8);
    const __m256i w1 = _mm256_srli_epi16(_mm256_add_epi16(_mm256_packs_epi32(s2, s3), k), 8);
    // The packs interleave 4-byte groups by 128-bit halves.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permutevar8x32_epi32(_mm256_packus_epi16(w0, w1), order));
}

template <bool kRedLow>
HWY_INLINE bool Luma256(const uint8_t* src, uint8_t* y, int32_t n) {
    if (n < 32) return false;
    const Sums256 sums(kRedLow);
    const auto step = [&](int32_t i) {
        const auto sum = [&](int k) {
            return sums.Luma(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + 4 * i + 32 * k)));
        };
        StoreValues32(sum(0), sum(1), sum(2), sum(3), static_cast<int16_t>(4224 + 28032), y + i);
    };
    EachStep(n, 32, step);
    return true;
}

// 32 pixel pairs a step. Pixels 0-3 and 8-11, 4-7 and 12-15 of each 16 are loaded as pairs of
// halves, so that one shuffle of odd 32-bit lanes leaves the 8 corners in order by halves.
template <bool kRedLow>
HWY_INLINE bool Chroma256(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n) {
    if (n < 32) return false;
    const Sums256 sums(kRedLow);
    const auto step = [&](int32_t i) {
        __m256i corners[4];
        for (int k = 0; k < 4; ++k) {
            const uint8_t* p = src + 8 * i + 64 * k;
            const auto halves = [&](int a, int b) {
                return _mm256_inserti128_si256(
                    _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + a))),
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + b)), 1);
            };
            corners[k] = _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(halves(0, 32)),
                                                               _mm256_castsi256_ps(halves(16, 48)), 0xDD));
        }
        StoreValues32(sums.Cb(corners[0]), sums.Cb(corners[1]), sums.Cb(corners[2]), sums.Cb(corners[3]),
                      static_cast<int16_t>(32896), cb + i);
        StoreValues32(sums.Cr(corners[0]), sums.Cr(corners[1]), sums.Cr(corners[2]), sums.Cr(corners[3]),
                      static_cast<int16_t>(32896), cr + i);
    };
    EachStep(n, 32, step);
    return true;
}
#endif

template <bool kRedLow>
void Luma32(const uint8_t* src, uint8_t* y, int32_t n) {
#if QV_VNNI
    if (LumaVnni<kRedLow>(src, y, n)) return;
#endif
#if QV_YMM_SUMS
    if (Luma256<kRedLow>(src, y, n)) return;
#endif
    const DU32 d32;
    const Sums32 sums(kRedLow);
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d32));
    const bool done = Cover(n, lanes, [&](int32_t i) {
        StoreValues(sums.Luma(hn::LoadU(d32, reinterpret_cast<const uint32_t*>(src) + i)), y + i);
    });
    if (!done) rgbrows::Luma<rgbrows::From32<kRedLow ? 0 : 16, kRedLow ? 16 : 0>>(src, y, n);
}

#if QV_VNNI
// 32 pixel pairs a step: the corners (odd pixels) of 64 pixels in two vectors, their Cb and Cr
// sums, and four byte permutes gathering 32 Cb values then 32 Cr values into one vector.
template <bool kRedLow>
HWY_INLINE bool ChromaVnni(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n) {
    if (n < 32) return false;
    const Sums32 sums(kRedLow);
    const __m512i start = _mm512_set1_epi32(32896);
    const __m512i odd = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
    const __m512i order = _mm512_loadu_si512(kByte1.data());
    const auto step = [&](int32_t i) {
        const uint8_t* p = src + 8 * i;
        const __m512i c0 = _mm512_permutex2var_epi32(_mm512_loadu_si512(p), odd, _mm512_loadu_si512(p + 64));
        const __m512i c1 = _mm512_permutex2var_epi32(_mm512_loadu_si512(p + 128), odd, _mm512_loadu_si512(p + 192));
        __m512i v = _mm512_permutexvar_epi8(order, _mm512_dpbusd_epi32(start, c0, sums.cb));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF0000ull, order, _mm512_dpbusd_epi32(start, c1, sums.cb));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF00000000ull, order, _mm512_dpbusd_epi32(start, c0, sums.cr));
        v = _mm512_mask_permutexvar_epi8(v, 0xFFFF000000000000ull, order, _mm512_dpbusd_epi32(start, c1, sums.cr));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cb + i), _mm512_castsi512_si256(v));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(cr + i), _mm512_extracti64x4_epi64(v, 1));
    };
    EachStep(n, 32, step);
    return true;
}
#endif

template <bool kRedLow>
void Chroma32(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n) {
#if QV_VNNI
    if (ChromaVnni<kRedLow>(src, cb, cr, n)) return;
#endif
#if QV_YMM_SUMS
    if (Chroma256<kRedLow>(src, cb, cr, n)) return;
#endif
    const DU32 d32;
    const Sums32 sums(kRedLow);
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d32));
    const uint32_t* s = reinterpret_cast<const uint32_t*>(src);
    const bool done = Cover(n, lanes, [&](int32_t i) {
        // The corner is the second pixel of each pair.
        const auto corner = hn::ConcatOdd(d32, hn::LoadU(d32, s + 2 * i + lanes), hn::LoadU(d32, s + 2 * i));
        StoreValues(sums.Cb(corner), cb + i);
        StoreValues(sums.Cr(corner), cr + i);
    });
    if (!done) rgbrows::Chroma<rgbrows::From32<kRedLow ? 0 : 16, kRedLow ? 16 : 0>>(src, cb, cr, n);
}

// ---- RGB565 ---------------------------------------------------------------------------------
// The channels of RGB565 pixels, each as the 8-bit value it stands for (through references: SVE
// vectors cannot be members of a returned class).
HWY_INLINE void Unpack565(hn::Vec<DU16> v, hn::Vec<DU16>& r, hn::Vec<DU16>& g, hn::Vec<DU16>& b) {
    const DU16 d16;
    r = hn::ShiftLeft<3>(hn::ShiftRight<11>(v));
    g = hn::ShiftLeft<2>(hn::And(hn::ShiftRight<5>(v), hn::Set(d16, 63)));
    b = hn::ShiftLeft<3>(hn::And(v, hn::Set(d16, 31)));
}

void Luma565(const uint8_t* src, uint8_t* y, int32_t n) {
    const DU16 d16;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d16));
    const bool done = Cover(n, lanes, [&](int32_t i) {
        hn::Vec<DU16> r, g, b;
        Unpack565(hn::LoadU(d16, reinterpret_cast<const uint16_t*>(src) + i), r, g, b);
        const auto sum = hn::Add(hn::Add(hn::Mul(r, hn::Set(d16, 65)), hn::Mul(g, hn::Set(d16, 129))),
                                 hn::Mul(b, hn::Set(d16, 25)));
        const auto luma = hn::Add(hn::ShiftRight<8>(sum), hn::Set(d16, 16));
        hn::StoreU(hn::DemoteTo(DU8H(), hn::BitCast(DI16(), luma)), DU8H(), y + i);
    });
    if (!done) rgbrows::Luma<rgbrows::FromRGB565>(src, y, n);
}

void Chroma565(const uint8_t* src, uint8_t* cb, uint8_t* cr, int32_t n) {
    const DU16 d16;
    const DI16 di16;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d16));
    const uint16_t* s = reinterpret_cast<const uint16_t*>(src);
    const bool done = Cover(n, lanes, [&](int32_t i) {
        // The corner is the first pixel of each pair.
        hn::Vec<DU16> ur, ug, ub;
        Unpack565(hn::ConcatEven(d16, hn::LoadU(d16, s + 2 * i + lanes), hn::LoadU(d16, s + 2 * i)), ur, ug, ub);
        const auto r = hn::BitCast(di16, ur), g = hn::BitCast(di16, ug), b = hn::BitCast(di16, ub);
        const auto vcb = hn::Sub(hn::Sub(hn::Mul(b, hn::Set(di16, 112)), hn::Mul(r, hn::Set(di16, 38))),
                                 hn::Mul(g, hn::Set(di16, 74)));
        const auto vcr = hn::Sub(hn::Sub(hn::Mul(r, hn::Set(di16, 112)), hn::Mul(g, hn::Set(di16, 94))),
                                 hn::Mul(b, hn::Set(di16, 18)));
        hn::StoreU(hn::DemoteTo(DU8H(), hn::Add(hn::ShiftRight<8>(vcb), hn::Set(di16, 128))), DU8H(), cb + i);
        hn::StoreU(hn::DemoteTo(DU8H(), hn::Add(hn::ShiftRight<8>(vcr), hn::Set(di16, 128))), DU8H(), cr + i);
    });
    if (!done) rgbrows::Chroma<rgbrows::FromRGB565>(src, cb, cr, n);
}

void Widen565(const uint8_t* src, uint8_t* dst, int32_t n, uint32_t alphaBits) {
    const DU32 d32;
    const hn::Rebind<uint16_t, DU32> d16;
    const int32_t lanes = static_cast<int32_t>(hn::Lanes(d32));
    const auto alpha = hn::Set(d32, alphaBits);
    const bool done = Cover(n, lanes, [&](int32_t i) {
        const auto p = hn::PromoteTo(d32, hn::LoadU(d16, reinterpret_cast<const uint16_t*>(src) + i));
        const auto w = hn::Or(hn::Or(hn::ShiftLeft<8>(hn::And(p, hn::Set(d32, 0xF800))),
                                     hn::And(hn::ShiftLeft<5>(p), hn::Set(d32, 0xFC00))),
                              hn::Or(hn::And(hn::ShiftLeft<3>(p), hn::Set(d32, 0xF8)), alpha));
        hn::StoreU(w, d32, reinterpret_cast<uint32_t*>(dst) + i);
    });
    if (!done) rgbrows::Widen565(src, dst, n, alphaBits);
}

}  // namespace

void FillRgbKernels(KernelTable* k) {
    k->lumaFromRGB565 = &Luma565;
    k->lumaFromARGB32 = &Luma32<false>;
    k->lumaFromABGR32 = &Luma32<true>;
    k->chromaFromRGB565 = &Chroma565;
    k->chromaFromARGB32 = &Chroma32<false>;
    k->chromaFromABGR32 = &Chroma32<true>;
    k->widenRGB565 = &Widen565;
}

}  // namespace HWY_NAMESPACE
}  // namespace qv
#undef QV_VNNI
#undef QV_YMM_SUMS
HWY_AFTER_NAMESPACE();
#endif  // vector targets
