// The deinterlacer's scalar reference row kernels.
#include "deinterlace/deinterlace_rows.h"

namespace qv::deint {

void AverageRow(uint8_t* dst, const uint8_t* a, const uint8_t* b, int32_t count) {
    for (int32_t i = 0; i < count; ++i) dst[i] = Average(a[i], b[i]);
}

void FiveTapRow(uint8_t* dst, const uint8_t* m4, const uint8_t* m3, const uint8_t* m2, const uint8_t* m1,
                const uint8_t* lum, int32_t count) {
    for (int32_t x = 0; x < count; ++x) dst[x] = ClampByte(FiveTap(m4[x], m3[x], m2[x], m1[x], lum[x]));
}

void FiveTapRowInPlace(uint8_t* m4, const uint8_t* m3, uint8_t* m2, const uint8_t* m1, const uint8_t* lum,
                       int32_t count) {
    for (int32_t x = 0; x < count; ++x) {
        const uint8_t t = m2[x];
        const int32_t v = FiveTap(m4[x], m3[x], t, m1[x], lum[x]);
        m4[x] = t;
        m2[x] = ClampByte(v);
    }
}

void BlockRow(uint8_t* const dst[8], const uint8_t* const src[10], int32_t width) {
    const int32_t columns = width / kBlock;
    for (int32_t c = 0; c < columns; ++c) {
        const int32_t x0 = kBlock * c;
        const auto s = [src, x0](int32_t k) { return src[k] + x0; };
        const auto d = [dst, x0](int32_t k) { return dst[k] + x0; };
        if (Detect8x8(s) == 0)
            Merge8x8(d, [s](int32_t p) { return s(2 * p); }, [s](int32_t p) { return s(2 * p + 1); });
        else if (c == 0 || c == columns - 1)  // the directional filter reaches 4 columns out
            FieldE8x8(d, s);
        else
            Field8x8(d, s);
    }
}

void StripRow(uint8_t* const dst[8], const uint8_t* const src[8], int32_t width, int32_t height) {
    for (int32_t x0 = 0; x0 + kBlock <= width; x0 += kBlock)
        StripNxN([dst, x0](int32_t k) { return dst[k] + x0; }, [src, x0](int32_t k) { return src[k] + x0; },
                 kBlock, static_cast<uint32_t>(height));
}

}  // namespace qv::deint
