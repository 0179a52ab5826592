// Every core operation and converter the dispatcher reaches, with its argument order.
// Planes and strides follow the frame descriptor: three plane pointers and three byte strides.
#pragma once

#include "core/qv_context.h"
#include "qv_imageproc.h"

namespace qv {

using SrcPlanes = const uint8_t* const[3];
using DstPlanes = uint8_t* const[3];
using Strides = const int32_t[3];
using LineBuffers = uint32_t* const[4];

// ---- context lifecycle, dispatch and set-up -------------------------------------------------
struct SizePair {
    int32_t width;
    int32_t height;
};
int32_t QV_ImgPrcInit(void** handleSlot, const QvCreateParams* createParams, SizePair src, SizePair dst);
int32_t QV_ImgPrcUninit(QvImgPrcContext* ctx);
int32_t QV_ImgPrcOneFrame(QvImgPrcContext* ctx, const uint8_t* const srcPlanes[3],
                          const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                          const int32_t dstStrides[3]);
int32_t _ImgPrcOneFrame_depend(QvImgPrcContext* ctx, const uint8_t* const srcPlanes[3],
                               const int32_t srcStrides[3], uint8_t* const dstPlanes[3],
                               const int32_t dstStrides[3]);
int32_t _CheckCapability_depend(int32_t operation);
int32_t _ImgPrcInit_depend(QvImgPrcContext* ctx);
void set_transtable(uint16_t* yTable, int32_t* cbTable, int32_t* crTable, int32_t brightness,
                    int32_t contrast, int32_t saturation);
// set_transtable on the context's tables, and their fit for the vector kernels.
void BuildConversionTables(QvImgPrcContext* ctx, int32_t brightness, int32_t contrast, int32_t saturation);
int32_t _QV_RotationInit(QvImgPrcContext* ctx, uint8_t* const dstPlanes[3], int32_t dstWidth,
                         int32_t dstHeight, const int32_t dstStrides[3]);
// The packed rotation record (pixels of B bytes, destination W x H, stride s) as byte offsets
// from destination plane 0 of source pixels (0,0), (1,0), (0,1) and (1,1), and its 32-bit steps
// for two pixels and two rows. _QV_RotationInit places the record's pointers at these offsets.
struct PackedPlacement {
    int64_t d00, d10, d01, d11;
    int32_t stepX, stepY;
};
PackedPlacement PackedPlacementOf(uint32_t rotation, int64_t B, int64_t W, int64_t H, int64_t s);

// ---- colour adjustment ----------------------------------------------------------------------
int32_t QV_ImgColorAdjustSet(QvImgPrcContext* ctx, const int32_t* values);
int32_t QV_ImgColorAdjustGet(const QvImgPrcContext* ctx, int32_t* values);
void CalcColorKey();
int32_t _QVYCbCrAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                       DstPlanes dp, Strides ds);

// ---- planar 4:2:0 ---------------------------------------------------------------------------
int32_t _QVYCbCr420Copy(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds);
int32_t _QVYCbCr420ToYUY2(uint8_t* d0, int32_t s0, SrcPlanes sp, Strides ss, int32_t W, int32_t H);
int32_t _QVYCbCr420ToUYVY(uint8_t* d0, int32_t s0, SrcPlanes sp, Strides ss, int32_t W, int32_t H);
int32_t _QVYCbCr420ToNV12(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds);
int32_t _QVNV12ToYCbCr420(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds);
int32_t _QVYCbCr420Rot(const QvRotationParams* prm, SrcPlanes sp, Strides ss, int32_t W, int32_t H);
int32_t _QVYCbCr420Rsz(SrcPlanes sp, Strides ss, int32_t W, int32_t H, DstPlanes dp, Strides ds,
                       int32_t DW, int32_t DH);
int32_t _QVYCbCr420RszRot(const QvRotationParams* prm, SrcPlanes sp, Strides ss, int32_t W,
                          int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr420RotAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                             int32_t H);
int32_t _QVYCbCr420RszAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                             int32_t H, DstPlanes dp, Strides ds, int32_t DW, int32_t DH);
int32_t _QVYCbCr420RszRotAdjust(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                int32_t H, int32_t DW, int32_t DH);

