// The route table: one row for every operation the library supports, with the facts that
// creation, frame validation, placement, dispatch and colour adjustment read from it; the formats'
// planes and pixel sizes; and the row geometry of each route's converters. A route is added or
// changed here and in the dispatcher's switch, nowhere else.
#pragma once

#include <cstdint>

#include "core/qv_context.h"

namespace qv {

// ---- formats --------------------------------------------------------------------------------

struct FormatFacts {
    int32_t planes;       // 1, 2 (NV12: Y and interleaved CbCr) or 3 (Y, Cb, Cr)
    int32_t pixelBytes;   // bytes a pixel of plane 0
    // The rotation record's layout for the format as a destination: the packed layout's bytes a
    // pixel B (NV12 is placed in pairs of bytes), kPlanarRecord, or kNoRecord (no such destination).
    int32_t recordBytes;
};
constexpr int32_t kPlanarRecord = 0;
constexpr int32_t kNoRecord = -1;

// Indexed by format code.
constexpr FormatFacts kFormats[] = {
    /* kYCbCr420 */ {3, 1, kPlanarRecord},
    /* kYCbCr422 */ {3, 1, kNoRecord},
    /* kYCbCr444 */ {3, 1, kNoRecord},
    /* kRGB565   */ {1, 2, 2},
    /* kRGB888   */ {1, 3, 3},
    /* kARGB32   */ {1, 4, 4},
    /* kYUY2     */ {1, 2, 2},
    /* kUYVY     */ {1, 2, 2},
    /* kNV12     */ {2, 1, 2},
    /* kABGR32   */ {1, 4, kNoRecord},
    /* kRGB555   */ {1, 2, 2},
};
static_assert(sizeof(kFormats) / sizeof(kFormats[0]) == kRGB555 + 1, "one row a format code");

// RGB555 exists only as a destination; a code past these is no format at all.
constexpr int32_t kLastSourceFormat = kABGR32;
constexpr int32_t kLastDestinationFormat = kRGB555;

constexpr const FormatFacts& FormatOf(int32_t format) { return kFormats[format]; }

// The writers that place packed pixels one at a time (the resamplers, and the 4:2:0 to RGB565
// enlarging column writer) turn the rotation record's two-pixel steps into one-pixel steps by an
// arithmetic shift to whole units of the format: 16-bit units for 2-byte pixels, bytes for
// RGB888, 32-bit units for ARGB32. A step of a stride is thus rounded down (toward minus
// infinity) to whole pixels of 2 and 4 bytes.
struct PixelUnit {
    int32_t shift;  // two-pixel bytes to units
    int32_t bytes;  // bytes a unit
    constexpr int32_t Step(int32_t recordStep) const { return (recordStep >> shift) * bytes; }
};
constexpr PixelUnit PixelUnitOf(int32_t pixelBytes) {
    return pixelBytes == 2 ? PixelUnit{2, 2} : pixelBytes == 4 ? PixelUnit{3, 4} : PixelUnit{1, 1};
}

// ---- row geometry ---------------------------------------------------------------------------

// How a route's converters step through rows. Several steps are not the plain stride: each is
// required as it stands, and named here once.
struct RowGeometry {
    enum class PairAdvance : uint8_t {
        kTwoStrides,
        // (stride >> 1) x 4 bytes: two bytes short of two odd strides, while the lower row of a
        // pair still sits one full stride below the upper.
        kHalfStrideTimesFour,
    };
    PairAdvance pairAdvance;
    // The same-size and rotated walks step the Cr row by the Cb stride (those routines take one
    // chroma stride); otherwise each chroma plane steps by its own.
    bool crStepsByCbStride;
    // Rotated steps are rounded down to whole pixels of the format: ~1 for 16-bit pixels, ~3 for
    // 32-bit ones, ~0 for 3-byte pixels, which have no alignment to keep.
    int32_t rotatedStepMask;
    // Rows stepped one at a time (the line-cache, nearest and fixed-ratio upscalers' destination
    // rows; YUY2's chroma rows; every row of UYVY; RGB565's lower source row) lie at multiples of
    // stride & rowMask.
    int32_t rowMask;

