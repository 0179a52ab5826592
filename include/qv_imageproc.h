/*
 * qv-imageproc public interface.
 *
 * A host loads libqv_imageproc.so, calls GetDllInterface with IID_QV_IMAGEPROC_C
 * and drives the returned table: Create a context for one fixed conversion,
 * ProcessFrame any number of frames, Get/Set properties, Destroy.
 *
 * Plain C99; usable from C and C++.
 */
#ifndef QV_IMAGEPROC_H
#define QV_IMAGEPROC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define QV_EXPORT __attribute__((visibility("default")))
#else
#define QV_EXPORT
#endif

typedef int32_t QvResult;                 /* COM-style result code */
#define QV_S_OK          ((QvResult)0x00000000)
#define QV_S_FALSE       ((QvResult)0x00000001)
#define QV_E_NOTIMPL     ((QvResult)0x80004001)
#define QV_E_NOINTERFACE ((QvResult)0x80004002)
#define QV_E_POINTER     ((QvResult)0x80004003)
#define QV_E_OUTOFMEMORY ((QvResult)0x8007000E)
#define QV_E_INVALIDARG  ((QvResult)0x80070057)

typedef struct QvGuid { uint32_t data1; uint16_t data2; uint16_t data3; uint8_t data4[8]; } QvGuid;
static const QvGuid IID_QV_IMAGEPROC_C = {0x5E0B7C21, 0x94AD, 0x4F3E, {0xA1,0xC6,0x2B,0x7D,0x90,0xE4,0xC3,0xF8}};
static const QvGuid IID_IUnknown       = {0x00000000, 0x0000, 0x0000, {0xC0,0x00,0x00,0x00,0x00,0x00,0x00,0x46}};

/* Pixel format codes. The operation code of a context is (source << 8) | destination. */
#define QV_FORMAT_YCBCR420 0  /* planar Y, Cb, Cr; chroma half width, half height (I420) */
#define QV_FORMAT_YCBCR422 1  /* planar Y, Cb, Cr; chroma half width, full height (source only) */
#define QV_FORMAT_YCBCR444 2  /* planar Y, Cb, Cr; all planes full size (source only) */
#define QV_FORMAT_RGB565   3  /* 16-bit little-endian words: red 15-11, green 10-5, blue 4-0 */
#define QV_FORMAT_RGB888   4  /* 3 bytes a pixel in memory order blue, green, red */
#define QV_FORMAT_ARGB32   5  /* 32-bit little-endian words: alpha 31-24, red, green, blue 7-0 */
#define QV_FORMAT_YUY2     6  /* packed 4:2:2, bytes Y0 Cb Y1 Cr */
#define QV_FORMAT_UYVY     7  /* packed 4:2:2, bytes Cb Y0 Cr Y1 */
#define QV_FORMAT_NV12     8  /* Y plane and a half-height plane of Cb, Cr byte pairs */
#define QV_FORMAT_ABGR32   9  /* 32-bit words: alpha 31-24, blue 23-16, green, red 7-0 (source only) */
#define QV_FORMAT_RGB555  10  /* 16-bit words: red 15-11, green 10-6, blue 5-1, bit 0 set unless keyed (destination only) */

/* Builds an operation code from a source and a destination format. */
#define QV_OPERATION(src, dst) ((int32_t)(((src) << 8) | (dst)))

/* Rotation codes (the destination size is always given unrotated). */
#define QV_ROTATE_NONE   0  /* no rotation */
#define QV_ROTATE_90_CCW 1  /* quarter turn counter-clockwise: the picture has dstWidth rows */
#define QV_ROTATE_90_CW  2  /* quarter turn clockwise: the picture has dstWidth rows */
#define QV_ROTATE_180    3  /* half turn */
#define QV_MIRROR        4  /* left-right mirror */
#define QV_FLIP          5  /* top-bottom flip */

/* Interpolation methods (used only when scaling). */
#define QV_INTERP_NEAREST     0  /* nearest neighbour for 4:2:0 to RGB565 enlargement */
#define QV_INTERP_FIXED_RATIO 1  /* bilinear, plus the fast fixed-ratio paths (2x, 2.5x2, 1.5x, 320x240 to 480x272) */
#define QV_INTERP_BILINEAR    2  /* bilinear (any value other than 0, 1 and 3 means this) */
#define QV_INTERP_NEAR_LINEAR 3  /* near-linear for 4:2:0 to RGB565 enlargement */

/* Property ids for Get and Set. */
#define QV_PROPERTY_COLOUR_ADJUST 1  /* three int32: brightness, contrast, saturation; neutral 128 each */
#define QV_PROPERTY_COLOUR_VALUE  2  /* one uint32: the colour key (Y << 16 | Cb << 8 | Cr) of RGB555 output */

/* Deinterlace modes (QvFrameOptions.deinterlaceMode; planar YCbCr sources only). */
#define QV_DEINTERLACE_KEEP    0  /* leave the mode of the previous frame in force (initially off) */
#define QV_DEINTERLACE_FAST    1  /* even lines kept, odd lines from a 5-tap vertical filter */
#define QV_DEINTERLACE_DISCARD 2  /* top field only, each line doubled */
#define QV_DEINTERLACE_BOB     3  /* top field doubled, last line from the bottom field */
#define QV_DEINTERLACE_BLEND   4  /* every line averaged with the line above */
#define QV_DEINTERLACE_MEAN    5  /* each line pair replaced by its average */
#define QV_DEINTERLACE_LINEAR  6  /* top field kept, lines between averaged from the field */
#define QV_DEINTERLACE_X       7  /* motion-adaptive 8x8 blocks with edge-directed interpolation */

typedef struct QvCreateParams {          /* ten 32-bit words */
    uint32_t structSize;                 /* word 1: not read */
    int32_t  operation;                  /* (srcFormat << 8) | dstFormat */
    uint32_t rotation;
    uint32_t interpolation;
    int32_t  srcWidth, srcHeight, dstWidth, dstHeight;
    uint32_t alpha;
    uint32_t colourValue;
} QvCreateParams;

typedef struct QvFrameOptions { uint32_t reserved0, reserved1, deinterlaceMode; } QvFrameOptions;

typedef void *QvHandle;

typedef struct QvImageProcFunctions {    /* g_IMAGEPROC_Functions, in this order */
    QvResult (*Create)(QvHandle *handle, uint32_t reserved, const QvCreateParams *params);
    QvResult (*Destroy)(QvHandle handle);
    QvResult (*ProcessFrame)(QvHandle handle,
                             const uint8_t *const srcPlanes[3], const int32_t srcStrides[3],
                             uint8_t *const dstPlanes[3], const int32_t dstStrides[3],
                             const QvFrameOptions *options);
    QvResult (*Reset)(QvHandle handle);
    QvResult (*Get)(QvHandle handle, uint32_t propertyId, void *buffer, uint32_t reserved, uint32_t *outSize);
    QvResult (*Set)(QvHandle handle, uint32_t propertyId, const void *buffer);
} QvImageProcFunctions;

/* The library's only exported function. */
QV_EXPORT QvResult GetDllInterface(const QvGuid *iid, const QvImageProcFunctions **table);

/* The signature, for hosts that look the function up with dlsym. */
typedef QvResult (*QvGetDllInterfaceFn)(const QvGuid *iid, const QvImageProcFunctions **table);

#ifdef __cplusplus
}
#endif

#endif /* QV_IMAGEPROC_H */
