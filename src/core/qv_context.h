// The processing context, the scale and rotation parameters, formats and status codes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "qv_imageproc.h"

namespace qv {

// Internal status codes returned by every core operation.
enum : int32_t {
    kOk = 0,
    kInvalidArg = -1,
    kOutOfMemory = -2,
    kNotImplemented = -3,
};

// Format codes, the public header's (the operation code is (source << 8) | destination).
enum : int32_t {
    kYCbCr420 = QV_FORMAT_YCBCR420,
    kYCbCr422 = QV_FORMAT_YCBCR422,
    kYCbCr444 = QV_FORMAT_YCBCR444,
    kRGB565 = QV_FORMAT_RGB565,
    kRGB888 = QV_FORMAT_RGB888,
    kARGB32 = QV_FORMAT_ARGB32,
    kYUY2 = QV_FORMAT_YUY2,
    kUYVY = QV_FORMAT_UYVY,
    kNV12 = QV_FORMAT_NV12,
    kABGR32 = QV_FORMAT_ABGR32,
    kRGB555 = QV_FORMAT_RGB555,
};

// The operation code of a source and a destination format.
constexpr int32_t Op(int32_t source, int32_t destination) { return QV_OPERATION(source, destination); }

// Rotation codes, the public header's.
enum : uint32_t {
    kRotateNone = QV_ROTATE_NONE,
    kRotate90CCW = QV_ROTATE_90_CCW,
    kRotate90CW = QV_ROTATE_90_CW,
    kRotate180 = QV_ROTATE_180,
    kMirror = QV_MIRROR,
    kFlip = QV_FLIP,
    kLastRotation = QV_FLIP,
};

// Scaling cases.
enum : uint32_t {
    kScaleSame = 0,
    kScaleMixed = 1,
    kScaleUp = 2,
    kScaleDown = 3,
    kScaleDouble = 4,       // exactly 2x in both dimensions
    kScaleWide25x2 = 5,     // width x 2.5, height x 2
    kScaleWide15 = 6,       // width x 1.5, any height
    kScale320To480x272 = 7, // 320x240 to 480x272
};

// Interpolation methods, the public header's.
enum : uint32_t {
    kInterpNearest = QV_INTERP_NEAREST,
    kInterpFixedRatio = QV_INTERP_FIXED_RATIO,
    kInterpNearLinear = QV_INTERP_NEAR_LINEAR,
};

// Neutral brightness, contrast and saturation.
constexpr int32_t kNeutralAdjust = 128;

// Scale and rotation parameters, rebuilt every frame. Packed destinations (one-plane formats and
// NV12) use stepX, stepY and dst00..dst11 (steps for two source pixels / rows); the planar 4:2:0
// destination uses stepX, stepY (per pixel / row of Y) and the Cb, Cr steps and starts.
// Thirteen 32-bit words on the 32-bit target; address fields are pointer-sized elsewhere.
struct QvRotationParams {
    int32_t stepX;
    int32_t stepY;
    uint8_t* dst00;
    uint8_t* dst10;
    uint8_t* dst01;
    uint8_t* dst11;
    int32_t stepXCb;
    int32_t stepYCb;
    int32_t stepXCr;
    int32_t stepYCr;
    uint8_t* startY;
    uint8_t* startCb;
    uint8_t* startCr;
};

// Work planes start at, and their stride is rounded up to, a multiple of this.
constexpr int64_t kWorkPlaneAlignment = 16;
// The adjustment curves: a luma and a chroma curve of one byte per sample value, in one block.
constexpr int32_t kCurveBytes = 256;
constexpr int32_t kCurveBlockBytes = 2 * kCurveBytes;

// One context per conversion stream. Thirty-eight 32-bit fields on the 32-bit target.
struct QvImgPrcContext {
    int32_t operation;
    uint32_t rotation;
    uint32_t interpolation;
    uint32_t scaleCase;
    int32_t brightness;
    int32_t contrast;
    int32_t saturation;
    uint32_t adjustOn;
    uint8_t* adjustCurveBlock;  // owned, kCurveBlockBytes
    uint8_t* lumaCurve;         // first half of adjustCurveBlock
    uint8_t* chromaCurve;       // second half
    uint8_t* convTableBlock;    // owned, 2564 bytes
    uint16_t* yTable;           // 256 entries, luma in 1/128 units
    int32_t* cbTable;           // 256 entries: blue << 16 | green (signed halves, 1/64 units)
    int32_t* crTable;           // 256 entries: red << 16 | green
    void* reservedBuffer;       // owned; never set
    uint32_t reserved;
    int32_t srcWidth;
    int32_t srcHeight;
    int32_t dstWidth;
    int32_t dstHeight;
    uint8_t* lineBufferBlock;   // owned; null when the context never scales
    uint32_t* lineBuffer[4];
    uint32_t alpha;             // low byte is the alpha of ARGB32 output
    uint32_t colourValue;       // colour key of RGB555 output
    uint32_t deinterlaceMode;
    uint8_t* planeBlock;        // owned, four work planes; planar YCbCr sources only
    uint8_t* plane[4];
    uint32_t planeStride;
    uint32_t planeHeight;
    uint32_t paramSize;
    QvRotationParams* params;   // owned
};

#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(QvImgPrcContext) == 38 * 4, "the context is 38 words on the 32-bit target");
static_assert(sizeof(QvRotationParams) == 52, "the parameter record is 13 words on the 32-bit target");
#endif

constexpr int32_t SourceFormat(int32_t operation) { return operation >> 8; }
constexpr int32_t DestinationFormat(int32_t operation) { return operation & 0xFF; }
// The formats the deinterlacer runs on and colour adjustment applies to: planar 4:2:0, 4:2:2, 4:4:4.
constexpr bool IsPlanarYCbCr(int32_t format) { return format >= kYCbCr420 && format <= kYCbCr444; }

// Every block the library owns is taken and released through these two.
void* Allocate(size_t bytes);
void Release(void* block);

// Rounds an address up to a multiple of `alignment` (a power of two).
template <typename T = uint8_t>
inline T* AlignUp(void* p, uintptr_t alignment) {
    return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(p) + alignment - 1) & ~(alignment - 1));
}

}  // namespace qv
