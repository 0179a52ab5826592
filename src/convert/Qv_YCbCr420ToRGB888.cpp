// Placeholder: these routes write nothing until the family is converted.
#include "core/qv_routines.h"

namespace qv {

int32_t _QVYCbCr420ToRGB888(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB888Rot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB888Rsz(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB888RszRot(const QvImgPrcContext*, SrcPlanes, Strides, int32_t, int32_t, int32_t, int32_t) { return kOk; }
int32_t _QVYCbCr420ToRGB888RszUp(const QvImgPrcContext*, const LineBuffers*, SrcPlanes, Strides, int32_t, int32_t, uint8_t*, int32_t, int32_t, int32_t) { return kOk; }

}  // namespace qv
