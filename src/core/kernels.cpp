// Line conversion and interpolation kernels of the YCbCr-to-RGB converters.
#include "core/kernels.h"

#include "core/kernel_table.h"

namespace qv {

namespace {

// Line buffers written as one pixel type and read as another go through byte access.
inline uint8_t* Bytes(void* p) { return static_cast<uint8_t*>(p); }
inline const uint8_t* Bytes(const void* p) { return static_cast<const uint8_t*>(p); }

// Weighted pair at a 16.16 position: w x src[i + 1] + (32 - w) x src[i], weights summing to 32.
inline uint32_t BlendAt(const uint32_t* src, uint32_t pos) {
    const uint32_t i = pos >> 16;
    const uint32_t w = (pos >> 11) & 31;
    return w * src[i + 1] + (32 - w) * src[i];
}

}  // namespace

// ---- line conversion ------------------------------------------------------------------------

void Convert(const QvImgPrcContext* ctx, const uint8_t* luma0, const uint8_t* luma1,
             const uint8_t* cb, const uint8_t* cr, uint32_t* out0, uint32_t* out1,
             int32_t width) {
    // The signed pair counter is tested after each block: width 0 or 1 still converts one.
    const int32_t pairs = (width >> 1) > 0 ? width >> 1 : 1;
    Kernels().pairToInterp(luma0, luma1, cb, cr, Bytes(out0), Bytes(out1), 2 * pairs, TablesOf(ctx), 0);
}

void Convert_565(const QvImgPrcContext* ctx, const uint8_t* luma0, const uint8_t* luma1,
                 const uint8_t* cb, const uint8_t* cr, uint16_t* out0, uint16_t* out1,
                 int32_t width) {
    // The unsigned counter would wrap below two pixels; callers never pass fewer.
    if (width < 2) return;
    Kernels().pairToRGB565(luma0, luma1, cb, cr, Bytes(out0), Bytes(out1), width & ~1, TablesOf(ctx), 0);
}

// ---- vertical kernels -----------------------------------------------------------------------

// The do-while counters of the drivers: a count below one still blends one word.
void VLerp(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t weight, int32_t count) {
    Kernels().vLerp(a, b, out, weight, count > 0 ? count : 1);
}

void VLerp_12(const uint32_t* a, const uint32_t* b, uint32_t* out, int32_t count) {
    Kernels().vLerp(a, b, out, 16, count > 0 ? count : 1);
}

// ---- horizontal kernels over a 16.16 source position ----------------------------------------

// Pixel pairs only: an odd width leaves its last pixel unwritten.
void HLerp(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width) {
    if (width >= 2) Kernels().hLerpRGB565(src, dst, step, width & ~1, 0);
}

void HLerp24(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width) {
    if (width >= 1) Kernels().hLerpRGB888(src, dst, step, width, 0);
}

void HLerp32(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width, uint8_t alpha) {
    if (width >= 1) Kernels().hLerpARGB32(src, dst, step, width, alpha);
}

void HLerpRot(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width, int32_t pitch) {
    const ptrdiff_t pitchBytes = static_cast<ptrdiff_t>(pitch) * 2;
    uint32_t pos = 0;
    for (int32_t pairs = width >> 1; pairs > 0; --pairs) {
        Store16(dst, PackInterpRGB565(BlendAt(src, pos), 5));
        dst += pitchBytes;
        pos += static_cast<uint32_t>(step);
        Store16(dst, PackInterpRGB565(BlendAt(src, pos), 5));
        dst += pitchBytes;
        pos += static_cast<uint32_t>(step);
    }
}

// Pixel pairs only: an odd width leaves its last pixel unwritten, the walk still over width.
void HLerp_Nearest(const uint16_t* src, uint8_t* dst, int32_t width, int32_t step,
                   int32_t remainder) {
    if (width >= 2) Kernels().nearestRGB565(Bytes(src), dst, width & ~1, width, step, remainder);
}

// ---- fixed-ratio horizontal kernels ---------------------------------------------------------

// (n >> 2) - 1 full groups of four words, (n >> 1) - 1 full pairs: at least one.
void HLerp_23(const uint32_t* src, uint8_t* dst, int32_t n) {
    Kernels().hLerp23RGB565(src, dst, (n >> 2) - 1 > 0 ? (n >> 2) - 1 : 1, 0);
}

void HLerp_25(const uint32_t* src, uint8_t* dst, int32_t n) {
    Kernels().hLerp25RGB565(src, dst, (n >> 2) - 1 > 0 ? (n >> 2) - 1 : 1, 0);
}

void HLerp_23Closed(const uint32_t* src, uint8_t* dst, int32_t n) {
    Kernels().hLerp23ClosedRGB565(src, dst, (n >> 2) - 1 > 0 ? (n >> 2) - 1 : 1, 0);
}

void HLerp32_23(const uint32_t* src, uint8_t* dst, int32_t n, uint8_t alpha) {
    Kernels().hLerp23ARGB32(src, dst, (n >> 1) - 1 > 0 ? (n >> 1) - 1 : 1, alpha);
}

void HLerp32_25(const uint32_t* src, uint8_t* dst, int32_t n, uint8_t alpha) {
    Kernels().hLerp25ARGB32(src, dst, (n >> 1) - 1 > 0 ? (n >> 1) - 1 : 1, alpha);
}

// ---- line doubling --------------------------------------------------------------------------

void DoubleLine(uint16_t* out0, uint16_t* out1, const uint32_t* in0, const uint32_t* in1,
                int32_t count) {
    Kernels().doubleLine(Bytes(out0), Bytes(in0), count);
    Kernels().doubleLine(Bytes(out1), Bytes(in1), count);
}

}  // namespace qv
