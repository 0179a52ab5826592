// Line kernels of the YCbCr-to-RGB converters: the two line conversions of a 4:2:0 row pair
// (`Convert` into interpolation words, `Convert_565` into RGB565 pixels) and the vertical and
// horizontal interpolation kernels of the scaling converters.
//
// Line buffers are the context's own 4-byte-aligned blocks; destinations are caller planes with
// no alignment promise, so every store into them goes through Store16 / Store32.
#pragma once

#include <cstdint>

#include "core/pixel.h"
#include "core/qv_context.h"

namespace qv {

// ---- line conversion ------------------------------------------------------------------------
// Two luma rows sharing one chroma row pair become two rows of interpolation words. A signed
// pair counter of width >> 1 is tested after each block, so width 0 or 1 still converts one
// block; an odd width leaves the last column unwritten.
void Convert(const QvImgPrcContext* ctx, const uint8_t* luma0, const uint8_t* luma1,
             const uint8_t* cb, const uint8_t* cr, uint32_t* out0, uint32_t* out1, int32_t width);

// The same into RGB565 pixels. The pair counter is unsigned: width must be at least 2.
void Convert_565(const QvImgPrcContext* ctx, const uint8_t* luma0, const uint8_t* luma1,
                 const uint8_t* cb, const uint8_t* cr, uint16_t* out0, uint16_t* out1,
                 int32_t width);

// ---- vertical kernels -----------------------------------------------------------------------
// out = ((32 - w) a + w b) >> 5, at least one word.
void VLerp(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t weight, int32_t count);
// Half-way blend (a + b) >> 1, at least one word.
void VLerp_12(const uint32_t* a, const uint32_t* b, uint32_t* out, int32_t count);

// ---- horizontal kernels over a 16.16 source position ----------------------------------------
// Each reads the word after the last index it reaches (the row carries one spare word).
// RGB565, two pixels per 32-bit store; width >= 2.
void HLerp(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width);
// RGB888, three bytes a pixel (blue, green, red).
void HLerp24(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width);
// ARGB32 with the given alpha byte.
void HLerp32(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width, uint8_t alpha);
// RGB565 written down a column: pixel j lands at dst + j x pitch pixels.
void HLerpRot(const uint32_t* src, uint8_t* dst, int32_t step, int32_t width, int32_t pitch);

// RGB565 to RGB565 without blending: a Bresenham walk with integer step q and remainder r over
// a destination of width d (d >= 2, 0 <= r < d), pixel pairs only (the kernel table's
// nearestRGB565).
void HLerp_Nearest(const uint16_t* src, uint8_t* dst, int32_t width, int32_t step,
                   int32_t remainder);

// ---- fixed-ratio horizontal kernels ---------------------------------------------------------
// 2:3 and 2:5 over n source words, RGB565: (n >> 2) - 1 full groups of four words (at least
// one), then a tail group whose last outputs repeat its last word instead of reading on.
void HLerp_23(const uint32_t* src, uint8_t* dst, int32_t n);
void HLerp_25(const uint32_t* src, uint8_t* dst, int32_t n);
// The same weights into ARGB32, grouped by pairs of source words: (n >> 1) - 1 full pairs (at
// least one) and a tail pair.
void HLerp32_23(const uint32_t* src, uint8_t* dst, int32_t n, uint8_t alpha);
void HLerp32_25(const uint32_t* src, uint8_t* dst, int32_t n, uint8_t alpha);

// 2:3 over n source words, RGB565, every group of four words closed: its sixth pixel is its
// last word itself (the 320x240 to 480x272 path); n >= 8, a multiple of 4.
void HLerp_23Closed(const uint32_t* src, uint8_t* dst, int32_t n);

// ---- line doubling --------------------------------------------------------------------------
// count interpolation words of each input row become 2 x count RGB565 pixels: the mean of each
// word and its left neighbour (the first word with itself), then the word. In place is allowed.
void DoubleLine(uint16_t* out0, uint16_t* out1, const uint32_t* in0, const uint32_t* in1,
                int32_t count);

// ---- packing of blended interpolation words -------------------------------------------------
// ARGB32 from a blend whose weights sum to 2^k. The blended paths keep only the five high blue
// bits (the low three are cleared for k > 0), unlike HLerp32's full-precision blue.
inline uint32_t PackInterpARGB32(uint32_t sum, int k, uint8_t alpha) {
    const uint32_t blue = k == 0 ? ((sum << 3) & 0xFF) : ((sum >> (k - 3)) & 0xF8);
    return static_cast<uint32_t>(alpha) << 24 | ((sum >> (k + 3)) & 0xFF0000) |
           ((sum >> k) & 0xFF00) | blue;
}

}  // namespace qv