    constexpr int64_t PairStep(int32_t stride) const {
        return pairAdvance == PairAdvance::kTwoStrides ? 2 * int64_t{stride} : int64_t{stride >> 1} * 4;
    }
    constexpr int32_t RowStep(int32_t stride) const { return stride & rowMask; }
    // A rotation record step (two pixels or two rows) as the route's block writer takes it.
    constexpr int32_t RotatedStep(int32_t recordStep) const { return recordStep & rotatedStepMask; }
};

// The plain geometry: every step the stride itself.
constexpr RowGeometry kPlainRows{RowGeometry::PairAdvance::kTwoStrides, false, ~0, ~0};

// The geometry of the routes whose steps differ from the plain one.
constexpr RowGeometry k420ToRGB565Rows{RowGeometry::PairAdvance::kTwoStrides, true, ~1, ~3};
constexpr RowGeometry k420ToRGB888Rows{RowGeometry::PairAdvance::kTwoStrides, true, ~0, ~0};
constexpr RowGeometry k420ToARGB32Rows{RowGeometry::PairAdvance::kHalfStrideTimesFour, true, ~3, ~3};
constexpr RowGeometry k420ToYUY2Rows{RowGeometry::PairAdvance::kHalfStrideTimesFour, false, ~0, ~3};
constexpr RowGeometry k420ToUYVYRows{RowGeometry::PairAdvance::kTwoStrides, false, ~0, ~3};
constexpr RowGeometry k422ToRGB565Rows{RowGeometry::PairAdvance::kTwoStrides, false, ~0, ~1};
constexpr RowGeometry kRGB565ToYCbCrRows{RowGeometry::PairAdvance::kTwoStrides, false, ~0, ~3};

// ---- routes ---------------------------------------------------------------------------------

enum class Rotations : uint8_t {
    kPlaced,    // every code carried out while writing
    kIgnored,   // every code accepted, none carried out
    kOnlyNone,  // only QV_ROTATE_NONE at the source size; anything else is refused at creation
};

enum : uint32_t {
    kNeverScales = 1,      // writes a picture of the source size whatever the sizes
    kAlwaysResamples = 2,  // resamples every frame, even between equal sizes
    kThroughRecord = 4,    // packed pixels placed through the rotation record
    kAdjustable = 8,       // brightness, contrast and saturation apply
};

struct Route {
    int32_t source, destination;
    uint32_t flags;
    Rotations rotations;
    RowGeometry rows = kPlainRows;

    constexpr int32_t operation() const { return Op(source, destination); }
    constexpr bool neverScales() const { return (flags & kNeverScales) != 0; }
    constexpr bool alwaysResamples() const { return (flags & kAlwaysResamples) != 0; }
    constexpr bool placesThroughRecord() const { return (flags & kThroughRecord) != 0; }
    constexpr bool adjustable() const { return (flags & kAdjustable) != 0; }
    constexpr int32_t sourcePlanes() const { return FormatOf(source).planes; }
    constexpr int32_t destinationPlanes() const { return FormatOf(destination).planes; }
    constexpr int32_t sourceBytes() const { return FormatOf(source).pixelBytes; }
    constexpr int32_t destinationBytes() const { return FormatOf(destination).pixelBytes; }
};

constexpr Route kRoutes[] = {
    {kYCbCr420, kYCbCr420, kAdjustable, Rotations::kPlaced},
    {kYCbCr420, kRGB565, kThroughRecord | kAdjustable, Rotations::kPlaced, k420ToRGB565Rows},
    {kYCbCr420, kRGB888, kThroughRecord | kAdjustable, Rotations::kPlaced, k420ToRGB888Rows},
    {kYCbCr420, kARGB32, kThroughRecord | kAdjustable, Rotations::kPlaced, k420ToARGB32Rows},
    {kYCbCr420, kYUY2, kNeverScales, Rotations::kIgnored, k420ToYUY2Rows},
    {kYCbCr420, kUYVY, kNeverScales, Rotations::kIgnored, k420ToUYVYRows},
    {kYCbCr420, kNV12, kNeverScales, Rotations::kIgnored},
    {kYCbCr420, kRGB555, kNeverScales | kAdjustable, Rotations::kOnlyNone},
    {kYCbCr422, kRGB565, kAdjustable, Rotations::kIgnored, k422ToRGB565Rows},
    {kYCbCr444, kRGB565, kAlwaysResamples | kThroughRecord | kAdjustable, Rotations::kPlaced},
    {kYCbCr444, kRGB888, kAlwaysResamples | kThroughRecord | kAdjustable, Rotations::kPlaced},
    {kYCbCr444, kARGB32, kAlwaysResamples | kThroughRecord | kAdjustable, Rotations::kPlaced},
    {kRGB565, kYCbCr420, kNeverScales, Rotations::kPlaced, kRGB565ToYCbCrRows},
    {kRGB565, kRGB565, kAlwaysResamples | kThroughRecord, Rotations::kPlaced},
    {kRGB565, kARGB32, kNeverScales, Rotations::kIgnored},
    {kRGB888, kRGB565, kAlwaysResamples | kThroughRecord, Rotations::kPlaced},
    {kRGB888, kRGB888, kAlwaysResamples | kThroughRecord, Rotations::kPlaced},
    {kARGB32, kYCbCr420, kNeverScales, Rotations::kPlaced},
    {kNV12, kYCbCr420, kNeverScales, Rotations::kIgnored},
    {kABGR32, kYCbCr420, kNeverScales, Rotations::kPlaced},
};

// The row of an operation, or null when the library does not support it.
constexpr const Route* FindRoute(int32_t operation) {
    for (const Route& r : kRoutes)
        if (r.operation() == operation) return &r;
    return nullptr;
}
// The row of an operation that is in the table (a compile-time lookup for the converters).
consteval const Route& RouteOf(int32_t operation) { return *FindRoute(operation); }

}  // namespace qv
