// Scalar reference row kernels of the YCbCr-to-RGB converters: the required arithmetic (pixel.h)
// applied along a row, one chroma sample per pixel pair (4:2:0 row pairs, 4:2:2 rows) or per
// pixel (4:4:4 rows). The vector variants (ycbcr_rows_simd.cpp) produce the same bytes and hand
// the pixels past their last whole vector to these.
#pragma once

#include <cstdint>

#include "core/pixel.h"

namespace qv::rows {

// ---- pixel packers: one converted pixel into its destination bytes --------------------------
// Each takes the luma table value, the chroma terms, and the samples themselves (for the key).

// Each is made from the kernel's format argument.
struct PackRGB565 {
    static constexpr int kBytes = 2;
    explicit PackRGB565(uint32_t /*unused*/) {}
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t, uint32_t /*samples*/) const {
        Store16(p, PixelRGB565(y, t));
    }
};

struct PackRGB888 {
    static constexpr int kBytes = 3;
    explicit PackRGB888(uint32_t /*unused*/) {}
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t, uint32_t /*samples*/) const {
        StoreRGB888(p, PixelRGB8(y, t));
    }
};

struct PackARGB32 {
    static constexpr int kBytes = 4;
    uint8_t alpha;
    explicit PackARGB32(uint32_t a) : alpha(static_cast<uint8_t>(a)) {}
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t, uint32_t /*samples*/) const {
        Store32(p, PixelARGB32(y, t, alpha));
    }
};

// RGB555 with a mask bit: a pixel whose own Y << 16 | Cb << 8 | Cr equals the key (compared with
// all 32 bits, so a key with a non-zero top byte never matches) becomes the word 0; every other
// pixel is the RGB565 arithmetic with green shifted by 10 and clamped to 31, packed one bit
// higher, with bit 0 set.
struct PackRGB555 {
    static constexpr int kBytes = 2;
    uint32_t key;
    explicit PackRGB555(uint32_t k) : key(k) {}
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t, uint32_t samples) const {
        if (samples == key) {
            Store16(p, 0);
            return;
        }
        const int32_t r = ClampTo((y + t.red) >> 10, 31);
        const int32_t g = ClampTo((y + t.green) >> 10, 31);
        const int32_t b = ClampTo((y + t.blue) >> 10, 31);
        Store16(p, static_cast<uint32_t>(r << 11 | g << 6 | b << 1 | 1));
    }
};

struct PackInterp {
    static constexpr int kBytes = 4;
    explicit PackInterp(uint32_t /*unused*/) {}
    void operator()(uint8_t* p, int32_t y, const ChromaTerms& t, uint32_t /*samples*/) const {
        Store32(p, InterpWord(y, t));
    }
};

// ---- row kernels ----------------------------------------------------------------------------

// Pixels x and x + 1 of `rows` luma rows share chroma sample x >> kChromaShift.
template <class Pack, int kRows, int kChromaShift>
inline void ConvertRows(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2],
                        int32_t width, const ConvTables& t, uint32_t arg) {
    const Pack pack(arg);
    for (int32_t x = 0; x < width; ++x) {
        const uint8_t cbs = cb[x >> kChromaShift], crs = cr[x >> kChromaShift];
        const ChromaTerms c = t.Chroma(cbs, crs);
        const uint32_t chroma = static_cast<uint32_t>(cbs) << 8 | crs;
        for (int r = 0; r < kRows; ++r)
            pack(d[r] + x * Pack::kBytes, t.y[y[r][x]], c, static_cast<uint32_t>(y[r][x]) << 16 | chroma);
    }
}

// The kernel-table signatures over a rows function (this file's ConvertRows, or a vector one):
// a 4:2:0 row pair, or one row given as a pair of the same row.
using RowsFn = void (*)(const uint8_t* const y[2], const uint8_t* cb, const uint8_t* cr, uint8_t* const d[2],
                        int32_t width, const ConvTables& t, uint32_t arg);
template <RowsFn kRows>
void RowPairOf(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* d0, uint8_t* d1,
               int32_t width, const ConvTables& t, uint32_t arg) {
    const uint8_t* const y[2] = {y0, y1};
    uint8_t* const d[2] = {d0, d1};
    kRows(y, cb, cr, d, width, t, arg);
}
template <RowsFn kRows>
void RowOf(const uint8_t* y0, const uint8_t* cb, const uint8_t* cr, uint8_t* d0, int32_t width, const ConvTables& t,
           uint32_t arg) {
    const uint8_t* const y[2] = {y0, y0};
    uint8_t* const d[2] = {d0, d0};
    kRows(y, cb, cr, d, width, t, arg);
}

template <class Pack>
constexpr auto RowPair = &RowPairOf<&ConvertRows<Pack, 2, 1>>;
template <class Pack, int kChromaShift>
constexpr auto Row = &RowOf<&ConvertRows<Pack, 1, kChromaShift>>;

}  // namespace qv::rows
