// The deinterlacer: the picture record, the mode switch, the five simple modes, the five-tap line
// filter and the motion-adaptive 8x8 block mode, with the line and block routines they are built of.
#pragma once

#include <array>
#include <cstdint>

#include "qv_imageproc.h"

namespace qv {

// One side of a deinterlace call. It owns nothing. The input picture is only read; its pointers
// are not const because the in-place line filter works on one record for both sides.
struct DeintPicture {
    uint32_t planeCount;  // 3: Y, Cb, Cr
    uint8_t* pixels[4];   // slots 0-2 used
    uint32_t pitch[4];    // bytes from one line to the next
    uint32_t width;       // luma width in pixels
    uint32_t height;      // luma height in lines
    uint32_t chromaWidth;
    uint32_t chromaHeight;
};

// Mode numbers (the context's deinterlaceMode), the public header's. In the context 0 is off (in
// the frame options it keeps the previous frame's mode); any number above 7 runs the fast filter.
enum : uint32_t {
    kDeintOff = 0,
    kDeintFast = QV_DEINTERLACE_FAST,
    kDeintDiscard = QV_DEINTERLACE_DISCARD,
    kDeintBob = QV_DEINTERLACE_BOB,
    kDeintBlend = QV_DEINTERLACE_BLEND,
    kDeintMean = QV_DEINTERLACE_MEAN,
    kDeintLinear = QV_DEINTERLACE_LINEAR,
    kDeintX = QV_DEINTERLACE_X,
};

// -1 when either picture is missing, else 0 whatever the mode routine reports.
// `field` 0 keeps the top field (even lines), 1 the bottom field; fmt is the source format 0..2.
int32_t DeInterlace(DeintPicture* out, const DeintPicture* in, uint32_t width, uint32_t height,
                    uint32_t field, uint32_t fmt, uint32_t mode);

// dst[i] = (src1[i] + src2[i]) >> 1 for i below count.
void Merge(uint8_t* dst, const uint8_t* src1, const uint8_t* src2, uint32_t count);

// ---- simple modes -----------------------------------------------------------------------------
// Line copies and averages move min(source pitch, output pitch) bytes, a negative (bottom-up)
// pitch counting by its size; 4:4:4 sources are left unwritten except by linear, which treats
// every 4:4:4 plane as `height` lines.
int32_t picture_deinterlace_discard(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                    uint32_t width, uint32_t height, uint32_t field);
int32_t picture_deinterlace_bob(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                uint32_t width, uint32_t height, uint32_t field);
int32_t picture_deinterlace_blend(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                  uint32_t width, uint32_t height);
int32_t picture_deinterlace_mean(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                 uint32_t width, uint32_t height);
int32_t picture_deinterlace_linear(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                   uint32_t width, uint32_t height, uint32_t field);

// ---- five-tap line filter ---------------------------------------------------------------------
// Entry 1024 + s is s clamped to 0..255, for s in -1024..1279.
extern const std::array<uint8_t, 2304> cropTbl;

// dst[x] = clamp((-m4 + 4*m3 + 2*m2 + 4*m1 - lum + 4) >> 3), the shift rounding toward minus
// infinity.
void deinterlace_line(uint8_t* dst, const uint8_t* lum_m4, const uint8_t* lum_m3,
                      const uint8_t* lum_m2, const uint8_t* lum_m1, const uint8_t* lum,
                      uint32_t size);
// The same filter written back into lum_m2; lum_m4 (the scratch line) receives the old lum_m2.
// lum_m1 and lum may be the same line as lum_m2.
void deinterlace_line_inplace(uint8_t* lum_m4, const uint8_t* lum_m3, uint8_t* lum_m2,
                              const uint8_t* lum_m1, const uint8_t* lum, uint32_t size);

// Even lines kept, odd lines filtered. Out of place when out and in are different records, in
// place (one scratch line) when they are the same. -1 for fmt above 2 or a width or height that is
// not a multiple of 4, -2 when the in-place scratch line cannot be allocated; nothing is written
// then.
int32_t picture_deinterlace_fast(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                                 uint32_t width, uint32_t height);

// ---- motion-adaptive block mode ---------------------------------------------------------------
uint32_t ssd(int32_t v);

// 1 when the 8x8 block at src is combed. Reads lines 0..9.
int32_t XDeint8x8Detect(const uint8_t* src, uint32_t pitch);
// Progressive block: src1 is the block's line 0 and src2 its line 1, each stepping two lines.
void XDeint8x8Merge(uint8_t* dst, uint32_t dstPitch, const uint8_t* src1, uint32_t src1Pitch,
                    const uint8_t* src2, uint32_t src2Pitch);
// Combed interior block: odd lines along the best of three directions. Reads lines 0..8 and
// columns -4..12.
void XDeint8x8Field(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch);
// Combed block in the first or last column: odd lines averaged vertically. Reads lines 0..8.
void XDeint8x8FieldE(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch);

// Strip of width x height (right edge or bottom block row). -1 (nothing written) for an odd height
// or a width below 2, else 0.
int32_t XDeintNxN(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                  uint32_t width, uint32_t height);
int32_t XDeintNxNDetect(const uint8_t* src, uint32_t pitch, uint32_t lineCount,
                        uint32_t pixelCount);
void XDeintNxNField(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                    uint32_t width, uint32_t height);
void XDeintNxNFrame(uint8_t* dst, uint32_t dstPitch, const uint8_t* src, uint32_t srcPitch,
                    uint32_t width, uint32_t height);

// Luma is processed over the output pitch (source luma lines are read that far); chroma over the
// chroma width. Returns 0.
int32_t picture_deinterlace_x(DeintPicture* out, const DeintPicture* in, uint32_t fmt,
                              uint32_t width, uint32_t height);

}  // namespace qv