// ---- 4:2:0 to RGB565 --------------------------------------------------------------------------
int32_t _QVYCbCr420ToRGB565(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0);
int32_t _QVYCbCr420ToRGB565Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H);
int32_t _QVYCbCr420ToRGB565Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565RszUpRot(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                    SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                    uint8_t* dstStart, int32_t rowAdvance, int32_t columnPitch,
                                    int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565RszUp_Nearest(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                         SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                         uint8_t* d0, int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565RszUp_NearLinear(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                            SrcPlanes sp, Strides ss, int32_t W, int32_t H,
                                            uint8_t* d0, int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB565Case1(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t s0,
                                 int32_t DH);
int32_t _QVYCbCr420ToRGB565Case2(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DH);
int32_t _QVYCbCr420ToRGB565Case3(const QvImgPrcContext* ctx, uint32_t* rowBuffer0,
                                 uint32_t* rowBuffer1, SrcPlanes sp, Strides ss, uint8_t* d0,
                                 int32_t s0);

// ---- 4:2:0 to ARGB32 --------------------------------------------------------------------------
int32_t _QVYCbCr420ToARGB32(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0, uint8_t alpha);
int32_t _QVYCbCr420ToARGB32Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t alpha);
int32_t _QVYCbCr420ToARGB32Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH,
                               uint8_t alpha);
int32_t _QVYCbCr420ToARGB32RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH, uint8_t alpha);
int32_t _QVYCbCr420ToARGB32RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH, uint8_t alpha);
int32_t _QVYCbCr420ToARGB32Case1(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, uint8_t* d0, int32_t s0,
                                 int32_t DH, uint8_t alpha);
int32_t _QVYCbCr420ToARGB32Case2(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DH, uint8_t alpha);

// ---- 4:2:0 to RGB888 --------------------------------------------------------------------------
int32_t _QVYCbCr420ToRGB888(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0);
int32_t _QVYCbCr420ToRGB888Rot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H);
int32_t _QVYCbCr420ToRGB888Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB888RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB888RszUp(const QvImgPrcContext* ctx, const LineBuffers* lines,
                                 SrcPlanes sp, Strides ss, int32_t W, int32_t H, uint8_t* d0,
                                 int32_t s0, int32_t DW, int32_t DH);

// ---- other conversions ------------------------------------------------------------------------
int32_t _QVYCbCr422ToRGB565(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0);
int32_t _QVYCbCr422ToRGB565Rsz(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                               int32_t H, uint8_t* d0, int32_t s0, int32_t DW, int32_t DH);
int32_t _QVYCbCr444ToRGB565RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr444ToRGB888RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr444ToARGB32RszRot(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                                  int32_t H, int32_t DW, int32_t DH, uint8_t alpha);
// RGB sources: src is the first source plane. Strides are in the unit each routine names.
int32_t _QVRGB565ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, int32_t W, int32_t H,
                            DstPlanes dp, Strides ds);
int32_t _QVARGB32ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, DstPlanes dp, Strides ds,
                            int32_t W, int32_t H);
int32_t _QVABGR32ToYCbCr420(const uint8_t* src, int32_t srcStrideBytes, DstPlanes dp, Strides ds,
                            int32_t W, int32_t H);
int32_t _QVRGB565ToARGB32(const uint8_t* src, int32_t srcStridePixels, uint8_t* dst,
                          int32_t dstStrideWords, int32_t W, int32_t H, uint8_t alpha);
int32_t _QVRGB565RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStridePixels,
                        int32_t W, int32_t H, int32_t DW, int32_t DH);
int32_t _QVRGB888ToRGB565RszRot(const QvRotationParams* prm, const uint8_t* src,
                                int32_t srcStrideBytes, int32_t W, int32_t H, int32_t DW,
                                int32_t DH);
int32_t _QVRGB888RszRot(const QvRotationParams* prm, const uint8_t* src, int32_t srcStrideBytes,
                        int32_t W, int32_t H, int32_t DW, int32_t DH);
int32_t _QVYCbCr420ToRGB555(const QvImgPrcContext* ctx, SrcPlanes sp, Strides ss, int32_t W,
                            int32_t H, uint8_t* d0, int32_t s0, uint32_t colourKey);

// ---- deinterlacing ----------------------------------------------------------------------------
int32_t QV_DeInterlace(const QvImgPrcContext* ctx, const uint8_t* const srcPixels[3],
                       const int32_t srcPitch[3], uint8_t* const dstPixels[3],
                       const int32_t dstPitch[3]);
// For a frame whose conversion would be a plain copy of the work planes (4:2:0 to 4:2:0, same
// size, unrotated, unadjusted): the mode written straight into the destination planes, the
// same bytes the copy would write and no other. False, with nothing written, when the planes do
// not allow it: a stride shorter than a row, destination planes that overlap one another or
// anything the mode may read, or the block mode with a width that is not a multiple of 16 (it
// then works wider than the picture).
bool QV_DeInterlaceIntoFrame(const QvImgPrcContext* ctx, const uint8_t* const srcPixels[3],
                             const int32_t srcPitch[3], uint8_t* const dstPixels[3], const int32_t dstPitch[3]);

}  // namespace qv
