// Scalar references of the deinterlacer's row kernels (the kernel table's deint* entries), and
// the block routines they are made of, written once for any way of reaching a line: the public
// routines of deinterlace.h pass a base pointer and a pitch, the row kernels arrays of line
// pointers. The vector variants (deinterlace_simd.cpp) produce the same bytes and hand what is
// left past their last whole vector, and pictures too narrow for one, to these.
#pragma once

#include <cstdint>
#include <cstring>

namespace qv::deint {

constexpr int32_t kBlock = 8;

inline uint32_t Ssd(int32_t v) { return static_cast<uint32_t>(v * v); }
inline uint32_t AbsDiff(uint8_t a, uint8_t b) { return a > b ? a - b : b - a; }
inline uint8_t Average(uint32_t a, uint32_t b) { return static_cast<uint8_t>((a + b) >> 1); }

// Taps -1, 4, 2, 4, -1 with rounding; the arithmetic shift rounds toward minus infinity.
inline int32_t FiveTap(int32_t m4, int32_t m3, int32_t m2, int32_t m1, int32_t lum) {
    return (-m4 + 4 * m3 + 2 * m2 + 4 * m1 - lum + 4) >> 3;
}
inline uint8_t ClampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

// ---- the 8x8 block routines -------------------------------------------------------------------
// `s(k)` is line k of the block (or strip) at its first column, `d(k)` the output line likewise.

// Each line pair j = 0, 2, 4, 6 is judged on its own sums: across the fields (neighbouring lines)
// against within a field (lines two apart). One combed pair makes the block interlaced. Reads
// lines 0..9.
template <class Src>
int32_t Detect8x8(Src s) {
    for (int32_t j = 0; j < kBlock; j += 2) {
        const uint8_t* s0 = s(j);
        const uint8_t* s1 = s(j + 1);
        const uint8_t* s2 = s(j + 2);
        const uint8_t* s3 = s(j + 3);
        uint32_t fr = 0, ff = 0;
        for (int32_t x = 0; x < kBlock; ++x) {
            fr += Ssd(s0[x] - s1[x]) + Ssd(s1[x] - s2[x]);
            ff += Ssd(s0[x] - s2[x]) + Ssd(s1[x] - s3[x]);
        }
        if ((fr * 6) >> 3 > ff && fr > 32) return 1;
    }
    return 0;
}

// Even lines of an 8x8 block copied, each odd line 2p+1 built by oddLine(d(2p+1), even(p),
// odd(p), even(p + 1)).
template <class Dst, class Even, class Odd, class OddLine>
void Rebuild8x8(Dst d, Even even, Odd odd, OddLine oddLine) {
    for (int32_t p = 0; p < kBlock / 2; ++p) {
        const uint8_t* a = even(p);
        std::memcpy(d(2 * p), a, kBlock);
        oddLine(d(2 * p + 1), a, odd(p), even(p + 1));
    }
}

// Progressive block: odd lines (a + 6m + b + 4) >> 3.
template <class Dst, class Even, class Odd>
void Merge8x8(Dst d, Even even, Odd odd) {
    Rebuild8x8(d, even, odd, [](uint8_t* o, const uint8_t* a, const uint8_t* m, const uint8_t* b) {
        for (int32_t x = 0; x < kBlock; ++x) o[x] = static_cast<uint8_t>((a[x] + 6 * m[x] + b[x] + 4) >> 3);
    });
}

// Combed block in the first or last column: odd lines averaged vertically. Reads lines 0..8.
template <class Dst, class Src>
void FieldE8x8(Dst d, Src s) {
    Rebuild8x8(d, [s](int32_t p) { return s(2 * p); }, [s](int32_t p) { return s(2 * p + 1); },
               [](uint8_t* o, const uint8_t* a, const uint8_t*, const uint8_t* b) {
                   for (int32_t x = 0; x < kBlock; ++x) o[x] = Average(a[x], b[x]);
               });
}

// Sum over eight pixels of |a[k] - b[k + shift]| for k = from .. from + 7.
inline uint32_t DirectionCost(const uint8_t* a, const uint8_t* b, int32_t from, int32_t shift) {
    uint32_t c = 0;
    for (int32_t k = from; k < from + kBlock; ++k) c += AbsDiff(a[k], b[k + shift]);
    return c;
}

// Combed interior block: odd lines along the best of three directions. The three costs span
// eight pixels each and are not centred alike (a from x-4..x+3, x-3..x+4, x-2..x+5); a diagonal
// wins only strictly, ties go to the vertical average. Each cost slides along the line: one
// pixel on, it gains the difference entering its span and loses the one leaving it, which gives
// the same sums as adding all eight. Reads lines 0..8 and columns -4..12.
template <class Dst, class Src>
void Field8x8(Dst d, Src s) {
    Rebuild8x8(d, [s](int32_t p) { return s(2 * p); }, [s](int32_t p) { return s(2 * p + 1); },
               [](uint8_t* o, const uint8_t* a, const uint8_t*, const uint8_t* b) {
                   uint32_t c0 = DirectionCost(a, b, -4, 2);   // upper left to lower right
                   uint32_t c1 = DirectionCost(a, b, -3, 0);   // vertical
                   uint32_t c2 = DirectionCost(a, b, -2, -2);  // upper right to lower left
                   for (int32_t x = 0; x < kBlock; ++x) {
                       if (x > 0) {
                           c0 += AbsDiff(a[x + 3], b[x + 5]) - AbsDiff(a[x - 5], b[x - 3]);
                           c1 += AbsDiff(a[x + 4], b[x + 4]) - AbsDiff(a[x - 4], b[x - 4]);
                           c2 += AbsDiff(a[x + 5], b[x + 3]) - AbsDiff(a[x - 3], b[x - 5]);
                       }
                       if (c0 < c1 && c1 <= c2)
                           o[x] = Average(a[x - 1], b[x + 1]);
                       else if (c2 < c1 && c1 <= c0)
                           o[x] = Average(a[x + 1], b[x - 1]);
                       else
                           o[x] = Average(a[x], b[x]);
                   }
               });
}

// ---- strips: the right edge and the bottom block row ------------------------------------------

// The first pair always runs, further pairs while y < lineCount - 2; two combed pairs are needed.
template <class Src>
int32_t DetectNxN(Src s, uint32_t lineCount, uint32_t pixelCount) {
    if (lineCount == 2) return 0;
    const int32_t pairEnd = static_cast<int32_t>(lineCount) - 2;
    int32_t count = 0;
    for (int32_t y = 0; y == 0 || y < pairEnd; y += 2) {
        const uint8_t* s0 = s(y);
        const uint8_t* s1 = s(y + 1);
        const uint8_t* s2 = s(y + 2);
        uint32_t fr = 0, ff = 0;
        for (uint32_t x = 0; x < pixelCount; ++x) {
            fr += Ssd(s0[x] - s1[x]);
            ff += Ssd(s0[x] - s2[x]);
        }
        if (ff < fr && fr > pixelCount >> 1) ++count;
    }
    return count > 1 ? 1 : 0;
}

// Even lines of a strip copied, each odd line y+1 built by oddLine(d(y+1), s(y), s(y+1), s(y+2));
// in the last pair no field line lies below and the third line is null.
template <class Dst, class Src, class OddLine>
void RebuildStrip(Dst d, Src s, uint32_t width, uint32_t height, OddLine oddLine) {
    const int32_t h = static_cast<int32_t>(height);
    for (int32_t y = 0; y < h; y += 2) {
        const uint8_t* a = s(y);
        std::memcpy(d(y), a, width);
        const uint8_t* below = y < h - 2 ? s(y + 2) : nullptr;
        oddLine(d(y + 1), a, s(y + 1), below, width);
    }
}

// In the last pair no field line lies below: the odd line is blended with itself.
template <class Dst, class Src>
void FieldNxN(Dst d, Src s, uint32_t width, uint32_t height) {
    RebuildStrip(d, s, width, height, [](uint8_t* o, const uint8_t* a, const uint8_t* m, const uint8_t* b, uint32_t w) {
        const uint8_t* other = b != nullptr ? b : m;
        for (uint32_t x = 0; x < w; ++x) o[x] = Average(a[x], other[x]);
    });
}

template <class Dst, class Src>
void FrameNxN(Dst d, Src s, uint32_t width, uint32_t height) {
    RebuildStrip(d, s, width, height, [](uint8_t* o, const uint8_t* a, const uint8_t* m, const uint8_t* b, uint32_t w) {
        for (uint32_t x = 0; x < w; ++x)
            o[x] = static_cast<uint8_t>(b != nullptr ? (a[x] + 2 * m[x] + b[x] + 2) >> 2 : (a[x] + m[x]) >> 1);
    });
}

// The detector takes the strip's width as its line count and its height as its pixel count.
// The caller has checked the size (an even height, a width of at least 2).
template <class Dst, class Src>
void StripNxN(Dst d, Src s, uint32_t width, uint32_t height) {
    if (DetectNxN(s, width, height) != 0)
        FieldNxN(d, s, width, height);
    else
        FrameNxN(d, s, width, height);
}

// ---- row kernels (KernelTable) ------------------------------------------------------------------

// dst[i] = (a[i] + b[i]) >> 1 for i below count.
void AverageRow(uint8_t* dst, const uint8_t* a, const uint8_t* b, int32_t count);

// dst[x] = clamp((-m4 + 4*m3 + 2*m2 + 4*m1 - lum + 4) >> 3) for x below count.
void FiveTapRow(uint8_t* dst, const uint8_t* m4, const uint8_t* m3, const uint8_t* m2, const uint8_t* m1,
                const uint8_t* lum, int32_t count);

// The same filter written back into m2, while m4 (the scratch line) receives the old m2. m1 and
// lum may be m2 itself; every read of a column comes before its writes.
void FiveTapRowInPlace(uint8_t* m4, const uint8_t* m3, uint8_t* m2, const uint8_t* m1, const uint8_t* lum,
                       int32_t count);

// One block row of a plane in 8x8 blocks: width (a multiple of 8, at least 8) bytes of output
// lines dst[0..7] from source lines src[0..9] (lines 8 and 9 lie below the block row). Combed
// blocks of the first and last column are averaged vertically, the others along directions that
// read up to 4 bytes left and 5 right of a block, never outside the row. Output lines are either
// the source lines themselves (in place) or overlap none of them.
void BlockRow(uint8_t* const dst[8], const uint8_t* const src[10], int32_t width);

// The bottom block row as 8-pixel-wide strips of `height` lines (2, 4, 6 or 8): output lines
// dst[0..height-1]. Each strip's detector scans line pairs 0, 2 and 4 over its first `height`
// pixels, reading src[0..6] whatever the height, and src[7] when the height is 8.
void StripRow(uint8_t* const dst[8], const uint8_t* const src[8], int32_t width, int32_t height);

}  // namespace qv::deint
