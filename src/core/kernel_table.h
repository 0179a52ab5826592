// The kernel table: every row kernel the frame drivers call, chosen once per process.
//
// Each entry has a scalar reference (the required arithmetic written plainly, ycbcr_rows.h) and,
// where the CPU offers vector instructions, a variant built from one Highway source for SSE4,
// AVX2, AVX-512, NEON, SVE and SVE2 (ycbcr_rows_simd.cpp); the deinterlacer's entries have
// theirs in deinterlace/deinterlace_rows.h and deinterlace_simd.cpp (x86 targets; other targets
// use the references). Variants are byte-identical to their reference; the kernel checker
// (tests/checker/kernel_check.cpp) proves it for every compiled target the CPU runs.
//
// The environment variable QV_SIMD, read once, selects the kernels: `off` (or `scalar`) forces
// the scalar references; `sse4`, `avx2`, `avx512`, `neon`, `sve`, ... cap the choice at that level.
#pragma once

#include <cstdint>

#include "core/pixel.h"
#include "core/planar_rows.h"
#include "core/rgb_rows.h"
#include "core/scale_rows.h"

namespace qv {

// Kernels take pointers, a pixel count the driver guarantees, the conversion tables and one
// format argument (the alpha byte of ARGB32, the colour key of RGB555, unused otherwise). They
// never see strides or rotation.

// A 4:2:0 row pair: two luma rows sharing one chroma row, width / 2 chroma samples; width even
// and at least 2.
using RowPairKernel = void (*)(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                               uint8_t* d0, uint8_t* d1, int32_t width, const ConvTables& t, uint32_t arg);
// One row. 4:2:2: width / 2 chroma samples, width even. 4:4:4: a chroma sample per pixel.
using RowKernel = void (*)(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* d, int32_t width,
                           const ConvTables& t, uint32_t arg);

// The deinterlacer's kernels (deinterlace/deinterlace_rows.h says what each computes). Line
// kernels take `count` bytes of each line; the block kernels take arrays of line pointers and a
// width in bytes, a multiple of 8.
using DeintAverageKernel = void (*)(uint8_t* dst, const uint8_t* a, const uint8_t* b, int32_t count);
using DeintFiveTapKernel = void (*)(uint8_t* dst, const uint8_t* m4, const uint8_t* m3, const uint8_t* m2,
                                    const uint8_t* m1, const uint8_t* lum, int32_t count);
using DeintFiveTapInPlaceKernel = void (*)(uint8_t* m4, const uint8_t* m3, uint8_t* m2, const uint8_t* m1,
                                           const uint8_t* lum, int32_t count);
using DeintBlockRowKernel = void (*)(uint8_t* const dst[8], const uint8_t* const src[10], int32_t width);
using DeintStripRowKernel = void (*)(uint8_t* const dst[8], const uint8_t* const src[8], int32_t width,
                                     int32_t height);

struct KernelTable {
    const char* name;  // the kernel set: "scalar" or the vector target, e.g. "AVX3_DL"
    // 4:2:0 row pairs.
    RowPairKernel pairToRGB565;   // also the line conversion Convert_565
    RowPairKernel pairToRGB888;
    RowPairKernel pairToARGB32;   // arg: alpha
    RowPairKernel pairToRGB555;   // arg: colour key
    RowPairKernel pairToInterp;   // interpolation words (4 bytes a pixel): the line conversion Convert
    // Single rows.
    RowKernel row422ToRGB565;
    RowKernel row444ToRGB565;
    RowKernel row444ToRGB888;
    RowKernel row444ToARGB32;     // arg: alpha
    // Deinterlacer.
    DeintAverageKernel deintAverage;              // Merge: the simple modes' averaged lines
    DeintFiveTapKernel deintFiveTap;              // the fast filter's odd lines
    DeintFiveTapInPlaceKernel deintFiveTapInPlace;
    DeintBlockRowKernel deintBlockRow;            // block mode: a row of 8x8 blocks
    DeintStripRowKernel deintStripRow;            // block mode: the bottom block row

    // Byte moves (planar_rows.h). They start as the scalar references; a vector set replaces
    // those it has.
    TransposeKernel transpose = &planar::Transpose;
    ReverseKernel reverseRow = &planar::Reverse;
    PackKernel packYUY2 = &planar::PackYUY2;
    PackKernel packUYVY = &planar::PackUYVY;
    InterleaveKernel interleaveUV = &planar::Interleave;
    SplitKernel splitUV = &planar::Split;
    VerticalTapKernel verticalTaps = &planar::VerticalTaps;
    HorizontalTapKernel horizontalTaps = &planar::HorizontalTaps;
    // Packed RGB read (rgb_rows.h).
    EncodeLumaKernel lumaFromRGB565 = &rgbrows::Luma<rgbrows::FromRGB565>;
    EncodeLumaKernel lumaFromARGB32 = &rgbrows::Luma<rgbrows::FromARGB32>;
    EncodeLumaKernel lumaFromABGR32 = &rgbrows::Luma<rgbrows::FromABGR32>;
    EncodeChromaKernel chromaFromRGB565 = &rgbrows::Chroma<rgbrows::FromRGB565>;
    EncodeChromaKernel chromaFromARGB32 = &rgbrows::Chroma<rgbrows::FromARGB32>;
    EncodeChromaKernel chromaFromABGR32 = &rgbrows::Chroma<rgbrows::FromABGR32>;
    WidenKernel widenRGB565 = &rgbrows::Widen565;
    // The scalers' blends of interpolation words (scale_rows.h).
    VLerpKernel vLerp = &scalerows::VLerp;
    HLerpKernel hLerpRGB565 = &scalerows::HLerp<scalerows::To565>;
    HLerpKernel hLerpRGB888 = &scalerows::HLerp<scalerows::To888>;
    HLerpKernel hLerpARGB32 = &scalerows::HLerp<scalerows::ToARGB32>;
    FixedRatioKernel hLerp23RGB565 = &scalerows::FixedRatio<scalerows::k23Of4, scalerows::To565>;
    FixedRatioKernel hLerp25RGB565 = &scalerows::FixedRatio<scalerows::k25Of4, scalerows::To565>;
    FixedRatioKernel hLerp23ClosedRGB565 = &scalerows::FixedRatio<scalerows::k23ClosedOf4, scalerows::To565>;
    FixedRatioKernel hLerp23ARGB32 = &scalerows::FixedRatio<scalerows::k23Of2, scalerows::ToARGB32High5>;
    FixedRatioKernel hLerp25ARGB32 = &scalerows::FixedRatio<scalerows::k25Of2, scalerows::ToARGB32High5>;
    DoubleKernel doubleLine = &scalerows::DoubleWords;
    NearestKernel nearestRGB565 = &scalerows::Nearest;  // RGB565 to RGB565, HLerp_Nearest
};

// The table for this process: the best kernel set the CPU supports, capped by QV_SIMD.
const KernelTable& Kernels();
// The scalar references.
const KernelTable& ScalarKernels();
// The name of the kernel set Kernels() chose.
inline const char* KernelSetName() { return Kernels().name; }

// Every vector kernel set compiled into the library that this CPU can run, best first (for the
// choice and for the checker). `count` receives the number of sets.
struct VectorKernelSet {
    int64_t target;  // the Highway target bit
    KernelTable table;
};
const VectorKernelSet* VectorKernelSets(int* count);

}  // namespace qv
